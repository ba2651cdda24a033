#include "unit/j1939/frame_log.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include "base/descriptor.h"
#include "bus/log_lines.h"

namespace unit {
namespace {

// For each of the two files: together some 300,000 frames, half an hour of a host's usual traffic.
constexpr std::size_t RECENT_BYTES = 8U << 20U;
constexpr int READER_WAIT_MS = 200;

// A FIFO is opened without waiting for its reader, and again when the reader has gone.
class RecordTarget : public LineTarget {
 public:
  explicit RecordTarget(const std::string& file) : file_(file) {
    const int error = Open(O_TRUNC);
    if (error == 0 || error == ENXIO) return;
    throw std::runtime_error("cannot write the log " + file_ + ": " + std::strerror(error) +
                             "; choose another file with --record FILE");
  }
  std::string Write(const std::string& text) override;

 private:
  int Open(int flags);
  int Append(const std::string& text);

  const std::string file_;
  base::Descriptor descriptor_;
};

int RecordTarget::Open(int flags) {
  constexpr mode_t PERMISSIONS = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
  descriptor_ = base::Descriptor(
      ::open(file_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NONBLOCK | O_CLOEXEC | flags, PERMISSIONS));
  return descriptor_.Get() < 0 ? errno : 0;
}

int RecordTarget::Append(const std::string& text) {
  const int error = AppendText(descriptor_.Get(), text);
  if (error != EAGAIN) return error;
  pollfd ready{descriptor_.Get(), POLLOUT, 0};
  poll(&ready, 1, READER_WAIT_MS);
  return AppendText(descriptor_.Get(), text);
}

std::string RecordTarget::Write(const std::string& text) {
  int error = descriptor_.Get() < 0 ? Open(0) : 0;
  if (error == 0) error = Append(text);
  if (error == EPIPE) descriptor_ = base::Descriptor();
  if (error == ENXIO || error == EPIPE || error == EAGAIN) return "nobody reads it";
  return error == 0 ? std::string() : std::strerror(error);
}

}  // namespace

FrameLog::FrameLog(const std::string& file, std::string interface)
    : interface_(std::move(interface)), recent_("bus", RECENT_BYTES) {
  if (!file.empty()) record_.emplace("j1939", "the record " + file, std::make_unique<RecordTarget>(file));
}

void FrameLog::Write(const bus::frame_t& frame) {
  const std::string line = bus::FormatLogLine(frame, interface_);
  recent_.Write(line);
  if (record_) record_->Write(line);
}

std::string FrameLog::Problem() const {
  std::string problem = record_ ? record_->Problem() : "";
  return problem.empty() ? recent_.Problem() : problem;
}

std::map<std::string, std::uint64_t> FrameLog::Counters() const {
  std::map<std::string, std::uint64_t> counters{{"blackbox.lost", recent_.Lost()}};
  if (record_) counters["record.lost"] = record_->Lost();
  return counters;
}

}  // namespace unit
