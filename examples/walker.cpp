// SPDX-License-Identifier: MIT

// Prints the text files below the given directories, at most 100.
#include <iostream>
#include <string>
#include <vector>

#include "kt/walker/_KtWalker.h"

struct Printer {
  bool fileFound(const std::string &path) {
    std::cout << path << '\n';
    return ++count < 100;  // false stops the walk
  }
  bool wantsAbort() const { return count >= 100; }  // true stops the next trees too
  int count = 0;
};

int main(int argc, char **argv) {
  Printer printer;
  _KtWalker walker;
  walker.setFileTypes({"txt"});
  walker.setDelegate(&printer);
  walker.walkTrees(std::vector<std::string>(argv + 1, argv + argc));
}
