// The sequence of states that the frames of a log bring the display into.
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
  std::size_t hash = 0;  // of the texts
  bool ShowsAs(const shown_at_t& other) const { return hash == other.hash && *shown == *other.shown; }
};

class ShownLog {
 public:
  explicit ShownLog(std::istream& in) : reader_(in) {}
  // The next state that differs from the one before it; empty at the end of the log.
  std::optional<shown_at_t> Next();
  std::uint64_t Frames() const { return decoder_.Counts().frames; }

 private:
  std::optional<shown_at_t> Changed(std::uint64_t time_us);
  std::optional<std::uint64_t> NoteHost(const bus::frame_t& frame);

  LogReader reader_;
  TrafficDecoder decoder_;
  ShownState state_;
  std::shared_ptr<const shown_texts_t> last_ = std::make_shared<shown_texts_t>();
  std::optional<bus::frame_t> kept_;          // read ahead: the lost link before it is a state of its own
  std::optional<std::uint64_t> lastHost_us_;  // time of the host's last frame
};

}  // namespace host
