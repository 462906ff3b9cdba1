// SPDX-License-Identifier: MIT

#include "tools/text/PropertyListParts.h"

#include <algorithm>

#include "kt/foundation/PropertyListText.h"

namespace kt::tools {

namespace {

// Returns the length of the comment at the start of `rest`, or 0 if there is none.
std::size_t commentSize(std::string_view rest) {
  if (rest.starts_with("//")) return std::min(rest.find_first_of("\n\r"), rest.size());
  if (rest.starts_with("/*")) return rest.find("*/", 2) + 2;
  return 0;
}

// Returns the length of the quoted string at the start of `rest`.
std::size_t quotedSize(std::string_view rest) {
  std::size_t position = 1;
  while (rest[position] != rest.front()) {
    position += rest[position] == '\\' ? 2 : 1;
  }
  return position + 1;
}

// Returns the length of the string, the data or the single character at the start of `rest`.
std::size_t tokenSize(std::string_view rest) {
  if (rest.starts_with('"') || rest.starts_with('\'')) return quotedSize(rest);
  if (rest.starts_with('<')) return rest.find('>') + 1;
  return std::max<std::size_t>(1, plist::runOf(plist::readBare, rest));
}

// Takes the tokens of a part from first to last.
class Scanner {
 public:
  explicit Scanner(const Part &part)
      : whole_(part.whole), rest_(part.whole.substr(part.offset, part.size)) {}

  // Returns the character that the next token begins with; NUL after the last one.
  char next() {
    skipBlanks();
    return rest_.empty() ? '\0' : rest_.front();
  }

  Part takeToken() {
    skipBlanks();
    const Part token{whole_, offset(), tokenSize(rest_)};
    rest_.remove_prefix(token.size);
    return token;
  }

  // Takes a token, or all tokens from an opening bracket to its closing one.
  Part takeValue() {
    Part value{whole_, 0, 0};
    std::size_t depth = 0;
    do {
      const char first = next();
      const Part token = takeToken();
      if (value.size == 0) value.offset = token.offset;
      if (first == '(' || first == '{') ++depth;
      if (first == ')' || first == '}') --depth;
      value.size = offset() - value.offset;
    } while (depth > 0);
    return value;
  }

 private:
  [[nodiscard]] std::size_t offset() const {
    return static_cast<std::size_t>(rest_.data() - whole_.data());
  }

  void skipBlanks() {
    std::size_t comment = 0;
    do {
      rest_.remove_prefix(plist::runOf(plist::blank, rest_));
      comment = commentSize(rest_);
      rest_.remove_prefix(comment);
    } while (comment > 0);
  }

  std::string_view whole_;  // the text that the part belongs to
  std::string_view rest_;   // what is still to be taken of the part
};

}  // namespace

PropertyList Part::value() const {
  return PropertyList::parse(whole.substr(offset, size));
}

Part outermostPart(std::string_view text) {
  (void)PropertyList::parse(text);  // throws if the tokens don't fit together
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  const std::size_t start = text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
  return Scanner({text, start, text.size() - start}).takeValue();
}

std::vector<Part> elementsOf(const Part &array) {
  std::vector<Part> elements;
  Scanner scanner(array);
  scanner.takeToken();  // the bracket
  while (scanner.next() != ')') {
    elements.push_back(scanner.takeValue());
    if (scanner.next() == ',') scanner.takeToken();
  }
  return elements;
}

std::vector<EntryParts> entriesOf(const Part &dictionary) {
  std::vector<EntryParts> entries;
  Scanner scanner(dictionary);
  scanner.takeToken();  // the bracket
  while (scanner.next() != '}') {
    const Part key = scanner.takeToken();
    scanner.takeToken();  // the equals sign
    entries.push_back({key, scanner.takeValue()});
    if (scanner.next() == ';') scanner.takeToken();
  }
  return entries;
}

}  // namespace kt::tools
