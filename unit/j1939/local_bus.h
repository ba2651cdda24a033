// The local bus: a CAN bus in this process. Other programs join it over the socketcand protocol (TCP on the
// loopback); the unit itself is one station.
//
// Every frame goes to all other stations, in the same order for each. No frame is lost: while too much output
// waits for one station, the bus reads from none. A station that does not read for STALL_LIMIT is disconnected.
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
#include <span>
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

// As an endpoint it is the unit's own station: one thread may call Send, one Receive, and any Interrupt.
class LocalBus : public bus::Endpoint {
 public:
  static constexpr std::size_t MAX_STATIONS = 32;
  static constexpr std::size_t OUTPUT_HIGH = 65'536;  // bytes that wait for a station: above, nothing is read
  static constexpr std::size_t OUTPUT_LOW = 32'768;   // ... until they are down to this
  static constexpr std::size_t INBOX_HIGH = 2048;     // the same for the unit's own station, frames
  static constexpr std::size_t INBOX_LOW = 1024;
  static constexpr std::chrono::seconds STALL_LIMIT{2};

  // Listens on "HOST:PORT" of the loopback; port 0 means any free port. Throws std::runtime_error with the
  // problem and what to do about it.
  explicit LocalBus(const std::string& address);
  ~LocalBus() override;

  // The address on which it listens: "127.0.0.1:29536".
  const std::string& Address() const { return address_; }

  result_t Send(const bus::frame_t& frame, int timeout_ms) override;
  result_t Receive(bus::frame_t& frame, int timeout_ms) override;
  void Interrupt() override;
  std::string Problem() const override { return {}; }

  // "stations", "stations.refused", "stations.dropped", "messages.refused".
  std::map<std::string, std::uint64_t> Counters() const;

 private:
  using TimePoint = std::chrono::steady_clock::time_point;

  struct station_t {
    base::Descriptor socket;
    SocketcandSession session;
    bus::SocketcandSplitter splitter;
    std::string output;
    std::optional<TimePoint> fullSince;  // set above OUTPUT_HIGH until the output is down to OUTPUT_LOW
    TimePoint nextStatistics;
    std::array<std::uint64_t, 4> traffic{};  // bytes and frames to it, bytes and frames from it
    bool deaf = false;                       // receives nothing any more
    bool gone = false;                       // to be removed
  };

  void Listen(const std::string& address);
  void Run();
  std::vector<pollfd> Interests() const;
  void ServeStations(std::span<const pollfd> polled, TimePoint now);
  int WaitTime_ms(TimePoint now) const;
  void Accept();
  void Read(station_t& station);
  void Obey(station_t& station, const std::string& message);
  void Broadcast(bus::frame_t frame, const station_t* sender);
  void Queue(station_t& station, std::string_view text, TimePoint now);
  void Flush(station_t& station);
  void FlushAll();
  void SendStatistics(station_t& station, TimePoint now);
  void RemoveGone(TimePoint now);
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
  std::deque<bus::frame_t> inbox_;  // frames for the unit's own station
  bool inboxFull_ = false;
  bool interrupted_ = false;
  std::condition_variable received_;
  std::condition_variable roomAgain_;
  std::uint64_t refusedStations_ = 0;
  std::uint64_t droppedStations_ = 0;
  std::uint64_t refusedMessages_ = 0;  // by stations that have left
};

}  // namespace unit
