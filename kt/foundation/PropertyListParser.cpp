// SPDX-License-Identifier: MIT

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

#include "kt/foundation/NextstepCharacters.h"
#include "kt/foundation/PropertyList.h"
#include "kt/foundation/PropertyListText.h"
#include "kt/foundation/Utf8.h"

namespace kt {

// Reads one text from its front to its end, once. Every value is made in its final place: a
// container that is open is the last child of the one around it and stays where it is until it is
// closed.
class PropertyListParser {
 public:
  explicit PropertyListParser(std::string_view text) : text_(text), rest_(text) {}

  PropertyList parse();

 private:
  void skipByteOrderMark();
  void skipBlanks();
  bool skipComment();

  void readValue(PropertyList &value);
  void open(PropertyList &container);
  PropertyList *findNextValue();
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

  std::string_view text_;  // the whole text
  std::string_view rest_;  // what is still to be read; only ever gets shorter
  std::size_t depth_ = 0;  // how many containers are open
  std::array<PropertyList *, nestingLimit> open_;  // those, the innermost at depth_ - 1
  std::string decoded_;  // of a string with escapes or beyond ASCII: what is read of it so far
};

// ---- Errors ----

namespace {

std::string quoted(std::string_view text) {
  return '\'' + std::string(text) + '\'';
}

// Names what stands at the front of `rest` without repeating control characters, which have no
// place on a terminal.
std::string nameOfFirst(std::string_view rest) {
  if (rest.empty()) return "the end of the text";
  if (rest.front() >= ' ' && rest.front() <= '~') return quoted(rest.substr(0, 1));
  const Utf8Character character = firstUtf8Character(rest);
  if (!character.wellFormed) return "a byte that is not UTF-8";
  std::array<char, 12> name{};
  std::snprintf(name.data(), name.size(), "U+%04lX",
                static_cast<unsigned long>(character.codePoint));
  return name.data();
}

}  // namespace

void PropertyListParser::fail(std::string_view expected) const {
  fail(expected, nameOfFirst(rest_));
}

void PropertyListParser::fail(std::string_view expected, std::string_view found) const {
  std::string problem = "expected ";
  problem.append(expected).append(", found ").append(found);
  throw PropertyListError(text_, text_.size() - rest_.size(), problem);
}

PropertyListError::Place PropertyListError::placeOf(std::string_view text, std::size_t offset) {
  std::string_view before = text.substr(0, offset);
  if (before.starts_with("\xEF\xBB\xBF")) before.remove_prefix(3);
  Place place{1, 1};
  while (!before.empty()) {
    const Utf8Character character = firstUtf8Character(before);
    before.remove_prefix(character.byteCount);
    ++place.column;
    if (character.codePoint == '\n' || (character.codePoint == '\r' && !before.starts_with('\n'))) {
      ++place.line;
      place.column = 1;
    }
  }
  return place;
}

PropertyListError::PropertyListError(std::string_view text, std::size_t offset,
                                     std::string_view problem)
    : PropertyListError(offset, placeOf(text, offset), problem) {}

PropertyListError::PropertyListError(std::size_t offset, Place place, std::string_view problem)
    : std::runtime_error("line " + std::to_string(place.line) + ", column " +
                         std::to_string(place.column) + ": " + std::string(problem)),
      offset_(offset),
      line_(place.line),
      column_(place.column) {}

// ---- Between tokens ----

inline bool PropertyListParser::take(char character) {
  if (!rest_.starts_with(character)) return false;
  rest_.remove_prefix(1);
  return true;
}

void PropertyListParser::skipByteOrderMark() {
  constexpr std::string_view mark = "\xEF\xBB\xBF";
  if (rest_.starts_with(mark)) rest_.remove_prefix(mark.size());
}

inline void PropertyListParser::skipBlanks() {
  do {
    rest_.remove_prefix(runOf(blank, rest_));
  } while (next() == '/' && skipComment());
}

// False when what begins here is no comment but a bare string.
bool PropertyListParser::skipComment() {
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

// Takes a bare string; an empty one when what comes next is quoted.
inline std::string_view PropertyListParser::takeBare() {
  const std::string_view bare = rest_.substr(0, runOf(readBare, rest_));
  rest_.remove_prefix(bare.size());
  return bare;
}

// ---- Structure ----

PropertyList PropertyListParser::parse() {
  PropertyList root;
  skipByteOrderMark();
  for (PropertyList *value = &root; value != nullptr; value = findNextValue()) {
    readValue(*value);
  }
  skipBlanks();
  if (!rest_.empty()) fail("nothing more");
  return root;
}

// Reads a scalar whole; of a container only the opening bracket. `value` is an empty string so far.
void PropertyListParser::readValue(PropertyList &value) {
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

void PropertyListParser::open(PropertyList &container) {
  if (depth_ == nestingLimit) {
    fail("at most " + std::to_string(nestingLimit) + " containers in each other");
  }
  rest_.remove_prefix(1);
  open_[depth_++] = &container;
}

// Goes on to where the next value begins, closing the containers that end before it, and makes room
// for it. Null when the outermost value is complete.
PropertyList *PropertyListParser::findNextValue() {
  for (; depth_ > 0; --depth_) {
    PropertyList &container = *open_[depth_ - 1];
    skipBlanks();
    if (auto *array = std::get_if<Array>(&container.value_)) {
      if (PropertyList *element = findElement(*array)) return element;
    } else {
      Dictionary &dictionary = *std::get_if<Dictionary>(&container.value_);
      if (PropertyList *value = findEntry(dictionary)) return value;
      dictionary.normalise();
    }
  }
  return nullptr;
}

constexpr std::size_t fewElements = 4;  // an ordinary message's: they are not moved as it grows

PropertyList *PropertyListParser::findElement(Array &array) {
  if (take(')')) return nullptr;
  if (!array.empty()) {
    if (!take(',')) fail("',' or ')'");
    skipBlanks();
    if (take(')')) return nullptr;
  }
  if (array.empty()) array.reserve(fewElements);
  return &array.emplace_back();
}

PropertyList *PropertyListParser::findEntry(Dictionary &dictionary) {
  if (!dictionary.empty()) {
    if (take(';')) {
      skipBlanks();
    } else if (next() != '}') {
      fail("';' or '}'");
    }
  }
  if (take('}')) return nullptr;
  if (!isA(beginsString, next())) fail("a key or '}'");
  auto &[key, value] = dictionary.append(takeBare());
  if (key.empty()) readQuoted(key);
  skipBlanks();
  if (!take('=')) fail("'='");
  return &value;
}

// ---- Strings ----

void PropertyListParser::readQuoted(std::string &string) {
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

// A run of plain characters and the one behind it, as far as it is not the end.
void PropertyListParser::readPiece(char quote) {
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

// One character that needs looking at: the other quotation mark, or one beyond ASCII.
void PropertyListParser::readRaw() {
  const Utf8Character character = firstUtf8Character(rest_);
  if (character.wellFormed) {
    decoded_.append(rest_.data(), character.byteCount);
  } else {
    appendUtf8(decoded_, character.codePoint);
  }
  rest_.remove_prefix(character.byteCount);
}

// What follows a backslash. Characters without a meaning there are left to be read as text.
void PropertyListParser::readEscape() {
  if (rest_.empty()) fail("a character behind '\\'");
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

char32_t PropertyListParser::readOctal() {
  unsigned code = 0;
  std::size_t count = 0;
  while (count < 3 && count < rest_.size() && rest_[count] >= '0' && rest_[count] <= '7') {
    code = code * 8 + static_cast<unsigned>(rest_[count++] - '0');
  }
  if (code > 0377) fail("an octal code up to 377", quoted(rest_.substr(0, count)));
  rest_.remove_prefix(count);
  return code < 0200 ? char32_t{code} : nextstepCharacters[code - 0200];
}

// The UTF-16 unit that `U` or `u` and one to four digits name, or two such escapes for the halves
// of one character.
char32_t PropertyListParser::readUnicode() {
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

Data PropertyListParser::readData() {
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

PropertyList PropertyList::parse(std::string_view text) {
  return PropertyListParser(text).parse();
}

}  // namespace kt
