// SPDX-License-Identifier: MIT

#include "tools/calculator/Evaluator.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "kt/foundation/Format.h"
#include "kt/foundation/Utf8.h"
#include "tools/calculator/BudgetedArithmetic.h"
#include "tools/calculator/Tokens.h"
#include "tools/text/Escape.h"

namespace kt::tools {

namespace {

// The most open brackets and numbers waiting for their operation, together. Bounds the stack and
// the memory: a number takes about 600 bytes.
constexpr std::size_t mostLevels = 64;

// ---- Operators, functions and bases ----

struct BinaryOperator {
  std::string_view symbol;
  int precedence;  // higher binds tighter
  Integer (BudgetedArithmetic::*compute)(Integer a, const Integer &b);
};

constexpr std::array binaryOperators{
    BinaryOperator{"<<", 0, &BudgetedArithmetic::shiftedLeft},
    BinaryOperator{">>", 0, &BudgetedArithmetic::shiftedRight},
    BinaryOperator{"+", 1, &BudgetedArithmetic::sum},
    BinaryOperator{"-", 1, &BudgetedArithmetic::difference},
    BinaryOperator{"*", 2, &BudgetedArithmetic::product},
    BinaryOperator{"/", 2, &BudgetedArithmetic::quotient},
    BinaryOperator{"%", 2, &BudgetedArithmetic::remainder},
};

struct Function {
  std::string_view name;
  std::size_t arguments;
  Integer (*compute)(BudgetedArithmetic &arithmetic, std::vector<Integer> &arguments);
};

constexpr std::array functions{
    Function{"gcd", 2,
             [](BudgetedArithmetic &arithmetic, std::vector<Integer> &numbers) {
               return arithmetic.greatestCommonDivisor(std::move(numbers[0]),
                                                       std::move(numbers[1]));
             }},
    Function{"sqrt", 1,
             [](BudgetedArithmetic &arithmetic, std::vector<Integer> &numbers) {
               return arithmetic.squareRoot(numbers[0]);
             }},
    Function{"powmod", 3,
             [](BudgetedArithmetic &arithmetic, std::vector<Integer> &numbers) {
               return arithmetic.modularPower(numbers[0], numbers[1], numbers[2]);
             }},
};

constexpr std::string_view functionNames = "gcd, sqrt and powmod";

struct Base {
  std::string_view prefix;
  int base;
  std::string_view name;
  std::string_view digits;
};

constexpr std::array bases{
    Base{"0x", 16, "hexadecimal", "0123456789abcdefABCDEF"},
    Base{"0b", 2, "binary", "01"},
    Base{"", 10, "decimal", "0123456789"},
};

std::string described(const Token &token) {
  constexpr std::size_t enough = 20;
  if (token.kind == Token::Kind::end) return "the end of the expression";
  if (token.text.size() <= enough) return "'" + escaped(token.text) + "'";
  return "'" + escaped(token.text.substr(0, enough)) + "...'";
}

// ---- Parsing and computing in one pass ----

class Evaluation {
 public:
  Evaluation(std::string_view expression, std::uint64_t steps)
      : expression_(expression), tokens_(expression), arithmetic_(steps) {}

  Integer whole() {
    Integer value = binary(0);
    if (tokens_.next().kind != Token::Kind::end) failExpecting("an operator");
    return value;
  }

 private:
  // Counts `count` more brackets or numbers, opened by `opener`, as waiting while it lives.
  class Levels {
   public:
    Levels(Evaluation &evaluation, const Token &opener, std::size_t count)
        : depth_(evaluation.depth_), count_(count) {
      depth_ += count_;
      if (depth_ <= mostLevels) return;
      depth_ -= count_;  // a constructor that throws is not followed by the destructor
      evaluation.fail("nested too deeply", opener.offset);
    }
    ~Levels() { depth_ -= count_; }
    Levels(const Levels &) = delete;
    Levels &operator=(const Levels &) = delete;

   private:
    std::size_t &depth_;
    std::size_t count_;
  };

  [[nodiscard]] std::size_t columnAt(std::size_t offset) const;
  [[noreturn]] void fail(const std::string &text, std::size_t offset) const;
  [[noreturn]] void failExpecting(std::string_view what) const;
  template <typename Compute>
  Integer computeAt(const Token &token, Compute compute) const;
  [[nodiscard]] bool isNext(std::string_view symbol) const;
  Token takeExpected(std::string_view symbol);

  Integer binary(int lowest);
  Integer unary();
  Integer power();
  Integer postfix();
  Integer primary();
  Integer number();
  Integer call();

  std::string_view expression_;
  Tokens tokens_;
  BudgetedArithmetic arithmetic_;
  std::size_t depth_ = 0;
};

std::size_t Evaluation::columnAt(std::size_t offset) const {
  std::size_t column = 1;
  for (std::size_t position = 0; position < offset; ++column) {
    position += firstUtf8Character(expression_.substr(position)).byteCount;
  }
  return column;
}

void Evaluation::fail(const std::string &text, std::size_t offset) const {
  throw EvaluationError(text, columnAt(offset));
}

void Evaluation::failExpecting(std::string_view what) const {
  fail(kt::format("expected %s, found %s", what, described(tokens_.next())), tokens_.next().offset);
}

// Returns compute(); an exception of arithmetic becomes an error at `token`.
template <typename Compute>
Integer Evaluation::computeAt(const Token &token, Compute compute) const {
  try {
    return compute();
  } catch (const std::overflow_error &) {
    fail("the result takes more than 4,080 bits", token.offset);
  } catch (const BudgetError &error) {
    throw CostError(error.what(), columnAt(token.offset));
  } catch (const ArithmeticError &error) {
    fail(error.what(), token.offset);
  }
}

bool Evaluation::isNext(std::string_view symbol) const {
  return tokens_.next().kind == Token::Kind::symbol && tokens_.next().text == symbol;
}

Token Evaluation::takeExpected(std::string_view symbol) {
  if (!isNext(symbol)) failExpecting("'" + std::string(symbol) + "'");
  return tokens_.take();
}

// Parses operands and the operators between them whose precedence is at least `lowest`.
Integer Evaluation::binary(int lowest) {
  Integer left = unary();
  for (;;) {
    const auto *const found = std::ranges::find_if(
        binaryOperators, [this](const auto &candidate) { return isNext(candidate.symbol); });
    if (found == binaryOperators.end() || found->precedence < lowest) return left;
    const Token token = tokens_.take();
    const Levels waiting(*this, token, 1);
    const Integer right = binary(found->precedence + 1);
    left = computeAt(token, [&] { return (arithmetic_.*found->compute)(std::move(left), right); });
  }
}

Integer Evaluation::unary() {
  const Token first = tokens_.next();
  bool negative = false;
  for (; isNext("-"); tokens_.take()) {
    negative = !negative;
  }
  Integer value = power();
  if (!negative) return value;
  return computeAt(first, [&] { return arithmetic_.opposite(value); });
}

Integer Evaluation::power() {
  Integer base = postfix();
  if (!isNext("^")) return base;
  const Token token = tokens_.take();
  const Levels waiting(*this, token, 1);
  const Integer exponent = unary();
  return computeAt(token, [&] { return arithmetic_.power(base, exponent); });
}

Integer Evaluation::postfix() {
  Integer value = primary();
  while (isNext("!")) {
    const Token token = tokens_.take();
    value = computeAt(token, [&] { return arithmetic_.factorial(value); });
  }
  return value;
}

Integer Evaluation::primary() {
  if (tokens_.next().kind == Token::Kind::number) return number();
  if (tokens_.next().kind == Token::Kind::name) return call();
  if (!isNext("(")) failExpecting("a number");
  const Levels bracket(*this, tokens_.take(), 1);
  Integer value = binary(0);
  takeExpected(")");
  return value;
}

Integer Evaluation::number() {
  const Token token = tokens_.take();
  const Base &base = *std::ranges::find_if(
      bases, [&](const Base &candidate) { return token.text.starts_with(candidate.prefix); });
  const std::string_view digits = token.text.substr(base.prefix.size());
  const std::size_t wrong = std::min(digits.find_first_not_of(base.digits), digits.size());
  if (digits.empty() || wrong < digits.size()) {
    const std::string_view found = digits.substr(wrong, 1);
    fail(kt::format("expected a %s digit%s", base.name,
                    found.empty() ? std::string() : ", found '" + std::string(found) + "'"),
         token.offset + base.prefix.size() + wrong);
  }
  return computeAt(token, [&] { return arithmetic_.number(digits, base.base); });
}

Integer Evaluation::call() {
  const Token name = tokens_.take();
  const auto *const function = std::ranges::find(functions, name.text, &Function::name);
  if (function == functions.end()) {
    fail(kt::format("no function is called %s; there are %s", described(name), functionNames),
         name.offset);
  }
  takeExpected("(");
  std::vector<Integer> arguments;
  while (arguments.size() < function->arguments) {
    if (!arguments.empty()) takeExpected(",");
    const Levels waiting(*this, name, 1 + arguments.size());  // 1 for the bracket
    arguments.push_back(binary(0));
  }
  takeExpected(")");
  return computeAt(name, [&] { return function->compute(arithmetic_, arguments); });
}

}  // namespace

Integer evaluate(std::string_view expression, std::uint64_t steps) {
  return Evaluation(expression, steps).whole();
}

std::size_t offsetOfColumn(std::string_view expression, std::size_t column) {
  std::size_t offset = 0;
  for (std::size_t before = 1; before < column && offset < expression.size(); ++before) {
    offset += firstUtf8Character(expression.substr(offset)).byteCount;
  }
  return offset;
}

}  // namespace kt::tools
