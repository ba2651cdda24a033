#include "unit/database/database_service.h"

#include <atomic>
#include <bit>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <iostream>
#include <limits>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <unordered_map>

#include "platform/messages.h"
#include "platform/threads.h"

#include "base/line_limiter.h"
#include "src/services/dbshm.h"
#include "unit/database/attach.h"
#include "unit/database/database_owner.h"
#include "unit/health/notify_link.h"
#include "unit/service/database_change.h"
#include "unit/service/liveness.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

constexpr int PULSE_CHANGED = 0;  // a client wrote a value; the pulse has the handle
constexpr int PULSE_STOP = 1;     // from the service itself
constexpr auto LOOK_PERIOD = 250ms;

class DatabaseService : public Service {
 public:
  explicit DatabaseService(const options_t& options) : file_(options.configDirectory + "/parameters.xml") {}
  ~DatabaseService() override { DatabaseService::Stop(); }

  void Start() override;
  void Stop() override;
  status_t GetStatus() const override;

 private:
  // A parameter whose changes are published, and the bits of the value that was published last.
  struct watched_t {
    unsigned handle;
    std::optional<std::uint64_t> published;
  };

  void Watch();
  void Serve();
  void EndServing();
  void ServePulses();
  void AcceptChange(unsigned handle);
  void LookAround();
  void PublishMissed();
  void MakeAnew();
  bool PublishChange(watched_t& watched);

  const std::string file_;
  std::vector<parameter_t> parameters_;
  // Used by Start and Stop, and between them by the looker.
  int chid_ = -1;  // receives the pulses of the database's clients
  int self_ = -1;  // connection to it
  base::LineLimiter complaints_;
  std::thread server_;
  std::thread looker_;
  std::atomic<bool> serving_{false};
  std::atomic<bool> up_{false};
  NotifyLink link_;

  std::mutex watchedMutex_;  // guards the two below
  std::vector<watched_t> watched_;
  std::unordered_map<unsigned, std::size_t> byHandle_;

  std::mutex stopMutex_;  // guards stopping_
  bool stopping_ = false;
  std::condition_variable stopped_;

  std::atomic<std::uint64_t> pulses_{0};
  std::atomic<std::uint64_t> unknownPulses_{0};
  std::atomic<std::uint64_t> published_{0};
  std::atomic<std::uint64_t> missed_{0};  // changes without a pulse
  std::atomic<std::uint64_t> made_{1};    // databases, one after the other
};

void DatabaseService::Start() {
  parameters_ = ReadParameterFile(file_);
  Watch();
  Serve();
  stopping_ = false;
  looker_ = std::thread([this] { LookAround(); });
}

// Makes the database and starts the thread that serves its channel.
void DatabaseService::Serve() {
  MakeAttachedDatabase(parameters_);
  chid_ = DBSHM::getChid();
  self_ = ConnectAttach(0, 0, chid_, _NTO_SIDE_CHANNEL, 0);
  if (self_ < 0) {
    const int error = errno;
    RemoveDatabase();
    throw std::runtime_error(std::string("cannot connect to its own channel: ") + std::strerror(error));
  }
  serving_ = true;
  up_ = true;
  server_ = std::thread([this] { ServePulses(); });
}

void DatabaseService::EndServing() {
  if (!server_.joinable()) return;
  serving_ = false;
  // A channel without room for this pulse has others, which wake the thread; it then finds serving_ cleared.
  MsgSendPulse(self_, getprio(0), PULSE_STOP, 0);
  server_.join();
  ConnectDetach(self_);
  self_ = -1;
}

void DatabaseService::Watch() {
  for (const parameter_t& parameter : parameters_) {
    if (!parameter.notify) continue;
    byHandle_.emplace(parameter.handle, watched_.size());
    watched_.push_back({parameter.handle, std::nullopt});
  }
}

void DatabaseService::Stop() {
  if (!looker_.joinable()) return;
  {
    const std::lock_guard lock(stopMutex_);
    stopping_ = true;
  }
  stopped_.notify_all();
  looker_.join();
  EndServing();
  RemoveDatabase();
}

status_t DatabaseService::GetStatus() const {
  return {.name = "database",
          .up = up_,
          .detail = {},
          .counters = {{"parameters", parameters_.size()},
                       {"made", made_},
                       {"pulses", pulses_},
                       {"pulses.unknown", unknownPulses_},
                       {"published", published_},
                       {"missed", missed_}}};
}

void DatabaseService::ServePulses() {
  platform::NameThread("database");
  platform::RaiseThread();
  Liveness liveness("database");
  while (serving_) {
    _pulse pulse{};
    liveness.Rest();
    const int rcvid = MsgReceive(chid_, &pulse, sizeof pulse, nullptr);
    liveness.Note();
    if (rcvid > 0) {
      MsgError(rcvid, ENOSYS);  // clients read and write the shared memory; there are no messages
    } else if (rcvid == 0) {
      if (pulse.code == PULSE_CHANGED) AcceptChange(static_cast<unsigned>(pulse.value.sival_int));
    } else if (errno != EINTR) {
      std::cerr << "database: cannot receive any more: " << std::strerror(errno) << std::endl;
      break;
    }
  }
  up_ = false;
}

void DatabaseService::AcceptChange(unsigned handle) {
  ++pulses_;
  const std::lock_guard lock(watchedMutex_);
  const auto found = byHandle_.find(handle);
  if (found == byHandle_.end()) {
    ++unknownPulses_;
  } else {
    PublishChange(watched_[found->second]);
  }
}

// Finds the changes that no pulse reported: one that found the channel full is lost, and a value that expires
// sends none. Makes the database anew when its object is damaged.
void DatabaseService::LookAround() {
  platform::NameThread("database look");
  Liveness liveness("database look");
  std::unique_lock lock(stopMutex_);
  while (!stopped_.wait_for(lock, LOOK_PERIOD, [this] { return stopping_; })) {
    lock.unlock();
    liveness.Note();
    if (IsDatabaseWhole()) {
      PublishMissed();
    } else {
      MakeAnew();
    }
    lock.lock();
  }
}

void DatabaseService::PublishMissed() {
  for (watched_t& watched : watched_) {
    const std::lock_guard guard(watchedMutex_);
    const bool isChange = watched.published.has_value();  // false: the value is published for the first time
    if (PublishChange(watched) && isChange) ++missed_;
  }
}

// A session manager that removes the shared memory of a user who logs out, or another program, took the object
// away or wrote into it. Its clients find the new one by themselves, and the application is started again.
void DatabaseService::MakeAnew() {
  if (up_.exchange(false)) {
    std::cerr << "database: its shared object was removed or damaged; making it anew" << std::endl;
  }
  EndServing();
  try {
    Serve();
    ++made_;
  } catch (const std::runtime_error& error) {
    if (const auto line = complaints_.Note(error.what(), std::chrono::steady_clock::now())) {
      std::cerr << "database: " + *line + "\n" << std::flush;
    }
  }
  const std::lock_guard guard(watchedMutex_);
  for (watched_t& watched : watched_) watched.published.reset();
}

// Publishes the value unless it was published last; true when it did. A parameter without a valid value is
// published as NaN. Where the manager refuses the message, LookAround tries again.
bool DatabaseService::PublishChange(watched_t& watched) {
  const double value = ReadParameterValue(watched.handle).value_or(std::numeric_limits<double>::quiet_NaN());
  if (watched.published == std::bit_cast<std::uint64_t>(value)) return false;
  const auto message = WriteDatabaseChange({watched.handle, value});
  if (!link_.Publish(DATABASE_CHANNEL_NAME, std::span<const std::uint8_t>(message))) return false;
  watched.published = std::bit_cast<std::uint64_t>(value);
  ++published_;
  return true;
}

}  // namespace

std::unique_ptr<Service> MakeDatabaseService(const options_t& options) {
  return std::make_unique<DatabaseService>(options);
}

}  // namespace unit
