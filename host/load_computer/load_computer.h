// The host load computer: computes what the crane may lift and sends the display its data at the pace of a real
// host.
//
// It has its own clock of 10 ms steps, so that ten minutes can pass in a second and the same seed gives the
// same bytes on the bus. For the same reason its messages depend on the keys that are pressed, never on whether
// and when the display answers.
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
  // `speed` is the crane's time divided by real time, in which the display works; 0 if unknown.
  LoadComputer(crane::LoadChart chart, std::uint32_t seed, double speed = 1);
  LoadComputer(const LoadComputer&) = delete;
  LoadComputer& operator=(const LoadComputer&) = delete;

  // Computes the next 10 ms and returns the messages to send in them, in order.
  std::vector<message_frames_t> Step();
  // Takes a frame of the bus; frames of other stations than the display are ignored.
  void Accept(const bus::frame_t& frame);
  // Carries out a host key as if the display had reported it.
  void Press(unsigned key) { dialogue_.Press(key); }

  std::int64_t Now_ms() const { return now_ms_; }
  crane::Crane& Crane() { return crane_; }
  crane::Limits& Limits() { return limits_; }
  Sensors& TheSensors() { return sensors_; }
  settings_t& Settings() { return settings_; }
  // Sends nothing for so long; the crane keeps moving.
  void FallSilent(double seconds);
  // Restarts the host: two seconds of silence, then the start-up messages. The operator's limits are lost;
  // language and units stay.
  void Restart();
  // Sends everything at a host's highest rate, with texts that fill a message.
  void SetFullTraffic(bool full);
  // Sends commands by name, with the arguments of `hx7 send`. Throws host::UsageError.
  void Send(std::span<const std::string> arguments);

  // From now on this operating value is sent whatever the crane does. `name` as of host::Cmd2Values.
  void Hold(const std::string& name, double value) { held_[name] = value; }
  // Ends Hold.
  void Release() { held_.clear(); }

  simulation_state_t State() const;

 private:
  bool Every(std::int64_t period_ms) const { return (now_ms_ - begin_ms_) % period_ms == 0; }
  std::int64_t ToCraneTime_ms(std::int64_t time_ms) const;
  void SendGreeting();
  void Measure();
  void SendUsual();
  void SendValues();
  void SendChanges();
  void Refresh();
  void RequestPage();
  void SendFullTraffic();
  void SendIfNew(const host::MessageBytes& message);
  std::vector<host::MessageBytes> MakeSettings() const;
  host::MessageBytes MakeValidKeys() const;
  host::MessageBytes MakeFullTexts() const;
  page_inputs_t PageInputs() const { return {cab_, dialogue_, sensors_, chart_}; }

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
  std::map<std::string, double> held_;
  host::Reassembler display_;
  std::uint64_t replies_ = 0;
  std::string fileId_;  // of the display's program, as it replied last

  std::int64_t now_ms_ = 0;
  std::int64_t begin_ms_ = 0;  // of the start-up messages
  std::int64_t silentUntil_ms_ = 0;
  std::int64_t heard_ms_ = 0;      // when the last frame of the display came
  std::int64_t askedFrom_ms_ = 0;  // since when page requests are sent
  bool fullTraffic_ = false;
  unsigned refreshed_ = 0;
  // The last message of each command that is sent on change; the key is command and sub-command.
  std::map<unsigned, host::MessageBytes> sent_;
};

}  // namespace simulate
