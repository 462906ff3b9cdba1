// SPDX-License-Identifier: MIT

#include "tools/kt/Json.h"

#include <string>

#include "kt/foundation/Format.h"
#include "tools/common/Output.h"

namespace kt::tools {

namespace {

std::string hexadecimal(const Data &data) {
  std::string digits;
  for (const std::byte byte : data) {
    digits += kt::format("%02x", std::to_integer<int>(byte));
  }
  return digits;
}

Json jsonOf(const Array &array) {
  Json elements = Json::array();
  for (const PropertyList &element : array) {
    elements.push_back(tools::jsonOf(element));
  }
  return elements;
}

}  // namespace

Json jsonOf(const PropertyList &value) {
  if (const std::string *text = value.asString()) return *text;
  if (const Array *array = value.asArray()) return jsonOf(*array);
  if (const Dictionary *dictionary = value.asDictionary()) return jsonOf(*dictionary);
  if (const Data *data = value.asData()) return {{"data", hexadecimal(*data)}};
  return value.description();  // a number
}

Json jsonOf(const Dictionary &dictionary) {
  Json object = Json::object();
  for (const auto &[key, value] : dictionary) {
    object[key] = jsonOf(value);
  }
  return object;
}

std::string lineOf(const Json &value) {
  constexpr int onOneLine = -1;
  constexpr bool asAscii = true;
  return value.dump(onOneLine, ' ', asAscii, Json::error_handler_t::replace);
}

void printJson(const Json &value) {
  printLine(lineOf(value));
}

}  // namespace kt::tools
