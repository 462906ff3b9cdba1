// SPDX-License-Identifier: MIT

// Reads and writes property lists for property_list_oracle.py, which compares them with those of
// another implementation.
//
//   property_list_exchange write SEED COUNT   Writes COUNT random values made from SEED. Each takes
//                                             two lines: its text and its JSON.
//   property_list_exchange read               Reads lines, each a text in hexadecimal digits, and
//                                             writes the JSON of each.
//
// In JSON a string is a string, data is { "data": "hexadecimal digits" }, an array is an array, and
// a dictionary is { "dictionary": { ... } }.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"
#include "tests/foundation/PropertyListSupport.h"

namespace kt::test {
namespace {

std::string hexadecimal(const Data &data) {
  std::string digits;
  for (const std::byte byte : data) {
    std::array<char, 3> pair{};
    std::snprintf(pair.data(), pair.size(), "%02x", std::to_integer<unsigned>(byte));
    digits += pair.data();
  }
  return digits;
}

std::string jsonString(const std::string &text) {
  std::string json = "\"";
  for (const char character : text) {
    if (static_cast<unsigned char>(character) < ' ') {
      std::array<char, 8> escape{};
      std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(character));
      json += escape.data();
      continue;
    }
    if (character == '"' || character == '\\') json += '\\';
    json += character;
  }
  return json + '"';
}

std::string json(const PropertyList &value);

std::string json(const Array &array) {
  std::string text = "[";
  for (const PropertyList &element : array) {
    text += (text.size() > 1 ? "," : "") + json(element);
  }
  return text + "]";
}

std::string json(const Dictionary &dictionary) {
  std::string text = "{\"dictionary\":{";
  const char *separator = "";
  for (const auto &[key, value] : dictionary) {
    text += separator + jsonString(key) + ':' + json(value);
    separator = ",";
  }
  return text + "}}";
}

std::string json(const PropertyList &value) {
  switch (value.kind()) {
    case PropertyList::Kind::string:
      return jsonString(*value.asString());
    case PropertyList::Kind::number:
      break;  // text has no numbers, only strings of digits
    case PropertyList::Kind::data:
      return "{\"data\":\"" + hexadecimal(*value.asData()) + "\"}";
    case PropertyList::Kind::array:
      return json(*value.asArray());
    case PropertyList::Kind::dictionary:
      return json(*value.asDictionary());
  }
  std::abort();
}

void writeValues(std::uint32_t seed, int count) {
  RandomValues random(seed);
  for (int i = 0; i < count; ++i) {
    const PropertyList value = random.value(4);
    std::cout << value.description() << '\n' << json(value) << '\n';
  }
}

void readTexts() {
  for (std::string line; std::getline(std::cin, line);) {
    const PropertyList bytes = PropertyList::parse('<' + line + '>');
    const Data &data = *bytes.asData();
    const std::string_view text(reinterpret_cast<const char *>(data.data()), data.size());
    std::cout << json(PropertyList::parse(text)) << '\n';
  }
}

}  // namespace
}  // namespace kt::test

int main(int argc, char **argv) {
  const std::string_view mode = argc > 1 ? argv[1] : "";
  if (mode == "write" && argc == 4) {
    kt::test::writeValues(static_cast<std::uint32_t>(std::stoul(argv[2])), std::stoi(argv[3]));
  } else if (mode == "read") {
    kt::test::readTexts();
  } else {
    std::cerr << "usage: property_list_exchange write SEED COUNT | read\n";
    return 2;
  }
  return 0;
}
