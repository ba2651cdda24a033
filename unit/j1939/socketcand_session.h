// The session of one station with the local bus, in the socketcand protocol.
//
// The messages of the protocol are "< word ... >" in ASCII. After the greeting "< hi >" a station presents the
// bus's token where it has one ("< token TEXT >", an addition to the protocol), then opens the bus can0. To
// receive frames it changes to raw mode.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "bus/can_frame.h"

namespace unit {

class SocketcandSession {
 public:
  static constexpr std::string_view GREETING = "< hi >";
  static constexpr std::string_view BUS_NAME = "can0";
  static constexpr std::chrono::milliseconds SHORTEST_STATISTICS{100};

  // The result of a message: the reply, which may be empty, a frame for the bus, and whether the session ends.
  struct outcome_t {
    std::string reply;
    std::optional<bus::frame_t> frame;
    bool ends = false;
  };

  // A station must present `token`, unless it is empty.
  explicit SocketcandSession(std::string token = {}) : token_(std::move(token)), trusted_(token_.empty()) {}

  outcome_t Accept(std::string_view message);

  bool IsOpen() const { return open_; }

  // In raw mode a station receives the frames of all others.
  bool WantsFrames() const { return raw_; }
  // The period of "< stat ... >" that the station has requested; zero: none.
  std::chrono::milliseconds StatisticsPeriod() const { return statistics_; }
  // The number of messages that were answered with an error.
  std::uint64_t Refused() const { return refused_; }

 private:
  struct session_command_t;
  static const session_command_t COMMANDS[];

  outcome_t Token(std::string_view message, std::string_view argument);
  outcome_t Open(std::string_view message, std::string_view argument);
  outcome_t RawMode(std::string_view message, std::string_view argument);
  outcome_t BroadcastMode(std::string_view message, std::string_view argument);
  outcome_t Echo(std::string_view message, std::string_view argument);
  outcome_t Statistics(std::string_view message, std::string_view argument);
  outcome_t Send(std::string_view message, std::string_view argument);
  outcome_t Refuse(std::string_view why);
  outcome_t RefuseToGoOn(std::string_view why);

  std::string token_;
  bool trusted_;
  bool open_ = false;
  bool raw_ = false;
  std::chrono::milliseconds statistics_{0};
  std::uint64_t refused_ = 0;
};

}  // namespace unit
