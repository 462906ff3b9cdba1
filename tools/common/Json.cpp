// SPDX-License-Identifier: MIT

#include "tools/common/Json.h"

#include <cstdlib>
#include <nlohmann/json.hpp>  // in no header: it takes seconds to compile

#include "kt/foundation/Format.h"

namespace kt::tools {

namespace {

using Json = nlohmann::ordered_json;

// Returns the value on one line of ASCII. Ill-formed UTF-8 becomes U+FFFD.
std::string lineOf(const Json &value) {
  constexpr int onOneLine = -1;
  constexpr bool asAscii = true;
  return value.dump(onOneLine, ' ', asAscii, Json::error_handler_t::replace);
}

Json valueOf(const PropertyList &value, std::string_view dataKey);

Json valueOf(const Data &data, std::string_view dataKey) {
  std::string digits;
  for (const std::byte byte : data) {
    digits += kt::format("%02x", std::to_integer<int>(byte));
  }
  return Json::object({{std::string(dataKey), digits}});
}

Json valueOf(const Array &array, std::string_view dataKey) {
  Json elements = Json::array();
  for (const PropertyList &element : array) {
    elements.push_back(valueOf(element, dataKey));
  }
  return elements;
}

Json valueOf(const Dictionary &dictionary, std::string_view dataKey) {
  Json object = Json::object();
  auto &members = object.get_ref<Json::object_t &>();
  for (const auto &[key, value] : dictionary) {
    members.emplace_back(key, valueOf(value, dataKey));  // object[key] looks at each member
  }
  return object;
}

Json valueOf(const PropertyList &value, std::string_view dataKey) {
  switch (value.kind()) {
    case PropertyList::Kind::string:
      return *value.asString();
    case PropertyList::Kind::number:
      return value.description();
    case PropertyList::Kind::data:
      return valueOf(*value.asData(), dataKey);
    case PropertyList::Kind::array:
      return valueOf(*value.asArray(), dataKey);
    case PropertyList::Kind::dictionary:
      return valueOf(*value.asDictionary(), dataKey);
  }
  std::abort();  // not reached: the cases are all kinds
}

}  // namespace

// ---- Property lists ----

std::string jsonOf(const PropertyList &value, std::string_view dataKey) {
  return lineOf(valueOf(value, dataKey));
}

std::string jsonOf(const Dictionary &dictionary, std::string_view dataKey) {
  return lineOf(valueOf(dictionary, dataKey));
}

// ---- Objects ----

JsonObject &JsonObject::addText(std::string_view key, std::string_view text) {
  return add(key, lineOf(std::string(text)));
}

JsonObject &JsonObject::addValue(std::string_view key, const PropertyList &value) {
  return add(key, jsonOf(value));
}

JsonObject &JsonObject::addNumber(std::string_view key, std::int64_t number) {
  return add(key, lineOf(number));
}

JsonObject &JsonObject::addNumber(std::string_view key, double number) {
  return add(key, lineOf(number));
}

JsonObject &JsonObject::addNull(std::string_view key) {
  return add(key, lineOf(nullptr));
}

JsonObject &JsonObject::add(std::string_view key, std::string_view json) {
  if (members_.size() > 1) members_ += ',';
  members_ += lineOf(std::string(key)) + ':';
  members_ += json;
  return *this;
}

}  // namespace kt::tools
