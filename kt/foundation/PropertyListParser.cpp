// SPDX-License-Identifier: MIT

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include "kt/foundation/NextstepCharacters.h"
#include "kt/foundation/PropertyList.h"
#include "kt/foundation/PropertyListText.h"
#include "kt/foundation/Utf8.h"

namespace kt::plist {

// Parses one text in a single pass. Every value is made in its final place: an open container is
// the last child of the one around it and does not move before it is closed.
class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text), rest_(text) {}

  PropertyList parse();

 private:
  void skipByteOrderMark();
  void skipBlanks();
  bool skipComment();

  void readValue(PropertyList &value);
  void open(PropertyList &container);
  PropertyList *findNextValue();
  PropertyList *findChild(PropertyList &container);
  PropertyList *findElement(Array &array);
  PropertyList *findEntry(Dictionary &dictionary);

  std::string_view takeBare();
  void readQuoted(std::string &string);
  void readPiece(char quote);
  void readRaw();
  void readEscape();
  char32_t readOctal();
  char32_t readUnicode();
  Data readData();

  bool take(char character);
  [[nodiscard]] char next() const { return rest_.empty() ? '\0' : rest_.front(); }
  [[noreturn]] void fail(std::string_view expected) const;
  [[noreturn]] void fail(std::string_view expected, std::string_view found) const;

  std::string_view text_;                          // the whole text
  std::string_view rest_;                          // the part that is still to be read; never grows
  std::size_t depth_ = 0;                          // how many containers are open
  std::array<PropertyList *, nestingLimit> open_;  // these containers, the innermost at depth_ - 1
  std::string decoded_;  // the start, as far as read, of a string with escapes or beyond ASCII
};

// ---- Errors ----

namespace {

std::string inQuotes(std::string_view text) {
  return '\'' + std::string(text) + '\'';
}

// Names the character at the start of `rest`. Never repeats a control character, which could reach
// a terminal.
std::string nameOfFirst(std::string_view rest) {
  if (rest.empty()) return "the end of the text";
  if (rest.front() >= ' ' && rest.front() <= '~') return inQuotes(rest.substr(0, 1));
  const Utf8Character character = firstUtf8Character(rest);
  if (!character.wellFormed) return "a byte that is not UTF-8";
  std::array<char, 12> name{};
  std::snprintf(name.data(), name.size(), "U+%04lX",
                static_cast<unsigned long>(character.codePoint));
  return name.data();
}

}  // namespace

void Parser::fail(std::string_view expected) const {
  fail(expected, nameOfFirst(rest_));
}

void Parser::fail(std::string_view expected, std::string_view found) const {
  std::string problem = "expected ";
  problem.append(expected).append(", found ").append(found);
  throw PropertyListError(text_, text_.size() - rest_.size(), problem);
}

// ---- Between tokens ----

inline bool Parser::take(char character) {
  if (!rest_.starts_with(character)) return false;
  rest_.remove_prefix(1);
  return true;
}

void Parser::skipByteOrderMark() {
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  if (rest_.starts_with(mark)) rest_.remove_prefix(mark.size());
}

inline void Parser::skipBlanks() {
  do {
    rest_.remove_prefix(runOf(blank, rest_));
  } while (next() == '/' && skipComment());
}

// Returns false if a bare string, not a comment, begins here.
bool Parser::skipComment() {
  if (rest_.starts_with("//")) {
    rest_.remove_prefix(std::min(rest_.find_first_of("\n\r"), rest_.size()));
    return true;
  }
  if (!rest_.starts_with("/*")) return false;
  const std::size_t end = rest_.find("*/", 2);
  if (end == std::string_view::npos) {
    rest_.remove_prefix(rest_.size());
    fail("'*/'");
  }
  rest_.remove_prefix(end + 2);
  return true;
}

// Takes a bare string; an empty one if a quoted string follows.
inline std::string_view Parser::takeBare() {
  const std::string_view bare = rest_.substr(0, runOf(readBare, rest_));
  rest_.remove_prefix(bare.size());
  return bare;
}

// ---- Structure ----

PropertyList Parser::parse() {
  PropertyList root;
  skipByteOrderMark();
  for (PropertyList *value = &root; value != nullptr; value = findNextValue()) {
    readValue(*value);
  }
  skipBlanks();
  if (!rest_.empty()) fail("nothing more");
  return root;
}

// Reads a whole scalar, or only the opening bracket of a container.
// Requires: `value` is an empty string.
void Parser::readValue(PropertyList &value) {
  skipBlanks();
  switch (next()) {
    case '{':
      open(value);
      value.value_.emplace<Dictionary>();
      return;
    case '(':
      open(value);
      value.value_.emplace<Array>();
      return;
    case '<':
      value.value_ = readData();
      return;
    default:
      if (!isA(beginsString, next())) fail("a value");
      if (auto &string = value.value_.emplace<std::string>(takeBare()); string.empty()) {
        readQuoted(string);
      }
  }
}

void Parser::open(PropertyList &container) {
  if (depth_ == nestingLimit) {
    fail("at most " + std::to_string(nestingLimit) + " containers in each other");
  }
  rest_.remove_prefix(1);
  open_[depth_++] = &container;
}

// Proceeds to the start of the next value, closes the containers that end before it, and returns a
// place for it. Returns null if the outermost value is complete.
PropertyList *Parser::findNextValue() {
  for (; depth_ > 0; --depth_) {
    skipBlanks();
    if (PropertyList *value = findChild(*open_[depth_ - 1])) return value;
  }
  return nullptr;
}

// Returns a place for the next child of `container`, or null after its closing bracket.
inline PropertyList *Parser::findChild(PropertyList &container) {
  switch (container.kind()) {
    case PropertyList::Kind::array:
      return findElement(*std::get_if<Array>(&container.value_));
    case PropertyList::Kind::dictionary:
      return findEntry(*std::get_if<Dictionary>(&container.value_));
    case PropertyList::Kind::string:
    case PropertyList::Kind::number:
    case PropertyList::Kind::data:
      break;
  }
  __builtin_unreachable();  // only containers are open
}

// An ordinary message has at most this many elements; they do not move while the array grows.
constexpr std::size_t fewElements = 4;

PropertyList *Parser::findElement(Array &array) {
  if (take(')')) return nullptr;
  if (!array.empty()) {
    if (!take(',')) fail("',' or ')'");
    skipBlanks();
    if (take(')')) return nullptr;
  }
  if (array.empty()) array.reserve(fewElements);
  return &array.emplace_back();
}

PropertyList *Parser::findEntry(Dictionary &dictionary) {
  if (!dictionary.empty()) {
    if (take(';')) {
      skipBlanks();
    } else if (next() != '}') {
      fail("';' or '}'");
    }
  }
  if (take('}')) {
    dictionary.normalise();
    return nullptr;
  }
  if (!isA(beginsString, next())) fail("a key or '}'");
  auto &[key, value] = dictionary.append(takeBare());
  if (key.empty()) readQuoted(key);
  skipBlanks();
  if (!take('=')) fail("'='");
  return &value;
}

// ---- Strings ----

void Parser::readQuoted(std::string &string) {
  const char quote = next();
  rest_.remove_prefix(1);
  const std::size_t run = runOf(readAsItself, rest_);
  if (run < rest_.size() && rest_[run] == quote) {
    string.assign(rest_.data(), run);
    rest_.remove_prefix(run + 1);
    return;
  }
  decoded_.clear();
  while (!take(quote)) {
    readPiece(quote);
  }
  string.assign(decoded_);
}

// Reads a run of plain characters and the character after it, unless that ends the string.
void Parser::readPiece(char quote) {
  const std::size_t run = runOf(readAsItself, rest_);
  decoded_.append(rest_.data(), run);
  rest_.remove_prefix(run);
  if (rest_.empty()) fail(quote == '"' ? "a closing '\"'" : "a closing \"'\"");
  if (take('\\')) {
    readEscape();
  } else if (rest_.front() != quote) {
    readRaw();
  }
}

// Reads one character that is the other quotation mark or beyond ASCII.
void Parser::readRaw() {
  const Utf8Character character = firstUtf8Character(rest_);
  if (character.wellFormed) {
    decoded_.append(rest_.data(), character.byteCount);
  } else {
    appendUtf8(decoded_, character.codePoint);
  }
  rest_.remove_prefix(character.byteCount);
}

// Reads the part of an escape after the backslash. A character without a meaning there is itself.
void Parser::readEscape() {
  if (rest_.empty()) fail("a character after '\\'");
  const char character = rest_.front();
  if (character >= '0' && character <= '7') return appendUtf8(decoded_, readOctal());
  if (character == 'U' || character == 'u') return appendUtf8(decoded_, readUnicode());
  constexpr std::string_view letters = "abfnrtv";
  constexpr std::string_view meanings = "\a\b\f\n\r\t\v";
  const std::size_t index = letters.find(character);
  if (index == std::string_view::npos) return readRaw();
  rest_.remove_prefix(1);
  decoded_ += meanings[index];
}

namespace {

std::size_t digitCount(std::string_view text) {
  return runOf(hexadecimalDigit, text.substr(0, 4));
}

char32_t unitOf(std::string_view digits) {
  char32_t unit = 0;
  for (const char digit : digits) {
    unit = unit * 16 + hexadecimalValue(digit);
  }
  return unit;
}

bool isHighSurrogate(char32_t unit) {
  return (unit & 0xFC00) == 0xD800;
}
bool isLowSurrogate(char32_t unit) {
  return (unit & 0xFC00) == 0xDC00;
}

}  // namespace

char32_t Parser::readOctal() {
  unsigned code = 0;
  std::size_t count = 0;
  while (count < 3 && count < rest_.size() && rest_[count] >= '0' && rest_[count] <= '7') {
    code = code * 8 + static_cast<unsigned>(rest_[count++] - '0');
  }
  if (code > 0377) fail("an octal code up to 377", inQuotes(rest_.substr(0, count)));
  rest_.remove_prefix(count);
  return code < 0200 ? char32_t{code} : nextstepCharacters[code - 0200];
}

// Reads `U` or `u` and one to four digits, which name a UTF-16 unit, or two such escapes that are a
// surrogate pair.
char32_t Parser::readUnicode() {
  rest_.remove_prefix(1);
  const std::size_t count = digitCount(rest_);
  if (count == 0) fail("a hexadecimal digit");
  const char32_t unit = unitOf(rest_.substr(0, count));
  rest_.remove_prefix(count);
  if (!isHighSurrogate(unit) && !isLowSurrogate(unit)) return unit;
  if (rest_.starts_with("\\U") || rest_.starts_with("\\u")) {
    const char32_t low = unitOf(rest_.substr(2, digitCount(rest_.substr(2))));
    if (isHighSurrogate(unit) && isLowSurrogate(low)) {
      rest_.remove_prefix(6);
      return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
    }
  }
  return replacementCharacter;
}

// ---- Data ----

Data Parser::readData() {
  rest_.remove_prefix(1);
  Data data;
  for (;;) {
    rest_.remove_prefix(runOf(blank, rest_));
    if (take('>')) return data;
    if (!isA(hexadecimalDigit, next())) fail("a hexadecimal digit or '>'");
    const unsigned high = hexadecimalValue(next());
    rest_.remove_prefix(1 + runOf(blank, rest_.substr(1)));
    if (!isA(hexadecimalDigit, next())) fail("a second hexadecimal digit");
    data.push_back(static_cast<std::byte>(high * 16 + hexadecimalValue(next())));
    rest_.remove_prefix(1);
  }
}

}  // namespace kt::plist

namespace kt {

PropertyList PropertyList::parse(std::string_view text) {
  return plist::Parser(text).parse();
}

}  // namespace kt
