// SPDX-License-Identifier: MIT

#include "tools/ktd/ConfigurationFile.h"

#include <utility>
#include <vector>

#include "kt/foundation/Format.h"
#include "tools/common/Failure.h"
#include "tools/common/Input.h"
#include "tools/ktd/ConfigurationKeys.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// ---- Reading ----

[[noreturn]] void refuse(const Part &part, const std::string &problem) {
  throw PropertyListError(part.whole, part.offset, problem);
}

std::string keyNames() {
  std::string names;
  for (const ConfigurationKey &key : configurationKeys()) {
    if (!names.empty()) names += ", ";
    names += key.name;
  }
  return names;
}

const ConfigurationKey &keyNamed(const Part &part) {
  const PropertyList name = part.value();
  for (const ConfigurationKey &key : configurationKeys()) {
    if (name == key.name) return key;
  }
  refuse(part, "unknown key " + inQuotes(*name.asString()) + ". The keys are: " + keyNames() + '.');
}

// Sets what the text says; throws PropertyListError.
void apply(std::string_view text, const KeySet &given, Configuration &configuration) {
  const Part whole = outermostPart(text);
  if (whole.value().asDictionary() == nullptr) {
    refuse(whole, "expected a dictionary such as { signature = Office; }");
  }
  std::vector<std::pair<const ConfigurationKey *, Setting>> settings;
  KeySet seen;
  Configuration unused;
  for (const EntryParts &entry : entriesOf(whole)) {
    const ConfigurationKey &key = keyNamed(entry.key);
    if (!seen.emplace(key.name).second) {
      refuse(entry.key, kt::format("the key %s is repeated", inQuotes(key.name)));
    }
    const Setting setting{key.name, entry.value, entry.value.value()};
    key.read(setting, given.contains(key.name) ? unused : configuration);
    settings.emplace_back(&key, setting);
  }
  for (const auto &[key, setting] : settings) {
    const bool isUsed = !given.contains(key->name);
    if (isUsed && key->check != nullptr) key->check(setting, configuration);
  }
}

// ---- Writing ----

// Appends the dictionary with an entry per line.
void appendLines(const Dictionary &dictionary, const std::string &indentation, std::string &text) {
  if (dictionary.empty()) {
    text += "{}";
    return;
  }
  text += "{\n";
  for (const auto &[key, value] : dictionary) {
    text += indentation + "  " + PropertyList(key).description() + " = ";
    if (const Dictionary *inner = value.asDictionary()) {
      appendLines(*inner, indentation + "  ", text);
    } else {
      text += value.description();
    }
    text += ";\n";
  }
  text += indentation + '}';
}

}  // namespace

void applyConfigurationFile(const std::string &path, const KeySet &given,
                            Configuration &configuration) {
  const std::string text = contentsOfFile(path);
  try {
    apply(text, given, configuration);
  } catch (const PropertyListError &error) {
    throw Failure(escaped(path) + ", " + escaped(error.what()));
  }
}

std::string textOf(const Configuration &configuration) {
  Dictionary dictionary;
  for (const ConfigurationKey &key : configurationKeys()) {
    if (auto value = key.valueOf(configuration)) dictionary[key.name] = *std::move(value);
  }
  std::string text;
  appendLines(dictionary, "", text);
  return text + '\n';
}

}  // namespace kt::tools
