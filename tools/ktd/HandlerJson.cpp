// SPDX-License-Identifier: MIT

#include "tools/ktd/HandlerJson.h"

#include <cstdint>
#include <nlohmann/json.hpp>  // in no header: it takes seconds to compile
#include <optional>
#include <utility>
#include <vector>

#include "kt/foundation/Format.h"
#include "kt/foundation/PropertyListText.h"
#include "tools/common/Json.h"
#include "tools/common/Paths.h"
#include "tools/common/Requests.h"

namespace kt::tools {

namespace {

constexpr std::string_view dataKey = "$data";

// How many containers an answer may nest: it travels inside an envelope, which is one of those that
// a reader accepts.
constexpr std::size_t deepestAnswer = plist::nestingLimit - 1;

// ---- Data ----

// Returns the data that an object of this form stands for: {"$data":"0fbd77"}.
std::optional<PropertyList> dataIn(const Dictionary &object) {
  const std::optional<std::string_view> digits = object.string(dataKey);
  if (object.size() != 1 || !digits || digits->size() % 2 != 0) return std::nullopt;
  if (plist::runOf(plist::hexadecimalDigit, *digits) != digits->size()) return std::nullopt;
  return PropertyList::parse('<' + std::string(*digits) + '>');
}

// ---- Reading ----

// Makes property lists from the events of nlohmann's reader, which does not recurse. An event
// returns false to end the reading.
class AnswerBuilder : public nlohmann::json_sax<nlohmann::json> {
 public:
  // Returns the object that was read, or nothing if the text was a value of another kind.
  [[nodiscard]] std::optional<Dictionary> takeObject() {
    if (result_.asDictionary() == nullptr) return std::nullopt;
    return std::move(*result_.asDictionary());
  }

  // Returns whether the reading ended inside an object because of its depth.
  [[nodiscard]] bool isTooDeepObject() const {
    return tooDeep_ && open_.front().value.asDictionary() != nullptr;
  }

  bool null() override { return add(""); }
  bool boolean(bool truth) override { return add(truth ? "1" : "0"); }
  bool number_integer(std::int64_t number) override { return add(number); }
  bool number_unsigned(std::uint64_t number) override { return add(number); }
  bool number_float(double, const std::string &text) override { return add(text); }
  bool string(std::string &text) override { return add(std::move(text)); }
  bool binary(nlohmann::json::binary_t &) override { return false; }  // not in text

  bool start_object(std::size_t) override { return open(Dictionary()); }
  bool key(std::string &key) override {
    open_.back().key = std::move(key);
    return true;
  }
  bool end_object() override { return close(); }
  bool start_array(std::size_t) override { return open(Array()); }
  bool end_array() override { return close(); }

  bool parse_error(std::size_t, const std::string &, const nlohmann::detail::exception &) override {
    return false;
  }

 private:
  struct Container {
    PropertyList value;
    std::string key;  // of the next entry; unused in an array
  };

  bool open(PropertyList container) {
    // Data in the deepest container is one object deeper.
    tooDeep_ = open_.size() > deepestAnswer;
    if (!tooDeep_) open_.push_back({std::move(container), {}});
    return !tooDeep_;
  }

  bool close() {
    PropertyList value = std::move(open_.back().value);
    open_.pop_back();
    // The answer itself is a dictionary, whatever it looks like.
    if (const Dictionary *object = value.asDictionary(); object != nullptr && !open_.empty()) {
      if (std::optional<PropertyList> data = dataIn(*object)) return add(*std::move(data));
    }
    tooDeep_ = open_.size() >= deepestAnswer;
    return !tooDeep_ && add(std::move(value));
  }

  bool add(PropertyList value) {
    if (open_.empty()) {
      result_ = std::move(value);
    } else if (Array *array = open_.back().value.asArray()) {
      array->push_back(std::move(value));
    } else {
      (*open_.back().value.asDictionary())[open_.back().key] = std::move(value);
    }
    return true;
  }

  std::vector<Container> open_;  // the containers that are being read, the outermost first
  PropertyList result_;          // once the outermost value has ended
  bool tooDeep_ = false;  // whether the reading ended for this reason; open_ is then not empty
};

Dictionary textAnswer(std::string_view output) {
  PropertyList whole = pathValue(output);
  if (whole.asData() != nullptr) return {{outputKey, std::move(whole)}};
  if (output.ends_with('\n')) output.remove_suffix(1);
  return {{outputKey, output}};
}

}  // namespace

std::string handlerInput(const Dictionary &packet) {
  return jsonOf(packet, dataKey) + '\n';
}

Dictionary handlerAnswer(std::string_view output) {
  AnswerBuilder builder;
  const bool isJson = nlohmann::json::sax_parse(output.begin(), output.end(), &builder);
  if (builder.isTooDeepObject()) {
    return {{errorKey, kt::format("The program's answer nests deeper than %d.", deepestAnswer)}};
  }
  std::optional<Dictionary> object = isJson ? builder.takeObject() : std::nullopt;
  return object ? *std::move(object) : textAnswer(output);
}

}  // namespace kt::tools
