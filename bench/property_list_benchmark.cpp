// SPDX-License-Identifier: MIT

// Measures parsing and writing property-list text against two JSON libraries on the same values: a
// request envelope of about 200 bytes and one of about 60 KB. Each call includes making and
// destroying the result, as a request does. Also measures filling a dictionary with many keys in
// rising, falling and random order.
#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "bench/ratios.h"
#include "kt/foundation/PropertyList.h"

namespace {

using kt::Array;
using kt::Dictionary;
using kt::PropertyList;
using nlohmann::json;

// One value as each of the three libraries holds it, with the text that each writes.
struct Sample {
  explicit Sample(json twin) : json_(std::move(twin)), text(json_.dump()) {
    rapid.Parse(text.data(), text.size());
    list = toPropertyList(json_);
    listText = list.description();
  }

  static PropertyList toPropertyList(const json &value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_number()) return value.get<std::int64_t>();
    if (value.is_array()) {
      Array array;
      for (const json &element : value) {
        array.push_back(toPropertyList(element));
      }
      return array;
    }
    Dictionary dictionary;
    for (const auto &[key, element] : value.items()) {
      dictionary[key] = toPropertyList(element);
    }
    return dictionary;
  }

  json json_;
  std::string text;  // JSON
  rapidjson::Document rapid;
  PropertyList list;
  std::string listText;
};

json envelopeAround(json packet) {
  return {{"_Signature", "KtUDP"}, {"_Handshake", 12345}, {"_DataPacket", std::move(packet)}};
}

const Sample &small() {
  static const Sample sample(envelopeAround({{"KtUDPKeyword", "Measure"},
                                             {"Device", "thermometer 4"},
                                             {"Room", "server_room_2"},
                                             {"Since", 1700000000},
                                             {"Unit", "celsius"},
                                             {"Samples", 60}}));
  return sample;
}

// A listing of files, as a document server might answer: names with blanks and accents, paths,
// numbers, arrays, escapes.
const Sample &large() {
  static const Sample sample = [] {
    json files = json::array();
    for (int number = 0; number < 320; ++number) {
      const std::string index = std::to_string(number);
      files.push_back({{"Name", (number % 10 == 0 ? "r\u00E9sum\u00E9 " : "report ") + index},
                       {"Path", "/srv/documents/2026/" + index + ".txt"},
                       {"Size", number * 7919},
                       {"Owner", number % 3 == 0 ? "administrator" : "guest"},
                       {"Tags", json::array({"draft", "quarter_" + index})},
                       {"Note", "line one\nand \"line two\" of a short remark"}});
    }
    return Sample(envelopeAround({{"KtUDPKeyword", "Listing"}, {"Files", std::move(files)}}));
  }();
  return sample;
}

void countBytes(benchmark::State &state, const std::string &text) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(text.size()));
}

using SampleOf = const Sample &(*)();

void parseKt(benchmark::State &state, SampleOf sample) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(PropertyList::parse(sample().listText));
  }
  countBytes(state, sample().listText);
}

void parseRapidjson(benchmark::State &state, SampleOf sample) {
  for (auto _ : state) {
    rapidjson::Document document;
    document.Parse(sample().text.data(), sample().text.size());
    benchmark::DoNotOptimize(document.IsObject());
  }
  countBytes(state, sample().text);
}

void parseNlohmann(benchmark::State &state, SampleOf sample) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(json::parse(sample().text));
  }
  countBytes(state, sample().text);
}

void writeKt(benchmark::State &state, SampleOf sample) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(sample().list.description());
  }
  countBytes(state, sample().listText);
}

void writeRapidjson(benchmark::State &state, SampleOf sample) {
  for (auto _ : state) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    sample().rapid.Accept(writer);
    benchmark::DoNotOptimize(buffer.GetString());
  }
  countBytes(state, sample().text);
}

void writeNlohmann(benchmark::State &state, SampleOf sample) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(sample().json_.dump());
  }
  countBytes(state, sample().text);
}

// ---- Filling a dictionary ----

std::vector<std::string> risingKeys(std::int64_t count) {
  std::vector<std::string> keys;
  for (std::int64_t number = 0; number < count; ++number) {
    const std::string digits = std::to_string(number);
    keys.push_back(std::string("key_0000000", 11 - digits.size()) + digits);
  }
  return keys;
}

std::vector<std::string> fallingKeys(std::int64_t count) {
  std::vector<std::string> keys = risingKeys(count);
  std::reverse(keys.begin(), keys.end());
  return keys;
}

std::vector<std::string> randomKeys(std::int64_t count) {
  std::vector<std::string> keys = risingKeys(count);
  std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
  return keys;
}

using KeysInOrder = std::vector<std::string> (*)(std::int64_t count);

template <class Map>
void fill(benchmark::State &state, KeysInOrder keysInOrder, std::int64_t count) {
  const std::vector<std::string> keys = keysInOrder(count);
  for (auto _ : state) {
    Map map;
    for (const std::string &key : keys) {
      map[key] = 1;
    }
    benchmark::DoNotOptimize(map);
  }
  state.SetItemsProcessed(state.iterations() * count);
}

void fillKt(benchmark::State &state, KeysInOrder keysInOrder, std::int64_t count) {
  fill<Dictionary>(state, keysInOrder, count);
}

void fillNlohmann(benchmark::State &state, KeysInOrder keysInOrder, std::int64_t count) {
  fill<json>(state, keysInOrder, count);
}

BENCHMARK_CAPTURE(parseKt, small, small);
BENCHMARK_CAPTURE(parseRapidjson, small, small);
BENCHMARK_CAPTURE(parseNlohmann, small, small);
BENCHMARK_CAPTURE(writeKt, small, small);
BENCHMARK_CAPTURE(writeRapidjson, small, small);
BENCHMARK_CAPTURE(writeNlohmann, small, small);
BENCHMARK_CAPTURE(parseKt, large, large);
BENCHMARK_CAPTURE(parseRapidjson, large, large);
BENCHMARK_CAPTURE(parseNlohmann, large, large);
BENCHMARK_CAPTURE(writeKt, large, large);
BENCHMARK_CAPTURE(writeRapidjson, large, large);
BENCHMARK_CAPTURE(writeNlohmann, large, large);
BENCHMARK_CAPTURE(fillKt, rising_60000, risingKeys, 60'000)->Iterations(1);
BENCHMARK_CAPTURE(fillKt, rising_1000000, risingKeys, 1'000'000)->Iterations(1);
BENCHMARK_CAPTURE(fillKt, falling_60000, fallingKeys, 60'000)->Iterations(1);
BENCHMARK_CAPTURE(fillKt, falling_1000000, fallingKeys, 1'000'000)->Iterations(1);
BENCHMARK_CAPTURE(fillKt, random_60000, randomKeys, 60'000)->Iterations(1);
BENCHMARK_CAPTURE(fillKt, random_1000000, randomKeys, 1'000'000)->Iterations(1);
BENCHMARK_CAPTURE(fillNlohmann, random_60000, randomKeys, 60'000)->Iterations(1);

}  // namespace

int main(int argc, char **argv) {
  std::printf("bytes of text: small %zu (JSON %zu), large %zu (JSON %zu)\n",
              small().listText.size(), small().text.size(), large().listText.size(),
              large().text.size());
  using bench::Per;
  // 1,000,000 keys are 16.7 times as many as 60,000; their order takes 21 times as many
  // comparisons, more of which miss the cache.
  return bench::runWithRatios(argc, argv,
                              {{"parseKt/small", "parseRapidjson/small", 2},
                               {"parseKt/small", "parseNlohmann/small", 0.5},
                               {"writeKt/small", "writeRapidjson/small", 2},
                               {"writeKt/small", "writeNlohmann/small", 0.5},
                               {"parseKt/large", "parseRapidjson/large", 2, Per::byte},
                               {"parseKt/large", "parseNlohmann/large", 0.5, Per::byte},
                               {"writeKt/large", "writeRapidjson/large", 2, Per::byte},
                               {"writeKt/large", "writeNlohmann/large", 0.5, Per::byte},
                               {"fillKt/rising_1000000", "fillKt/rising_60000", 40},
                               {"fillKt/falling_1000000", "fillKt/falling_60000", 40},
                               {"fillKt/random_1000000", "fillKt/random_60000", 100},
                               {"fillKt/random_60000", "fillNlohmann/random_60000", 2}});
}
