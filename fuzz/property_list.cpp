// SPDX-License-Identifier: MIT

// Checks that any text that can be read can be written as printable ASCII, that this reads back as
// the same value, and that the value is written as the same text again.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "kt/foundation/PropertyList.h"
#include "tests/support/Require.h"

using kt::test::require;

namespace {

bool isPrintable(char character) {
  return character >= ' ' && character <= '~';
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char *>(data), size);
  try {
    const kt::PropertyList value = kt::PropertyList::parse(text);
    const std::string written = value.description();
    require(std::all_of(written.begin(), written.end(), isPrintable));
    const kt::PropertyList again = kt::PropertyList::parse(written);
    require(again == value);
    require(again.description() == written);
    require(kt::PropertyList(again) == value);
  } catch (const kt::PropertyListError &error) {
    require(error.offset() <= size);
    require(error.line() >= 1 && error.line() <= size + 1);
    require(error.column() >= 1 && error.column() <= size + 1);
  }
  return 0;
}
