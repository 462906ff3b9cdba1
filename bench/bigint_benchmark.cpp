// SPDX-License-Identifier: MIT

// Compares the functions over _KtInt with GMP, Boost.Multiprecision, OpenSSL's BIGNUM and
// libtommath for values of 4, 16, 64 and 120 words of 16 bits, and kt::Integer's text with that of
// the functions over _KtInt for values of 64, 1,024 and 4,080 bits. The table of ratios compares
// with GMP, and from 16 words on with the others too.
#include <benchmark/benchmark.h>
#include <gmp.h>
#include <openssl/bn.h>
#include <tommath.h>

#include <array>
#include <boost/multiprecision/cpp_int.hpp>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "bench/ratios.h"
#include "kt/bigint.h"
#include "kt/bigint/Integer.h"

namespace {

constexpr unsigned exponent = 13;  // of the power; three of its four bits are set
constexpr std::array<std::size_t, 4> sizes = {4, 16, 64, 120};
constexpr std::size_t textRoom = 4'096;  // for the longest text

// Returns a value of exactly `bits` bits in hexadecimal, the same for the same seed.
std::string randomHex(std::size_t bits, std::uint64_t seed) {
  std::mt19937_64 random(seed + bits);
  std::string digits(1, "1248"[(bits - 1) % 4]);
  while (digits.size() < (bits + 3) / 4) {
    digits += "0123456789abcdef"[random() % 16];
  }
  return digits;
}

// ---- Libraries ----

// Each library has a Number, made from hexadecimal text, and the operations to measure. Results go
// into numbers that have the memory already.

struct Kt {
  static constexpr const char *name = "kt";
  class Number {
   public:
    Number() : value_(_KtIntAlloc(0)) {}
    explicit Number(const std::string &hex) : Number() {
      _KtIntDecode(hex.c_str(), value_.get(), _KTINT_HEX_VECTOR);
    }
    operator _KtInt *() const { return value_.get(); }

   private:
    struct Free {
      void operator()(_KtInt *i) const { _KtIntFree(i); }
    };
    std::unique_ptr<_KtInt, Free> value_;
  };

  static void add(Number &a, Number &b, Number &c) { _KtIntAdd(a, b, c); }
  static void subtract(Number &a, Number &b, Number &c) { _KtIntSub(a, b, c); }
  static void multiply(Number &a, Number &b, Number &c) { _KtIntMul(a, b, c); }
  static void divide(Number &a, Number &b, Number &q, Number &r) { _KtIntDiv(a, b, q, r); }
  static void power(Number &a, Number &c) {
    _KtIntCopy(a, c);
    _KtIntPowS(c, exponent);
  }
  static void decimal(Number &a, char *text) { _KtIntEncode(a, text, _KTINT_DEC_VECTOR); }
  static void hexadecimal(Number &a, char *text) { _KtIntEncode(a, text, _KTINT_HEX_VECTOR); }
  static void fromDecimal(const char *text, Number &c) { _KtIntDecode(text, c, _KTINT_DEC_VECTOR); }
  static void fromHexadecimal(const char *text, Number &c) {
    _KtIntDecode(text, c, _KTINT_HEX_VECTOR);
  }
};

struct Gmp {
  static constexpr const char *name = "GMP";
  class Number {
   public:
    explicit Number(const std::string &hex) { mpz_init_set_str(value_, hex.c_str(), 16); }
    ~Number() { mpz_clear(value_); }
    Number(const Number &) = delete;
    Number &operator=(const Number &) = delete;
    operator mpz_ptr() { return value_; }

   private:
    mpz_t value_;
  };

  static void add(Number &a, Number &b, Number &c) { mpz_add(c, a, b); }
  static void subtract(Number &a, Number &b, Number &c) { mpz_sub(c, a, b); }
  static void multiply(Number &a, Number &b, Number &c) { mpz_mul(c, a, b); }
  static void divide(Number &a, Number &b, Number &q, Number &r) { mpz_tdiv_qr(q, r, a, b); }
  static void power(Number &a, Number &c) { mpz_pow_ui(c, a, exponent); }
  static void decimal(Number &a, char *text) { mpz_get_str(text, 10, a); }
  static void hexadecimal(Number &a, char *text) { mpz_get_str(text, 16, a); }
  static void fromDecimal(const char *text, Number &c) { mpz_set_str(c, text, 10); }
  static void fromHexadecimal(const char *text, Number &c) { mpz_set_str(c, text, 16); }
};

struct Boost {
  static constexpr const char *name = "Boost";
  using Integer = boost::multiprecision::cpp_int;
  struct Number {
    explicit Number(const std::string &hex) : value("0x" + hex) {}
    Integer value;
  };

  static void add(Number &a, Number &b, Number &c) { c.value = a.value + b.value; }
  static void subtract(Number &a, Number &b, Number &c) { c.value = a.value - b.value; }
  static void multiply(Number &a, Number &b, Number &c) { c.value = a.value * b.value; }
  static void divide(Number &a, Number &b, Number &q, Number &r) {
    boost::multiprecision::divide_qr(a.value, b.value, q.value, r.value);
  }
  static void power(Number &a, Number &c) {
    c.value = boost::multiprecision::pow(a.value, exponent);
  }
  static void decimal(Number &a, char *text) { a.value.str().copy(text, textRoom); }
  static void hexadecimal(Number &a, char *text) {
    a.value.str(0, std::ios_base::hex).copy(text, textRoom);
  }
  static void fromDecimal(const char *text, Number &c) { c.value = Integer(text); }
  // The text has to name its base.
  static void fromHexadecimal(const char *text, Number &c) {
    c.value = Integer("0x" + std::string(text));
  }
};

struct OpenSsl {
  static constexpr const char *name = "OpenSSL";
  class Number {
   public:
    explicit Number(const std::string &hex) { BN_hex2bn(&value_, hex.c_str()); }
    ~Number() { BN_free(value_); }
    Number(const Number &) = delete;
    Number &operator=(const Number &) = delete;
    operator BIGNUM *() { return value_; }
    BIGNUM **address() { return &value_; }

   private:
    BIGNUM *value_ = nullptr;
  };

  static BN_CTX *context() {
    static const std::unique_ptr<BN_CTX, decltype(&BN_CTX_free)> only(BN_CTX_new(), BN_CTX_free);
    return only.get();
  }
  static void keep(char *made, char *text) {
    text[0] = made[0];
    OPENSSL_free(made);
  }

  static void add(Number &a, Number &b, Number &c) { BN_add(c, a, b); }
  static void subtract(Number &a, Number &b, Number &c) { BN_sub(c, a, b); }
  static void multiply(Number &a, Number &b, Number &c) { BN_mul(c, a, b, context()); }
  static void divide(Number &a, Number &b, Number &q, Number &r) { BN_div(q, r, a, b, context()); }
  static void power(Number &a, Number &c) {
    static Number exponentNumber("d");
    static_assert(exponent == 0xd);
    BN_exp(c, a, exponentNumber, context());
  }
  static void decimal(Number &a, char *text) { keep(BN_bn2dec(a), text); }
  static void hexadecimal(Number &a, char *text) { keep(BN_bn2hex(a), text); }
  static void fromDecimal(const char *text, Number &c) { BN_dec2bn(c.address(), text); }
  static void fromHexadecimal(const char *text, Number &c) { BN_hex2bn(c.address(), text); }
};

struct TomMath {
  static constexpr const char *name = "libtommath";
  // All results must be used. Only memory can fail here.
  static void check(mp_err error) {
    if (error != MP_OKAY) throw std::bad_alloc();
  }
  class Number {
   public:
    explicit Number(const std::string &hex) {
      check(mp_init(&value_));
      check(mp_read_radix(&value_, hex.c_str(), 16));
    }
    ~Number() { mp_clear(&value_); }
    Number(const Number &) = delete;
    Number &operator=(const Number &) = delete;
    operator mp_int *() { return &value_; }

   private:
    mp_int value_;
  };

  static void add(Number &a, Number &b, Number &c) { check(mp_add(a, b, c)); }
  static void subtract(Number &a, Number &b, Number &c) { check(mp_sub(a, b, c)); }
  static void multiply(Number &a, Number &b, Number &c) { check(mp_mul(a, b, c)); }
  static void divide(Number &a, Number &b, Number &q, Number &r) { check(mp_div(a, b, q, r)); }
  static void power(Number &a, Number &c) { check(mp_expt_u32(a, exponent, c)); }
  static void decimal(Number &a, char *text) { check(mp_to_radix(a, text, textRoom, nullptr, 10)); }
  static void hexadecimal(Number &a, char *text) {
    check(mp_to_radix(a, text, textRoom, nullptr, 16));
  }
  static void fromDecimal(const char *text, Number &c) { check(mp_read_radix(c, text, 10)); }
  static void fromHexadecimal(const char *text, Number &c) { check(mp_read_radix(c, text, 16)); }
};

// ---- Operations ----

// The operands: `a` of `words` words and its text, `b` as long but smaller, a dividend and two
// results twice as long, and a base whose power is about as long as `a`.
template <class Library>
struct Scene {
  explicit Scene(std::size_t words)
      : a(randomHex(16 * words, 1)),
        b(randomHex(16 * words - 1, 2)),
        dividend(randomHex(32 * words, 3)),
        base(randomHex(16 * words / exponent, 4)),
        c(randomHex(32 * words, 5)),
        d(randomHex(32 * words, 6)) {
    Gmp::Number same(randomHex(16 * words, 1));
    Gmp::decimal(same, decimal.data());
    Gmp::hexadecimal(same, hexadecimal.data());
  }

  typename Library::Number a, b, dividend, base, c, d;
  std::array<char, textRoom> decimal{}, hexadecimal{}, text{};
};

// The limits are times GMP's time.
struct Operation {
  const char *name;
  double limit;           // from 64 words on
  double limitAtFour;     // at 4 words
  double limitAtSixteen;  // at 16 words
};

constexpr std::array<Operation, 9> operations = {{
    {"add", 1.6, 1.6, 1.6},
    {"subtract", 1.6, 1.6, 1.6},
    {"multiply", 2.0, 2.6, 2.6},
    {"power", 2.0, 2.6, 2.6},
    {"divide", 1.5, 3.0, 1.5},
    {"encode-decimal", 1.0, 1.0, 1.0},
    {"decode-decimal", 1.0, 1.0, 1.0},
    {"encode-hexadecimal", 0.8, 0.8, 0.8},
    {"decode-hexadecimal", 0.8, 0.8, 0.8},
}};

std::string label(const char *operation, std::size_t words, const char *library) {
  return std::string(operation) + ":" + std::to_string(words) + ":" + library;
}

// Each operation on a scene.
template <class Library>
struct Calls {
  using S = Scene<Library>;

  static void add(S &s) { Library::add(s.a, s.b, s.c); }
  static void subtract(S &s) { Library::subtract(s.a, s.b, s.c); }
  static void multiply(S &s) { Library::multiply(s.a, s.b, s.c); }
  static void power(S &s) { Library::power(s.base, s.c); }
  static void divide(S &s) { Library::divide(s.dividend, s.b, s.c, s.d); }
  static void encodeDecimal(S &s) { Library::decimal(s.a, s.text.data()); }
  static void decodeDecimal(S &s) { Library::fromDecimal(s.decimal.data(), s.c); }
  static void encodeHexadecimal(S &s) { Library::hexadecimal(s.a, s.text.data()); }
  static void decodeHexadecimal(S &s) { Library::fromHexadecimal(s.hexadecimal.data(), s.c); }
};

template <class Library, std::size_t words, void (*call)(Scene<Library> &)>
void measure(benchmark::State &state) {
  Scene<Library> scene(words);
  for (auto _ : state) {
    call(scene);
    benchmark::ClobberMemory();
  }
}

template <class Library, void (*call)(Scene<Library> &)>
void registerSizes(const char *operation) {
  const auto one = [operation](std::size_t words, void (*function)(benchmark::State &)) {
    benchmark::RegisterBenchmark(label(operation, words, Library::name).c_str(), function);
  };
  one(4, measure<Library, 4, call>);
  one(16, measure<Library, 16, call>);
  one(64, measure<Library, 64, call>);
  one(120, measure<Library, 120, call>);
}

template <class Library>
void registerAll() {
  using C = Calls<Library>;
  registerSizes<Library, C::add>("add");
  registerSizes<Library, C::subtract>("subtract");
  registerSizes<Library, C::multiply>("multiply");
  registerSizes<Library, C::power>("power");
  registerSizes<Library, C::divide>("divide");
  registerSizes<Library, C::encodeDecimal>("encode-decimal");
  registerSizes<Library, C::decodeDecimal>("decode-decimal");
  registerSizes<Library, C::encodeHexadecimal>("encode-hexadecimal");
  registerSizes<Library, C::decodeHexadecimal>("decode-hexadecimal");
}

// ---- Text of kt::Integer ----

// kt::Integer makes a new value or a new string, so the functions over _KtInt do the same here.

constexpr std::array<std::size_t, 3> textSizes = {4, 64, 255};  // words
constexpr double textLimit = 1.1;                               // times the functions' time

struct TextScene {
  explicit TextScene(std::size_t words)
      : hexadecimal(randomHex(16 * words, 1)), record(hexadecimal), integer(hexadecimal, 16) {
    decimal = integer.toString();
  }

  std::string hexadecimal, decimal;
  Kt::Number record;
  kt::Integer integer;
};

std::string encoded(TextScene &s, const char *alphabet) {
  std::array<char, textRoom> text;
  _KtIntEncode(s.record, text.data(), alphabet);
  return text.data();
}

Kt::Number decoded(const std::string &text, const char *alphabet) {
  Kt::Number made;
  _KtIntDecode(text.c_str(), made, alphabet);
  return made;
}

struct TextOperation {
  const char *name;
  void (*withIntegers)(TextScene &);
  void (*withRecords)(TextScene &);
};

template <auto make>
void call(TextScene &s) {
  benchmark::DoNotOptimize(make(s));
}

constexpr std::array<TextOperation, 4> textOperations = {{
    {"to-decimal", call<[](TextScene &s) { return s.integer.toString(); }>,
     call<[](TextScene &s) { return encoded(s, _KTINT_DEC_VECTOR); }>},
    {"from-decimal", call<[](TextScene &s) { return kt::Integer(s.decimal); }>,
     call<[](TextScene &s) { return decoded(s.decimal, _KTINT_DEC_VECTOR); }>},
    {"to-hexadecimal", call<[](TextScene &s) { return s.integer.toString(16); }>,
     call<[](TextScene &s) { return encoded(s, _KTINT_HEX_VECTOR); }>},
    {"from-hexadecimal", call<[](TextScene &s) { return kt::Integer(s.hexadecimal, 16); }>,
     call<[](TextScene &s) { return decoded(s.hexadecimal, _KTINT_HEX_VECTOR); }>},
}};

constexpr const char *integers = "kt::Integer";
constexpr const char *records = "_KtInt";

void registerTexts() {
  for (const TextOperation &operation : textOperations) {
    for (const std::size_t words : textSizes) {
      const auto one = [&](const char *type, void (*function)(TextScene &)) {
        benchmark::RegisterBenchmark(label(operation.name, words, type).c_str(),
                                     [words, function](benchmark::State &state) {
                                       TextScene scene(words);
                                       for (auto _ : state) {
                                         function(scene);
                                       }
                                     });
      };
      one(integers, operation.withIntegers);
      one(records, operation.withRecords);
    }
  }
}

// ---- Claims ----

double limitOf(const Operation &operation, std::size_t words) {
  if (words == 4) return operation.limitAtFour;
  if (words == 16) return operation.limitAtSixteen;
  return operation.limit;
}

std::vector<bench::Ratio> claims() {
  std::vector<bench::Ratio> ratios;
  for (const Operation &operation : operations) {
    for (const std::size_t words : sizes) {
      const std::string ours = label(operation.name, words, Kt::name);
      ratios.push_back({ours, label(operation.name, words, Gmp::name), limitOf(operation, words)});
      for (const char *other : {Boost::name, OpenSsl::name, TomMath::name}) {
        if (words >= 16) ratios.push_back({ours, label(operation.name, words, other), 1});
      }
    }
  }
  for (const TextOperation &operation : textOperations) {
    for (const std::size_t words : textSizes) {
      ratios.push_back({label(operation.name, words, integers),
                        label(operation.name, words, records), textLimit});
    }
  }
  return ratios;
}

}  // namespace

int main(int argc, char **argv) {
  registerAll<Kt>();
  registerAll<Gmp>();
  registerAll<Boost>();
  registerAll<OpenSsl>();
  registerAll<TomMath>();
  registerTexts();
  return bench::runWithRatios(argc, argv, claims());
}
