// What a report takes from the bus itself: the curves, the lamps, the language, the keys and the messages in
// words.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "bus/can_frame.h"
#include "bus/key_log.h"
#include "host/protocol/traffic_decoder.h"
#include "host/report/band_rows.h"
#include "host/report/curve_tiles.h"
#include "host/report/message_chunks.h"
#include "host/report/report_figures.h"
#include "host/report/report_file.h"

namespace host::report {

// All values are in the units of the first ones; later ones are converted, so that no curve jumps where the
// units change. Until the host sets its units they are pounds and feet, as on a display that was just switched
// on.
class TrafficReport {
 public:
  explicit TrafficReport(ChunkSink& sink) : curves_(sink), messages_(sink) {}

  // The units of the values that come next, as the host's command for them says: 0 Imperial, 1 Metric; others
  // are passed over.
  void NoteUnits(unsigned units);
  // In the order of time; `time_ms` counts from the first frame.
  void Accept(const bus::frame_t& frame, std::int64_t time_ms);
  void Accept(const bus::key_change_t& change, std::int64_t time_ms);
  // Writes the last chunks and adds "curves", "messages", "bands", "figures", "units" and "frames" to the
  // index.
  void Finish(std::int64_t time_ms, nlohmann::json& index);
  // Whether the first values came before the host set its units.
  bool TakesUnits() const { return takesUnits_; }
  std::uint64_t Frames() const { return decoder_.Counts().frames; }

 private:
  void NoteSilence(std::int64_t time_ms);
  void NoteHost(const bus_message_t& message, std::int64_t time_ms);
  void NoteValues(const bus_message_t& message, std::int64_t time_ms);
  void NoteLamps(std::uint32_t lamps, std::int64_t time_ms);
  void NoteReply(const bus_message_t& message, std::int64_t time_ms);
  bool IsToList(const bus_message_t& message, const std::string& words, std::int64_t time_ms);
  void List(const bus_message_t& message, std::int64_t time_ms);

  // The last message of a kind that is listed.
  struct listed_message_t {
    std::string words;
    std::int64_t time_ms = 0;
  };

  TrafficDecoder decoder_;
  CurveTiles curves_;
  MessageChunks messages_;
  BandRows bands_;
  OverloadFigures overloads_;
  EventCount broken_;
  std::map<std::string, listed_message_t> listed_;
  std::optional<unsigned> units_;       // that the host has set
  std::optional<unsigned> firstUnits_;  // of the first values
  bool takesUnits_ = false;             // the first values came before the host set its units
  std::optional<std::uint32_t> lamps_;
  bool lampsChanged_ = false;
  std::int64_t lastHost_ms_ = 0;  // time of the host's last frame
};

}  // namespace host::report
