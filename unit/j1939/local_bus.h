// The local bus: a CAN bus without a kernel, which any number of programs join over the socketcand protocol
// (TCP on the loopback), and on which the unit itself is one station.
//
// Every frame goes to every other station, in the same order. Nothing is lost on the way: while a station has
// not taken what waits for it, no sender is read. A station that stays behind for STALL_LIMIT is taken off the
// bus.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>

#include "base/descriptor.h"
#include "bus/can_frame.h"
#include "bus/endpoint.h"
#include "bus/socketcand_text.h"
#include "unit/j1939/socketcand_session.h"

namespace unit {

// As an endpoint it is the unit's own station: Send and Receive are for one thread each, Interrupt for any.
class LocalBus : public bus::Endpoint {
 public:
  static constexpr std::size_t MAX_STATIONS = 32;
  static constexpr std::size_t OUTPUT_HIGH = 65'536;  // bytes waiting for a station that stop the senders
  static constexpr std::size_t OUTPUT_LOW = 32'768;   // ... and let them go on
  static constexpr std::size_t INBOX_HIGH = 2048;     // the same for the unit's own station, in frames
  static constexpr std::size_t INBOX_LOW = 1024;
  static constexpr std::chrono::seconds STALL_LIMIT{2};

  // Listens on "HOST:PORT" of the loopback; port 0 takes any free one. Throws std::runtime_error saying what is
  // wrong and what to do.
  explicit LocalBus(const std::string& address);
  ~LocalBus() override;

  // The address that it listens on: "127.0.0.1:29536".
  const std::string& Address() const { return address_; }

  result_t Send(const bus::frame_t& frame, int timeout_ms) override;
  result_t Receive(bus::frame_t& frame, int timeout_ms) override;
  void Interrupt() override;
  std::string Problem() const override { return {}; }

  // "stations", "stations.refused", "stations.dropped", "messages.refused".
  std::map<std::string, std::uint64_t> Counters() const;

 private:
  using time_t = std::chrono::steady_clock::time_point;

  struct station_t {
    base::Descriptor socket;
    SocketcandSession session;
    bus::SocketcandSplitter splitter;
    std::string output;
    std::optional<time_t> fullSince;  // since when more than OUTPUT_HIGH waited, until it is below OUTPUT_LOW
    time_t nextStatistics;
    std::array<std::uint64_t, 4> traffic{};  // bytes and frames to it, bytes and frames from it
    bool deaf = false;                       // takes nothing any more
    bool gone = false;                       // to be removed
  };

  void Listen(const std::string& address);
  void Run();
  std::vector<pollfd> Interests() const;
  int WaitTime_ms(time_t now) const;
  void Accept();
  void Read(station_t& station);
  void Obey(station_t& station, const std::string& message);
  void Broadcast(bus::frame_t frame, const station_t* sender);
  void Queue(station_t& station, std::string_view text, time_t now);
  void Flush(station_t& station);
  void FlushAll();
  void SendStatistics(station_t& station, time_t now);
  void RemoveGone(time_t now);
  bool AnyStationFull() const;
  bool IsCongested() const { return inboxFull_ || AnyStationFull(); }
  void Wake();

  base::Descriptor listener_;
  base::Descriptor wake_;
  std::string address_;
  std::thread thread_;
  std::atomic<bool> stopping_{false};

  mutable std::mutex mutex_;  // guards all below
  std::list<station_t> stations_;
  std::deque<bus::frame_t> inbox_;  // what the unit's own station has not received yet
  bool inboxFull_ = false;
  bool interrupted_ = false;
  std::condition_variable received_;
  std::condition_variable roomAgain_;
  std::uint64_t refusedStations_ = 0;
  std::uint64_t droppedStations_ = 0;
  std::uint64_t refusedMessages_ = 0;  // of stations that have left
};

}  // namespace unit
