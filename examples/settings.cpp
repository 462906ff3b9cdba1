// SPDX-License-Identifier: MIT

// Counts its starts in a file of settings: settings FILE
#include <iostream>
#include <system_error>

#include "kt/foundation/PropertyList.h"

int main(int count, char **arguments) try {
  if (count != 2) return 2;
  const std::string file = arguments[1];
  kt::PropertyList settings = kt::PropertyList::fromFile(file);
  kt::Dictionary *dictionary = settings.asDictionary();
  if (dictionary == nullptr) throw std::runtime_error(file + ": expected a dictionary");
  const std::int64_t starts = dictionary->integer("starts").value_or(0) + 1;
  (*dictionary)["starts"] = starts;
  settings.toFile(file);  // at once: nobody finds it half written
  std::cout << dictionary->string("name").value_or("nobody") << " started " << starts << " times\n";
} catch (const std::exception &error) {  // names the file, and the place of a mistake in it
  std::cerr << error.what() << '\n';
  return 1;
}
