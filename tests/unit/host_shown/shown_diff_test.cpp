#include "host/shown/shown_diff.h"

#include <cmath>
#include <limits>

#include <gmock/gmock.h>

#include "host/protocol/encode.h"
#include "host/shown/diff_lines.h"
#include "src/display/number_format.h"
#include "src/display/operating_page.h"
#include "src/display/value_widgets.h"
#include "tests/support/hex.h"

namespace {

using testing::ElementsAre;
using testing::Pair;

std::string Trimmed(const char* text) {
  const std::string all = text;
  return all.substr(std::min(all.find_first_not_of(' '), all.size()));
}

// The display writes as many dashes as its widget is wide; the host's model always writes five.
void ExpectSame(const std::string& shown, const char* widget, double value) {
  const std::string text = Trimmed(widget);
  EXPECT_EQ(shown, text.starts_with("---") ? "-----" : text) << value;
}

TEST(ShownValuesTest, AreRoundedAsTheDisplayRoundsThem) {
  constexpr double NONE = std::numeric_limits<double>::quiet_NaN();
  constexpr double ENDLESS = std::numeric_limits<double>::infinity();
  std::vector<double> values = {NONE, ENDLESS, -ENDLESS, -0.04,  -0.06,  -19.94, -20, -20.04, -20.06,
                                -21,  999.94,  999.96,   999900, 999999, 1e6,    -50, -150,   1e30};
  for (int i = -300; i < 20'000; ++i) values.push_back(i * 0.07);
  for (const double value : values) {
    char text[8];
    LoadText(value, text);
    ExpectSame(host::ShownWeight(value), text, value);
    ExtensionText(value, text);
    ExpectSame(host::ShownLength(value), text, value);
    AngleText(value, text);
    ExpectSame(host::ShownAngle(value), text, value);
  }
  for (int degrees = -400; degrees <= 400; ++degrees) {
    char text[8];
    FormatSwingStr(text, degrees);
    ExpectSame(host::ShownSwing(degrees), text, degrees);
  }
}

TEST(ShownStateTest, FollowsTheHostsMessagesAsTheDisplayDoes) {
  const std::pair<std::vector<const char*>, host::shown_texts_t> cases[] = {
      {{"07 0B 01", "07 0B 02"}, {{"units", "metric"}}},  // other numbers are refused
      {{"07 0D 04", "07 0D 06"}, {{"language", "russian"}}},
      {{"07 0F 03", "07 0F 02"}, {{"page-request", "slate-to-main"}}},
      {{"07 13 01", "07 13 00"}, {}},  // the display shows the swing, which no message has set
      {{"07 13 09"}, {{"swing", "9"}}},
      {{"04 14", "07 0A FF"}, {{"beeper", "continuous"}}},
      {{"04 14"}, {{"beeper", "20 x 10 ms"}}},
      {{"05 00 09 00 07 00 11 48 45 4C 4C 4F", "05 00 05 00 03 00 12 41"}, {{"text line1-right", "A"}}},
      {{"05 00 0A 00 03 00 11 41 00 03 00 11 42"}, {{"text line1-center", "A B"}}},
      {{"05 00 0A 00 03 00 11 41 00 02 00 11"}, {{"text line1-center", "A"}}},  // the second length is wrong
      {{"05 00 05 00 03 00 11 41", "05 00 04 00 03 00 11"}, {{"text line1-center", "A"}}},
      {{"05 00 05 00 03 00 1F 41"}, {}},  // no such field
      {{"03 00 04 00 00 41 42", "03 00 02 00 00"}, {{"flash", "AB"}}},
      {{"06", "07 03", "08 01", "63"}, {}},  // these change nothing on the screen
  };
  for (const auto& [messages, shown] : cases) {
    host::ShownState state;
    for (const char* message : messages) state.Apply(FromHex(message));
    EXPECT_EQ(state.Shown(), shown) << messages[0];
  }
}

TEST(ShownStateTest, ShowsLampsWithTheColoursThatAreSetForThem) {
  host::ShownState state;
  host::MessageBytes values(41, 0);
  values[0] = 2;
  values[27] = 0x02;  // overload
  values[29] = 0x03;  // tires, retracted
  state.Apply(values);
  state.Apply(FromHex("07 12 03 00 01 01"));
  EXPECT_EQ(state.Shown().at("lamp overload"), "lit");
  EXPECT_EQ(state.Shown().at("lamp tires"), "red");
  EXPECT_EQ(state.Shown().at("lamp outrigger-retracted"), "dark");
  EXPECT_FALSE(state.Shown().contains("lamp outrigger-half"));
  values[29] = 0;
  state.Apply(values);
  EXPECT_FALSE(state.Shown().contains("lamp tires"));
}

// Each letter is one state. Its time in seconds is its position.
host::ShownDiff::Source Letters(const std::string& letters) {
  return [letters, at = std::size_t{0}]() mutable -> std::optional<host::shown_at_t> {
    if (at == letters.size()) return std::nullopt;
    const std::string letter(1, letters[at++]);
    return host::shown_at_t{at * 1'000'000,
                            std::make_shared<host::shown_texts_t>(host::shown_texts_t{{"letter", letter}}),
                            std::hash<std::string>()(letter)};
  };
}

std::vector<std::pair<std::string, std::string>> Differences(const std::string& a, const std::string& b) {
  host::ShownDiff diff(Letters(a), Letters(b));
  std::vector<std::pair<std::string, std::string>> found;
  while (const auto difference = diff.Next()) {
    found.emplace_back(
        std::to_string(difference->states[0]) + "/" + std::to_string(difference->states[1]),
        difference->shown.empty() ? "" : difference->shown[0].text[0] + difference->shown[0].text[1]);
  }
  return found;
}

TEST(ShownDiffTest, PartsAndMeetsAgainAtTheNearestStateOfBoth) {
  EXPECT_THAT(Differences("abcd", "abcd"), ElementsAre());
  EXPECT_THAT(Differences("abcd", "abXd"), ElementsAre(Pair("1/1", "cX")));
  EXPECT_THAT(
      Differences("abcd", "abd"),
      ElementsAre(Pair("1/0", "cb")));  // B has no such state, so that its previous state is still shown
  EXPECT_THAT(Differences("abd", "abcd"), ElementsAre(Pair("0/1", "bc")));
  EXPECT_THAT(Differences("abcde", "aXcYe"), ElementsAre(Pair("1/1", "bX"), Pair("1/1", "dY")));
  EXPECT_THAT(Differences("ab", "abcd"), ElementsAre(Pair("0/2", "bc")));
  EXPECT_THAT(Differences("", "a"), ElementsAre(Pair("0/1", "a")));
  EXPECT_THAT(Differences("", ""), ElementsAre());
}

TEST(ShownDiffTest, HoldsBoundedMuchAndFindsItsWayBackAfterwards) {
  std::string a;
  std::string b;
  for (int i = 0; i < 3000; ++i) {
    a += i % 2 == 0 ? 'p' : 'q';
    b += i % 2 == 0 ? 'r' : 's';
  }
  const auto found = Differences("a" + a + "z", "a" + b + "zY");
  ASSERT_EQ(found.size(), 4U);  // three blocks, the last of which ends at the common z, and the final Y
  EXPECT_EQ(found[0].first, "1024/1024");
  EXPECT_EQ(found[2].first, "952/952");
  EXPECT_THAT(found[3], Pair("0/1", "zY"));
}

TEST(DiffLinesTest, SayWhatEachLogShowsAsJson) {
  const host::difference_t difference{
      .states = {1, 2},
      .time_us = {1'700'000'000'250'000, 1'700'000'000'260'000},
      .shown = {{"load", {"12,300", "12,400"}, {1'700'000'000'250'000, 1'700'000'000'260'000}},
                {"flash", {"", "GO"}, {0, 1'700'000'001'000'000}}}};
  EXPECT_EQ(host::FormatDifferenceJson(difference),
            R"({"a":{"time":1700000000.25,"states":1},"b":{"time":1700000000.26,"states":2},)"
            R"("shown":{"load":{"a":"12,300","a_time":1700000000.25,"b":"12,400","b_time":1700000000.26},)"
            R"("flash":{"a":null,"a_time":0.0,"b":"GO","b_time":1700000001.0}}})");
}

}  // namespace
