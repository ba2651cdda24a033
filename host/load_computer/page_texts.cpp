#include "host/load_computer/page_texts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "src/core/frame_layout.h"

namespace simulate {
namespace {

using texts_t = std::vector<host::field_text_t>;

constexpr const char* PROGRAM_VERSION = "HX7 " ORVIK_VERSION;
constexpr std::array<phrase_t, 4> BASE_TEXTS = {phrase_t::ON_TIRES, phrase_t::OUTRIGGERS_RETRACTED,
                                                phrase_t::OUTRIGGERS_HALF, phrase_t::OUTRIGGERS_EXTENDED};
constexpr std::array<phrase_t, 4> BASE_CHOICES = {phrase_t::TIRES, phrase_t::RETRACTED, phrase_t::HALF,
                                                  phrase_t::EXTENDED};
constexpr std::array<phrase_t, 3> PICK_TEXTS = {phrase_t::MAIN_BOOM, phrase_t::AUX_HEAD, phrase_t::FLY};
constexpr std::array<phrase_t, 4> AREA_TEXTS = {phrase_t::FRONT, phrase_t::FRONT_ARC, phrase_t::SIDE,
                                                phrase_t::REAR};
constexpr std::array<phrase_t, 3> SWING_TEXTS = {phrase_t::SWING_NUMBER, phrase_t::SWING_AREA,
                                                 phrase_t::SWING_CHART};
constexpr std::array<phrase_t, 4> LIMIT_TEXTS = {phrase_t::ANGLE, phrase_t::RADIUS, phrase_t::EXTENSION,
                                                 phrase_t::SWING};

std::string FormatNumber(double value, int digits) {
  if (std::isnan(value)) return "---";
  const double scale = std::pow(10, digits);
  const double rounded = std::round(value * scale) / scale + 0.0;  // which takes the sign off a negative zero
  std::array<char, 64> text{};
  const auto [stop, error] =
      std::to_chars(text.data(), text.data() + text.size(), rounded, std::chars_format::fixed, digits);
  return error == std::errc() ? std::string(text.data(), stop) : "---";
}

template <typename E, std::size_t N>
phrase_t TextFor(const std::array<phrase_t, N>& texts, E value) {
  return texts[static_cast<std::size_t>(value)];
}

// Collects the texts of one page.
class PageWriter {
 public:
  explicit PageWriter(const page_inputs_t& page) : page_(page), language_(page.cab.settings.language) {}
  texts_t Make();

 private:
  void Put(std::string_view field, std::string text) {
    if (!text.empty()) texts_.push_back({*host::FindTextField(field), std::move(text)});
  }
  void Put(std::string_view field, phrase_t text) { Put(field, std::string(Say(text, language_))); }
  void PutRow(unsigned line, phrase_t label, std::string value);
  void PutChoice(unsigned choice, phrase_t name, std::string state);
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
  std::string LimitText(crane::quantity_t quantity) const;
  const crane::Crane& Crane() const { return page_.cab.crane; }
  units_t InUnits() const { return page_.cab.settings.units; }

  const page_inputs_t& page_;
  unsigned language_;
  texts_t texts_;
};

std::string PageWriter::Metres(double metres) const {
  return FormatNumber(Length(metres, InUnits()), 1) + " " + LengthUnit(InUnits());
}

std::string PageWriter::Bar(double bar) const {
  return FormatNumber(Pressure(bar, InUnits()), 0) + " " + PressureUnit(InUnits());
}

std::string PageWriter::Jib() const {
  const crane::jib_t jib = Crane().Rigging().jib;
  if (jib == crane::jib_t::ABSENT) return std::string(Say(phrase_t::NO_JIB, language_));
  if (jib == crane::jib_t::STOWED) return std::string(Say(phrase_t::JIB_STOWED, language_));
  return Say(crane::IsLong(jib) ? phrase_t::LONG_FLY : phrase_t::SHORT_FLY, language_,
             FormatNumber(crane::OffsetOf(jib), 0));
}

void PageWriter::PutRow(unsigned line, phrase_t label, std::string value) {
  const std::string field = "line" + std::to_string(line);
  Put(field + "-left", label);
  Put(field + "-right", std::move(value));
}

// The display shows choices 1 and 2 on the left, 3 and 4 on the right, each beside its key.
void PageWriter::PutChoice(unsigned choice, phrase_t name, std::string state) {
  const std::string field = "select" + std::to_string(choice + 1);
  Put(field + "-linea", name);
  Put(field + "-lineb", std::move(state));
}

// Which jib is erected and which is stowed.
void PageWriter::PutLabels() {
  constexpr const char* NONE = "-";
  const crane::jib_t jib = Crane().Rigging().jib;
  Put("erected", crane::IsErected(jib) ? Jib() : NONE);
  Put("stowed", jib == crane::jib_t::STOWED ? std::string(Say(phrase_t::FLY, language_)) : NONE);
}

// An alarm or a notice fills the last line; without either, it shows parts of line and counterweight.
void PageWriter::Alarm() {
  const auto alarm = PhraseFor(page_.cab.bell.Now());
  if (const auto notice = page_.dialogue.Notice()) {
    Put("line4-center", *notice);
  } else if (alarm) {
    Put("line4-center", *alarm);
  } else {
    const crane::rigging_t& rigging = Crane().Rigging();
    Put("line4-left", Say(phrase_t::PARTS_OF_LINE, language_, std::to_string(rigging.parts)));
    Put("counterweight", rigging.counterweight ? phrase_t::COUNTERWEIGHT : phrase_t::NO_COUNTERWEIGHT);
  }
  if (alarm) Put("flash-msg", *alarm);
}

void PageWriter::Operating() {
  const crane::rigging_t& rigging = Crane().Rigging();
  Put("outriggers", TextFor(BASE_TEXTS, Crane().WantedBase()));
  Put("swing-text", TextFor(AREA_TEXTS, Crane().Over()));
  Put("jib", Jib());
  Put("aux", rigging.auxHead ? phrase_t::AUX_ON : phrase_t::AUX_OFF);
  Put("pickpoint", rigging.manBasket ? phrase_t::MAN_BASKET : TextFor(PICK_TEXTS, rigging.pick));
  Put("winch", rigging.winch == crane::winch_t::FRONT ? phrase_t::FRONT_WINCH : phrase_t::REAR_WINCH);
  Alarm();
}

void PageWriter::Heights() {
  PutRow(2, phrase_t::HOOK_HEIGHT, Metres(Crane().HookHeight()));
  PutRow(3, phrase_t::HEAD_HEIGHT, Metres(Crane().SheaveHeight()));
  PutRow(4, phrase_t::LINE_SPEED, Metres(std::abs(Crane().LineSpeed())) + "/s");
}

std::string PageWriter::LimitText(crane::quantity_t quantity) const {
  if (!page_.cab.limits.IsSet(quantity)) return std::string(Say(phrase_t::OFF, language_));
  const bool metres = quantity == crane::quantity_t::RADIUS || quantity == crane::quantity_t::EXTENSION;
  const auto side = [&](double value) { return FormatNumber(metres ? Length(value, InUnits()) : value, 1); };
  const crane::limit_t& limit = page_.cab.limits.Get(quantity);
  const std::string least = limit.least ? side(*limit.least) : "";
  const std::string most = limit.most ? side(*limit.most) : "";
  return least + (limit.least && limit.most ? " / " : limit.most ? "< " : " <") + most;
}

void PageWriter::LimitsMenu() {
  for (unsigned choice = 0; choice < LIMIT_TEXTS.size(); ++choice) {
    PutChoice(choice, LIMIT_TEXTS[choice], LimitText(static_cast<crane::quantity_t>(choice)));
  }
}

void PageWriter::Pressures() {
  PutRow(2, phrase_t::PISTON, Bar(page_.cab.measured.piston));
  PutRow(3, phrase_t::ROD, Bar(page_.cab.measured.rod));
  PutRow(4, phrase_t::WIND, Metres(page_.sensors.Wind()) + "/s");
}

void PageWriter::Program() {
  PutRow(2, phrase_t::PROGRAM, PROGRAM_VERSION);
  PutRow(3, phrase_t::CHART, page_.chart.Name());
}

void PageWriter::Info() {
  using info_writer_t = void (PageWriter::*)();
  static constexpr std::array<info_writer_t, INFO_PAGES> WRITERS = {
      &PageWriter::Heights, &PageWriter::LimitsMenu, &PageWriter::Pressures, &PageWriter::Program};
  const unsigned shown = page_.dialogue.InfoPage();
  // The menu fills all lines.
  if (shown != LIMITS_PAGE) {
    Put("line1-center",
        Say(phrase_t::INFO, language_, std::to_string(shown + 1) + "/" + std::to_string(INFO_PAGES)));
  }
  (this->*WRITERS[shown])();
}

void PageWriter::BaseMenu() {
  for (unsigned choice = 0; choice < BASE_CHOICES.size(); ++choice) {
    const bool selected = static_cast<unsigned>(Crane().WantedBase()) == choice;
    PutChoice(choice, BASE_CHOICES[choice],
              selected ? std::string(Say(phrase_t::SELECTED, language_)) : std::string());
  }
}

void PageWriter::Swing() {
  Put("line2-center", TextFor(SWING_TEXTS, page_.cab.settings.swing));
  Put("line3-center", TextFor(AREA_TEXTS, Crane().Over()));
}

void PageWriter::Calibration() {
  const measured_t& now = page_.cab.measured;
  Put("line1-center", phrase_t::CALIBRATION);
  PutRow(2, phrase_t::ANGLE, FormatNumber(now.angle, 1) + "°");
  PutRow(3, phrase_t::EXTENSION, Metres(now.extension));
  PutRow(4, phrase_t::PISTON, Bar(now.piston));
}

// Drops the last texts, the jib labels first, if the message would be too long. The present texts all fit.
void PageWriter::KeepWhatFits() {
  std::size_t room = MessageRoom(MAX_MESSAGE_FRAMES) - host::TEXTS_BEGIN;
  const auto tooMuch = std::ranges::find_if(texts_, [&](const host::field_text_t& text) {
    const std::size_t size = host::TEXT_HEADER + text.text.size();
    if (size > room) return true;
    room -= size;
    return false;
  });
  texts_.erase(tooMuch, texts_.end());
}

texts_t PageWriter::Make() {
  using writer_t = void (*)(PageWriter&);
  static constexpr std::array<writer_t, VIEW_NAMES.size()> WRITERS = {
      [](PageWriter& page) { page.Operating(); },   [](PageWriter& page) { page.Info(); },
      [](PageWriter& page) { page.BaseMenu(); },    [](PageWriter& page) { page.Swing(); },
      [](PageWriter& page) { page.Calibration(); }, [](PageWriter& page) { page.Operating(); }};
  WRITERS[static_cast<std::size_t>(page_.dialogue.Shown())](*this);
  PutLabels();
  KeepWhatFits();
  return std::move(texts_);
}

}  // namespace

std::vector<host::field_text_t> MakePageTexts(const page_inputs_t& page) {
  return PageWriter(page).Make();
}

std::string MakeFlashText(const page_inputs_t& page) {
  const unsigned language = page.cab.settings.language;
  if (const auto alarm = PhraseFor(page.cab.bell.Now())) return std::string(Say(*alarm, language));
  if (page.dialogue.Shown() == view_t::CONFIGURATION)
    return std::string(Say(phrase_t::CONFIGURATION, language));
  return " ";
}

}  // namespace simulate
