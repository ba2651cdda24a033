#include "bench/exhaustive/value_reference.h"

#include <array>

#include "bench/exhaustive/soft_double.h"

namespace exhaustive {
namespace {

constexpr const char* INTEGER_DASHES = "-------";
constexpr const char* DECIMAL_DASHES = "-----";
constexpr const char* PERCENT_DASHES = "--";

std::string RightAligned(const std::string& text, std::size_t places) {
  return text.size() >= places ? text : std::string(places - text.size(), ' ') + text;
}

// "123,400"; blanks on the left up to seven places.
std::string IntegerText(std::uint64_t value) {
  if (value < 1000) return RightAligned(std::to_string(value), 7);
  const std::string thousands = std::to_string(value / 1000);
  const std::string rest = std::to_string(value % 1000);
  return RightAligned(thousands + "," + std::string(3 - rest.size(), '0') + rest, 7);
}

std::string DecimalText(bool negative, std::uint64_t tenths) {
  return RightAligned((negative ? "-" : "") + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10),
                      5);
}

bool IsNaN(const soft_double_t& value) {
  return value.kind == number_kind_t::NOT_A_NUMBER;
}

// Writes the text of a number again only when the number is another than last time: neighbouring values mostly
// show the same.
class TextMemory {
 public:
  template <class MakeText>
  const std::string& Find(const soft_double_t& shown, MakeText makeText) {
    const bool same = shown.digits == shown_.digits && shown.exponent == shown_.exponent &&
                      shown.negative == shown_.negative && shown.kind == shown_.kind && !text_.empty();
    if (!same) {
      shown_ = shown;
      text_ = makeText();
    }
    return text_;
  }

 private:
  soft_double_t shown_;
  std::string text_;
};

// What an unsigned integer part makes of a number below zero.
soft_double_t NotBelowZero(const soft_double_t& value) {
  return value.negative && !IsNaN(value) ? soft_double_t{} : value;
}

const soft_double_t HUNDRED = FromInteger(100);
const soft_double_t FIFTY = FromInteger(50);
const soft_double_t THOUSAND = FromInteger(1000);
const soft_double_t MILLION = FromInteger(1000000);
const soft_double_t MINUS_TWENTY = FromInteger(-20);

// The widget of load and capacity: of the whole hundreds of the stored value.
std::string WeightText(const soft_double_t& stored) {
  if (IsNaN(stored)) return INTEGER_DASHES;
  const soft_double_t shown = Multiply(NotBelowZero(Truncate(Divide(stored, HUNDRED))), HUNDRED);
  if (Compare(shown, MILLION) >= 0) return INTEGER_DASHES;
  static TextMemory memory;
  return memory.Find(shown, [&] { return IntegerText(RoundToParts(shown, 1)); });
}

soft_double_t Tenths(std::uint32_t bits) {
  return Truncate(Divide(Add(FromSingle(bits), TWENTIETH), TENTH));
}

std::string TenthsText(const soft_double_t& tenths, const soft_double_t& lowest) {
  if (IsNaN(tenths)) return DECIMAL_DASHES;
  const soft_double_t shown = Multiply(tenths, TENTH);
  if (Compare(shown, lowest) < 0 || Compare(shown, THOUSAND) >= 0) return DECIMAL_DASHES;
  static TextMemory memory;
  return memory.Find(shown,
                     [&] { return DecimalText(shown.negative && !shown.IsZero(), RoundToParts(shown, 10)); });
}

// A number of six significant digits: digits * 10^exponent.
struct six_digits_t {
  std::uint64_t digits = 0;
  int exponent = 0;
};

constexpr std::size_t POWERS = 32;

constexpr std::array<wide_t, POWERS> MakePowersOfTen() {
  std::array<wide_t, POWERS> powers{1};
  for (std::size_t i = 1; i < POWERS; ++i) powers.at(i) = powers.at(i - 1) * 10;
  return powers;
}

wide_t PowerOfTen(int exponent) {
  static constexpr std::array<wide_t, POWERS> TABLE = MakePowersOfTen();
  return TABLE.at(static_cast<std::size_t>(exponent));
}

// |value| * factor to six significant digits, halves away from zero. The result is 0 below 10^-6, where every
// rule of the percentage says the same, and the product is below 10^17.
six_digits_t ToSixDigits(const soft_double_t& value, unsigned factor) {
  constexpr int DECIMALS = 12;
  // In units of 10^-12 * 2^-shift, exactly: digits of at most 24 bits times 10^12 and 100 leave room for it.
  const std::uint64_t mantissa = value.digits >> 29U;  // a single-precision value has 24 bits
  const int exponent = value.exponent + 29;
  if (exponent < -64) return {};
  wide_t units = wide_t(mantissa) * factor * PowerOfTen(DECIMALS);
  const int shift = exponent < 0 ? -exponent : 0;
  if (exponent > 0) units <<= exponent;
  int power = 0;  // of ten that one of the six digits stands for, in units
  while ((units >> shift) >= PowerOfTen(power + 6)) ++power;
  const wide_t step = PowerOfTen(power) << shift;
  const auto digits = static_cast<std::uint64_t>((units + step / 2) / step);
  return {digits, power - DECIMALS};
}

// Whether the exact product is above 10^15, and so no percentage at all.
bool IsBeyondPercent(const soft_double_t& value) {
  const soft_double_t limit = FromInteger(1'000'000'000'000'000);
  const soft_double_t product = Multiply({value.kind, false, value.exponent, value.digits}, HUNDRED);
  return Compare(product, limit) > 0;
}

std::uint64_t WholePart(const six_digits_t& number) {
  if (number.exponent >= 0) return number.digits * static_cast<std::uint64_t>(PowerOfTen(number.exponent));
  return static_cast<std::uint64_t>(number.digits / PowerOfTen(-number.exponent));
}

}  // namespace

std::string ExpectedLoad(std::uint32_t bits) {
  const soft_double_t hundreds = Truncate(Divide(Add(FromSingle(bits), FIFTY), HUNDRED));
  return WeightText(Multiply(hundreds, HUNDRED));
}

std::string ExpectedCapacity(std::uint32_t bits) {
  return WeightText(Multiply(Truncate(Divide(FromSingle(bits), HUNDRED)), HUNDRED));
}

std::string ExpectedLength(std::uint32_t bits) {
  return TenthsText(NotBelowZero(Tenths(bits)), soft_double_t{});
}

std::string ExpectedAngle(std::uint32_t bits) {
  return TenthsText(Tenths(bits), MINUS_TWENTY);
}

std::string ExpectedSwing(std::int16_t degrees) {
  if (degrees == 360 || degrees == -360) return RightAligned("0", 5);
  if (degrees < -359 || degrees > 359) return DECIMAL_DASHES;
  return RightAligned(std::to_string(degrees), 5);
}

std::string ExpectedSwingWord(int mode) {
  constexpr std::array<const char*, 7> WORDS = {"", "FRONT", "REAR", "SIDE", "360", "-N/A-", "F-ARC"};
  return mode >= 0 && mode < 7 ? WORDS.at(static_cast<std::size_t>(mode)) : "ERROR";
}

std::string ExpectedPercent(std::uint32_t bits) {
  const soft_double_t value = FromSingle(bits);
  if (value.kind != number_kind_t::FINITE || IsBeyondPercent(value)) return PERCENT_DASHES;
  const std::uint64_t whole = value.IsZero() ? 0 : WholePart(ToSixDigits(value, 100));
  return (value.negative && whole != 0 ? "-" : "") + std::to_string(whole);
}

int ExpectedBand(std::uint32_t bits) {
  const soft_double_t value = FromSingle(bits);
  if (value.kind != number_kind_t::FINITE) return -1;
  if (value.negative || value.IsZero()) return 0;
  if (Compare(value, FromInteger(10)) >= 0) return 2;
  const six_digits_t settled = ToSixDigits(value, 1);
  if (WholePart(settled) >= 1) return 2;
  return WholePart({settled.digits * 10, settled.exponent}) >= 9 ? 1 : 0;
}

}  // namespace exhaustive
