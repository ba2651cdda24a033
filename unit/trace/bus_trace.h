// The last frames of the bus, each message in the words of `hx7 watch`, as the panel shows them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "unit/trace/trace_report.h"

namespace host {
class TrafficDecoder;
}  // namespace host

namespace unit {

// Which frames a reader asks for. FRAMES is every frame; the others leave out the frames of a message before
// its last one, which has the words of the whole message.
enum class trace_kind_t : std::uint8_t { MESSAGES, HOST, DISPLAY, OTHER, FRAMES };

struct trace_query_t {
  static constexpr std::size_t MOST_ROWS = 200;

  std::uint64_t after = 0;  // a frame's number: only later frames
  trace_kind_t kind = trace_kind_t::MESSAGES;
  std::string text;  // words with blanks between, in small letters; a row has all of them
  std::size_t most = MOST_ROWS;
};

// Reads the parameters of GET /api/bus/trace. An empty one takes its default. Throws std::invalid_argument that
// says what is wrong.
trace_query_t ReadTraceQuery(const std::string& after, const std::string& kind, const std::string& text,
                             const std::string& most);

// Any thread. A query for words looks through all frames that are kept, which takes some 10 ms.
class BusTrace {
 public:
  static constexpr std::size_t MOST_FRAMES = 20'000;  // two minutes of a host's usual traffic, some 4 MB

  BusTrace();
  ~BusTrace();
  BusTrace(const BusTrace&) = delete;
  BusTrace& operator=(const BusTrace&) = delete;

  // A message of the channel TRACE_CHANNEL_NAME.
  void Accept(std::span<const std::uint8_t> message);
  // The newest rows that the query asks for, the oldest of them first, as JSON:
  //
  // | member | meaning                                                                            |
  // |--------|------------------------------------------------------------------------------------|
  // | next   | number of the newest frame, for the next query's `after`                            |
  // | rows   | number, time, id, data, direction, from, command, words                             |
  // | passed | frames after `after` that the query asks for and `rows` has not the room for         |
  // | gone   | frames after `after` that are not kept any more                                     |
  // | missed | frames that never reached the panel, since it started                               |
  //
  // A number beyond the newest frame is one of an earlier run, and counts as 0.
  std::string Answer(const trace_query_t& query) const;
  // All frames that are kept, as lines of candump -L.
  std::string Log() const;

 private:
  struct kept_frame_t {
    traced_frame_t traced;
    bool completes = false;  // a message, or is a frame of another station
    std::string_view from;
    std::string command;
    std::string words;
  };
  void Keep(const traced_frame_t& traced);
  static bool Matches(const kept_frame_t& kept, const trace_query_t& query);

  mutable std::mutex mutex_;  // guards all below
  std::unique_ptr<host::TrafficDecoder> decoder_;
  std::deque<kept_frame_t> frames_;
  std::uint64_t newest_ = 0;  // number of the last frame; the first has 1
  std::uint64_t missed_ = 0;
  std::optional<std::uint64_t> expected_;  // number of the J1939 service's next frame
};

}  // namespace unit
