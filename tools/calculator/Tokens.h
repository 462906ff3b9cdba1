// SPDX-License-Identifier: MIT

// Splits an arithmetic expression into numbers, names and symbols. Tokens are views into the
// expression, which must outlive them. Nothing is copied and nothing can fail. One object serves
// one thread.
#ifndef KT_TOOLS_CALCULATOR_TOKENS_H
#define KT_TOOLS_CALCULATOR_TOKENS_H

#include <cstddef>
#include <string_view>

namespace kt::tools {

struct Token {
  enum class Kind {
    number,  // a digit and all letters and digits after it, whether or not they form a number
    name,    // a letter and all letters and digits after it
    symbol,  // << or >>, otherwise any one character
    end,     // the end of the expression; its text is empty
  };
  Kind kind;
  std::string_view text;
  std::size_t offset;  // bytes of the expression before it
};

class Tokens {
 public:
  explicit Tokens(std::string_view expression) : expression_(expression) { advance(); }

  // The next token. After the last one, always the end.
  [[nodiscard]] const Token &next() const { return next_; }

  // Returns the next token and advances.
  Token take() {
    const Token taken = next_;
    advance();
    return taken;
  }

 private:
  void advance();

  std::string_view expression_;
  std::size_t offset_ = 0;  // bytes of the expression that are split already
  Token next_{};
};

}  // namespace kt::tools

#endif
