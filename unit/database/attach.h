// The database as the other services of the unit see it.
#pragma once

#include <chrono>
#include <mutex>
#include <optional>
#include <shared_mutex>

namespace unit {

// The database while a service reads it; any number of threads may have one. Attaches this process to it, and
// to another one as soon as that has taken its place: an owner that was started again has made it anew, and the
// old one would be read for ever.
class DatabaseView {
 public:
  static constexpr std::chrono::milliseconds LOOK_PERIOD{500};

  DatabaseView();
  // Which database this is: 0 where there is none, else another number for each one that was attached to.
  unsigned Number() const;

 private:
  std::shared_lock<std::shared_mutex> lock_;  // no other is attached to while it is held
};

// Notices that another database than before is there: who still has the old one writes for nobody. One thread.
class DatabaseWatch {
 public:
  // True once for each that took an earlier one's place, or came where there was none.
  bool WasReplaced();

 private:
  unsigned number_ = DatabaseView().Number();
};

// Attaches this process to the parameter database, once however often it is called, waiting at most
// `timeout_ms` for its owner to make it. False when there is none.
bool AttachDatabase(int timeout_ms);

// A parameter's value; empty where it is not valid. The caller holds a DatabaseView whose Number() is not 0.
std::optional<double> ReadParameterValue(unsigned handle);

}  // namespace unit
