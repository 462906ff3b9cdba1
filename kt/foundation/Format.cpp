// SPDX-License-Identifier: MIT

#include "kt/foundation/Format.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <utility>

namespace kt {

namespace {

constexpr std::string_view digits = "0123456789";

// One placeholder of a format; a `*` is already replaced by its argument.
struct Placeholder {
  std::optional<std::size_t> position;            // from 1; absent: the next argument
  std::string_view flags;                         // as in the format
  bool left = false;                              // left-aligned, by a flag or a negative width
  int width = 0;                                  // 0 to formatSizeLimit
  int precision = -1;                             // -1 if none is given
  std::size_t narrowing = sizeof(std::intmax_t);  // bytes of an integer that hh or h keeps
  std::string_view conversion;   // one character; empty if the format ended before it
  std::string_view starProblem;  // the mistake in a `*`; empty if there is none
};

bool isOneOf(std::string_view set, char character) {
  return set.find(character) != std::string_view::npos;
}

// Takes the digits at the start of `text`. A number > INT_MAX becomes INT_MAX.
int takeNumber(std::string_view &text) {
  int number = 0;
  while (!text.empty() && isOneOf(digits, text.front())) {
    const int digit = text.front() - '0';
    number = number > (INT_MAX - digit) / 10 ? INT_MAX : number * 10 + digit;
    text.remove_prefix(1);
  }
  return number;
}

bool take(std::string_view &text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

// Takes a position such as `2$`, if `text` begins with one.
std::optional<std::size_t> takePosition(std::string_view &text) {
  std::string_view ahead = text;
  const int number = takeNumber(ahead);
  if (ahead.size() == text.size() || !take(ahead, "$")) return std::nullopt;
  text = ahead;
  return static_cast<std::size_t>(number);
}

std::string_view takeFlags(std::string_view &text) {
  const std::string_view flags = text.substr(0, text.find_first_not_of("-+ #0'"));
  text.remove_prefix(flags.size());
  return flags;
}

void takeLength(std::string_view &text, Placeholder &placeholder) {
  if (take(text, "hh")) {
    placeholder.narrowing = sizeof(char);
  } else if (take(text, "h")) {
    placeholder.narrowing = sizeof(short);
  } else if (!take(text, "ll") && !text.empty() && isOneOf("ljztLq", text.front())) {
    text.remove_prefix(1);
  }
}

// Takes one character, with all its bytes if it is UTF-8: a mark must be well-formed text.
std::string_view takeConversion(std::string_view &text) {
  std::size_t size = std::min<std::size_t>(text.size(), 1);
  if (size == 1 && (text.front() & 0xC0) == 0xC0) {
    while (size < text.size() && (text[size] & 0xC0) == 0x80) {
      ++size;
    }
  }
  const std::string_view conversion = text.substr(0, size);
  text.remove_prefix(size);
  return conversion;
}

// Returns the flags that a conversion supports. With others the behaviour of snprintf is undefined.
std::string_view knownFlags(char conversion) {
  if (isOneOf("di", conversion)) return "+ 0'";
  if (conversion == 'u') return "0'";
  if (isOneOf("oxX", conversion)) return "#0";
  return isOneOf("fFgG", conversion) ? "+ #0'" : "+ #0";
}

// Returns the format for snprintf, with `*` for width and precision.
std::string formatForNumber(const Placeholder &placeholder, std::string_view length) {
  std::string numberFormat = placeholder.left ? "%-" : "%";
  for (const char known : knownFlags(placeholder.conversion.front())) {
    if (isOneOf(placeholder.flags, known)) numberFormat += known;
  }
  numberFormat += "*.*";
  numberFormat += length;
  numberFormat += placeholder.conversion;
  return numberFormat;
}

std::uint64_t unsignedOfSize(std::uint64_t bits, std::size_t bytes) {
  switch (bytes) {
    case 1:
      return static_cast<std::uint8_t>(bits);
    case 2:
      return static_cast<std::uint16_t>(bits);
    case 4:
      return static_cast<std::uint32_t>(bits);
    default:
      return bits;
  }
}

std::int64_t signedOfSize(std::uint64_t bits, std::size_t bytes) {
  switch (bytes) {
    case 1:
      return static_cast<std::int8_t>(bits);
    case 2:
      return static_cast<std::int16_t>(bits);
    case 4:
      return static_cast<std::int32_t>(bits);
    default:
      return static_cast<std::int64_t>(bits);
  }
}

}  // namespace

namespace text {

// Formats one text in a single pass over its format.
class Formatter {
 public:
  Formatter(std::string_view format, std::span<const FormatArgument> arguments)
      : rest_(format), arguments_(arguments) {}

  std::string run();

 private:
  using Value = FormatArgument::Value;

  // Returns the argument at `position`, or the next argument; null if it was not passed.
  const Value *argument(std::optional<std::size_t> position);

  Placeholder takePlaceholder();
  int takeSize(Placeholder &placeholder);
  int takeStar(Placeholder &placeholder);

  void write(const Placeholder &placeholder);
  bool writeValue(const Placeholder &placeholder, const Value &value);
  bool writeInteger(const Placeholder &placeholder, const Value &value);
  bool writeFloating(const Placeholder &placeholder, const Value &value);
  bool writeByte(const Placeholder &placeholder, const Value &value);
  bool writePointer(const Placeholder &placeholder, const Value &value);
  bool writeString(const Placeholder &placeholder, const Value &value);
  bool writeObject(const Placeholder &placeholder, const Value &value);

  template <typename Number>
  void writeNumber(const Placeholder &placeholder, std::string_view length, Number number);
  void writeText(const Placeholder &placeholder, std::string_view text);
  void writeMark(std::string_view conversion, std::string_view problem);

  static std::string_view kindOf(const Value &value);

  std::string_view rest_;  // the part of the format that is still to be read
  std::span<const FormatArgument> arguments_;
  std::size_t next_ = 0;  // index of the next argument
  std::string result_;
};

std::string Formatter::run() {
  while (!rest_.empty()) {
    const std::size_t literal = std::min(rest_.find('%'), rest_.size());
    result_ += rest_.substr(0, literal);
    rest_.remove_prefix(literal);
    if (take(rest_, "%")) write(takePlaceholder());
  }
  return std::move(result_);
}

const Formatter::Value *Formatter::argument(std::optional<std::size_t> position) {
  // Position 0 does not exist: 0 - 1 wraps to an index past any end.
  const std::size_t index = position ? *position - 1 : next_++;
  return index < arguments_.size() ? &arguments_[index].value_ : nullptr;
}

// Each `*` takes its argument when it is read, so arguments are consumed in the format's order.
Placeholder Formatter::takePlaceholder() {
  Placeholder placeholder;
  placeholder.position = takePosition(rest_);
  placeholder.flags = takeFlags(rest_);
  const int width = takeSize(placeholder);
  placeholder.left = width < 0 || isOneOf(placeholder.flags, '-');
  placeholder.width = std::abs(std::clamp(width, -formatSizeLimit, formatSizeLimit));
  if (take(rest_, ".")) placeholder.precision = std::max(takeSize(placeholder), -1);
  takeLength(rest_, placeholder);
  placeholder.conversion = takeConversion(rest_);
  return placeholder;
}

int Formatter::takeSize(Placeholder &placeholder) {
  return take(rest_, "*") ? takeStar(placeholder) : takeNumber(rest_);
}

int Formatter::takeStar(Placeholder &placeholder) {
  const Value *value = argument(takePosition(rest_));
  const auto *integer = value != nullptr ? std::get_if<FormatArgument::Integer>(value) : nullptr;
  if (integer == nullptr) {
    placeholder.starProblem = value != nullptr ? kindOf(*value) : "missing";
    return 0;
  }
  const auto size = static_cast<std::int64_t>(integer->bits);
  return static_cast<int>(std::clamp<std::int64_t>(size, INT_MIN, INT_MAX));
}

void Formatter::write(const Placeholder &placeholder) {
  const std::string_view conversion = placeholder.conversion;
  if (conversion.empty()) return writeMark("", "incomplete");
  if (conversion == "%") {
    result_ += '%';
    return;
  }
  const Value *value = argument(placeholder.position);
  if (conversion.find_first_not_of("diouxXcspfFeEgGaA@") == 0) {
    writeMark(conversion, "unknown");
  } else if (!placeholder.starProblem.empty()) {
    writeMark("*", placeholder.starProblem);
  } else if (value == nullptr) {
    writeMark(conversion, "missing");
  } else if (!writeValue(placeholder, *value)) {
    writeMark(conversion, kindOf(*value));
  }
}

// Returns false and writes nothing if the conversion does not take this kind of value.
bool Formatter::writeValue(const Placeholder &placeholder, const Value &value) {
  switch (placeholder.conversion.front()) {
    case 'c':
      return writeByte(placeholder, value);
    case 's':
      return writeString(placeholder, value);
    case 'p':
      return writePointer(placeholder, value);
    case '@':
      return writeObject(placeholder, value);
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
      return writeInteger(placeholder, value);
    default:
      return writeFloating(placeholder, value);
  }
}

bool Formatter::writeInteger(const Placeholder &placeholder, const Value &value) {
  const auto *integer = std::get_if<FormatArgument::Integer>(&value);
  if (integer == nullptr) return false;
  const std::size_t bytes = std::min(integer->bytes, placeholder.narrowing);
  if (isOneOf("di", placeholder.conversion.front())) {
    writeNumber(placeholder, "j", std::intmax_t{signedOfSize(integer->bits, bytes)});
  } else {
    writeNumber(placeholder, "j", std::uintmax_t{unsignedOfSize(integer->bits, bytes)});
  }
  return true;
}

bool Formatter::writeFloating(const Placeholder &placeholder, const Value &value) {
  if (const auto *number = std::get_if<double>(&value)) {
    writeNumber(placeholder, "", *number);
    return true;
  }
  if (const auto *number = std::get_if<long double>(&value)) {
    writeNumber(placeholder, "L", *number);
    return true;
  }
  return false;
}

bool Formatter::writeByte(const Placeholder &placeholder, const Value &value) {
  const auto *integer = std::get_if<FormatArgument::Integer>(&value);
  if (integer == nullptr) return false;
  const char byte = static_cast<char>(integer->bits);
  Placeholder whole = placeholder;  // a precision has no meaning here
  whole.precision = -1;
  writeText(whole, std::string_view(&byte, 1));
  return true;
}

bool Formatter::writePointer(const Placeholder &placeholder, const Value &value) {
  const void *address = nullptr;
  if (const auto *pointer = std::get_if<FormatArgument::Pointer>(&value)) {
    address = pointer->address;
  } else if (const auto *string = std::get_if<FormatArgument::CString>(&value)) {
    address = string->start;
  } else if (const auto *object = std::get_if<FormatArgument::Object>(&value);
             object != nullptr && object->isPointer) {
    address = object->address;
  } else {
    return false;
  }
  std::array<char, 32> text;  // holds any address of 64 bits
  const int size = std::snprintf(text.data(), text.size(), "%p", address);
  Placeholder whole = placeholder;
  whole.precision = -1;
  writeText(whole, std::string_view(text.data(), static_cast<std::size_t>(size)));
  return true;
}

bool Formatter::writeString(const Placeholder &placeholder, const Value &value) {
  if (const auto *string = std::get_if<std::string_view>(&value)) {
    writeText(placeholder, *string);
    return true;
  }
  const auto *string = std::get_if<FormatArgument::CString>(&value);
  if (string == nullptr) return false;
  if (string->start == nullptr) {
    writeText(placeholder, "(null)");
    return true;
  }
  // Reads no byte after the precision: such an argument need not have a NUL.
  std::size_t limit = string->limit;
  if (placeholder.precision >= 0) {
    limit = std::min(limit, static_cast<std::size_t>(placeholder.precision));
  }
  writeText(placeholder, std::string_view(string->start, ::strnlen(string->start, limit)));
  return true;
}

bool Formatter::writeObject(const Placeholder &placeholder, const Value &value) {
  const auto *object = std::get_if<FormatArgument::Object>(&value);
  if (object == nullptr) return writeString(placeholder, value);
  writeText(placeholder, object->address != nullptr ? object->describe(object->address) : "(null)");
  return true;
}

template <typename Number>
void Formatter::writeNumber(const Placeholder &placeholder, std::string_view length,
                            Number number) {
  const std::string numberFormat = formatForNumber(placeholder, length);
  const int precision = std::min(placeholder.precision, formatSizeLimit);
  const auto print = [&](char *target, std::size_t capacity) {
    const int size =
        std::snprintf(target, capacity, numberFormat.c_str(), placeholder.width, precision, number);
    if (size < 0) throw std::bad_alloc();  // sizes are limited, so only memory can fail
    return static_cast<std::size_t>(size);
  };
  std::array<char, 64> text;
  const std::size_t size = print(text.data(), text.size());
  if (size < text.size()) {
    result_.append(text.data(), size);
    return;
  }
  const std::size_t start = result_.size();
  result_.resize(start + size);
  print(result_.data() + start, size + 1);  // the NUL overwrites the string's own
}

void Formatter::writeText(const Placeholder &placeholder, std::string_view text) {
  if (placeholder.precision >= 0) {
    text = text.substr(0, static_cast<std::size_t>(placeholder.precision));
  }
  const auto width = static_cast<std::size_t>(placeholder.width);
  const std::size_t padding = width > text.size() ? width - text.size() : 0;
  if (!placeholder.left) result_.append(padding, ' ');
  result_ += text;
  if (placeholder.left) result_.append(padding, ' ');
}

void Formatter::writeMark(std::string_view conversion, std::string_view problem) {
  result_ += "%!";
  result_ += conversion;
  result_ += '(';
  result_ += problem;
  result_ += ')';
}

std::string_view Formatter::kindOf(const Value &value) {
  if (std::holds_alternative<FormatArgument::Integer>(value)) return "integer";
  if (std::holds_alternative<FormatArgument::Pointer>(value)) return "pointer";
  if (std::holds_alternative<FormatArgument::Object>(value)) return "object";
  const bool isFloating =
      std::holds_alternative<double>(value) || std::holds_alternative<long double>(value);
  return isFloating ? "floating-point" : "string";
}

}  // namespace text

std::string formatArguments(std::string_view format, std::span<const FormatArgument> arguments) {
  return text::Formatter(format, arguments).run();
}

}  // namespace kt
