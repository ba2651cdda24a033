#include "host/log_check/film_process.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/descriptor.h"
#include "host/protocol/errors.h"

namespace host::log_check {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::minutes PATIENCE{2};
constexpr int SLICE_MS = 100;  // between two looks at the stop signal

struct pipe_t {
  base::Descriptor read;
  base::Descriptor write;
};

pipe_t MakePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw Failure("cannot make a pipe to film; too many open files?");
  return {base::Descriptor(ends[0]), base::Descriptor(ends[1])};
}

void SetNonBlocking(int descriptor) {
  ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
}

std::vector<char*> Pointers(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> Environment(const std::string& tempFolder) {
  std::vector<std::string> words;
  for (char** word = environ; *word != nullptr; ++word) {
    if (!std::string_view(*word).starts_with("TMPDIR=")) words.emplace_back(*word);
  }
  words.push_back("TMPDIR=" + tempFolder);
  return words;
}

class FilmProcess {
 public:
  FilmProcess(const film_program_t& film, const std::string& page);
  ~FilmProcess();
  FilmProcess(const FilmProcess&) = delete;
  FilmProcess& operator=(const FilmProcess&) = delete;

  bool Run(const next_line_t& nextLine, const on_film_line_t& onLine, const StopSignal& stop);

 private:
  void Start(std::vector<std::string> words, std::vector<std::string> environment, int input, int output);
  void FillInput(const next_line_t& nextLine);
  bool Feed();
  bool DrainOutput(const on_film_line_t& onLine);
  void Wait();
  std::string LastWords() const;

  pid_t pid_ = -1;
  base::Descriptor input_;  // -1: the log has ended
  base::Descriptor output_;
  base::Descriptor errors_;
  std::string unsent_;
  std::string unread_;
};

FilmProcess::FilmProcess(const film_program_t& film, const std::string& page)
    : errors_(::memfd_create("film", MFD_CLOEXEC)) {
  pipe_t input = MakePipe();
  pipe_t output = MakePipe();
  std::vector<std::string> words = {film.program, "--config", film.configFolder};
  if (!page.empty()) words.insert(words.end(), {"--page", page});
  Start(std::move(words), Environment(film.tempFolder), input.read.Get(), output.write.Get());
  input_ = std::move(input.write);
  output_ = std::move(output.read);
  SetNonBlocking(input_.Get());
  SetNonBlocking(output_.Get());
}

// In a process group of its own: Ctrl-C is for this program, which then ends the film.
void FilmProcess::Start(std::vector<std::string> words, std::vector<std::string> environment, int input,
                        int output) {
  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  ::posix_spawn_file_actions_adddup2(&actions, errors_.Get(), STDERR_FILENO);
  sigset_t defaults;
  ::sigemptyset(&defaults);
  for (const int signal : {SIGPIPE, SIGINT, SIGTERM}) ::sigaddset(&defaults, signal);
  ::posix_spawnattr_init(&attributes);
  ::posix_spawnattr_setsigdefault(&attributes, &defaults);
  ::posix_spawnattr_setpgroup(&attributes, 0);
  ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  const int error = ::posix_spawn(&pid_, words[0].c_str(), &actions, &attributes, Pointers(words).data(),
                                  Pointers(environment).data());
  ::posix_spawnattr_destroy(&attributes);
  ::posix_spawn_file_actions_destroy(&actions);
  if (error == 0) return;
  pid_ = -1;
  throw Failure("cannot start " + words[0] + "; is it built?");
}

FilmProcess::~FilmProcess() {
  if (pid_ < 0) return;
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
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

std::string FilmProcess::LastWords() const {
  std::array<char, 4096> text{};
  const off_t size = ::lseek(errors_.Get(), 0, SEEK_END);
  const off_t from = std::max<off_t>(0, size - static_cast<off_t>(text.size()));
  const ssize_t read = ::pread(errors_.Get(), text.data(), text.size(), from);
  std::string_view words(text.data(), static_cast<std::size_t>(std::max<ssize_t>(read, 0)));
  while (words.ends_with('\n')) words.remove_suffix(1);
  const std::size_t line = words.rfind('\n');
  return std::string(line == std::string_view::npos ? words : words.substr(line + 1));
}

void FilmProcess::Wait() {
  int status = 0;
  ::waitpid(pid_, &status, 0);
  pid_ = -1;
  if (WIFSIGNALED(status)) throw Failure("the display died of signal " + std::to_string(WTERMSIG(status)));
  if (WEXITSTATUS(status) != 0) throw Failure("no film: " + LastWords());
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
