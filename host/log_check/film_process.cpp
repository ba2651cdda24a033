#include "host/log_check/film_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include "base/children/child_process.h"
#include "base/descriptor.h"
#include "host/protocol/errors.h"

namespace host::log_check {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::minutes PATIENCE{2};
constexpr int SLICE_MS = 100;  // between two looks at the stop signal

void SetNonBlocking(int descriptor) {
  ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
}

class FilmProcess {
 public:
  FilmProcess(const film_program_t& film, const std::string& page);
  bool Run(const next_line_t& nextLine, const on_film_line_t& onLine, const StopSignal& stop);

 private:
  void FillInput(const next_line_t& nextLine);
  bool Feed();
  bool DrainOutput(const on_film_line_t& onLine);
  void Wait();

  base::Descriptor input_;  // -1: the log has ended
  base::Descriptor output_;
  base::Descriptor errors_;  // a file in memory
  std::optional<base::ChildProcess> film_;
  std::string unsent_;
  std::string unread_;
};

FilmProcess::FilmProcess(const film_program_t& film, const std::string& page)
    : errors_(::memfd_create("film", MFD_CLOEXEC)) {
  base::pipe_t input = base::MakePipe();
  base::pipe_t output = base::MakePipe();
  base::child_plan_t plan{.arguments = {film.program, "--config", film.configFolder},
                          .variables = {"TMPDIR=" + film.tempFolder},
                          .input = input.reading.Get(),
                          .output = output.writing.Get(),
                          .errors = errors_.Get()};
  if (!page.empty()) plan.arguments.insert(plan.arguments.end(), {"--page", page});
  film_.emplace(plan);
  input_ = std::move(input.writing);
  output_ = std::move(output.reading);
  SetNonBlocking(input_.Get());
  SetNonBlocking(output_.Get());
}

void FilmProcess::FillInput(const next_line_t& nextLine) {
  constexpr std::size_t ENOUGH = 32'768;
  while (input_.Get() >= 0 && unsent_.size() < ENOUGH) {
    const auto line = nextLine();
    if (line) {
      unsent_ += *line;
    } else if (unsent_.empty()) {
      input_ = base::Descriptor();
    } else {
      return;
    }
  }
}

// A film that has died does not read: its output then ends, too.
bool FilmProcess::Feed() {
  const ssize_t sent = ::write(input_.Get(), unsent_.data(), unsent_.size());
  if (sent > 0) unsent_.erase(0, static_cast<std::size_t>(sent));
  if (sent < 0 && errno != EAGAIN && errno != EINTR) input_ = base::Descriptor();
  return sent > 0;
}

// False at the end.
bool FilmProcess::DrainOutput(const on_film_line_t& onLine) {
  std::array<char, 65'536> bytes{};
  const ssize_t size = ::read(output_.Get(), bytes.data(), bytes.size());
  if (size < 0) return errno == EAGAIN || errno == EINTR;
  unread_.append(bytes.data(), static_cast<std::size_t>(size));
  std::size_t begin = 0;
  for (std::size_t end = unread_.find('\n'); end != std::string::npos; end = unread_.find('\n', begin)) {
    onLine(std::string_view(unread_).substr(begin, end - begin));
    begin = end + 1;
  }
  unread_.erase(0, begin);
  return size > 0;
}

void FilmProcess::Wait() {
  const auto ending = film_->AwaitEnd(PATIENCE);
  if (!ending) throw Failure("the film does not end; it was ended");
  if (ending->IsCrash()) throw Failure("the display " + ending->Describe());
  if (!ending->IsSuccess()) throw Failure("no film: " + base::ReadLastLine(errors_.Get()));
}

bool FilmProcess::Run(const next_line_t& nextLine, const on_film_line_t& onLine, const StopSignal& stop) {
  auto alive = Clock::now();
  for (;;) {
    if (stop.Stopped()) return false;
    FillInput(nextLine);
    std::array<pollfd, 2> waits{{{output_.Get(), POLLIN, 0}, {input_.Get(), POLLOUT, 0}}};
    const int ready = ::poll(waits.data(), waits.size(), SLICE_MS);
    bool goesOn = false;
    if (ready > 0 && waits[1].revents != 0) goesOn = Feed();
    if (ready > 0 && waits[0].revents != 0) {
      goesOn = true;
      if (!DrainOutput(onLine)) break;
    }
    if (goesOn) alive = Clock::now();
    if (Clock::now() > alive + PATIENCE) throw Failure("the film does not go on; it was ended");
  }
  Wait();
  return true;
}

}  // namespace

bool RunFilm(const film_program_t& film, const std::string& page, const next_line_t& nextLine,
             const on_film_line_t& onLine, const StopSignal& stop) {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));  // of a film that has died
  return FilmProcess(film, page).Run(nextLine, onLine, stop);
}

}  // namespace host::log_check
