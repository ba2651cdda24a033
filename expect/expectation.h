// Reads and judges expectations about what the screen shows, as users write them in `unit wait` and in
// scenarios.
//
//   load == 12300       load "12,300"      line2 has "LOST"     percent >= 90
//   page == Wad         page Wad           link lost            beeper != silent
//   lamp overload       no lamp overload
//
// The comparison == may be left out. A text in quotes, or one word without, is compared with the shown text; a
// number with the number of the shown text ("12,300" is 12300). A text without a number, such as dashes, is
// unequal to every number, neither less nor greater.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace expect {

enum class comparison_t { EQUAL, UNEQUAL, LESS, AT_MOST, GREATER, AT_LEAST, HAS };

class Expectation {
 public:
  // Throws std::invalid_argument with what is wrong and what would be right.
  explicit Expectation(std::string_view text);

  // Both take the answer of GET /api/shown, parsed. A value of another kind than that answer has is met by
  // nothing but != and `no lamp`.
  bool IsMet(const nlohmann::json& shown) const;
  // What the screen showed instead: "load was "-------" on the page Main".
  std::string Describe(const nlohmann::json& shown) const;

  // As written.
  const std::string& Text() const { return text_; }

 private:
  enum class subject_t { LAMP, TEXT, WORD, NUMBER };

  void ReadLamp(std::string_view& rest, bool isNegated);
  void FindSubject();
  void ReadComparison(std::string_view& rest);
  void ReadValue(std::string_view& rest);
  void CheckValue() const;
  std::string ShownIn(const nlohmann::json& shown) const;

  std::string text_;
  subject_t subject_ = subject_t::LAMP;
  std::string name_;  // of a lamp, of a text or of a member of the answer
  comparison_t comparison_ = comparison_t::EQUAL;
  std::string value_;
  std::optional<double> number_;  // the value, where it is a number and without quotes
};

}  // namespace expect
