// The load computer's side of the talk with the operator: which page it has put on the display, and what each
// host key does.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "host/crane/crane.h"
#include "host/crane/limits.h"
#include "host/load_computer/alarms.h"
#include "host/load_computer/outbox.h"
#include "host/load_computer/sensors.h"
#include "host/load_computer/units.h"

namespace simulate {

// What the host shows. The display has one page, Wad, for the host's own texts; Config is a page of its own.
enum class view_t : std::uint8_t { OPERATING, INFO, BASE_MENU, SWING, CALIBRATION, CONFIGURATION };
constexpr std::array<std::string_view, 6> VIEW_NAMES = {"operating", "info",        "base-menu",
                                                        "swing",     "calibration", "configuration"};
constexpr unsigned INFO_PAGES = 4;
constexpr unsigned LIMITS_PAGE = 1;  // the info page with a menu of the operator's limits

// How swing stands on the display: in degrees, as the area under the boom, or as the arc that the chart is for.
enum class swing_shown_t : std::uint8_t { NUMBER, AREA, CHART };
constexpr std::array<std::string_view, 3> SWING_SHOWN_NAMES = {"number", "area", "chart"};

// What the operator has set; it outlives a restart of the host.
struct settings_t {
  unsigned language = 0;  // as the protocol numbers them
  units_t units = units_t::IMPERIAL;
  swing_shown_t swing = swing_shown_t::NUMBER;
};

// Everything that a key may change.
struct cab_t {
  crane::Crane& crane;
  crane::Limits& limits;
  Bell& bell;
  settings_t& settings;
  const measured_t& measured;  // the last look
};

class Dialogue {
 public:
  Dialogue(const cab_t& cab, Outbox& outbox) : cab_(cab), outbox_(outbox) {}

  // A host key, 1 to 22, as the display reports it. Others are nothing.
  void Press(unsigned key);
  void Step(std::int64_t now_ms);
  // As after power-up.
  void Reset();

  view_t Shown() const { return view_; }
  unsigned InfoPage() const { return infoPage_; }
  // A word on what the last key did, for a few seconds.
  std::optional<phrase_t> Notice() const { return notice_; }
  // The select keys choose something.
  bool HasMenu() const;
  // Asks for what brings a display that has just been started from Slate to the page shown.
  void LeadFromSlate();

  // One for each host key. `about` is what the operator sees.
  struct reaction_t {
    std::uint8_t key;
    std::string_view about;
    void (Dialogue::*react)();
  };
  static std::span<const reaction_t> Reactions();

 private:
  void ShowWad(view_t view, bool menu);
  void LeaveWad();
  void SelectMode(bool on);
  void Transition(std::string_view name);
  void Tell(phrase_t notice);
  void ReturnIn(std::int64_t time_ms);
  void Select(unsigned choice);
  template <unsigned CHOICE>
  void SelectNumber() {
    Select(CHOICE);
  }
  void SelectBase(unsigned choice);
  void ToggleLimit(unsigned choice);

  // Something that is there or not; `on` and `off` say which.
  void Toggle(bool crane::rigging_t::*part, phrase_t on, phrase_t off);
  void ToggleBoomMode();
  void NextWinch();
  void ToggleCounterweight();
  void ToggleStowed();
  void CancelAlarm();
  void ExitToMain();
  void FewerParts();
  void MoreParts();
  void NextFly();
  void ToggleAux();
  void NextPick();
  void ExitConfiguration();
  void ShowBases();
  void NextInfo();
  void ShowCalibration();
  void NextSwing();
  void ToggleManBasket();
  void ChangeParts(int by);

  cab_t cab_;
  Outbox& outbox_;
  view_t view_ = view_t::OPERATING;
  unsigned infoPage_ = 0;
  bool selectMode_ = false;  // as last sent
  std::optional<phrase_t> notice_;
  std::int64_t now_ms_ = 0;
  std::int64_t noticeEnd_ms_ = 0;
  std::optional<std::int64_t> returnAt_ms_;
};

}  // namespace simulate
