// SPDX-License-Identifier: MIT

#include "tools/kt/Json.h"

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "kt/foundation/Format.h"

namespace kt::tools {

namespace {

// ---- Property lists as JSON values ----

using Json = nlohmann::ordered_json;

Json jsonValue(const PropertyList &value);

std::string hexadecimal(const Data &data) {
  std::string digits;
  for (const std::byte byte : data) {
    digits += kt::format("%02x", std::to_integer<int>(byte));
  }
  return digits;
}

Json jsonValue(const Array &array) {
  Json elements = Json::array();
  for (const PropertyList &element : array) {
    elements.push_back(jsonValue(element));
  }
  return elements;
}

Json jsonValue(const Dictionary &dictionary) {
  Json object = Json::object();
  for (const auto &[key, value] : dictionary) {
    object[key] = jsonValue(value);
  }
  return object;
}

Json jsonValue(const PropertyList &value) {
  switch (value.kind()) {
    case PropertyList::Kind::string:
      return *value.asString();
    case PropertyList::Kind::number:
      return value.description();
    case PropertyList::Kind::data:
      return {{"data", hexadecimal(*value.asData())}};
    case PropertyList::Kind::array:
      return jsonValue(*value.asArray());
    case PropertyList::Kind::dictionary:
      return jsonValue(*value.asDictionary());
  }
  std::abort();  // not reached: there is no other kind
}

std::string lineOf(const Json &value) {
  constexpr int onOneLine = -1;
  constexpr bool asAscii = true;
  return value.dump(onOneLine, ' ', asAscii, Json::error_handler_t::replace);
}

}  // namespace

std::string jsonOf(const PropertyList &value) {
  return lineOf(jsonValue(value));
}

std::string jsonOf(const Dictionary &dictionary) {
  return lineOf(jsonValue(dictionary));
}

// ---- Objects ----

JsonObject &JsonObject::addText(std::string_view key, std::string_view text) {
  return addMember(key, lineOf(Json(text)));
}

JsonObject &JsonObject::addValue(std::string_view key, const PropertyList &value) {
  return addMember(key, jsonOf(value));
}

JsonObject &JsonObject::addNumber(std::string_view key, std::int64_t number) {
  return addMember(key, std::to_string(number));
}

JsonObject &JsonObject::addNumber(std::string_view key, double number) {
  return addMember(key, lineOf(Json(number)));
}

JsonObject &JsonObject::addNull(std::string_view key) {
  return addMember(key, "null");
}

JsonObject &JsonObject::addMember(std::string_view key, const std::string &json) {
  if (members_.size() > 1) members_ += ',';
  members_ += lineOf(Json(key)) + ':' + json;
  return *this;
}

}  // namespace kt::tools
