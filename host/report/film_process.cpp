#include "host/report/film_process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include "base/installation.h"
#include "host/protocol/errors.h"

namespace host::report {
namespace {

constexpr std::size_t BATCH = 32'768;  // bytes; half a pipe

constexpr std::chrono::seconds END_PATIENCE{5};  // film removes its folder and its database

base::child_plan_t PlanFilm(const film_plan_t& plan) {
  base::child_plan_t film{.arguments = {base::ProgramFolder() + "/film"}};
  if (!plan.config.empty()) film.arguments.insert(film.arguments.end(), {"--config", plan.config});
  if (!plan.page.empty()) film.arguments.insert(film.arguments.end(), {"--page", plan.page});
  return film;
}

}  // namespace

FilmProcess::FilmProcess(const film_plan_t& plan, std::function<void(std::string_view)> onRecord) {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));  // a film that died is told by write
  base::pipe_t lines = base::MakePipe();
  base::pipe_t records = base::MakePipe();
  errors_ = base::Descriptor(::memfd_create("film", MFD_CLOEXEC));
  base::child_plan_t film = PlanFilm(plan);
  film.input = lines.reading.Get();
  film.output = records.writing.Get();
  film.errors = errors_.Get();
  process_.emplace(film);
  input_ = std::move(lines.writing);
  output_ = std::move(records.reading);
  ::fcntl(input_.Get(), F_SETFL, O_NONBLOCK);
  reader_ = std::thread([this, onRecord = std::move(onRecord)] { ReadRecords(onRecord); });
}

FilmProcess::~FilmProcess() {
  CloseInput();
  if (!isHung_) process_->AwaitEnd(END_PATIENCE);
  process_.reset();  // kills it where it still runs
  if (reader_.joinable()) reader_.join();
}

void FilmProcess::ReadRecords(const std::function<void(std::string_view)>& onRecord) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(::fdopen(::dup(output_.Get()), "r"), std::fclose);
  char* line = nullptr;
  std::size_t room = 0;
  for (ssize_t size = 0; (size = ::getline(&line, &room, file.get())) > 0;) {
    const std::string_view record(line, static_cast<std::size_t>(size));
    if (record.back() == '\n') onRecord(record.substr(0, record.size() - 1));
  }
  std::free(line);  // getline's
}

void FilmProcess::CloseInput() {
  input_ = base::Descriptor();
}

void FilmProcess::Write(std::string_view line, std::int64_t time_ms) {
  if (input_.Get() < 0) return;
  lines_ += line;
  lines_ += '\n';
  linesTime_ms_ = time_ms;
  if (lines_.size() >= BATCH) Flush();
}

// Returns false when film is gone or hung.
bool FilmProcess::WaitToWrite() {
  const auto gap_ms = (linesTime_ms_ - writtenTime_ms_) / GAP_SHARE;
  const auto wait_ms = std::chrono::milliseconds(PATIENCE).count() + gap_ms;
  pollfd entry{input_.Get(), POLLOUT, 0};
  const int ready = ::poll(&entry, 1, static_cast<int>(std::min<std::int64_t>(wait_ms, 1'000'000'000)));
  if (ready < 0 && errno == EINTR) return true;
  isHung_ = ready == 0;
  return ready > 0;
}

void FilmProcess::Flush() {
  std::string_view rest = lines_;
  while (!rest.empty() && input_.Get() >= 0) {
    const ssize_t size = ::write(input_.Get(), rest.data(), rest.size());
    if (size > 0) {
      rest.remove_prefix(static_cast<std::size_t>(size));
    } else if (errno != EINTR && (errno != EAGAIN || !WaitToWrite())) {
      CloseInput();
    }
  }
  lines_.clear();
  writtenTime_ms_ = linesTime_ms_;
}

std::string FilmProcess::DescribeEnd(const base::ending_t& ending) const {
  if (isHung_) return "film took no more lines and was stopped";
  if (ending.IsSuccess()) return "";
  const std::string error = base::ReadLastLine(errors_.Get());
  const std::string last = error.empty() ? "" : " (its last line: " + error + ")";
  return "film " + ending.Describe() + last;
}

std::string FilmProcess::Finish() {
  Flush();
  CloseInput();
  if (isHung_) process_->Signal(SIGKILL);
  reader_.join();
  const auto ending = process_->AwaitEnd(END_PATIENCE);
  return ending ? DescribeEnd(*ending) : "film did not end";
}

}  // namespace host::report
