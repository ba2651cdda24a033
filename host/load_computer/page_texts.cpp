#include "host/load_computer/page_texts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "src/core/frame_layout.h"

namespace simulate {
namespace {

using texts_t = std::vector<host::text_t>;

constexpr const char* kProgramVersion = "HX7 " ORVIK_VERSION;
constexpr std::array<Text, 4> kBaseTexts = {Text::kOnTires, Text::kOutriggersRetracted, Text::kOutriggersHalf,
                                            Text::kOutriggersExtended};
constexpr std::array<Text, 4> kBaseChoices = {Text::kTires, Text::kRetracted, Text::kHalf, Text::kExtended};
constexpr std::array<Text, 3> kPickTexts = {Text::kMainBoom, Text::kAuxHead, Text::kFly};
constexpr std::array<Text, 4> kAreaTexts = {Text::kFront, Text::kFrontArc, Text::kSide, Text::kRear};
constexpr std::array<Text, 3> kSwingTexts = {Text::kSwingNumber, Text::kSwingArea, Text::kSwingChart};
constexpr std::array<Text, 4> kLimitTexts = {Text::kAngle, Text::kRadius, Text::kExtension, Text::kSwing};

std::string Number(double value, int digits) {
  if (std::isnan(value)) return "---";
  const double scale = std::pow(10, digits);
  const double rounded = std::round(value * scale) / scale + 0.0;  // which takes the sign off a negative zero
  std::array<char, 64> text{};
  const auto [stop, error] =
      std::to_chars(text.data(), text.data() + text.size(), rounded, std::chars_format::fixed, digits);
  return error == std::errc() ? std::string(text.data(), stop) : "---";
}

template <typename E, std::size_t N>
Text TextFor(const std::array<Text, N>& texts, E value) {
  return texts[static_cast<std::size_t>(value)];
}

// Gathers the texts of one page.
class Page {
 public:
  explicit Page(const page_t& page) : page_(page), language_(page.cab.settings.language) {}
  texts_t Make();

 private:
  void Put(std::string_view field, std::string text) {
    if (!text.empty()) texts_.push_back({*host::FindTextField(field), std::move(text)});
  }
  void Put(std::string_view field, Text text) { Put(field, std::string(Say(text, language_))); }
  void PutRow(unsigned line, Text label, std::string value);
  void PutChoice(unsigned choice, Text name, std::string state);
  void PutLabels();
  void KeepWhatFits();
  void Operating();
  void Alarm();
  void Info();
  void Heights();
  void LimitsMenu();
  void Pressures();
  void Program();
  void BaseMenu();
  void Swing();
  void Calibration();
  std::string Metres(double metres) const;
  std::string Bar(double bar) const;
  std::string Jib() const;
  std::string LimitText(crane::Quantity quantity) const;
  const crane::Crane& Crane() const { return page_.cab.crane; }
  Units InUnits() const { return page_.cab.settings.units; }

  const page_t& page_;
  unsigned language_;
  texts_t texts_;
};

std::string Page::Metres(double metres) const {
  return Number(Length(metres, InUnits()), 1) + " " + LengthUnit(InUnits());
}

std::string Page::Bar(double bar) const {
  return Number(Pressure(bar, InUnits()), 0) + " " + PressureUnit(InUnits());
}

std::string Page::Jib() const {
  const crane::Jib jib = Crane().Rigging().jib;
  if (jib == crane::Jib::kAbsent) return std::string(Say(Text::kNoJib, language_));
  if (jib == crane::Jib::kStowed) return std::string(Say(Text::kJibStowed, language_));
  return Say(crane::IsLong(jib) ? Text::kLongFly : Text::kShortFly, language_, Number(crane::OffsetOf(jib), 0));
}

void Page::PutRow(unsigned line, Text label, std::string value) {
  const std::string field = "line" + std::to_string(line);
  Put(field + "-left", label);
  Put(field + "-right", std::move(value));
}

// Choices 1 and 2 stand on the left, 3 and 4 on the right, each beside its key.
void Page::PutChoice(unsigned choice, Text name, std::string state) {
  const std::string field = "select" + std::to_string(choice + 1);
  Put(field + "-linea", name);
  Put(field + "-lineb", std::move(state));
}

// Which jib stands where.
void Page::PutLabels() {
  constexpr const char* kNone = "-";
  const crane::Jib jib = Crane().Rigging().jib;
  Put("erected", crane::IsErected(jib) ? Jib() : kNone);
  Put("stowed", jib == crane::Jib::kStowed ? std::string(Say(Text::kFly, language_)) : kNone);
}

// An alarm or a notice has the last line for itself.
void Page::Alarm() {
  const auto alarm = TextOf(page_.cab.bell.Now());
  if (const auto notice = page_.dialogue.Notice()) {
    Put("line4-center", *notice);
  } else if (alarm) {
    Put("line4-center", *alarm);
  } else {
    const crane::rigging_t& rigging = Crane().Rigging();
    Put("line4-left", Say(Text::kPartsOfLine, language_, std::to_string(rigging.parts)));
    Put("counterweight", rigging.counterweight ? Text::kCounterweight : Text::kNoCounterweight);
  }
  if (alarm) Put("flash-msg", *alarm);
}

void Page::Operating() {
  const crane::rigging_t& rigging = Crane().Rigging();
  Put("outriggers", TextFor(kBaseTexts, Crane().WantedBase()));
  Put("swing-text", TextFor(kAreaTexts, Crane().Over()));
  Put("jib", Jib());
  Put("aux", rigging.auxHead ? Text::kAuxOn : Text::kAuxOff);
  Put("pickpoint", rigging.manBasket ? Text::kManBasket : TextFor(kPickTexts, rigging.pick));
  Put("winch", rigging.winch == crane::Winch::kFront ? Text::kFrontWinch : Text::kRearWinch);
  Alarm();
}

void Page::Heights() {
  PutRow(2, Text::kHookHeight, Metres(Crane().HookHeight()));
  PutRow(3, Text::kHeadHeight, Metres(Crane().SheaveHeight()));
  PutRow(4, Text::kLineSpeed, Metres(std::abs(Crane().LineSpeed())) + "/s");
}

std::string Page::LimitText(crane::Quantity quantity) const {
  if (!page_.cab.limits.IsSet(quantity)) return std::string(Say(Text::kOff, language_));
  const bool metres = quantity == crane::Quantity::kRadius || quantity == crane::Quantity::kExtension;
  const auto side = [&](double value) { return Number(metres ? Length(value, InUnits()) : value, 1); };
  const crane::limit_t& limit = page_.cab.limits.Get(quantity);
  const std::string least = limit.least ? side(*limit.least) : "";
  const std::string most = limit.most ? side(*limit.most) : "";
  return least + (limit.least && limit.most ? " / " : limit.most ? "< " : " <") + most;
}

void Page::LimitsMenu() {
  for (unsigned choice = 0; choice < kLimitTexts.size(); ++choice) {
    PutChoice(choice, kLimitTexts[choice], LimitText(static_cast<crane::Quantity>(choice)));
  }
}

void Page::Pressures() {
  PutRow(2, Text::kPiston, Bar(page_.cab.measured.piston));
  PutRow(3, Text::kRod, Bar(page_.cab.measured.rod));
  PutRow(4, Text::kWind, Metres(page_.sensors.Wind()) + "/s");
}

void Page::Program() {
  PutRow(2, Text::kProgram, kProgramVersion);
  PutRow(3, Text::kChart, page_.chart.Name());
}

void Page::Info() {
  using part_t = void (Page::*)();
  static constexpr std::array<part_t, kInfoPages> kParts = {&Page::Heights, &Page::LimitsMenu, &Page::Pressures,
                                                            &Page::Program};
  const unsigned shown = page_.dialogue.InfoPage();
  // The menu has no line to spare.
  if (shown != kLimitsPage) {
    Put("line1-center",
        Say(Text::kInfo, language_, std::to_string(shown + 1) + "/" + std::to_string(kInfoPages)));
  }
  (this->*kParts[shown])();
}

void Page::BaseMenu() {
  for (unsigned choice = 0; choice < kBaseChoices.size(); ++choice) {
    const bool selected = static_cast<unsigned>(Crane().WantedBase()) == choice;
    PutChoice(choice, kBaseChoices[choice],
              selected ? std::string(Say(Text::kSelected, language_)) : std::string());
  }
}

void Page::Swing() {
  Put("line2-center", TextFor(kSwingTexts, page_.cab.settings.swing));
  Put("line3-center", TextFor(kAreaTexts, Crane().Over()));
}

void Page::Calibration() {
  const measured_t& now = page_.cab.measured;
  Put("line1-center", Text::kCalibration);
  PutRow(2, Text::kAngle, Number(now.angle, 1) + "°");
  PutRow(3, Text::kExtension, Metres(now.extension));
  PutRow(4, Text::kPiston, Bar(now.piston));
}

// The labels go first. With the words and numbers as they are nothing has to.
void Page::KeepWhatFits() {
  std::size_t room = MessageRoom(MAX_MESSAGE_FRAMES) - host::kTextsBegin;
  const auto tooMuch = std::ranges::find_if(texts_, [&](const host::text_t& text) {
    const std::size_t size = host::kTextHeader + text.text.size();
    if (size > room) return true;
    room -= size;
    return false;
  });
  texts_.erase(tooMuch, texts_.end());
}

texts_t Page::Make() {
  using part_t = void (*)(Page&);
  static constexpr std::array<part_t, kViewNames.size()> kParts = {
      [](Page& page) { page.Operating(); },   [](Page& page) { page.Info(); },
      [](Page& page) { page.BaseMenu(); },    [](Page& page) { page.Swing(); },
      [](Page& page) { page.Calibration(); }, [](Page& page) { page.Operating(); }};
  kParts[static_cast<std::size_t>(page_.dialogue.Shown())](*this);
  PutLabels();
  KeepWhatFits();
  return std::move(texts_);
}

}  // namespace

std::vector<host::text_t> TextsOf(const page_t& page) {
  return Page(page).Make();
}

std::string FlashOf(const page_t& page) {
  const unsigned language = page.cab.settings.language;
  if (const auto alarm = TextOf(page.cab.bell.Now())) return std::string(Say(*alarm, language));
  if (page.dialogue.Shown() == View::kConfiguration) return std::string(Say(Text::kConfiguration, language));
  return " ";
}

}  // namespace simulate
