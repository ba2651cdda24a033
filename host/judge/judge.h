// Judges a scenario's expectations while the crane goes on: asks the panel what its screen shows, and listens
// to the display's replies.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host/judge/expectation.h"
#include "host/judge/judgement.h"

namespace judge {

struct judge_options_t {
  std::string resultsFolder;   // empty: none. Gets RESULTS_FILE, and a picture line-NUMBER.png for each failure
  bool writePictures = false;  // writes the pictures of `expect picture` instead of comparing them
};

// An expectation is fulfilled as soon as it is true. It has failed when its time has passed on both clocks, the
// crane's and the real one: a crane that runs slower than time takes longer to move, and a display on a crane
// that runs faster does not draw faster. What the display shows is asked for once more after that time, so that
// `within 0` is what it shows at the line's own time.
class Judge {
 public:
  static constexpr std::size_t MOST_WAITING = 1000;

  explicit Judge(judge_options_t options) : options_(std::move(options)) {}
  ~Judge();
  Judge(const Judge&) = delete;
  Judge& operator=(const Judge&) = delete;

  // The four are called by the thread that runs the crane, and do not block. One expectation more than
  // MOST_WAITING fails at once.
  void Expect(const expectation_t& expectation, const expectation_place_t& place, std::int64_t now_ms);
  void SetCraneTime(std::int64_t now_ms) { crane_ms_ = now_ms; }
  void AcceptReply(const host::decoded_t& reply);
  // Forgets the expectations that wait, of a scenario that is not played any more.
  void DropAll();

  // Any thread.
  std::size_t Waiting() const;
  std::size_t Failed() const;
  std::size_t Fulfilled() const;

 private:
  using Clock = std::chrono::steady_clock;
  struct waiting_t {
    std::uint64_t number;
    expectation_t expectation;
    expectation_place_t place;
    std::int64_t begin_ms;  // of the crane
    Clock::time_point begin;
    std::string lastReply;  // of the same request
  };
  // What the thread has asked of the panel in one round; each is asked for at most once.
  class Round;

  void Work(const std::stop_token& stop);
  void JudgeOne(const waiting_t& waiting, Round& round);
  bool IsTooEarly(const waiting_t& waiting) const;
  std::string FindObstacle(const waiting_t& waiting, Round& round) const;
  std::string CompareWithStored(const waiting_t& waiting, Round& round) const;
  bool IsOver(const waiting_t& waiting, Clock::time_point asked) const;
  void SavePicture(const waiting_t& waiting, Round& round) const;
  void Decide(const waiting_t& waiting, const std::string& obstacle);
  void Record(const judgement_t& judgement);

  const judge_options_t options_;
  std::atomic<std::int64_t> crane_ms_{0};
  mutable std::mutex mutex_;
  std::condition_variable_any wake_;
  std::vector<waiting_t> waiting_;  // guarded by mutex_, as the next four are
  std::uint64_t numbers_ = 0;
  std::size_t recording_ = 0;  // decided, and not in the results' file yet
  std::size_t failed_ = 0;
  std::size_t fulfilled_ = 0;
  std::mutex recordMutex_;  // guards the results' file
  std::jthread thread_;     // started by the first expectation
};

}  // namespace judge
