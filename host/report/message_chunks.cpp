#include "host/report/message_chunks.h"

#include <nlohmann/json.hpp>

#include "base/json_text.h"

namespace host::report {

std::size_t MessageChunks::Intern(std::string_view text) {
  const auto found = places_.find(text);
  if (found != places_.end()) return found->second;
  texts_.emplace_back(text);
  places_.emplace(text, texts_.size() - 1);
  return texts_.size() - 1;
}

void MessageChunks::Add(std::int64_t time_ms, std::string_view sender, std::string_view command,
                        const std::string& words) {
  const std::int64_t begin_ms = time_ms - time_ms % CHUNK_MS;
  if (begins_ms_.empty() || begins_ms_.back() != begin_ms) {
    WriteChunk();
    begins_ms_.push_back(begin_ms);
  }
  messages_.push_back(time_ms);
  for (const std::string_view text : {sender, command, std::string_view(words)}) {
    messages_.push_back(static_cast<std::int64_t>(Intern(text)));
  }
}

void MessageChunks::WriteChunk() {
  if (messages_.empty()) return;
  const std::string name = "m" + std::to_string(begins_ms_.size() - 1);
  sink_.AddChunk(name, base::DumpJson({{"texts", texts_}, {"messages", messages_}}));
  places_.clear();
  texts_.clear();
  messages_.clear();
}

std::vector<std::int64_t> MessageChunks::Finish() {
  WriteChunk();
  return begins_ms_;
}

}  // namespace host::report
