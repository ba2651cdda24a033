// The states that a log takes the display through, one after the other.
#pragma once

#include <cstdint>
#include <istream>
#include <memory>
#include <optional>

#include "host/log/log_reader.h"
#include "host/protocol/traffic_decoder.h"
#include "host/shown/shown_state.h"

namespace host {

struct shown_at_t {
  std::uint64_t time_us = 0;  // since when
  std::shared_ptr<const shown_texts_t> shown = std::make_shared<shown_texts_t>();
  std::size_t hash = 0;  // of what is shown
  bool ShowsAs(const shown_at_t& other) const { return hash == other.hash && *shown == *other.shown; }
};

class ShownLog {
 public:
  explicit ShownLog(std::istream& in) : reader_(in) {}
  // The next state that differs from the one before it; empty at the log's end.
  std::optional<shown_at_t> Next();
  std::uint64_t Frames() const { return decoder_.Counts().frames; }

 private:
  std::optional<shown_at_t> Changed(std::uint64_t time_us);
  std::optional<std::uint64_t> Hear(const bus::frame_t& frame);

  LogReader reader_;
  TrafficDecoder decoder_;
  ShownState state_;
  std::shared_ptr<const shown_texts_t> last_ = std::make_shared<shown_texts_t>();
  std::optional<bus::frame_t> kept_;       // read, but the silence before it comes first
  std::optional<std::uint64_t> heard_us_;  // the host's last frame
};

}  // namespace host
