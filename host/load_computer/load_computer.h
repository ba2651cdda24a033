// The host load computer: reckons what the crane may lift, and keeps the display informed at a host's pace.
//
// It lives in a time of its own, a hundredth of a second a step, so that ten minutes can pass in a second and
// the same seed puts the same bytes on the bus. What it sends never depends on when the display answers, or
// whether it does; only on the keys that are pressed.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "host/load_computer/dialogue.h"
#include "host/load_computer/outbox.h"
#include "host/load_computer/page_texts.h"
#include "host/load_computer/sensors.h"
#include "host/load_computer/simulation_state.h"
#include "host/protocol/cmd2_values.h"
#include "host/protocol/reassembly.h"

namespace simulate {

constexpr std::int64_t TICK_MS = 10;

class LoadComputer {
 public:
  // The display lives in real time: `speed` says how much faster than that the crane's passes; 0 where nobody
  // can say.
  LoadComputer(crane::LoadChart chart, std::uint32_t seed, double speed = 1);
  LoadComputer(const LoadComputer&) = delete;
  LoadComputer& operator=(const LoadComputer&) = delete;

  // The next hundredth of a second. Gives what is to be sent in it, in order.
  std::vector<message_frames_t> Step();
  // A frame of the bus; others than the display's are passed over.
  void Hear(const bus::frame_t& frame);
  // A host key as the display reports it.
  void Press(unsigned key) { dialogue_.Press(key); }

  std::int64_t Now_ms() const { return now_ms_; }
  crane::Crane& Crane() { return crane_; }
  crane::Limits& Limits() { return limits_; }
  Sensors& TheSensors() { return sensors_; }
  settings_t& Settings() { return settings_; }
  // The link is cut for that long; the crane moves on.
  void FallSilent(double seconds);
  // The host goes down and comes up again after two seconds, with its start-up conversation. The operator's
  // limits are gone, language and units stay.
  void Restart();
  // Everything at the fastest that a host does, with texts that fill a message.
  void SetFullTraffic(bool full);
  // Commands by name, as `hx7 send` takes them. Throws host::UsageError.
  void Send(std::span<const std::string> arguments);

  simulation_state_t State() const;

 private:
  bool Every(std::int64_t period_ms) const { return (now_ms_ - begin_ms_) % period_ms == 0; }
  std::int64_t OfDisplay(std::int64_t time_ms) const;
  void Greet();
  void Look();
  void Converse();
  void SendValues();
  void SendChanges();
  void Refresh();
  void AskForPage();
  void SendFullTraffic();
  void SendIfNew(const host::MessageBytes& message);
  std::vector<host::MessageBytes> Settled() const;
  host::MessageBytes ValidKeys() const;
  host::MessageBytes FullTexts() const;
  page_inputs_t Page() const { return {cab_, dialogue_, sensors_, chart_}; }

  const crane::LoadChart chart_;
  const double speed_;
  crane::Crane crane_;
  crane::Limits limits_;
  Sensors sensors_;
  Bell bell_;
  settings_t settings_;
  measured_t measured_;
  Outbox outbox_;
  cab_t cab_;
  Dialogue dialogue_;
  host::Cmd2Values values_;  // as last sent
  host::Reassembler display_;
  std::uint64_t replies_ = 0;
  std::string fileId_;  // of the display's program, as it last said

  std::int64_t now_ms_ = 0;
  std::int64_t begin_ms_ = 0;  // of the conversation
  std::int64_t silentUntil_ms_ = 0;
  std::int64_t heard_ms_ = 0;      // when the display was heard last
  std::int64_t askedFrom_ms_ = 0;  // since when the display is asked for its page
  bool fullTraffic_ = false;
  unsigned refreshed_ = 0;
  // What was last sent of each command that only changes now and then; the key is command and sub-command.
  std::map<unsigned, host::MessageBytes> sent_;
};

}  // namespace simulate
