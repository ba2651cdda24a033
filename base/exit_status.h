// The exit status of every command of `unit` and `hx7`. The same fault gives the same status in all of them.
#pragma once

namespace base {

enum exit_status_t : int {
  EXIT_DONE = 0,
  // What was asked for did not come about: a part died, two logs differ, an expectation failed, no unit runs.
  EXIT_FAILED = 1,
  // Refused before anything began: a word that is no command, an address, a file that cannot be read or parsed.
  EXIT_CALLED_WRONGLY = 2,
  // Stopped by a signal before it could tell.
  EXIT_INTERRUPTED = 3,
};

}  // namespace base
