// SPDX-License-Identifier: MIT

#include <array>
#include <charconv>
#include <memory_resource>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "kt/foundation/PropertyListText.h"
#include "kt/foundation/Utf8.h"

namespace kt {

// Room for the text of an ordinary message, in bytes, so that it is not moved as it grows.
constexpr std::size_t ordinaryTextSize = 256;

// Writes one value. Containers that are begun and not yet ended stand on a stack of their own, so
// that a value may be nested as deep as memory holds.
class PropertyListWriter {
 public:
  template <class Value>
  void write(const Value &value) {
    begin(value);
    finish();
  }

  std::string takeText() { return std::move(text_); }

 private:
  // A container of which the first `written` children have been begun.
  struct Open {
    const Array *array;            // null for a dictionary
    const Dictionary *dictionary;  // null for an array
    std::size_t written;
  };

  // Writes a scalar or an empty container whole; of others only the opening bracket.
  void begin(const PropertyList &value);
  void begin(const Array &array);
  void begin(const Dictionary &dictionary);

  void finish();
  void continueArray();
  void continueDictionary();

  void writeString(std::string_view string);
  void writeEscaped(std::string_view &rest);
  void writeControl(char character);
  void writeUnit(char32_t unit);
  void writeCharacter(char32_t codePoint);
  void writeNumber(PropertyList::Number number);
  void writeData(const Data &data);

  std::string text_;
  std::array<std::byte, 16 * sizeof(Open)> memory_;  // for as many as a message has
  std::pmr::monotonic_buffer_resource resource_{memory_.data(), memory_.size()};
  std::pmr::vector<Open> open_{&resource_};  // the innermost container last
};

// ---- Structure ----

void PropertyListWriter::begin(const PropertyList &value) {
  if (const auto *string = std::get_if<std::string>(&value.value_)) {
    writeString(*string);
  } else if (const auto *dictionary = std::get_if<Dictionary>(&value.value_)) {
    begin(*dictionary);
  } else if (const auto *number = std::get_if<PropertyList::Number>(&value.value_)) {
    writeNumber(*number);
  } else if (const auto *array = std::get_if<Array>(&value.value_)) {
    begin(*array);
  } else {
    writeData(std::get<Data>(value.value_));
  }
}

void PropertyListWriter::begin(const Array &array) {
  text_ += array.empty() ? "()" : "( ";
  if (!array.empty()) open_.push_back({&array, nullptr, 0});
}

void PropertyListWriter::begin(const Dictionary &dictionary) {
  text_ += dictionary.empty() ? "{}" : "{ ";
  if (!dictionary.empty()) open_.push_back({nullptr, &dictionary, 0});
}

void PropertyListWriter::finish() {
  if (!open_.empty()) text_.reserve(ordinaryTextSize);
  while (!open_.empty()) {
    if (open_.back().array != nullptr) {
      continueArray();
    } else {
      continueDictionary();
    }
  }
}

void PropertyListWriter::continueArray() {
  Open &open = open_.back();
  if (open.written == open.array->size()) {
    text_ += " )";
    open_.pop_back();
    return;
  }
  if (open.written > 0) text_ += ", ";
  begin((*open.array)[open.written++]);
}

void PropertyListWriter::continueDictionary() {
  Open &open = open_.back();
  if (open.written > 0) text_ += "; ";
  if (open.written == open.dictionary->size()) {
    text_ += '}';
    open_.pop_back();
    return;
  }
  const auto &[key, value] = open.dictionary->begin()[static_cast<std::ptrdiff_t>(open.written++)];
  writeString(key);
  text_ += " = ";
  begin(value);
}

// ---- Scalars ----

void PropertyListWriter::writeString(std::string_view string) {
  if (!string.empty() && runOf(writtenBare, string) == string.size()) {
    text_ += string;
    return;
  }
  text_ += '"';
  while (!string.empty()) {
    const std::size_t run = runOf(writtenAsItself, string);
    text_ += string.substr(0, run);
    string.remove_prefix(run);
    if (!string.empty()) writeEscaped(string);
  }
  text_ += '"';
}

// Writes the first character of `rest` and takes it away.
void PropertyListWriter::writeEscaped(std::string_view &rest) {
  const Utf8Character character = firstUtf8Character(rest);
  if (character.codePoint < 0x80) {
    writeControl(rest.front());
  } else {
    writeCharacter(character.codePoint);
  }
  rest.remove_prefix(character.byteCount);
}

// Quotation mark, backslash, or a control character. Octal has always three digits, since a digit
// may follow.
void PropertyListWriter::writeControl(char character) {
  constexpr std::string_view escaped = "\"\\\a\b\f\n\r\t\v";
  constexpr std::string_view letters = "\"\\abfnrtv";
  const std::size_t index = escaped.find(character);
  text_ += '\\';
  if (index != std::string_view::npos) {
    text_ += letters[index];
    return;
  }
  for (const int shift : {6, 3, 0}) {
    text_ += static_cast<char>('0' + ((character >> shift) & 7));
  }
}

void PropertyListWriter::writeUnit(char32_t unit) {
  text_ += "\\U";
  for (const int shift : {12, 8, 4, 0}) {
    text_ += "0123456789abcdef"[(unit >> shift) & 15];
  }
}

void PropertyListWriter::writeCharacter(char32_t codePoint) {
  if (codePoint < 0x10000) {
    writeUnit(codePoint);
  } else {
    writeUnit(0xD7C0 + (codePoint >> 10));
    writeUnit(0xDC00 + (codePoint & 0x3FF));
  }
}

// A negative number is written in quotes, as the string with its digits is.
void PropertyListWriter::writeNumber(PropertyList::Number number) {
  char digits[20];
  const auto end = std::to_chars(std::begin(digits), std::end(digits), number.magnitude).ptr;
  if (number.negative) text_ += "\"-";
  text_.append(digits, end);
  if (number.negative) text_ += '"';
}

void PropertyListWriter::writeData(const Data &data) {
  text_ += '<';
  for (const std::byte byte : data) {
    text_ += "0123456789abcdef"[std::to_integer<unsigned>(byte >> 4)];
    text_ += "0123456789abcdef"[std::to_integer<unsigned>(byte & std::byte{15})];
  }
  text_ += '>';
}

std::string PropertyList::description() const {
  PropertyListWriter writer;
  writer.write(*this);
  return writer.takeText();
}

std::string Dictionary::description() const {
  PropertyListWriter writer;
  writer.write(*this);
  return writer.takeText();
}

}  // namespace kt
