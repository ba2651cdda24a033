#include "bench/exhaustive/chunk_run.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <new>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace exhaustive {
namespace {

constexpr std::uint64_t CHUNK = std::uint64_t(1) << 22U;
constexpr std::size_t MOST_CHECKS = 64;

// What the workers share; in memory that they inherit.
struct shared_t {
  std::atomic<std::uint64_t> next{0};  // index of the next chunk in the list of all
  std::atomic<std::uint64_t> compared{0};
  std::array<std::atomic<std::uint64_t>, MOST_CHECKS> differences{};
};

struct chunk_t {
  std::size_t check = 0;
  std::uint64_t first = 0, last = 0;
};

std::string LineOf(const check_t& check, const chunk_t& chunk, std::uint64_t differences) {
  return check.name + " " + std::to_string(chunk.first) + " " + std::to_string(chunk.last) + " " +
         std::to_string(differences);
}

// The chunks that are left, and through `shared` the differences of those that are done.
std::vector<chunk_t> ListChunks(const std::vector<check_t>& checks, const std::string& stateFile,
                                shared_t& shared) {
  std::set<std::string> done;
  std::ifstream stream(stateFile);
  for (std::string line; std::getline(stream, line);) done.insert(line);
  std::vector<chunk_t> chunks;
  for (std::size_t i = 0; i < checks.size(); ++i) {
    for (std::uint64_t first = 0; first < checks[i].cases; first += CHUNK) {
      const chunk_t chunk{i, first, std::min(first + CHUNK, checks[i].cases)};
      const std::string begin = LineOf(checks[i], chunk, 0);
      const std::string key = begin.substr(0, begin.size() - 1);
      const auto found = done.lower_bound(key);
      if (found == done.end() || !found->starts_with(key)) {
        chunks.push_back(chunk);
        continue;
      }
      shared.differences.at(i) += std::stoull(found->substr(key.size()));
      shared.compared += chunk.last - chunk.first;
    }
  }
  return chunks;
}

void PrintDifference(const check_t& check, const difference_t& difference) {
  const std::string line = check.name + " " + difference.value + ": expected \"" + difference.expected +
                           "\", got \"" + difference.got + "\"\n";
  static_cast<void>(std::fwrite(line.data(), 1, line.size(), stdout));
  static_cast<void>(std::fflush(stdout));
}

// One write a line: the workers append to the same file.
void NoteDone(int file, const std::string& line) {
  if (file < 0) return;
  const std::string text = line + "\n";
  if (write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::runtime_error(std::string("the state file cannot be written: ") + std::strerror(errno));
  }
}

void Work(const std::vector<check_t>& checks, const std::vector<chunk_t>& chunks, shared_t& shared,
          int stateFile) {
  while (true) {
    const std::uint64_t index = shared.next++;
    if (index >= chunks.size()) return;
    const chunk_t& chunk = chunks[index];
    const check_t& check = checks[chunk.check];
    std::uint64_t differences = 0;
    check.run(chunk.first, chunk.last, [&](const difference_t& difference) {
      ++differences;
      if (++shared.differences.at(chunk.check) <= MOST_PRINTED) PrintDifference(check, difference);
    });
    shared.compared += chunk.last - chunk.first;
    NoteDone(stateFile, LineOf(check, chunk, differences));
  }
}

pid_t StartWorker(const std::vector<check_t>& checks, const std::vector<chunk_t>& chunks, shared_t& shared,
                  int stateFile) {
  static_cast<void>(std::fflush(nullptr));
  const pid_t child = fork();
  if (child != 0) return child;
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // no worker goes on without its parent
  try {
    Work(checks, chunks, shared, stateFile);
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    _exit(1);
  }
  _exit(0);
}

void PrintProgress(std::uint64_t compared, std::uint64_t all, std::chrono::steady_clock::time_point begin) {
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  const double part = static_cast<double>(compared) / static_cast<double>(all);
  static_cast<void>(std::fprintf(stderr, "\r%5.1f %%  %.3e of %.3e compared in %.0f s ", 100 * part,
                                 static_cast<double>(compared), static_cast<double>(all), seconds));
}

// The number of workers that failed.
std::uint64_t WaitFor(std::vector<pid_t> workers, const std::function<void()>& tell) {
  using namespace std::chrono_literals;
  std::uint64_t failed = 0;
  while (!workers.empty()) {
    std::erase_if(workers, [&](pid_t worker) {
      int status = 0;
      if (worker > 0 && waitpid(worker, &status, WNOHANG) == 0) return false;
      failed += worker > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0U : 1U;
      return true;
    });
    tell();
    std::this_thread::sleep_for(100ms);
  }
  return failed;
}

struct memory_t {
  memory_t()
      : shared(new (mmap(nullptr, sizeof(shared_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
                   shared_t) {}
  ~memory_t() { munmap(shared, sizeof(shared_t)); }
  memory_t(const memory_t&) = delete;
  memory_t& operator=(const memory_t&) = delete;
  shared_t* shared;
};

}  // namespace

std::uint64_t RunChecks(const std::vector<check_t>& checks, const run_options_t& options) {
  const memory_t memory;
  shared_t& shared = *memory.shared;
  const std::vector<chunk_t> chunks = ListChunks(checks, options.stateFile, shared);
  const int stateFile = options.stateFile.empty()
                            ? -1
                            : open(options.stateFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (!options.stateFile.empty() && stateFile < 0) {
    throw std::runtime_error(options.stateFile + ": " + std::strerror(errno));
  }
  std::uint64_t all = 0;
  for (const check_t& check : checks) all += check.cases;
  const auto begin = std::chrono::steady_clock::now();
  const unsigned count =
      options.workers != 0 ? options.workers : std::max(1U, std::thread::hardware_concurrency());
  std::vector<pid_t> workers;
  for (unsigned i = 0; i < count; ++i) workers.push_back(StartWorker(checks, chunks, shared, stateFile));
  std::uint64_t total = WaitFor(std::move(workers), [&] {
    if (options.progress) PrintProgress(shared.compared, all, begin);
  });
  if (options.progress) static_cast<void>(std::fputc('\n', stderr));
  if (stateFile >= 0) close(stateFile);
  if (total != 0) std::printf("%llu workers failed\n", static_cast<unsigned long long>(total));
  for (std::size_t i = 0; i < checks.size(); ++i) {
    const std::uint64_t differences = shared.differences.at(i);
    std::printf("%-28s %13llu compared, differences: %llu\n", checks[i].name.c_str(),
                static_cast<unsigned long long>(checks[i].cases), static_cast<unsigned long long>(differences));
    total += differences;
  }
  return total;
}

std::vector<std::uint64_t> DrawSample(std::uint64_t cases, std::size_t amount, std::uint64_t seed) {
  std::mt19937_64 chance(seed);
  std::uniform_int_distribution<std::uint64_t> any(0, cases - 1);
  std::vector<std::uint64_t> sample(amount);
  std::ranges::generate(sample, [&] { return any(chance); });
  return sample;
}

}  // namespace exhaustive
