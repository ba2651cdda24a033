// The session of one station with the local bus, in the socketcand protocol.
//
// The messages of the protocol are "< word ... >" in ASCII. After the greeting "< hi >" a station opens the bus
// can0; to receive frames it changes to raw mode.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "bus/can_frame.h"

namespace unit {

class SocketcandSession {
 public:
  static constexpr std::string_view GREETING = "< hi >";
  static constexpr std::string_view BUS_NAME = "can0";
  static constexpr std::chrono::milliseconds SHORTEST_STATISTICS{100};

  // The result of a message: the reply, which may be empty, and a frame for the bus.
  struct outcome_t {
    std::string reply;
    std::optional<bus::frame_t> frame;
  };
  outcome_t Accept(std::string_view message);

  // In raw mode a station receives the frames of all others.
  bool WantsFrames() const { return raw_; }
  // The period of "< stat ... >" that the station has requested; zero: none.
  std::chrono::milliseconds StatisticsPeriod() const { return statistics_; }
  // The number of messages that were answered with an error.
  std::uint64_t Refused() const { return refused_; }

 private:
  struct session_command_t;
  static const session_command_t COMMANDS[];

  outcome_t Open(std::string_view message, std::string_view argument);
  outcome_t RawMode(std::string_view message, std::string_view argument);
  outcome_t BroadcastMode(std::string_view message, std::string_view argument);
  outcome_t Echo(std::string_view message, std::string_view argument);
  outcome_t Statistics(std::string_view message, std::string_view argument);
  outcome_t Send(std::string_view message, std::string_view argument);
  outcome_t Refuse(std::string_view why);

  bool open_ = false;
  bool raw_ = false;
  std::chrono::milliseconds statistics_{0};
  std::uint64_t refused_ = 0;
};

}  // namespace unit
