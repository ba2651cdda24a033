#include "host/report/log_sequence.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "host/log/film_page.h"
#include "host/protocol/errors.h"
#include "host/protocol/traffic_decoder.h"

namespace host::report {
namespace {

constexpr std::size_t MOST_AHEAD = 100'000;  // a full bus has some 8,000 a second

void Note(const bus_message_t& message, log_beginning_t& beginning) {
  if (message.sender != sender_t::HOST || !message.decoded.problem.empty()) return;
  if (AsksForPage(message)) beginning.asksForPage = true;
  if (message.decoded.name == "units" && !beginning.units) beginning.units = message.bytes[2];
}

}  // namespace

LogSequence::log_file_t LogSequence::OpenLog(const std::string& name) {
  log_file_t log;
  log.name = name;
  log.in = std::make_unique<std::ifstream>(name, std::ios::binary);
  std::error_code error;
  if (!*log.in || std::filesystem::is_directory(name, error)) {
    throw UsageError("cannot read the log " + name + "; check its name and its rights");
  }
  const std::uintmax_t size = std::filesystem::file_size(name, error);
  log.size = error ? 0 : static_cast<double>(size);
  log.reader = std::make_unique<LogReader>(*log.in);
  log.first = log.reader->Next();
  if (!log.first) {
    throw UsageError(name + " holds no frame; `hx7 play --help` names the kinds of logs that hx7 reads");
  }
  return log;
}

LogSequence::LogSequence(const std::vector<std::string>& files) {
  for (const std::string& file : files) logs_.push_back(OpenLog(file));
  std::ranges::stable_sort(logs_, {}, [](const log_file_t& log) { return log.first->time_us; });
  begin_us_ = logs_.front().first->time_us;
}

std::optional<bus::frame_t> LogSequence::ReadNext() {
  for (; current_ < logs_.size(); ++current_) {
    log_file_t& log = logs_[current_];
    if (log.first) return std::exchange(log.first, std::nullopt);
    if (auto frame = log.reader->Next()) return frame;
  }
  return std::nullopt;
}

std::optional<bus::frame_t> LogSequence::Next() {
  if (ahead_.empty()) return ReadNext();
  const bus::frame_t frame = ahead_.front();
  ahead_.pop_front();
  return frame;
}

log_beginning_t LogSequence::LookAhead() {
  log_beginning_t beginning;
  TrafficDecoder decoder;
  while (ahead_.size() < MOST_AHEAD) {
    const auto frame = ReadNext();
    if (!frame) break;
    ahead_.push_back(*frame);
    if (frame->time_us > begin_us_ + FILM_LOOK_US) break;
    if (const auto message = decoder.Accept(*frame)) Note(*message, beginning);
  }
  return beginning;
}

std::uint64_t LogSequence::Skipped() const {
  std::uint64_t skipped = 0;
  for (const log_file_t& log : logs_) skipped += log.reader->Skipped();
  return skipped;
}

double LogSequence::Share() const {
  double read = 0;
  double size = 0;
  for (std::size_t i = 0; i < logs_.size(); ++i) {
    const auto position = static_cast<double>(logs_[i].in->tellg());
    if (i < current_ || (i == current_ && position < 0)) read += logs_[i].size;  // tellg fails at the end
    if (i == current_ && position > 0) read += position;
    size += logs_[i].size;
  }
  return size > 0 ? std::min(read / size, 1.0) : 0;
}

}  // namespace host::report
