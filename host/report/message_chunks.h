// The messages of a log in words, in chunks of a minute.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/report/report_file.h"

namespace host::report {

// A chunk "mNUMBER" is {"texts": [...], "messages": [t, sender, command, words, ...]}: the time in
// milliseconds, and three places in the texts.
class MessageChunks {
 public:
  static constexpr std::int64_t CHUNK_MS = 60'000;

  explicit MessageChunks(ChunkSink& sink) : sink_(sink) {}
  void Add(std::int64_t time_ms, std::string_view sender, std::string_view command, const std::string& words);
  // Writes the last chunk. Returns the time at which each chunk begins.
  std::vector<std::int64_t> Finish();

 private:
  std::size_t Intern(std::string_view text);
  void WriteChunk();

  ChunkSink& sink_;
  std::map<std::string, std::size_t, std::less<>> places_;
  std::vector<std::string> texts_;
  std::vector<std::int64_t> messages_;
  std::vector<std::int64_t> begins_ms_;
};

}  // namespace host::report
