#include "host/report/film_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/installation.h"
#include "host/protocol/errors.h"

namespace host::report {
namespace {

constexpr std::size_t BATCH = 32'768;  // bytes; half a pipe

struct pipe_ends_t {
  int read = -1;
  int write = -1;
};

pipe_ends_t MakePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0)
    throw Failure(std::string("cannot make a pipe: ") + std::strerror(errno));
  return {ends[0], ends[1]};
}

// film gets the descriptors as its standard ones, a process group of its own, so that Ctrl-C in the terminal
// does not end it before this program, and signals as usual.
pid_t StartFilm(const film_plan_t& plan, int input, int output, int errors) {
  std::vector<std::string> words = {base::ProgramFolder() + "/film"};
  if (!plan.config.empty()) words.insert(words.end(), {"--config", plan.config});
  if (!plan.page.empty()) words.insert(words.end(), {"--page", plan.page});
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&files, errors, STDERR_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t usual;
  sigfillset(&usual);
  posix_spawnattr_setsigdefault(&attributes, &usual);
  posix_spawnattr_setpgroup(&attributes, 0);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  pid_t process = -1;
  const int error = ::posix_spawn(&process, arguments[0], &files, &attributes, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  posix_spawnattr_destroy(&attributes);
  if (error != 0) {
    throw Failure("cannot start " + words[0] + ", which shows what the display did: " + std::strerror(error) +
                  "; build the target film");
  }
  return process;
}

// Lets film remove its folder and its database.
void AwaitEnd(pid_t process) {
  constexpr int END_MS = 5'000;
  const auto descriptor = static_cast<int>(::syscall(SYS_pidfd_open, process, 0));
  if (descriptor < 0) return;
  pollfd entry{descriptor, POLLIN, 0};
  ::poll(&entry, 1, END_MS);
  ::close(descriptor);
}

}  // namespace

FilmProcess::FilmProcess(const film_plan_t& plan, std::function<void(std::string_view)> onRecord) {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));  // a film that died is told by write
  const pipe_ends_t lines = MakePipe();
  const pipe_ends_t records = MakePipe();
  input_ = lines.write;
  output_ = records.read;
  errors_ = ::memfd_create("film", MFD_CLOEXEC);
  process_ = StartFilm(plan, lines.read, records.write, errors_);
  ::close(lines.read);
  ::close(records.write);
  ::fcntl(input_, F_SETFL, O_NONBLOCK);
  reader_ = std::thread([this, onRecord = std::move(onRecord)] { ReadRecords(onRecord); });
}

FilmProcess::~FilmProcess() {
  CloseInput();
  if (process_ > 0) {
    if (!isHung_) AwaitEnd(process_);
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
  if (reader_.joinable()) reader_.join();
  ::close(output_);
  ::close(errors_);
}

void FilmProcess::ReadRecords(const std::function<void(std::string_view)>& onRecord) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(::fdopen(::dup(output_), "r"), std::fclose);
  char* line = nullptr;
  std::size_t room = 0;
  for (ssize_t size = 0; (size = ::getline(&line, &room, file.get())) > 0;) {
    const std::string_view record(line, static_cast<std::size_t>(size));
    if (record.back() == '\n') onRecord(record.substr(0, record.size() - 1));
  }
  std::free(line);  // getline's
}

void FilmProcess::CloseInput() {
  if (input_ >= 0) ::close(input_);
  input_ = -1;
}

void FilmProcess::Write(std::string_view line, std::int64_t time_ms) {
  if (input_ < 0) return;
  lines_ += line;
  lines_ += '\n';
  linesTime_ms_ = time_ms;
  if (lines_.size() >= BATCH) Flush();
}

// Returns false when film is gone or hung.
bool FilmProcess::WaitToWrite() {
  const auto gap_ms = (linesTime_ms_ - writtenTime_ms_) / GAP_SHARE;
  const auto wait_ms = std::chrono::milliseconds(PATIENCE).count() + gap_ms;
  pollfd entry{input_, POLLOUT, 0};
  const int ready = ::poll(&entry, 1, static_cast<int>(std::min<std::int64_t>(wait_ms, 1'000'000'000)));
  if (ready < 0 && errno == EINTR) return true;
  isHung_ = ready == 0;
  return ready > 0;
}

void FilmProcess::Flush() {
  std::string_view rest = lines_;
  while (!rest.empty() && input_ >= 0) {
    const ssize_t size = ::write(input_, rest.data(), rest.size());
    if (size > 0) {
      rest.remove_prefix(static_cast<std::size_t>(size));
    } else if (errno != EINTR && (errno != EAGAIN || !WaitToWrite())) {
      CloseInput();
    }
  }
  lines_.clear();
  writtenTime_ms_ = linesTime_ms_;
}

std::string FilmProcess::LastError() const {
  std::string text(4096, '\0');
  const off_t size = ::lseek(errors_, 0, SEEK_END);
  const auto begin = std::max<off_t>(0, size - static_cast<off_t>(text.size()));
  const ssize_t read = ::pread(errors_, text.data(), text.size(), begin);
  text.resize(read > 0 ? static_cast<std::size_t>(read) : 0);
  while (!text.empty() && text.back() == '\n') text.pop_back();
  const std::size_t line = text.rfind('\n');
  return line == std::string::npos ? text : text.substr(line + 1);
}

std::string FilmProcess::DescribeEnd(int status) const {
  if (isHung_) return "film took no more lines and was stopped";
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return "";
  const std::string error = LastError();
  const std::string last = error.empty() ? "" : " (its last line: " + error + ")";
  if (WIFSIGNALED(status)) return std::string("film crashed: ") + ::strsignal(WTERMSIG(status)) + last;
  return "film failed with status " + std::to_string(WEXITSTATUS(status)) + last;
}

std::string FilmProcess::Finish() {
  Flush();
  CloseInput();
  if (isHung_) ::kill(process_, SIGKILL);
  reader_.join();
  int status = 0;
  while (::waitpid(process_, &status, 0) < 0 && errno == EINTR) continue;
  process_ = -1;
  return DescribeEnd(status);
}

}  // namespace host::report
