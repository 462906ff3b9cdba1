// SPDX-License-Identifier: MIT

#include "tools/ktd/ConfigurationKeys.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <utility>

#include "kt/foundation/Format.h"
#include "tools/common/Arguments.h"
#include "tools/common/Paths.h"
#include "tools/ktd/HandlerText.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// ---- Errors ----

[[noreturn]] void refuse(const Part &part, const std::string &problem) {
  throw PropertyListError(part.whole, part.offset, problem);
}

[[noreturn]] void refuse(const Setting &setting, const std::string &problem) {
  refuse(setting.part, std::string(setting.key) + ": " + problem);
}

std::string shown(const PropertyList &value) {
  if (const std::string *text = value.asString()) return inQuotes(*text);
  if (const Array *array = value.asArray()) return array->empty() ? "an empty array" : "an array";
  return value.asDictionary() != nullptr ? "a dictionary" : value.description();
}

[[noreturn]] void refuseAsNot(const Setting &setting, const char *wanted) {
  refuse(setting, shown(setting.value) + " is not " + wanted);
}

// ---- Texts and lists ----

// Returns the bytes of a string or of data.
std::string textIn(const Setting &setting, const char *wanted) {
  std::optional<std::string> text = pathBytes(setting.value);
  if (!text) refuseAsNot(setting, wanted);
  if (text->find('\0') != std::string::npos) {
    refuse(setting, shown(setting.value) + " has a NUL, which no text may have here");
  }
  return *std::move(text);
}

// Returns what `read` makes of the text.
template <auto read>
auto valueIn(const Setting &setting, const char *wanted) {
  auto value = read(textIn(setting, wanted));
  if (!value) refuseAsNot(setting, wanted);
  return *std::move(value);
}

// Returns the elements of an array, or the only value.
std::vector<Setting> settingsIn(const Setting &setting) {
  if (setting.value.asArray() == nullptr) return {setting};
  std::vector<Setting> settings;
  for (const Part &element : elementsOf(setting.part)) {
    settings.push_back({setting.key, element, element.value()});
  }
  return settings;
}

std::vector<std::string> textsIn(const Setting &setting, const char *wanted) {
  std::vector<std::string> texts;
  for (const Setting &element : settingsIn(setting)) {
    texts.push_back(textIn(element, wanted));
  }
  return texts;
}

Array valuesOf(const std::vector<std::string> &texts) {
  Array values;
  for (const std::string &text : texts) {
    values.push_back(pathValue(text));
  }
  return values;
}

// ---- Servers ----

void readSignature(const Setting &setting, Configuration &configuration) {
  configuration.signature = textIn(setting, "a text");
}

std::optional<PropertyList> signatureOf(const Configuration &configuration) {
  return pathValue(configuration.signature);
}

void readPorts(const Setting &setting, Configuration &configuration) {
  if (setting.value.asArray() == nullptr) {
    configuration.ports = valueIn<tools::readPorts>(setting, portsWanted);
    return;
  }
  configuration.ports.clear();
  for (const Setting &element : settingsIn(setting)) {
    configuration.ports.push_back(valueIn<readPort>(element, portWanted));
  }
  if (configuration.ports.empty()) refuseAsNot(setting, portsWanted);
}

std::optional<PropertyList> portsOf(const Configuration &configuration) {
  return Array(configuration.ports.begin(), configuration.ports.end());
}

void readBroadcast(const Setting &setting, Configuration &configuration) {
  configuration.broadcast = valueIn<readAddress>(setting, addressWanted);
}

std::optional<PropertyList> broadcastOf(const Configuration &configuration) {
  if (!configuration.broadcast) return std::nullopt;
  return *configuration.broadcast;
}

template <bool Configuration::*flag>
void readFlag(const Setting &setting, Configuration &configuration) {
  configuration.*flag = valueIn<readYesOrNo>(setting, yesOrNoWanted);
}

template <bool Configuration::*flag>
std::optional<PropertyList> flagOf(const Configuration &configuration) {
  return configuration.*flag ? "YES" : "NO";
}

void readWorkers(const Setting &setting, Configuration &configuration) {
  configuration.workers = valueIn<tools::readWorkers>(setting, workersWanted);
}

std::optional<PropertyList> workersOf(const Configuration &configuration) {
  return configuration.workers;
}

// ---- Files ----

constexpr const char *pathWanted = "a path";
constexpr const char *extensionWanted = "an extension";

void readFiles(const Setting &setting, Configuration &configuration) {
  configuration.service.files.roots = textsIn(setting, pathWanted);
}

std::optional<PropertyList> filesOf(const Configuration &configuration) {
  return valuesOf(configuration.service.files.roots);
}

void checkFiles(const Setting &setting, const Configuration & /*configuration*/) {
  for (const Setting &element : settingsIn(setting)) {
    const std::string root = textIn(element, pathWanted);
    if (const auto problem = whyNotServed(root)) refuse(element.part, *problem);
  }
}

// Returns the texts between commas as the command line reads them, without empty ones; an empty
// text is one extension.
std::vector<std::string> splitAtCommas(const std::string &text) {
  if (text.empty()) return {text};
  std::vector<std::string> texts;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find(',', start), text.size());
    if (end > start) texts.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return texts;
}

std::string extensionIn(const Setting &setting) {
  std::string type = textIn(setting, extensionWanted);
  if (const std::string problem = extensionProblem(type); !problem.empty()) {
    refuse(setting, problem);
  }
  return type;
}

void readTypes(const Setting &setting, Configuration &configuration) {
  std::vector<std::string> &types = configuration.service.files.types;
  types.clear();
  if (setting.value.asArray() != nullptr) {
    for (const Setting &element : settingsIn(setting)) {
      types.push_back(extensionIn(element));
    }
    return;
  }
  for (const std::string &type : splitAtCommas(textIn(setting, extensionWanted))) {
    types.push_back(extensionIn({setting.key, setting.part, type}));
  }
}

std::optional<PropertyList> typesOf(const Configuration &configuration) {
  return valuesOf(configuration.service.files.types);
}

void checkTypes(const Setting &setting, const Configuration &configuration) {
  const ServedFiles &files = configuration.service.files;
  if (!files.types.empty() && files.roots.empty()) refuse(setting.part, "types requires files");
}

// ---- Handlers ----

constexpr const char *wordWanted = "a program or an argument";

std::vector<std::string> commandIn(const Setting &setting) {
  const bool isArray = setting.value.asArray() != nullptr;
  return isArray ? textsIn(setting, wordWanted) : wordsOf(textIn(setting, wordWanted));
}

// Returns the handler that an entry of the dictionary describes, with its kind.
std::pair<std::string, Handler> handlerIn(const Setting &handlers, const EntryParts &entry) {
  const Setting kind{handlers.key, entry.key, entry.key.value()};
  std::string name = textIn(kind, "a kind");
  if (const std::string problem = kindProblem(name); !problem.empty()) refuse(kind, problem);
  const Setting command{handlers.key, entry.value, entry.value.value()};
  std::vector<std::string> words = commandIn(command);
  if (const std::string problem = commandProblem(words); !problem.empty()) {
    refuse(command, problem);
  }
  return {std::move(name), handlerOf(std::move(words))};
}

void readHandlers(const Setting &setting, Configuration &configuration) {
  if (setting.value.asDictionary() == nullptr) {
    refuseAsNot(setting, "a dictionary such as { Uptime = ( /usr/bin/uptime ); }");
  }
  configuration.service.handlers.clear();
  for (const EntryParts &entry : entriesOf(setting.part)) {
    const auto [kind, handler] = handlerIn(setting, entry);
    if (!configuration.service.handlers.emplace(kind, handler).second) {
      refuse(entry.key, kt::format("handle: the kind %s is repeated", inQuotes(kind)));
    }
  }
}

std::optional<PropertyList> handlersOf(const Configuration &configuration) {
  Dictionary commands;
  for (const auto &[kind, handler] : configuration.service.handlers) {
    Array words = valuesOf(handler.arguments);
    words.insert(words.begin(), pathValue(handler.program));
    commands[kind] = std::move(words);
  }
  return commands;
}

void checkHandlers(const Setting &setting, const Configuration & /*configuration*/) {
  for (const EntryParts &entry : entriesOf(setting.part)) {
    const auto [kind, handler] = handlerIn(setting, entry);
    if (const auto problem = whyNotStarted(handler)) refuse(entry.value, *problem);
  }
}

void readHandlerTimeout(const Setting &setting, Configuration &configuration) {
  configuration.service.handlerTimeout = valueIn<readTimeLimit>(setting, timeLimitWanted);
}

std::optional<PropertyList> handlerTimeoutOf(const Configuration &configuration) {
  const double seconds =
      std::chrono::duration<double>(configuration.service.handlerTimeout).count();
  std::array<char, 32> digits;
  const auto end = std::to_chars(digits.begin(), digits.end(), seconds, std::chars_format::fixed);
  return std::string(digits.begin(), end.ptr);
}

// ---- All keys ----

constexpr std::array keys{
    ConfigurationKey{"broadcast", readBroadcast, broadcastOf},
    ConfigurationKey{"debug", readFlag<&Configuration::debug>, flagOf<&Configuration::debug>},
    ConfigurationKey{"files", readFiles, filesOf, checkFiles},
    ConfigurationKey{"handle", readHandlers, handlersOf, checkHandlers},
    ConfigurationKey{"handler-timeout", readHandlerTimeout, handlerTimeoutOf},
    ConfigurationKey{"ports", readPorts, portsOf},
    ConfigurationKey{"signature", readSignature, signatureOf},
    ConfigurationKey{"types", readTypes, typesOf, checkTypes},
    ConfigurationKey{"unique", readFlag<&Configuration::unique>, flagOf<&Configuration::unique>},
    ConfigurationKey{"workers", readWorkers, workersOf},
};

}  // namespace

std::span<const ConfigurationKey> configurationKeys() {
  return keys;
}

std::optional<std::string> whyNotServed(const std::string &root) {
  const std::optional<std::string> reason = whyNotListed(root);
  if (!reason) return std::nullopt;
  return kt::format("the files of %s can't be served: %s", inQuotes(root), *reason);
}

std::optional<std::string> whyNotStarted(const Handler &handler) {
  const std::optional<std::string> reason = whyNotRun(handler.program);
  if (!reason) return std::nullopt;
  return kt::format("the program %s can't be run: %s", inQuotes(handler.program), *reason);
}

}  // namespace kt::tools
