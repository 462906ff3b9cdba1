// SPDX-License-Identifier: MIT

#include "tools/kt/Json.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "kt/foundation/Format.h"
#include "kt/foundation/Utf8.h"

namespace kt::tools {

namespace {

// ---- Strings ----

// Returns the escape of a character that JSON abbreviates, or null.
const char *shortEscape(char32_t character) {
  switch (character) {
    case U'"':
      return "\\\"";
    case U'\\':
      return "\\\\";
    case U'\b':
      return "\\b";
    case U'\f':
      return "\\f";
    case U'\n':
      return "\\n";
    case U'\r':
      return "\\r";
    case U'\t':
      return "\\t";
    default:
      return nullptr;
  }
}

void appendCharacter(std::string &json, char32_t character) {
  constexpr char32_t firstSupplementary = 0x10000;  // from here on, a surrogate pair
  if (const char *escape = shortEscape(character); escape != nullptr) {
    json += escape;
  } else if (character >= U' ' && character <= U'~') {
    json += static_cast<char>(character);
  } else if (character < firstSupplementary) {
    json += kt::format("\\u%04x", static_cast<std::uint32_t>(character));
  } else {
    const auto offset = static_cast<std::uint32_t>(character - firstSupplementary);
    json += kt::format("\\u%04x\\u%04x", 0xd800 + (offset >> 10), 0xdc00 + (offset & 0x3ff));
  }
}

// Ill-formed UTF-8 becomes U+FFFD.
void appendString(std::string &json, std::string_view text) {
  json += '"';
  while (!text.empty()) {
    const Utf8Character character = firstUtf8Character(text);
    appendCharacter(json, character.codePoint);
    text.remove_prefix(character.byteCount);
  }
  json += '"';
}

// ---- Property lists ----

void appendValue(std::string &json, const PropertyList &value);

void appendData(std::string &json, const Data &data) {
  json += R"({"data":")";
  for (const std::byte byte : data) {
    json += kt::format("%02x", std::to_integer<int>(byte));
  }
  json += "\"}";
}

void appendArray(std::string &json, const Array &array) {
  const char *separator = "";
  json += '[';
  for (const PropertyList &element : array) {
    json += std::exchange(separator, ",");
    appendValue(json, element);
  }
  json += ']';
}

void appendDictionary(std::string &json, const Dictionary &dictionary) {
  const char *separator = "";
  json += '{';
  for (const auto &[key, value] : dictionary) {
    json += std::exchange(separator, ",");
    appendString(json, key);
    json += ':';
    appendValue(json, value);
  }
  json += '}';
}

void appendValue(std::string &json, const PropertyList &value) {
  switch (value.kind()) {
    case PropertyList::Kind::string:
      return appendString(json, *value.asString());
    case PropertyList::Kind::number:
      return appendString(json, value.description());
    case PropertyList::Kind::data:
      return appendData(json, *value.asData());
    case PropertyList::Kind::array:
      return appendArray(json, *value.asArray());
    case PropertyList::Kind::dictionary:
      return appendDictionary(json, *value.asDictionary());
  }
  std::abort();  // not reached: the cases are all kinds
}

}  // namespace

std::string jsonOf(const PropertyList &value) {
  std::string json;
  appendValue(json, value);
  return json;
}

std::string jsonOf(const Dictionary &dictionary) {
  std::string json;
  appendDictionary(json, dictionary);
  return json;
}

// ---- Objects ----

JsonObject &JsonObject::addText(std::string_view key, std::string_view text) {
  beginMember(key);
  appendString(members_, text);
  return *this;
}

JsonObject &JsonObject::addValue(std::string_view key, const PropertyList &value) {
  beginMember(key);
  appendValue(members_, value);
  return *this;
}

JsonObject &JsonObject::addNumber(std::string_view key, std::int64_t number) {
  beginMember(key);
  members_ += std::to_string(number);
  return *this;
}

// Numbers of ordinary size are written without an exponent, and always with a decimal point.
JsonObject &JsonObject::addNumber(std::string_view key, double number) {
  beginMember(key);
  const double size = std::abs(number);
  const bool isPlain = size == 0 || (size >= 1e-4 && size < 1e15);
  std::array<char, 64> digits{};
  const char *end =
      std::to_chars(digits.data(), digits.data() + digits.size(), number,
                    isPlain ? std::chars_format::fixed : std::chars_format::scientific)
          .ptr;
  const std::string_view text(digits.data(), static_cast<std::size_t>(end - digits.data()));
  members_ += text;
  if (text.find_first_of(".e") == std::string_view::npos) members_ += ".0";
  return *this;
}

JsonObject &JsonObject::addNull(std::string_view key) {
  beginMember(key);
  members_ += "null";
  return *this;
}

void JsonObject::beginMember(std::string_view key) {
  if (members_.size() > 1) members_ += ',';
  appendString(members_, key);
  members_ += ':';
}

}  // namespace kt::tools
