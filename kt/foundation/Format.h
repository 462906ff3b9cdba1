// SPDX-License-Identifier: MIT

// printf-style formatting whose arguments carry their own types. Each placeholder is checked
// against its argument, and nothing else is ever read. A mistake appears in the text as a mark such
// as `%!d(missing)`. Any thread may call these functions; they have no state.
//
// A format takes these parts of printf's:
//
//     conversions   d i u o x X c s p f F e E g G a A %
//     flags         - + # 0 ' and space
//     lengths       hh h l ll j z t L q
//     sizes         width and precision, or `*` for either
//     positions     as in `%2$d` and `%1$*2$d`
//
// In addition, `%@` takes a string or anything with a description().
//
//     kt::format("%s has %d of %5.2f", "ktd", 3, 0.5)      "ktd has 3 of  0.50"
//     kt::format("%d%%, %@", std::int64_t{1} << 40, list)  "1099511627776%, ( a, b )"
//
// A width is limited to 65,536 bytes, and the precision of a number to 65,536 digits
// (formatSizeLimit).
//
// Numbers look as snprintf writes them, with the locale's decimal point. The type of the argument
// determines its size, so a missing or wrong length is harmless. %d shows all of an int64_t, %x
// shows a negative int as 32 bits. Only hh and h have an effect: they narrow, as in printf. Types
// smaller than int are promoted to int; bools and enumerations are integers.
//
// %s takes C strings, char arrays (read up to a NUL or their end), std::string and
// std::string_view. It copies their bytes unchanged; width and precision count bytes. A null
// pointer is "(null)" under %s and %@. %p takes any pointer. %c writes one byte.
//
// A mark names the conversion and the mistake:
//     %!d(missing)     the argument was not passed
//     %!d(string)      the argument is of the kind named here, which %d does not take
//     %!*(missing)     one of these two mistakes in a `*`; the mark replaces the placeholder
//     %!y(unknown)     there is no such conversion; %n, which would write to memory, counts as one
//     %!(incomplete)   the format ends inside a placeholder
// The kinds are integer, floating-point, string, pointer and object. A placeholder with a mistake
// still consumes its arguments. Surplus arguments are ignored. The texts of arguments are never
// searched for placeholders.
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

namespace kt::text {
class Formatter;
}

namespace kt {

// The largest width in bytes, and the largest precision of a number in digits. Larger ones are
// reduced to it, because a mistake could otherwise produce gigabytes of text. The precision of a
// string has no limit, because it can only shorten the text.
inline constexpr int formatSizeLimit = 65536;

// The types that `%@` takes besides strings.
template <typename T>
concept Described = requires(const T &object) {
  std::string(object.description());
};

// One argument of a format: a view of a printable value, which must not outlive the value. A type
// that is not printable is a compile error.
class FormatArgument {
 public:
  template <typename T>
  explicit FormatArgument(const T &value) : value_(wrap(value)) {}

 private:
  friend class text::Formatter;

  struct Integer {
    std::uint64_t bits;  // sign- or zero-extended, depending on the type
    std::size_t bytes;   // the size of the type, >= sizeof(int)
  };
  struct CString {
    const char *start;  // may be null
    std::size_t limit;  // bytes that may be read if there is no NUL
  };
  struct Pointer {
    const void *address;
  };
  struct Object {
    const void *address;                    // null if a null pointer was passed
    std::string (*describe)(const void *);  // never called with null
    bool isPointer;                         // passed as a pointer: %p may show it
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

// Returns `format` with its placeholders replaced. No format makes it fail; it throws only
// std::bad_alloc and what a description() throws.
[[nodiscard]] std::string formatArguments(std::string_view format,
                                          std::span<const FormatArgument> arguments);

// The same, for values of any printable types.
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
