#include "expect/expectation.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <span>
#include <stdexcept>
#include <vector>

#include <nlohmann/json.hpp>

#include "base/nearest_word.h"
#include "expect/shown_names.h"

namespace expect {
namespace {

using nlohmann::json;
using Names = std::span<const std::string_view>;

constexpr std::string_view LAMP = "lamp";
constexpr std::string_view NO = "no";
constexpr std::string_view BLANKS = " \t";
constexpr std::string_view SIGNS = "=!<>";

struct comparison_name_t {
  std::string_view name;
  comparison_t comparison;
};
constexpr auto COMPARISONS = std::to_array<comparison_name_t>({{"==", comparison_t::EQUAL},
                                                               {"!=", comparison_t::UNEQUAL},
                                                               {"<", comparison_t::LESS},
                                                               {"<=", comparison_t::AT_MOST},
                                                               {">", comparison_t::GREATER},
                                                               {">=", comparison_t::AT_LEAST},
                                                               {"has", comparison_t::HAS}});

// Members of the answer that are a word. Pages are those of the design, which is not known here.
struct word_t {
  std::string_view name;
  Names values;  // empty: any
};
constexpr auto WORDS = std::to_array<word_t>({{"page", {}},
                                              {"title", {}},
                                              {"state", STATE_NAMES},
                                              {"link", LINK_NAMES},
                                              {"language", LANGUAGE_NAMES},
                                              {"beeper", BEEPER_NAMES}});
const word_t* FindWord(std::string_view name) {
  const auto word = std::ranges::find(WORDS, name, &word_t::name);
  return word == WORDS.end() ? nullptr : &*word;
}

constexpr auto NUMBERS = std::to_array<std::string_view>({"brightness"});

[[noreturn]] void Refuse(const std::string& text) {
  throw std::invalid_argument(text);
}

std::string Quoted(std::string_view text) {
  return "\"" + std::string(text) + "\"";
}

std::string Listed(Names names) {
  std::string list;
  for (const std::string_view name : names) list += (list.empty() ? "" : ", ") + std::string(name);
  return list;
}

bool IsOneOf(std::string_view name, Names names) {
  return std::ranges::find(names, name) != names.end();
}

// `what`: "no lamp". Names the nearest, or all where none is near.
[[noreturn]] void RefuseName(std::string_view name, const std::string& what, Names names) {
  std::string nearest = base::Suggest(name, names);
  if (nearest.empty()) nearest = "; there are " + Listed(names);
  Refuse(Quoted(name) + " is " + what + nearest);
}

std::vector<std::string_view> AllNames() {
  std::vector<std::string_view> names(TEXT_NAMES.begin(), TEXT_NAMES.end());
  for (const word_t& word : WORDS) names.push_back(word.name);
  names.insert(names.end(), NUMBERS.begin(), NUMBERS.end());
  names.push_back(LAMP);
  return names;
}

void SkipBlanks(std::string_view& rest) {
  rest.remove_prefix(std::min(rest.find_first_not_of(BLANKS), rest.size()));
}

std::string_view Take(std::string_view& rest, std::size_t length) {
  const std::string_view taken = rest.substr(0, length);
  rest.remove_prefix(taken.size());
  SkipBlanks(rest);
  return taken;
}

bool IsSign(char c) {
  return SIGNS.find(c) != std::string_view::npos;
}

// The next word, which ends before a blank or the signs of a comparison.
std::string_view TakeWord(std::string_view& rest) {
  const auto end = std::ranges::find_if(
      rest, [](char c) { return BLANKS.find(c) != std::string_view::npos || IsSign(c) || c == '"'; });
  return Take(rest, static_cast<std::size_t>(end - rest.begin()));
}

// The text between quotes; a backslash takes the next character as it is.
std::string TakeQuoted(std::string_view& rest) {
  std::string text;
  for (std::size_t i = 1; i < rest.size(); ++i) {
    if (rest[i] == '"') {
      Take(rest, i + 1);
      return text;
    }
    if (rest[i] == '\\' && i + 1 < rest.size()) ++i;
    text += rest[i];
  }
  Refuse("the quote is not closed: " + std::string(rest));
}

// A number as the screen writes it, with commas between the thousands.
std::optional<double> NumberOf(std::string_view text) {
  std::string digits(text);
  std::erase(digits, ',');
  double number = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  if (error != std::errc() || stop != end || !std::isfinite(number)) return std::nullopt;
  return number;
}

bool IsOrder(comparison_t comparison) {
  return comparison != comparison_t::EQUAL && comparison != comparison_t::UNEQUAL &&
         comparison != comparison_t::HAS;
}

bool Holds(comparison_t comparison, double shown, double wanted) {
  switch (comparison) {
    case comparison_t::LESS:
      return shown < wanted;
    case comparison_t::AT_MOST:
      return shown <= wanted;
    case comparison_t::GREATER:
      return shown > wanted;
    case comparison_t::AT_LEAST:
      return shown >= wanted;
    case comparison_t::UNEQUAL:
      return shown != wanted;
    default:
      return shown == wanted;
  }
}

bool Holds(comparison_t comparison, const std::string& shown, const std::string& wanted) {
  if (comparison == comparison_t::HAS) return shown.find(wanted) != std::string::npos;
  return (shown == wanted) == (comparison == comparison_t::EQUAL);
}

json Member(const json& object, const std::string& name) {
  return object.is_object() ? object.value(name, json()) : json();
}

// Empty where the value is neither a text nor a number.
std::string TextOf(const json& value) {
  if (value.is_string()) return value.get<std::string>();
  return value.is_number() ? value.dump() : std::string();
}

bool IsLit(const json& shown, const std::string& lamp) {
  const json lamps = Member(shown, "lamps");
  return lamps.is_array() && std::ranges::find(lamps, json(lamp)) != lamps.end();
}

std::string LitLamps(const json& shown) {
  std::string list;
  for (const json& lamp : Member(shown, "lamps")) list += (list.empty() ? "" : ", ") + TextOf(lamp);
  return list.empty() ? "no lamp" : list;
}

// Which page was shown, and whether the screen could know its values.
std::string Circumstances(const json& shown) {
  std::string text = " on the page " + TextOf(Member(shown, "page"));
  if (const std::string state = TextOf(Member(shown, "state")); state != STATE_CURRENT)
    text += ", whose data were " + state;
  return text;
}

}  // namespace

Expectation::Expectation(std::string_view text) : text_(text) {
  std::string_view rest = text_;
  SkipBlanks(rest);
  if (rest.empty()) Refuse("an expectation is missing, such as load == 12300 or lamp overload");
  name_ = TakeWord(rest);
  const bool isNegated = name_ == NO;
  if (isNegated) name_ = TakeWord(rest);
  if (isNegated && name_ != LAMP) Refuse("after \"no\" comes lamp NAME; for a text or a value write !=");
  if (name_ == LAMP) {
    ReadLamp(rest, isNegated);
  } else {
    FindSubject();
    ReadComparison(rest);
    ReadValue(rest);
    CheckValue();
  }
  if (!rest.empty()) Refuse(Quoted(rest) + " is too much; put a text with blanks between quotes");
}

void Expectation::ReadLamp(std::string_view& rest, bool isNegated) {
  std::vector<std::string_view> lamps(LAMP_NAMES.begin(), LAMP_NAMES.end());
  lamps.push_back(LINK_LOST_LAMP);
  name_ = TakeWord(rest);
  if (!IsOneOf(name_, lamps)) RefuseName(name_, "no lamp", lamps);
  subject_ = subject_t::LAMP;
  comparison_ = isNegated ? comparison_t::UNEQUAL : comparison_t::EQUAL;
}

void Expectation::FindSubject() {
  if (IsOneOf(name_, TEXT_NAMES)) {
    subject_ = subject_t::TEXT;
  } else if (IsOneOf(name_, NUMBERS)) {
    subject_ = subject_t::NUMBER;
  } else if (FindWord(name_) != nullptr) {
    subject_ = subject_t::WORD;
  } else {
    RefuseName(name_, "nothing that the screen shows", AllNames());
  }
}

void Expectation::ReadComparison(std::string_view& rest) {
  const auto signs = static_cast<std::size_t>(std::ranges::find_if_not(rest, IsSign) - rest.begin());
  std::string_view after = rest;
  const std::string_view written = signs > 0 ? Take(after, signs) : TakeWord(after);
  const auto row = std::ranges::find(COMPARISONS, written, &comparison_name_t::name);
  if (row != COMPARISONS.end()) {
    comparison_ = row->comparison;
    rest = after;
  } else if (signs > 0) {
    Refuse(Quoted(written) + " is no comparison; write ==, !=, <, <=, >, >= or has");
  }
}

void Expectation::ReadValue(std::string_view& rest) {
  if (rest.empty() || IsSign(rest.front())) {
    Refuse("what is " + name_ + " compared with? Write a number, a word, or a text between quotes after it");
  }
  if (rest.front() == '"') {
    value_ = TakeQuoted(rest);
  } else {
    value_ = TakeWord(rest);
    number_ = NumberOf(value_);
  }
}

void Expectation::CheckValue() const {
  const bool isNumber = subject_ != subject_t::WORD && number_;
  if (IsOrder(comparison_) && !isNumber) {
    Refuse("<, <=, > and >= compare numbers, and " + (number_ ? name_ : Quoted(value_)) + " is none");
  }
  if (subject_ == subject_t::NUMBER && (!number_ || comparison_ == comparison_t::HAS)) {
    Refuse(name_ + " is a number; compare it with one");
  }
  const word_t* word = FindWord(name_);
  if (word != nullptr && !word->values.empty() && comparison_ != comparison_t::HAS &&
      !IsOneOf(value_, word->values)) {
    RefuseName(value_, "no value of " + name_, word->values);
  }
}

std::string Expectation::ShownIn(const json& shown) const {
  return TextOf(Member(subject_ == subject_t::TEXT ? Member(shown, "texts") : shown, name_));
}

bool Expectation::IsMet(const json& shown) const {
  if (subject_ == subject_t::LAMP) return IsLit(shown, name_) == (comparison_ == comparison_t::EQUAL);
  const std::string text = ShownIn(shown);
  if (subject_ == subject_t::WORD || !number_ || comparison_ == comparison_t::HAS)
    return Holds(comparison_, text, value_);
  const std::optional<double> number = NumberOf(text);
  return number ? Holds(comparison_, *number, *number_) : comparison_ == comparison_t::UNEQUAL;
}

std::string Expectation::Describe(const json& shown) const {
  if (subject_ == subject_t::LAMP) {
    const bool isLit = IsLit(shown, name_);
    return "the lamp " + name_ + " was " + (isLit ? "lit" : "dark; lit: " + LitLamps(shown)) +
           Circumstances(shown);
  }
  const std::string text = ShownIn(shown);
  if (subject_ == subject_t::TEXT && text.empty()) return name_ + " was not shown" + Circumstances(shown);
  return name_ + " was " + (subject_ == subject_t::TEXT ? Quoted(text) : text) +
         (name_ == "page" ? std::string() : Circumstances(shown));
}

}  // namespace expect
