// The console's thread with a real pipe in place of the terminal.
#include "platform/console_writer.h"

#include <array>
#include <climits>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using platform::ConsoleWriter;
using platform::PrintLine;

// More than the pipe and the queue hold.
constexpr int MANY = 20000;
constexpr const char* LINE = "Orvik: a line of the usual length, about the number ";

// A pipe as standard output and standard error, for a scope.
class PipeConsole {
 public:
  PipeConsole() {
    std::cout << std::flush;
    static_cast<void>(std::fflush(stdout));
    if (pipe2(ends_.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
      saved_.at(static_cast<std::size_t>(stream)) = dup(stream);
      dup2(ends_[1], stream);
    }
    close(ends_[1]);
  }
  ~PipeConsole() {
    Restore();
    CloseReader();
  }
  PipeConsole(const PipeConsole&) = delete;
  PipeConsole& operator=(const PipeConsole&) = delete;

  void CloseReader() { close(std::exchange(ends_[0], -1)); }
  // Waits for the next line.
  std::string ReadLine() const {
    std::string line;
    for (char c = 0; read(ends_[0], &c, 1) == 1 && c != '\n';) line += c;
    return line;
  }

 private:
  void Restore() {
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
      dup2(saved_.at(static_cast<std::size_t>(stream)), stream);
      close(saved_.at(static_cast<std::size_t>(stream)));
    }
  }

  std::array<int, 2> ends_{-1, -1};
  std::array<int, 3> saved_{};
};

// Reads until each of MANY lines was read in its place or reported as lost. Returns how many were lost.
int ReadAll(const PipeConsole& console) {
  int lost = 0;
  for (int next = 0; next < MANY;) {
    const std::string line = console.ReadLine();
    int gap = 0;
    if (std::sscanf(line.c_str(), "Orvik: %d lines lost: the console was not read", &gap) ==
        1) {  // NOLINT(cert-err34-c)
      lost += gap;
      next += gap;
    } else if (line != LINE + std::to_string(next++)) {
      ADD_FAILURE() << line << " in place of " << next - 1;
      break;
    }
  }
  return lost;
}

TEST(ConsoleWriterTest, NeverHoldsUpAThreadThatPrints) {
  const PipeConsole console;
  const ConsoleWriter writer("Orvik");
  for (int i = 0; i < MANY; ++i) PrintLine(stdout, LINE + std::to_string(i));
  EXPECT_GT(ReadAll(console), 0);
  PrintLine(stderr, "after it");
  EXPECT_EQ(console.ReadLine(), "after it");
}

TEST(ConsoleWriterTest, WritesLinesOfStreamsAndHandlersInTheirOrder) {
  PipeConsole console;
  {
    const ConsoleWriter writer("Orvik");
    std::cout << "one, " << 1 << std::endl;
    std::cerr << "two\nthree\n";
    const auto before = std::signal(
        SIGUSR2, [](int) { platform::PrintFromHandler("from the handler\n"); });  // NOLINT(cert-msc54-cpp)
    static_cast<void>(raise(SIGUSR2));
    static_cast<void>(std::signal(SIGUSR2, before));
    PrintLine(stdout, "four");
    std::cout << "without an end";
  }
  PrintLine(stdout, ", written directly");
  for (const char* expected :
       {"one, 1", "two", "three", "from the handler", "four", "without an end, written directly"}) {
    EXPECT_EQ(console.ReadLine(), expected);
  }
}

TEST(ConsoleWriterTest, OutlivesItsReader) {
  PipeConsole console;
  console.CloseReader();
  const ConsoleWriter writer("Orvik");
  for (int i = 0; i < MANY; ++i) PrintLine(stdout, LINE + std::to_string(i));
  EXPECT_TRUE(platform::DrainConsole(std::chrono::seconds(20)));
}

TEST(ConsoleWriterTest, WritesTheLinesBeforeAnUncaughtException) {
  const auto end = [] {
    const ConsoleWriter writer("Orvik");
    for (int i = 0; i < 500; ++i) PrintLine(stderr, "line " + std::to_string(i));
    std::terminate();
  };
  EXPECT_DEATH(end(), "line 499");
}

TEST(ConsoleWriterTest, EndsAProcessWhoseConsoleNobodyReads) {
  const auto end = [] {
    const PipeConsole console;
    {
      const ConsoleWriter writer("Orvik");
      for (int i = 0; platform::DrainConsole(); ++i) {
        PrintLine(stdout, LINE + std::to_string(i));  // until the pipe is full
      }
    }
    const std::string last(PIPE_BUF, 'x');  // a shorter one may fit into the pipe's last page
    PrintLine(stdout, last);
    std::cerr << last + "\n";
    std::exit(3);
  };
  EXPECT_EXIT(end(), testing::ExitedWithCode(3), "");
}

}  // namespace
