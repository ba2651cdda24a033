// The local bus: a CAN bus in this process. Other programs join it over the socketcand protocol, through TCP on
// the loopback or through a socket of the runtime directory; the unit itself is one station.
//
// Every frame goes to all other stations, in the same order for each. No station waits for another: each has a
// queue of its own, and a station whose queue is full is disconnected. While the unit's own station is behind,
// the bus reads from none, so that the unit loses no frame.
//
// A station that sends anything but messages of the protocol is disconnected at the first such byte, and so is
// one that does not open the bus in time.
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
#include "base/line_limiter.h"
#include "bus/can_frame.h"
#include "bus/endpoint.h"
#include "bus/output_queue.h"
#include "bus/socketcand_text.h"
#include "unit/j1939/bus_listener.h"
#include "unit/j1939/socketcand_session.h"

namespace unit {

struct local_bus_options_t {
  std::string address{};                        // "HOST:PORT" of the loopback; port 0 means any free one
  std::string socketPath{};                     // of the socket for this user's tools; empty: none
  std::string token{};                          // what a station on TCP must present; empty: nothing
  std::chrono::milliseconds openLimit{10'000};  // how long a station may take to open the bus
};

// As an endpoint it is the unit's own station: one thread may call Send, which never waits, one Receive, and
// any Interrupt.
class LocalBus : public bus::Endpoint {
 public:
  static constexpr std::size_t MAX_STATIONS = 32;         // through each of the two doors
  static constexpr std::size_t OUTPUT_LIMIT = 2'097'152;  // bytes that wait for a station: some 40,000 frames
  static constexpr std::size_t INBOX_HIGH = 2048;         // frames for the unit: above, nothing is read
  static constexpr std::size_t INBOX_LOW = 1024;          // ... until they are down to this

  // Throws std::runtime_error with the problem and what to do about it.
  explicit LocalBus(const local_bus_options_t& options);
  ~LocalBus() override;

  // The address on which it listens: "127.0.0.1:29536".
  const std::string& Address() const { return listener_.Address(); }

  result_t Send(const bus::frame_t& frame, int timeout_ms) override;
  result_t Receive(bus::frame_t& frame, int timeout_ms) override;
  void Interrupt() override;
  std::string Problem() const override { return {}; }

  // "stations", "stations.refused" (no place), "stations.dropped" (did not read), "stations.expelled" (the
  // protocol, the token or the time limit), "messages.refused".
  std::map<std::string, std::uint64_t> Counters() const;
  // While two stations send the host's frames, and some seconds longer; else empty.
  std::string Notice() const;

 private:
  using TimePoint = std::chrono::steady_clock::time_point;

  struct station_t {
    base::Descriptor socket;
    SocketcandSession session;
    bus::SocketcandSplitter splitter{bus::SocketcandSplitter::foreign_bytes_t::REFUSE};
    bus::OutputQueue output{OUTPUT_LIMIT};
    door_t door = door_t::TCP;
    std::uint64_t number = 0;  // from 1, never used again
    TimePoint openBy;
    TimePoint nextStatistics;
    std::optional<TimePoint> spokeAsHost;    // when it sent the last frame of the host
    std::array<std::uint64_t, 4> traffic{};  // bytes and frames to it, bytes and frames from it
    bool blocked = false;                    // its socket has no room
    bool deaf = false;                       // receives nothing any more
    bool gone = false;                       // to be removed
  };

  void Run();
  std::vector<pollfd> Interests() const;
  void ServeStations(std::span<const pollfd> polled, TimePoint now);
  int WaitTime_ms(TimePoint now) const;
  void Accept(door_t door, TimePoint now);
  void Read(station_t& station);
  void Obey(station_t& station, const std::string& message);
  void NoteHost(station_t& station, TimePoint now);
  void Broadcast(bus::frame_t frame, const station_t* sender);
  void Queue(station_t& station, std::string_view text);
  void Expel(station_t& station, const std::string& why);
  void Complain(const std::string& what);
  void Flush(station_t& station);
  void FlushAll();
  void SendStatistics(station_t& station, TimePoint now);
  void RemoveGone(TimePoint now);
  void Wake();

  const local_bus_options_t options_;
  const BusListener listener_;
  base::Descriptor wake_;
  base::LineLimiter complaints_;
  std::thread thread_;
  std::atomic<bool> stopping_{false};

  mutable std::mutex mutex_;  // guards all below
  std::list<station_t> stations_;
  std::optional<TimePoint> acceptAgain_;  // no connection is accepted before
  std::deque<bus::frame_t> inbox_;        // frames for the unit's own station
  bool inboxFull_ = false;
  bool interrupted_ = false;
  std::condition_variable received_;
  std::uint64_t refusedStations_ = 0;
  std::uint64_t droppedStations_ = 0;
  std::uint64_t expelledStations_ = 0;
  std::uint64_t stationsSeen_ = 0;
  std::uint64_t lastHost_ = 0;         // the number of the station that sent the last frame of the host
  std::optional<TimePoint> twoHosts_;  // when two stations last sent the host's frames
  std::uint64_t refusedMessages_ = 0;  // by stations that have left
};

}  // namespace unit
