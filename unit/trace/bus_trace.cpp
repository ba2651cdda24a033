#include "unit/trace/bus_trace.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <ranges>
#include <stdexcept>

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
constexpr const char* INTERFACE = "can0";  // in the log; hx7 reads a log of any interface
// In the order of trace_kind_t.
constexpr std::array<std::string_view, 5> KIND_NAMES = {"messages", "host", "display", "other", "frames"};

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
    throw std::invalid_argument("kind is messages, host, display, other or frames");
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

}  // namespace

trace_query_t ReadTraceQuery(const std::string& after, const std::string& kind, const std::string& text,
                             const std::string& most) {
  if (text.size() > LONGEST_TEXT) throw std::invalid_argument("text has more than 200 bytes");
  constexpr std::size_t MOST = trace_query_t::MOST_ROWS;
  return {.after = ReadCount("after", after, 0),
          .kind = ReadKind(kind),
          .text = LowerCase(text),
          .most = std::min<std::uint64_t>(ReadCount("most", most, MOST), MOST)};
}

BusTrace::BusTrace() : decoder_(std::make_unique<host::TrafficDecoder>()) {}
BusTrace::~BusTrace() = default;

void BusTrace::Accept(std::span<const std::uint8_t> message) {
  const std::optional<trace_report_t> report = ReadTraceReport(message);
  if (!report) return;
  const std::lock_guard lock(mutex_);
  // A lower number: the J1939 service was started again.
  if (expected_ && report->first > *expected_) missed_ += report->first - *expected_;
  expected_ = report->first + report->frames.size();
  std::ranges::for_each(report->frames, [this](const traced_frame_t& traced) { Keep(traced); });
}

void BusTrace::Keep(const traced_frame_t& traced) {
  kept_frame_t kept{
      .traced = traced, .from = host::SenderName(host::SenderOf(traced.frame)), .command = {}, .words = {}};
  if (const auto message = decoder_->Accept(traced.frame)) {
    kept.completes = true;
    // Of another station nothing but the data is known, and a row has them already.
    if (message->sender != host::sender_t::OTHER) {
      kept.command = message->decoded.command;
      kept.words = host::FormatMessage(message->decoded);
    }
  }
  frames_.push_back(std::move(kept));
  if (frames_.size() > MOST_FRAMES) frames_.pop_front();
  ++newest_;
}

bool BusTrace::Matches(const kept_frame_t& kept, const trace_query_t& query) {
  const bool isOfKind = query.kind == trace_kind_t::FRAMES ||
                        (kept.completes && (query.kind == trace_kind_t::MESSAGES ||
                                            kept.from == KIND_NAMES.at(static_cast<std::size_t>(query.kind))));
  if (!isOfKind || query.text.empty()) return isOfKind;
  std::string text = bus::FormatIdentifier(kept.traced.frame) + " " + HexOf(kept.traced.frame);
  for (const std::string_view part :
       {kept.from, std::string_view(kept.command), std::string_view(kept.words)}) {
    text.append(" ").append(part);
  }
  return HasWords(LowerCase(std::move(text)), query.text);
}

std::string BusTrace::Answer(const trace_query_t& query) const {
  const std::lock_guard lock(mutex_);
  const std::uint64_t after = query.after > newest_ ? 0 : query.after;
  const std::uint64_t before = newest_ - frames_.size();  // number of the last frame that is not kept
  json rows = json::array();
  std::uint64_t passed = 0;
  for (std::uint64_t number = newest_; number > std::max(after, before); --number) {
    const kept_frame_t& kept = frames_[number - before - 1];
    if (!Matches(kept, query)) continue;
    if (rows.size() >= query.most) {
      ++passed;
      continue;
    }
    rows.push_back({{"number", number},
                    {"time", static_cast<double>(kept.traced.frame.time_us) / US_PER_SECOND},
                    {"id", bus::FormatIdentifier(kept.traced.frame)},
                    {"data", HexOf(kept.traced.frame)},
                    {"direction", kept.traced.sent ? "tx" : "rx"},
                    {"from", kept.from},
                    {"command", kept.command},
                    {"words", kept.words}});
  }
  std::ranges::reverse(rows);
  return base::DumpJson({{"next", newest_},
                         {"rows", std::move(rows)},
                         {"passed", passed},
                         {"gone", before - std::min(before, after)},
                         {"missed", missed_}});
}

std::string BusTrace::Log() const {
  std::vector<bus::frame_t> frames;
  {
    const std::lock_guard lock(mutex_);
    for (const kept_frame_t& kept : frames_) frames.push_back(kept.traced.frame);
  }
  std::string text;
  for (const bus::frame_t& frame : frames) text += bus::FormatLogLine(frame, INTERFACE) + "\n";
  return text;
}

}  // namespace unit
