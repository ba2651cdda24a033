// What the screen showed in the last ten minutes, in compressed chunks. Each chunk begins with the whole
// screen, so that a reader shows any moment with one chunk.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "unit/history/deflated_text.h"

namespace unit {

// How long values, bands and screens are kept.
constexpr std::int64_t HISTORY_MS = 600'000;

// A chunk is a JSON object:
//
// | member  | content                                                                                    |
// |---------|--------------------------------------------------------------------------------------------|
// | begin   | when it begins                                                                             |
// | start   | the screen then, {page, title, svg}; null: not known                                       |
// | changes | [t, {page, title, svg}]: this is shown; [t, {page: null}]: the screen is not known;        |
// |         | [t, {elements}]: these changed, each [id, attributes (null: removed), content where it     |
// |         | changed]                                                                                   |
// | end     | until when the chunk tells                                                                 |
//
// Not thread-safe; its owner locks it.
class ScreenRing {
 public:
  static constexpr std::int64_t CHUNK_MS = 60'000;
  // Of all compressed chunks, and their number. At either bound the oldest chunk goes.
  static constexpr std::size_t MOST_BYTES = 4U << 20U;
  static constexpr std::size_t MOST_CHUNKS = 24;
  // A chunk in progress ends early when its text has this size.
  static constexpr std::size_t MOST_OPEN_BYTES = 1U << 20U;

  struct chunk_place_t {
    std::uint64_t number = 0;
    std::int64_t begin_ms = 0;
  };

  // Whether the caller has to begin a chunk before it adds anything.
  bool IsDue(std::int64_t now_ms) const;
  // Ends the chunk in progress and begins one with the whole screen, JSON.
  void Begin(std::int64_t now_ms, std::string_view whole);
  // A change, JSON, to the chunk in progress. In the order of time.
  void Add(std::int64_t now_ms, std::string_view change);

  // The chunks that are kept, oldest first.
  std::vector<chunk_place_t> Places() const;
  // Returns a function that makes the chunk's text; empty where the chunk is not kept. The function may be
  // called without the owner's lock.
  std::function<std::string()> Find(std::uint64_t number, std::int64_t now_ms) const;
  std::size_t Bytes() const { return bytes_; }

 private:
  struct closed_chunk_t {
    std::int64_t begin_ms = 0;
    std::int64_t end_ms = 0;
    std::shared_ptr<const DeflatedText> text;
  };

  void Close(std::int64_t now_ms);
  void Prune(std::int64_t now_ms);

  std::deque<closed_chunk_t> closed_;
  std::uint64_t firstNumber_ = 0;  // of closed_, or of the chunk in progress where closed_ is empty
  std::size_t bytes_ = 0;          // of closed_
  std::string open_;               // the text of the chunk in progress, not ended; empty: there is none
  std::int64_t openBegin_ms_ = 0;
  bool hasChange_ = false;
};

}  // namespace unit
