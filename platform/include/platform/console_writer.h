// Printing without waiting for the console: a thread of its own writes the lines of this process.
#pragma once

#include <chrono>
#include <cstdio>
#include <string>
#include <string_view>

namespace platform {

// How long the end of a process waits for a console that does not take its lines.
constexpr std::chrono::milliseconds CONSOLE_DRAIN{500};

// From construction on, the lines of PrintLine, and all that std::cout, std::cerr and std::clog are given, go
// through one LineQueue. A detached thread writes them in their order to the descriptors 1 and 2, so that a
// console that nobody reads (Ctrl-S, a full pipe) stops that thread and no other. A line that a stream refuses
// (closed, disk full, reader gone) is lost without a report.
//
// One object a process at a time, made by `main` before it starts other threads. The destructor waits
// CONSOLE_DRAIN at most. Where lines are left then, the process goes on with the queue, so that none of its
// last lines waits for the console either; else lines are written directly again.
//
// An uncaught exception ends the process as before, after its lines are written.
class ConsoleWriter {
 public:
  // The console's own lines begin with `program`.
  explicit ConsoleWriter(std::string program);
  ~ConsoleWriter();
  ConsoleWriter(const ConsoleWriter&) = delete;
  ConsoleWriter& operator=(const ConsoleWriter&) = delete;
};

// Prints a line to `stream`, stdout or stderr. Lines of several threads do not mix. With a ConsoleWriter it
// takes a short lock and does not block; without one it writes the line and its end in one call and flushes the
// stream. Any thread, but not from a signal handler.
void PrintLine(std::FILE* stream, std::string_view line);

// The same from a signal handler, to standard output: `line` is a text with its end that lasts as long as the
// process. It is written before the next line that a thread prints. Of several signals before that line, the
// first one's line is written and the others are dropped.
void PrintFromHandler(const char* line);

// Waits until all lines are written, or `limit` is over; then the result is false. For a process that ends with
// _exit or gives its console to a child.
bool DrainConsole(std::chrono::milliseconds limit = CONSOLE_DRAIN);

}  // namespace platform
