// IEEE 754 double precision arithmetic in integers: the reference's own adder, multiplier and divider.
//
// Each operation returns the exact result rounded to 53 bits, ties to even. The reference uses no floating
// point, so that a fault of the compiler, of its flags or of the processor's mode shows as a difference.
// Results below 2^-1022 or above 2^1023 do not occur with single-precision operands and are not handled.
#pragma once

#include <cstdint>

namespace exhaustive {

__extension__ using wide_t = unsigned __int128;

enum class number_kind_t : std::uint8_t { FINITE, INFINITE, NOT_A_NUMBER };

// (-1)^negative * digits * 2^exponent. A value other than zero has digits from 2^52 to 2^53 - 1.
struct soft_double_t {
  number_kind_t kind = number_kind_t::FINITE;
  bool negative = false;
  int exponent = 0;
  std::uint64_t digits = 0;

  bool IsZero() const { return kind == number_kind_t::FINITE && digits == 0; }
};

// The value of single-precision bits; exact.
soft_double_t FromSingle(std::uint32_t bits);
soft_double_t FromInteger(std::int64_t value);  // below 2^53 either way

soft_double_t Add(const soft_double_t& a, const soft_double_t& b);
soft_double_t Multiply(const soft_double_t& a, const soft_double_t& b);
soft_double_t Divide(const soft_double_t& a, const soft_double_t& b);  // b is finite and not zero
soft_double_t Truncate(const soft_double_t& a);                        // towards zero; exact

// -1, 0 or 1; neither operand is NaN. Zeros of both signs are equal.
int Compare(const soft_double_t& a, const soft_double_t& b);

// The magnitude in units of 1/`parts`, to the nearest, ties to even. The result is below 2^63.
std::uint64_t RoundToParts(const soft_double_t& a, unsigned parts);

// The doubles nearest to 0.1 and to 0.05, digit by digit.
constexpr soft_double_t TENTH{number_kind_t::FINITE, false, -56, 0x1999999999999A};
constexpr soft_double_t TWENTIETH{number_kind_t::FINITE, false, -57, 0x1999999999999A};

}  // namespace exhaustive
