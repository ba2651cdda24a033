// The load computer's dialogue with the operator: which page it shows on the display, and what each host key
// does.
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

// What the host shows. The display has one page, Wad, for texts of the host; CONFIGURATION is its page Config.
enum class view_t : std::uint8_t { OPERATING, INFO, BASE_MENU, SWING, CALIBRATION, CONFIGURATION };
constexpr std::array<std::string_view, 6> VIEW_NAMES = {"operating", "info",        "base-menu",
                                                        "swing",     "calibration", "configuration"};
constexpr unsigned INFO_PAGES = 4;
constexpr unsigned LIMITS_PAGE = 1;  // the info page with the menu of the operator's limits

// How the display shows swing: in degrees, as the area under the boom, or as the arc that the load chart
// covers.
enum class swing_shown_t : std::uint8_t { NUMBER, AREA, CHART };
constexpr std::array<std::string_view, 3> SWING_SHOWN_NAMES = {"number", "area", "chart"};

// The operator's settings; they survive a restart of the host.
struct settings_t {
  unsigned language = 0;  // as the protocol numbers them
  units_t units = units_t::IMPERIAL;
  swing_shown_t swing = swing_shown_t::NUMBER;
};

// What a key may read or change.
struct cab_t {
  crane::Crane& crane;
  crane::Limits& limits;
  Bell& bell;
  settings_t& settings;
  const measured_t& measured;  // the last measurement
};

class Dialogue {
 public:
  Dialogue(const cab_t& cab, Outbox& outbox) : cab_(cab), outbox_(outbox) {}

  // Carries out a host key, 1 to 22, as the display reports it. Other numbers do nothing.
  void Press(unsigned key);
  void Step(std::int64_t now_ms);
  // Returns to the state after power-up.
  void Reset();

  view_t Shown() const { return view_; }
  unsigned InfoPage() const { return infoPage_; }
  // What the last key did; shown for a few seconds.
  std::optional<phrase_t> Notice() const { return notice_; }
  // True if the select keys choose from a menu.
  bool HasMenu() const;
  // Sends the page request that brings a display from Slate, its first page, to the page shown.
  void LeadFromSlate();

  // One row for each host key. `about` says what the operator sees.
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

  // Mounts or removes a part; `on` and `off` are the notices.
  void Toggle(bool crane::rigging_t::*member, phrase_t on, phrase_t off);
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
  bool selectMode_ = false;  // as sent last
  std::optional<phrase_t> notice_;
  std::int64_t now_ms_ = 0;
  std::int64_t noticeEnd_ms_ = 0;
  std::optional<std::int64_t> returnAt_ms_;
};

}  // namespace simulate
