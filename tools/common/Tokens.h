// SPDX-License-Identifier: MIT

// The words of an arithmetic expression, one after the other: numbers, names and symbols. Views
// into the expression, which must outlive them; nothing is copied and nothing can fail. One object
// serves one thread.
#ifndef KT_TOOLS_COMMON_TOKENS_H
#define KT_TOOLS_COMMON_TOKENS_H

#include <cstddef>
#include <string_view>

namespace kt::tools {

struct Token {
  enum class Kind {
    number,  // a digit and all letters and digits behind it, whether or not they make a number
    name,    // a letter and all letters and digits behind it
    symbol,  // << or >>, else one character, whatever it is
    end,     // of the expression; has no text
  };
  Kind kind;
  std::string_view text;
  std::size_t offset;  // bytes of the expression in front of it
};

class Tokens {
 public:
  explicit Tokens(std::string_view expression) : expression_(expression) { advance(); }

  // The token that comes next; the end again and again once it is reached.
  [[nodiscard]] const Token &next() const { return next_; }

  // Gives the next token and goes on to the one behind it.
  Token take() {
    const Token taken = next_;
    advance();
    return taken;
  }

 private:
  void advance();

  std::string_view expression_;
  std::size_t offset_ = 0;  // of what is not a token yet
  Token next_{};
};

}  // namespace kt::tools

#endif
