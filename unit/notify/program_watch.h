// Publishes when an application begins to send to the screen and when it has ended
// (unit/service/program_state.h).
//
// The connection of a process that dies ends at once. The screen so learns of a death without waiting for a
// silence, and of a successor that was started faster than any silence.
#pragma once

#include <chrono>
#include <set>
#include <span>

#include "unit/notify/exchange.h"

namespace unit {

// Only one thread at a time may use an object.
class ProgramWatch {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  explicit ProgramWatch(Exchange& exchange);

  // A client publishes a message.
  void NoteMessage(int client, int channel, TimePoint now);
  // These clients have ended.
  void NoteEnd(std::span<const int> clients, TimePoint now);

 private:
  void Publish(bool isRunning, TimePoint now);

  Exchange& exchange_;
  int screenChannel_, programChannel_;
  std::set<int> senders_;  // the clients that have sent to the screen
};

}  // namespace unit
