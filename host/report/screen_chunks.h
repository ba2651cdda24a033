// The records of the program film (film/display/display_film.h), packed so that a page shows the screen of any
// moment.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/report/band_rows.h"
#include "host/report/report_file.h"

namespace host::report {

// Writes each page's document once, "dNUMBER": {"svg": text}, and what changed in chunks of a minute,
// "sNUMBER":
//
// | member  | what it has |
// |---------|---------------------------------------------------------------------------------------------------|
// | start   | the page as it is at the chunk's beginning, as in `changes`; null before the first page | |
// changes | [t, {page, title, document, elements}] when a page is shown: its document, and all that differs |
// |         | from it; [t, {elements}] when the page changes: [id, attributes (null: removed), content or null]
// | | lines   | [t, text]: what the application printed |
//
// So a jump to any moment needs one chunk and one document.
class ScreenChunks {
 public:
  static constexpr std::int64_t CHUNK_MS = 60'000;

  explicit ScreenChunks(ChunkSink& sink) : sink_(sink) {}
  // The next record, in the order of time. A line that is no record is counted and passed over.
  void Accept(std::string_view record);
  // Writes the last chunk. Returns the time at which each chunk begins.
  std::vector<std::int64_t> Finish();
  // The page, the beeper and the lost link, as rows "page", "beeper" and "link".
  BandRows& Bands() { return bands_; }
  std::int64_t End_ms() const { return end_ms_; }  // the time of the last record
  std::uint64_t Unreadable() const { return unreadable_; }

 private:
  struct element_state_t {
    nlohmann::json attributes = nlohmann::json::object();
    nlohmann::json content;  // null: that of the document
  };
  struct shown_page_t {
    std::size_t document = 0;
    std::string title;
    std::map<std::string, element_state_t> elements;  // those that differ from the document
  };

  void BeginChunk(std::int64_t time_ms);
  void WriteChunk();
  void ShowPage(std::int64_t time_ms, const nlohmann::json& record);
  void ChangeElements(const nlohmann::json& elements);
  void NoteBands(std::int64_t time_ms, const nlohmann::json& record);
  nlohmann::json WholePage() const;

  ChunkSink& sink_;
  std::map<std::pair<std::string, std::string>, shown_page_t> pages_;  // by name and look
  shown_page_t* page_ = nullptr;                                       // the one that is shown
  std::string pageName_;
  BandRows bands_;
  nlohmann::json start_, changes_, lines_;  // of the chunk in progress
  std::vector<std::int64_t> begins_ms_;
  std::int64_t end_ms_ = 0;
  std::uint64_t unreadable_ = 0;
};

}  // namespace host::report
