// SPDX-License-Identifier: MIT

// Text made from a printf format and arguments that carry their own types. What a format asks for
// is checked against what was passed: nothing else is ever read, and a mistake shows in the text as
// a mark such as `%!d(missing)`. Functions only, without state; any thread may call them.
//
// A format holds printf's conversions d i u o x X c s p f F e E g G a A %, with the flags - + space
// # 0 ', width, precision, `*` for either, the lengths hh h l ll j z t L q, and positions as in
// `%2$d` and `%1$*2$d`. One more is `%@`, for strings and for anything with a description().
//
//     kt::format("%s has %d of %5.2f", "ktd", 3, 0.5)      "ktd has 3 of  0.50"
//     kt::format("%d%%, %@", std::int64_t{1} << 40, list)  "1099511627776%, ( a, b )"
//
// Numbers look as snprintf writes them, the locale's decimal point included. The type of the
// argument settles its size, so that a missing or wrong length does no harm: an int64_t is shown in
// full under %d, a negative int under %x as its own 32 bits. Only hh and h matter: they narrow, as
// they do in printf. Types smaller than int count as int; bools and enumerations are integers.
//
// %s takes C strings, char arrays (read up to their end, NUL or not), std::string and
// std::string_view, and copies their bytes as they are; width and precision count bytes. A null
// pointer is the text "(null)" under %s and %@. %p takes any pointer. %c writes one byte.
//
// Marks name the conversion and what is wrong:
//     %!d(missing)     the argument was not passed
//     %!d(string)      one of another kind was: integer, floating-point, string, pointer, object
//     %!*(missing)     the same of a `*`; its placeholder shows nothing else
//     %!y(unknown)     no such conversion; %n, which would write to memory, is one of these
//     %!(incomplete)   the format ended inside a placeholder
// Each of them still uses up its arguments, so that those behind it keep theirs. Surplus arguments
// are ignored. Arguments' texts are never looked at for placeholders.
#ifndef KT_FOUNDATION_FORMAT_H
#define KT_FOUNDATION_FORMAT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

namespace kt {

// A width and a number's precision count as at most this much, in bytes or digits, so that no
// format makes absurd amounts of text. A string's precision has no limit: it can only shorten.
inline constexpr int formatSizeLimit = 65536;

// What `%@` shows beside strings.
template <typename T>
concept Described = requires(const T &object) {
  std::string(object.description());
};

// One argument of a format: a view of a value of a printable type. It is made from the value at the
// call and must not outlive it. Other types are refused when the call is compiled.
class FormatArgument {
 public:
  template <typename T>
  explicit FormatArgument(const T &value) : value_(wrap(value)) {}

 private:
  friend class Formatter;

  struct Integer {
    std::uint64_t bits;  // sign- or zero-extended, as the type asks
    std::size_t bytes;   // the type's size, at least an int's
  };
  struct CString {
    const char *start;  // may be null
    std::size_t limit;  // bytes that may be read while no NUL comes
  };
  struct Pointer {
    const void *address;
  };
  struct Object {
    const void *address;                    // null when a null pointer was passed
    std::string (*describe)(const void *);  // called with an address that is not null
    bool isPointer;                         // passed by address, so that %p may show it
  };
  using Value =
      std::variant<Integer, double, long double, std::string_view, CString, Pointer, Object>;

  template <typename T>
  static Value wrap(const T &value);
  template <typename T>
  static Value wrapPointer(T *pointer);
  template <typename T>
  static Object wrapObject(const T *object, bool isPointer);

  Value value_;
};

// The text of `format` with its placeholders replaced. No format makes it fail; what a
// description() throws, and std::bad_alloc, pass through.
[[nodiscard, gnu::visibility("default")]] std::string formatArguments(
    std::string_view format, std::span<const FormatArgument> arguments);

// The same for values as they are.
template <typename... Arguments>
[[nodiscard]] std::string format(std::string_view format, const Arguments &...arguments) {
  const std::array<FormatArgument, sizeof...(Arguments)> list{FormatArgument(arguments)...};
  return formatArguments(format, list);
}

template <typename T>
FormatArgument::Value FormatArgument::wrap(const T &value) {
  if constexpr (std::is_enum_v<T>) {
    return wrap(static_cast<std::underlying_type_t<T>>(value));
  } else if constexpr (std::is_integral_v<T>) {
    using Promoted = decltype(+value);
    return Integer{static_cast<std::uint64_t>(static_cast<Promoted>(value)), sizeof(Promoted)};
  } else if constexpr (std::is_same_v<T, long double>) {
    return value;
  } else if constexpr (std::is_floating_point_v<T>) {
    return static_cast<double>(value);
  } else if constexpr (std::is_array_v<T> && std::is_same_v<std::remove_extent_t<T>, char>) {
    return CString{value, sizeof(T)};
  } else if constexpr (std::is_null_pointer_v<T>) {
    return CString{nullptr, 0};
  } else if constexpr (std::is_pointer_v<std::decay_t<T>>) {
    return wrapPointer<std::remove_pointer_t<std::decay_t<T>>>(value);
  } else if constexpr (std::is_convertible_v<const T &, std::string_view>) {
    return static_cast<std::string_view>(value);
  } else {
    static_assert(Described<T>, "a format shows numbers, strings, pointers and described objects");
    return wrapObject(&value, false);
  }
}

template <typename T>
FormatArgument::Value FormatArgument::wrapPointer(T *pointer) {
  if constexpr (std::is_same_v<std::remove_const_t<T>, char>) {
    return CString{pointer, SIZE_MAX};
  } else if constexpr (std::is_function_v<T>) {
    return Pointer{reinterpret_cast<const void *>(pointer)};
  } else if constexpr (!std::is_volatile_v<T> && Described<std::remove_const_t<T>>) {
    return wrapObject<std::remove_const_t<T>>(pointer, true);
  } else {
    return Pointer{const_cast<const void *>(static_cast<const volatile void *>(pointer))};
  }
}

template <typename T>
FormatArgument::Object FormatArgument::wrapObject(const T *object, bool isPointer) {
  const auto describe = [](const void *address) -> std::string {
    return std::string(static_cast<const T *>(address)->description());
  };
  return Object{object, describe, isPointer};
}

}  // namespace kt

#endif
