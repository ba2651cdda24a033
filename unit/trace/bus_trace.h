// The last frames of the bus. Their messages get the words of `hx7 watch` when a reader asks for them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>

#include "unit/trace/trace_report.h"

namespace host {
class TrafficDecoder;
}  // namespace host

namespace unit {

// Which frames a reader asks for. FRAMES is every frame; the others leave out the frames of a message before
// its last one, which has the words of the whole message. BOTH is the host and the display.
enum class trace_kind_t : std::uint8_t { MESSAGES, HOST, DISPLAY, OTHER, FRAMES, BOTH };

struct trace_query_t {
  static constexpr std::size_t MOST_ROWS = 200;

  std::uint64_t after = 0;                               // a frame's number: only later frames
  std::optional<std::uint64_t> until_ms = std::nullopt;  // milliseconds since 1970: only frames up to then
  trace_kind_t kind = trace_kind_t::MESSAGES;
  std::string text;  // words with blanks between, in small letters; a row has all of them
  std::size_t most = MOST_ROWS;
};

// Reads the parameters of GET /api/bus/trace. An empty one takes its default. Throws std::invalid_argument that
// says what is wrong.
trace_query_t ReadTraceQuery(const std::string& after, const std::string& until, const std::string& kind,
                             const std::string& text, const std::string& most);

// Any thread. Readers hold the lock only while they copy the list of blocks.
class BusTrace {
 public:
  // 16 minutes of a host that sends 104 frames a second (the scenario normal-lift), in some 4 MB: 32 bytes a
  // frame, and a decoder for each 250 frames.
  static constexpr std::size_t MOST_FRAMES = 100'000;

  BusTrace();
  ~BusTrace();
  BusTrace(const BusTrace&) = delete;
  BusTrace& operator=(const BusTrace&) = delete;

  // A message of the channel TRACE_CHANNEL_NAME.
  void Accept(std::span<const std::uint8_t> message);
  // Frames of a log, in its order.
  void Accept(std::span<const bus::frame_t> frames);
  // The newest rows that the query asks for, the oldest of them first, as JSON:
  //
  // | member | meaning                                                                            |
  // |--------|------------------------------------------------------------------------------------|
  // | next   | number of the newest frame, for the next query's `after`                            |
  // | rows   | number, time, id, data, direction, from, command, words                             |
  // | passed | frames after `after` that the query asks for and `rows` has not the room for         |
  // | gone   | frames after `after` that are not kept any more                                     |
  // | missed | frames that never reached the panel, since it started                               |
  // | begins | time of the oldest frame that is kept; null without one                             |
  //
  // A number beyond the newest frame is one of an earlier run, and counts as 0.
  std::string Answer(const trace_query_t& query) const;
  // All frames that are kept, as lines of candump -L.
  std::string Log() const;

 private:
  struct block_t;
  class BlockReader;
  struct kept_frames_t {
    std::deque<std::shared_ptr<block_t>> blocks;  // only the last one grows; none is empty
    std::size_t frames = 0;                       // in all blocks
    std::uint64_t newest = 0;                     // number of the last frame; the first has 1
    std::uint64_t missed = 0;
  };
  void Keep(const bus::frame_t& frame, bool sent);
  kept_frames_t CopyKept() const;

  mutable std::mutex mutex_;  // guards all below
  std::unique_ptr<host::TrafficDecoder> decoder_;
  kept_frames_t kept_;
  std::optional<std::uint64_t> expected_;  // number of the J1939 service's next frame
};

}  // namespace unit
