// SPDX-License-Identifier: MIT

#include <array>
#include <charconv>
#include <memory_resource>
#include <vector>

#include "kt/foundation/PropertyList.h"
#include "kt/foundation/PropertyListText.h"
#include "kt/foundation/Utf8.h"

namespace kt::plist {

// Room for the text of an ordinary message, in bytes, so that it does not move while it grows.
constexpr std::size_t ordinaryTextSize = 256;

// Writes one value. Open containers are kept on a stack of the writer's own, so that only memory
// limits how deep values may be nested.
class Writer {
 public:
  template <class Value>
  void write(const Value &value) {
    begin(value);
    finish();
  }

  std::string takeText() { return std::move(text_); }

 private:
  // Containers that are being written; the children from `next` on have not been begun.
  struct OpenArray {
    const Array *array;
    Array::const_iterator next;
  };
  struct OpenDictionary {
    const Dictionary *dictionary;
    Dictionary::const_iterator next;
  };
  using Open = std::variant<OpenArray, OpenDictionary>;

  // Writes a whole scalar or empty container, or only the opening bracket of another container.
  void begin(const PropertyList &value);
  void begin(const Array &array);
  void begin(const Dictionary &dictionary);

  // Writes what is missing of the open containers.
  void finish();
  void proceed(OpenArray &open);
  void proceed(OpenDictionary &open);

  void writeString(std::string_view string);
  void writeEscaped(std::string_view &rest);
  void writeControl(char character);
  void writeUnit(char32_t unit);
  void writeCharacter(char32_t codePoint);
  void writeNumber(PropertyList::Number number);
  void writeData(const Data &data);

  std::string text_;
  std::array<std::byte, 16 * sizeof(Open)> memory_;  // for as many as an ordinary message has
  std::pmr::monotonic_buffer_resource resource_{memory_.data(), memory_.size()};
  std::pmr::vector<Open> open_{&resource_};  // the innermost container last
};

// ---- Structure ----

void Writer::begin(const PropertyList &value) {
  switch (value.kind()) {
    [[likely]] case PropertyList::Kind::string
        : return writeString(*std::get_if<std::string>(&value.value_));
    case PropertyList::Kind::number:
      return writeNumber(*std::get_if<PropertyList::Number>(&value.value_));
    case PropertyList::Kind::data:
      return writeData(*std::get_if<Data>(&value.value_));
    case PropertyList::Kind::array:
      return begin(*std::get_if<Array>(&value.value_));
    case PropertyList::Kind::dictionary:
      return begin(*std::get_if<Dictionary>(&value.value_));
  }
}

void Writer::begin(const Array &array) {
  text_ += array.empty() ? "()" : "( ";
  if (!array.empty()) open_.push_back(OpenArray{&array, array.begin()});
}

void Writer::begin(const Dictionary &dictionary) {
  text_ += dictionary.empty() ? "{}" : "{ ";
  if (!dictionary.empty()) open_.push_back(OpenDictionary{&dictionary, dictionary.begin()});
}

void Writer::finish() {
  if (!open_.empty()) text_.reserve(ordinaryTextSize);
  while (!open_.empty()) {
    std::visit([this](auto &open) { proceed(open); }, open_.back());
  }
}

void Writer::proceed(OpenArray &open) {
  if (open.next == open.array->end()) {
    text_ += " )";
    open_.pop_back();
    return;
  }
  if (open.next != open.array->begin()) text_ += ", ";
  begin(*open.next++);
}

void Writer::proceed(OpenDictionary &open) {
  if (open.next != open.dictionary->begin()) text_ += "; ";
  if (open.next == open.dictionary->end()) {
    text_ += '}';
    open_.pop_back();
    return;
  }
  const auto &[key, value] = *open.next++;
  writeString(key);
  text_ += " = ";
  begin(value);
}

// ---- Scalars ----

void Writer::writeString(std::string_view string) {
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

// Writes the first character of `rest` and removes it from there.
void Writer::writeEscaped(std::string_view &rest) {
  const Utf8Character character = firstUtf8Character(rest);
  if (character.codePoint < 0x80) {
    writeControl(rest.front());
  } else {
    writeCharacter(character.codePoint);
  }
  rest.remove_prefix(character.byteCount);
}

// Writes a quotation mark, a backslash or a control character. Octal codes have three digits
// because a digit may follow.
void Writer::writeControl(char character) {
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

void Writer::writeUnit(char32_t unit) {
  text_ += "\\U";
  for (const int shift : {12, 8, 4, 0}) {
    text_ += "0123456789abcdef"[(unit >> shift) & 15];
  }
}

void Writer::writeCharacter(char32_t codePoint) {
  if (codePoint < 0x10000) {
    writeUnit(codePoint);
  } else {
    writeUnit(0xD7C0 + (codePoint >> 10));
    writeUnit(0xDC00 + (codePoint & 0x3FF));
  }
}

// Writes a negative number in quotes, because '-' is not a bare character.
void Writer::writeNumber(PropertyList::Number number) {
  char digits[20];
  const auto end = std::to_chars(std::begin(digits), std::end(digits), number.magnitude).ptr;
  if (number.negative) text_ += "\"-";
  text_.append(digits, end);
  if (number.negative) text_ += '"';
}

void Writer::writeData(const Data &data) {
  text_ += '<';
  for (const std::byte byte : data) {
    text_ += "0123456789abcdef"[std::to_integer<unsigned>(byte >> 4)];
    text_ += "0123456789abcdef"[std::to_integer<unsigned>(byte & std::byte{15})];
  }
  text_ += '>';
}

}  // namespace kt::plist

namespace kt {

std::string PropertyList::description() const {
  plist::Writer writer;
  writer.write(*this);
  return writer.takeText();
}

std::string Dictionary::description() const {
  plist::Writer writer;
  writer.write(*this);
  return writer.takeText();
}

}  // namespace kt
