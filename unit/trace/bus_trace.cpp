#include "unit/trace/bus_trace.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <ranges>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "bus/log_lines.h"
#include "bus/text_fields.h"
#include "host/protocol/message_lines.h"
#include "host/protocol/traffic_decoder.h"

namespace unit {
namespace {

using nlohmann::json;

constexpr std::size_t LONGEST_TEXT = 200;
constexpr double US_PER_SECOND = 1e6;
constexpr std::uint64_t US_PER_MS = 1000;
constexpr std::size_t BLOCK_FRAMES = 250;
static_assert(BusTrace::MOST_FRAMES % BLOCK_FRAMES == 0);
constexpr const char* INTERFACE = "can0";  // in the log; hx7 reads a log of any interface
// In the order of trace_kind_t.
constexpr std::array<std::string_view, 6> KIND_NAMES = {"messages", "host",   "display",
                                                        "other",    "frames", "both"};

std::string LowerCase(std::string text) {
  std::ranges::transform(text, text.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::uint64_t ReadCount(const char* name, const std::string& text, std::uint64_t otherwise) {
  if (text.empty()) return otherwise;
  const auto number = bus::ParseNumber<std::uint64_t>(text, 10);
  if (!number) throw std::invalid_argument(std::string(name) + " takes a whole number from 0");
  return *number;
}

trace_kind_t ReadKind(const std::string& text) {
  if (text.empty()) return trace_kind_t::MESSAGES;
  const auto* found = std::ranges::find(KIND_NAMES, text);
  if (found == KIND_NAMES.end()) {
    throw std::invalid_argument("kind is messages, host, display, other, frames or both");
  }
  return static_cast<trace_kind_t>(found - KIND_NAMES.begin());
}

std::string HexOf(const bus::frame_t& frame) {
  std::string digits;
  bus::AppendHexBytes(digits, frame.Bytes());
  return digits;
}

// All words of `wanted` are in the text.
bool HasWords(const std::string& text, std::string_view wanted) {
  bus::FieldReader words(wanted);
  for (std::string_view word = words.Next(); !word.empty(); word = words.Next()) {
    if (text.find(word) == std::string::npos) return false;
  }
  return true;
}

double SecondsOf(const bus::frame_t& frame) {
  return static_cast<double>(frame.time_us) / US_PER_SECOND;
}

}  // namespace

trace_query_t ReadTraceQuery(const std::string& after, const std::string& until, const std::string& kind,
                             const std::string& text, const std::string& most) {
  if (text.size() > LONGEST_TEXT) throw std::invalid_argument("text has more than 200 bytes");
  constexpr std::size_t MOST = trace_query_t::MOST_ROWS;
  std::optional<std::uint64_t> until_ms;
  if (!until.empty()) until_ms = ReadCount("until", until, 0);
  return {.after = ReadCount("after", after, 0),
          .until_ms = until_ms,
          .kind = ReadKind(kind),
          .text = LowerCase(text),
          .most = std::min<std::uint64_t>(ReadCount("most", most, MOST), MOST)};
}

// A part of the trace, with the decoder as it was before the first frame: a reader decodes these frames alone.
struct BusTrace::block_t {
  struct kept_frame_t {
    bus::frame_t frame;
    bool sent = false;       // by the display unit
    bool completes = false;  // a message, or is a frame of another station
  };
  static_assert(sizeof(kept_frame_t) == 32);

  explicit block_t(const host::TrafficDecoder& decoder) : before(decoder) { frames.reserve(BLOCK_FRAMES); }

  host::TrafficDecoder before;
  std::vector<kept_frame_t> frames;
};

// Reads the frames of one block. The first frame that needs words makes it decode the block.
class BusTrace::BlockReader {
 public:
  explicit BlockReader(const block_t& block) : block_(block) {}

  bool Matches(std::size_t at, const trace_query_t& query) {
    const bus::frame_t& frame = block_.frames[at].frame;
    if (query.until_ms && frame.time_us / US_PER_MS > *query.until_ms) return false;
    if (!IsOfKind(block_.frames[at], query.kind)) return false;
    if (query.text.empty()) return true;
    const auto [command, words] = WordsOf(at);
    std::string text = bus::FormatIdentifier(frame) + " " + HexOf(frame);
    text.append(" ").append(host::SenderName(host::SenderOf(frame)));
    return HasWords(LowerCase(text.append(" ").append(command).append(" ").append(words)), query.text);
  }

  json Row(std::size_t at, std::uint64_t number) {
    const auto& [frame, sent, completes] = block_.frames[at];
    const auto [command, words] = WordsOf(at);
    return {{"number", number},
            {"time", SecondsOf(frame)},
            {"id", bus::FormatIdentifier(frame)},
            {"data", HexOf(frame)},
            {"direction", sent ? "tx" : "rx"},
            {"from", host::SenderName(host::SenderOf(frame))},
            {"command", command},
            {"words", words}};
  }

 private:
  struct words_t {
    std::string command, words;
  };

  static bool IsOfKind(const block_t::kept_frame_t& kept, trace_kind_t kind) {
    if (kind == trace_kind_t::FRAMES) return true;
    if (!kept.completes || kind == trace_kind_t::MESSAGES) return kept.completes;
    const host::sender_t sender = host::SenderOf(kept.frame);
    if (kind == trace_kind_t::BOTH) return sender != host::sender_t::OTHER;
    return host::SenderName(sender) == KIND_NAMES.at(static_cast<std::size_t>(kind));
  }

  // Of another station nothing but the data is known, and a row has them already.
  words_t WordsOf(std::size_t at) {
    const block_t::kept_frame_t& kept = block_.frames[at];
    if (!kept.completes || host::SenderOf(kept.frame) == host::sender_t::OTHER) return {};
    if (messages_.empty()) Decode();
    const std::optional<host::decoded_t>& message = messages_[at];
    return message ? words_t{std::string(message->command), host::FormatMessage(*message)} : words_t{};
  }

  void Decode() {
    host::TrafficDecoder decoder = block_.before;
    for (const block_t::kept_frame_t& kept : block_.frames) {
      auto message = decoder.Accept(kept.frame);
      messages_.push_back(message ? std::optional(std::move(message->decoded)) : std::nullopt);
    }
  }

  const block_t& block_;
  std::vector<std::optional<host::decoded_t>> messages_;  // by frame; empty until they are needed
};

BusTrace::BusTrace() : decoder_(std::make_unique<host::TrafficDecoder>()) {}
BusTrace::~BusTrace() = default;

void BusTrace::Accept(std::span<const std::uint8_t> message) {
  const std::optional<trace_report_t> report = ReadTraceReport(message);
  if (!report) return;
  const std::lock_guard lock(mutex_);
  // A lower number: the J1939 service was started again.
  if (expected_ && report->first > *expected_) kept_.missed += report->first - *expected_;
  expected_ = report->first + report->frames.size();
  for (const traced_frame_t& traced : report->frames) Keep(traced.frame, traced.sent);
}

void BusTrace::Accept(std::span<const bus::frame_t> frames) {
  const std::lock_guard lock(mutex_);
  for (const bus::frame_t& frame : frames) Keep(frame, host::SenderOf(frame) == host::sender_t::DISPLAY);
}

void BusTrace::Keep(const bus::frame_t& frame, bool sent) {
  auto& blocks = kept_.blocks;
  if (blocks.empty() || blocks.back()->frames.size() == BLOCK_FRAMES) {
    blocks.push_back(std::make_shared<block_t>(*decoder_));
  }
  blocks.back()->frames.push_back({frame, sent, decoder_->Accept(frame).has_value()});
  ++kept_.newest;
  if (++kept_.frames <= MOST_FRAMES) return;
  kept_.frames -= blocks.front()->frames.size();
  blocks.pop_front();
}

BusTrace::kept_frames_t BusTrace::CopyKept() const {
  const std::lock_guard lock(mutex_);
  kept_frames_t copy = kept_;
  if (!copy.blocks.empty()) copy.blocks.back() = std::make_shared<block_t>(*copy.blocks.back());
  return copy;
}

std::string BusTrace::Answer(const trace_query_t& query) const {
  const kept_frames_t kept = CopyKept();
  const std::uint64_t after = query.after > kept.newest ? 0 : query.after;
  const std::uint64_t before = kept.newest - kept.frames;  // number of the last frame that is not kept
  json rows = json::array();
  std::uint64_t passed = 0;
  std::uint64_t number = kept.newest;
  for (auto block = kept.blocks.rbegin(); block != kept.blocks.rend() && number > after; ++block) {
    BlockReader reader(**block);
    for (std::size_t at = (*block)->frames.size(); at-- > 0 && number > after; --number) {
      if (!reader.Matches(at, query)) continue;
      if (rows.size() < query.most) {
        rows.push_back(reader.Row(at, number));
      } else {
        ++passed;
      }
    }
  }
  std::ranges::reverse(rows);
  json begins;
  if (kept.frames > 0) begins = SecondsOf(kept.blocks.front()->frames.front().frame);
  return base::DumpJson({{"next", kept.newest},
                         {"rows", std::move(rows)},
                         {"passed", passed},
                         {"gone", before - std::min(before, after)},
                         {"missed", kept.missed},
                         {"begins", std::move(begins)}});
}

std::string BusTrace::Log() const {
  std::string text;
  for (const auto& block : CopyKept().blocks) {
    for (const auto& kept : block->frames) text += bus::FormatLogLine(kept.frame, INTERFACE) + "\n";
  }
  return text;
}

}  // namespace unit
