#include "bench/exhaustive/soft_double.h"

#include <bit>
#include <utility>

namespace exhaustive {
namespace {

constexpr int PRECISION = 53;
constexpr int GUARD = 64;          // bits kept below the last one while two numbers are added
constexpr int DIVISION_STEPS = 5;  // of 11 bits

int BitsOf(wide_t value) {
  const auto high = static_cast<std::uint64_t>(value >> 64);
  return static_cast<int>(high != 0 ? 64 + std::bit_width(high)
                                    : std::bit_width(static_cast<std::uint64_t>(value)));
}

// `rest` says that the exact value is larger than magnitude * 2^exponent, by less than one unit.
soft_double_t Round(bool negative, wide_t magnitude, int exponent, bool rest) {
  const int surplus = BitsOf(magnitude) - PRECISION;
  if (magnitude == 0) return {number_kind_t::FINITE, negative, 0, 0};
  if (surplus <= 0) {
    return {number_kind_t::FINITE, negative, exponent + surplus,
            static_cast<std::uint64_t>(magnitude << -surplus)};
  }
  auto digits = static_cast<std::uint64_t>(magnitude >> surplus);
  const wide_t below = magnitude & ((wide_t(1) << surplus) - 1);
  const wide_t half = wide_t(1) << (surplus - 1);
  const bool up = below > half || (below == half && (rest || (digits & 1U) != 0));
  digits += up ? 1U : 0U;
  exponent += surplus;
  if (digits == std::uint64_t(1) << PRECISION)
    return {number_kind_t::FINITE, negative, exponent + 1, digits / 2};
  return {number_kind_t::FINITE, negative, exponent, digits};
}

soft_double_t AddSpecial(const soft_double_t& a, const soft_double_t& b) {
  if (a.kind == number_kind_t::NOT_A_NUMBER || b.kind == number_kind_t::FINITE) return a;
  if (b.kind == number_kind_t::NOT_A_NUMBER || a.kind == number_kind_t::FINITE) return b;
  return a.negative == b.negative ? a : soft_double_t{number_kind_t::NOT_A_NUMBER};
}

int CompareMagnitudes(const soft_double_t& a, const soft_double_t& b) {
  if (a.digits == 0 || b.digits == 0) return (a.digits != 0 ? 1 : 0) - (b.digits != 0 ? 1 : 0);
  if (a.exponent != b.exponent) return a.exponent < b.exponent ? -1 : 1;
  if (a.digits == b.digits) return 0;
  return a.digits < b.digits ? -1 : 1;
}

// |a| >= |b|, both other than zero.
soft_double_t AddLargerFirst(const soft_double_t& a, const soft_double_t& b) {
  const int distance = a.exponent - b.exponent;
  const wide_t large = wide_t(a.digits) << GUARD;
  const bool gone = distance > GUARD + PRECISION;
  const wide_t shifted = wide_t(b.digits) << GUARD;
  const wide_t small = gone ? 0 : shifted >> distance;
  const bool rest = gone || (small << distance) != shifted;
  const int exponent = a.exponent - GUARD;
  if (a.negative == b.negative) return Round(a.negative, large + small, exponent, rest);
  const wide_t difference = large - small;
  if (difference == 0 && !rest) return {};  // an exact zero is positive
  return Round(a.negative, rest ? difference - 1 : difference, exponent, rest);
}

}  // namespace

soft_double_t FromSingle(std::uint32_t bits) {
  constexpr std::uint32_t FRACTION = 0x7FFFFF;
  constexpr std::uint32_t HIDDEN = 0x800000;
  const bool negative = (bits >> 31U) != 0;
  const auto biased = static_cast<int>((bits >> 23U) & 0xFFU);
  const std::uint32_t fraction = bits & FRACTION;
  if (biased == 255) {
    return {fraction != 0 ? number_kind_t::NOT_A_NUMBER : number_kind_t::INFINITE, negative, 0, 0};
  }
  if (biased == 0) return Round(negative, fraction, -149, false);
  return Round(negative, fraction | HIDDEN, biased - 150, false);
}

soft_double_t FromInteger(std::int64_t value) {
  const bool negative = value < 0;
  return Round(negative, static_cast<std::uint64_t>(negative ? -value : value), 0, false);
}

soft_double_t Add(const soft_double_t& a, const soft_double_t& b) {
  if (a.kind != number_kind_t::FINITE || b.kind != number_kind_t::FINITE) return AddSpecial(a, b);
  if (a.digits == 0 && b.digits == 0) return {number_kind_t::FINITE, a.negative && b.negative, 0, 0};
  if (b.digits == 0) return a;
  if (a.digits == 0) return b;
  return CompareMagnitudes(a, b) >= 0 ? AddLargerFirst(a, b) : AddLargerFirst(b, a);
}

soft_double_t Multiply(const soft_double_t& a, const soft_double_t& b) {
  const bool negative = a.negative != b.negative;
  if (a.kind == number_kind_t::NOT_A_NUMBER || b.kind == number_kind_t::NOT_A_NUMBER ||
      (a.kind == number_kind_t::INFINITE && b.IsZero()) || (b.kind == number_kind_t::INFINITE && a.IsZero())) {
    return {number_kind_t::NOT_A_NUMBER};
  }
  if (a.kind == number_kind_t::INFINITE || b.kind == number_kind_t::INFINITE) {
    return {number_kind_t::INFINITE, negative, 0, 0};
  }
  return Round(negative, wide_t(a.digits) * b.digits, a.exponent + b.exponent, false);
}

soft_double_t Divide(const soft_double_t& a, const soft_double_t& b) {
  const bool negative = a.negative != b.negative;
  if (a.kind != number_kind_t::FINITE) return {a.kind, negative, 0, 0};
  // Long division in 64 bits, which machines divide fast: 11 bits of the quotient each time, as
  // many as a number of 53 bits leaves free. 55 bits or 56 are enough to round by, with what is left over.
  constexpr int STEP = 11;
  std::uint64_t quotient = a.digits / b.digits;
  std::uint64_t rest = a.digits % b.digits;
  for (int i = 0; i < DIVISION_STEPS; ++i) {
    rest <<= STEP;
    quotient = (quotient << STEP) | (rest / b.digits);
    rest %= b.digits;
  }
  return Round(negative, quotient, a.exponent - DIVISION_STEPS * STEP - b.exponent, rest != 0);
}

soft_double_t Truncate(const soft_double_t& a) {
  if (a.kind != number_kind_t::FINITE || a.exponent >= 0) return a;
  const std::uint64_t whole = -a.exponent >= 64 ? 0 : a.digits >> -a.exponent;
  return Round(a.negative, whole, 0, false);
}

int Compare(const soft_double_t& a, const soft_double_t& b) {
  if (a.IsZero() && b.IsZero()) return 0;
  if (a.negative != b.negative) return a.negative ? -1 : 1;
  const int sign = a.negative ? -1 : 1;
  if (a.kind == number_kind_t::INFINITE || b.kind == number_kind_t::INFINITE) {
    if (a.kind == b.kind) return 0;
    return a.kind == number_kind_t::INFINITE ? sign : -sign;
  }
  return sign * CompareMagnitudes(a, b);
}

std::uint64_t RoundToParts(const soft_double_t& a, unsigned parts) {
  const wide_t scaled = wide_t(a.digits) * parts;
  if (a.exponent >= 0) return static_cast<std::uint64_t>(scaled << a.exponent);
  const int shift = -a.exponent;
  if (shift > 120) return 0;
  const wide_t whole = scaled >> shift;
  const wide_t below = scaled - (whole << shift);
  const wide_t half = wide_t(1) << (shift - 1);
  const bool up = below > half || (below == half && (whole & 1U) != 0);
  return static_cast<std::uint64_t>(whole) + (up ? 1U : 0U);
}

}  // namespace exhaustive
