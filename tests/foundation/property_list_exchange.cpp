// SPDX-License-Identifier: MIT

// The toolkit's side of the comparison with another reader and writer of property lists; see
// property_list_oracle.py.
//
//   property_list_exchange write SEED COUNT   writes COUNT random values from SEED, each as a line
//                                             of text and a line of JSON
//   property_list_exchange read               reads a text from each line of hexadecimal digits and
//                                             writes the line of JSON
//
// In the JSON, strings are strings, data is { "data": "hexadecimal digits" }, arrays are arrays,
// and dictionaries are { "dictionary": { ... } }.
#include <array>
#include <cstdio>
#include <iostream>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"
#include "tests/foundation/PropertyListSupport.h"

namespace {

using kt::PropertyList;

std::string hexadecimal(const kt::Data &data) {
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

std::string json(const kt::Array &array) {
  std::string text = "[";
  for (const PropertyList &element : array) {
    text += (text.size() > 1 ? "," : "") + json(element);
  }
  return text + "]";
}

std::string json(const kt::Dictionary &dictionary) {
  std::string text = "{\"dictionary\":{";
  const char *separator = "";
  for (const auto &[key, value] : dictionary) {
    text += separator + jsonString(key) + ':' + json(value);
    separator = ",";
  }
  return text + "}}";
}

std::string json(const PropertyList &value) {
  if (const auto *string = value.asString()) return jsonString(*string);
  if (const auto *array = value.asArray()) return json(*array);
  if (const auto *dictionary = value.asDictionary()) return json(*dictionary);
  return "{\"data\":\"" + hexadecimal(*value.asData()) + "\"}";
}

void writeValues(std::uint32_t seed, int count) {
  kt::test::RandomValues random(seed);
  for (int i = 0; i < count; ++i) {
    const PropertyList value = random.value(4);
    std::cout << value.description() << '\n' << json(value) << '\n';
  }
}

void readTexts() {
  for (std::string line; std::getline(std::cin, line);) {
    const PropertyList bytes = PropertyList::parse('<' + line + '>');
    const kt::Data &data = *bytes.asData();
    const std::string_view text(reinterpret_cast<const char *>(data.data()), data.size());
    std::cout << json(PropertyList::parse(text)) << '\n';
  }
}

}  // namespace

int main(int argc, char **argv) {
  const std::string_view mode = argc > 1 ? argv[1] : "";
  if (mode == "write" && argc == 4) {
    writeValues(static_cast<std::uint32_t>(std::stoul(argv[2])), std::stoi(argv[3]));
  } else if (mode == "read") {
    readTexts();
  } else {
    std::cerr << "usage: property_list_exchange write SEED COUNT | read\n";
    return 2;
  }
  return 0;
}
