// SPDX-License-Identifier: MIT

#include "tools/ktd/HandlerText.h"

#include <algorithm>
#include <array>

#include "kt/udp/KtMessage.h"
#include "tools/common/Paths.h"
#include "tools/ktd/Kinds.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

constexpr std::string_view blanks = " \t\n\v\f\r";

// The keywords of the protocol itself. A request with the last one holds another one, sealed.
constexpr std::array reservedKinds{helloKeyword, serverNameKey, std::string_view("Sealed")};

bool isBuiltIn(std::string_view kind) {
  return std::ranges::find(allKinds(), kind, &Kind::name) != allKinds().end();
}

bool hasBlankAtEnd(std::string_view text) {
  return text.find_first_not_of(blanks) != 0 || text.find_last_not_of(blanks) != text.size() - 1;
}

// Returns the part of `text` before its first equals sign and the part after it.
std::pair<std::string_view, std::string_view> splitAtEqualsSign(std::string_view text) {
  const std::size_t size = std::min(text.find('='), text.size());
  return {text.substr(0, size), text.substr(std::min(size + 1, text.size()))};
}

}  // namespace

std::string kindProblem(std::string_view kind) {
  if (kind.empty()) return "the kind is empty";
  const std::string subject = "the kind " + inQuotes(kind);
  if (isBuiltIn(kind)) return subject + " is built in";
  if (std::ranges::find(reservedKinds, kind) != reservedKinds.end()) {
    return subject + " is reserved";
  }
  const bool isText = pathValue(kind).asString() != nullptr;
  if (!isText) return subject + " is not UTF-8";
  if (hasBlankAtEnd(kind)) return subject + " begins or ends with a blank";
  return {};
}

std::string commandProblem(const std::vector<std::string> &words) {
  if (words.empty()) return "the program is missing";
  if (words.front().starts_with('/')) return {};
  return "the program " + inQuotes(words.front()) +
         " is not an absolute path such as /usr/bin/uptime";
}

Handler handlerOf(std::vector<std::string> words) {
  Handler handler{std::move(words.front()), {}};
  words.erase(words.begin());
  handler.arguments = std::move(words);
  return handler;
}

std::vector<std::string> wordsOf(std::string_view command) {
  std::vector<std::string> words;
  for (;;) {
    command.remove_prefix(std::min(command.find_first_not_of(blanks), command.size()));
    if (command.empty()) return words;
    const std::size_t size = std::min(command.find_first_of(blanks), command.size());
    words.emplace_back(command.substr(0, size));
    command.remove_prefix(size);
  }
}

std::string handleProblem(const std::string &text) {
  const auto [kind, command] = splitAtEqualsSign(text);
  const std::string problem = kindProblem(kind);
  return problem.empty() ? commandProblem(wordsOf(command)) : problem;
}

std::pair<std::string, Handler> readHandle(std::string_view text) {
  const auto [kind, command] = splitAtEqualsSign(text);
  return {std::string(kind), handlerOf(wordsOf(command))};
}

}  // namespace kt::tools
