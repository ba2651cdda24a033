#include "unit/history/screen_ring.h"

namespace unit {
namespace {

std::string Ended(const std::string& text, std::int64_t end_ms) {
  return text + "],\"end\":" + std::to_string(end_ms) + "}";
}

}  // namespace

bool ScreenRing::IsDue(std::int64_t now_ms) const {
  return open_.empty() || now_ms >= openBegin_ms_ + CHUNK_MS || open_.size() >= MOST_OPEN_BYTES;
}

void ScreenRing::Begin(std::int64_t now_ms, std::string_view whole) {
  Close(now_ms);
  openBegin_ms_ = now_ms;
  hasChange_ = false;
  open_ = "{\"begin\":" + std::to_string(now_ms) + ",\"start\":";
  open_.append(whole).append(",\"changes\":[");
}

void ScreenRing::Add(std::int64_t now_ms, std::string_view change) {
  if (hasChange_) open_ += ',';
  hasChange_ = true;
  open_.append("[").append(std::to_string(now_ms)).append(",").append(change).append("]");
}

void ScreenRing::Close(std::int64_t now_ms) {
  if (open_.empty()) return;
  auto text = std::make_shared<const DeflatedText>(Ended(open_, now_ms));
  bytes_ += text->Size();
  closed_.push_back({openBegin_ms_, now_ms, std::move(text)});
  open_.clear();
  Prune(now_ms);
}

void ScreenRing::Prune(std::int64_t now_ms) {
  const auto isFull = [this] { return bytes_ > MOST_BYTES || closed_.size() > MOST_CHUNKS; };
  while (!closed_.empty() && (isFull() || closed_.front().end_ms < now_ms - HISTORY_MS)) {
    bytes_ -= closed_.front().text->Size();
    closed_.pop_front();
    ++firstNumber_;
  }
}

std::vector<ScreenRing::chunk_place_t> ScreenRing::Places() const {
  std::vector<chunk_place_t> places;
  for (const closed_chunk_t& chunk : closed_) places.push_back({firstNumber_ + places.size(), chunk.begin_ms});
  if (!open_.empty()) places.push_back({firstNumber_ + places.size(), openBegin_ms_});
  return places;
}

std::function<std::string()> ScreenRing::Find(std::uint64_t number, std::int64_t now_ms) const {
  const std::uint64_t place = number - firstNumber_;
  if (number < firstNumber_ || place > closed_.size()) return {};
  if (place < closed_.size()) return [text = closed_[place].text] { return text->Inflate(); };
  if (open_.empty()) return {};
  return [text = Ended(open_, now_ms)] { return text; };
}

}  // namespace unit
