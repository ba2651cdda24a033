// The running screen service: the live screen, its lock and the threads that use it.
//
// | thread       | what it does                                                                        |
// |--------------|-------------------------------------------------------------------------------------|
// | subscriber   | takes messages of the application, the database, the bus service, and marks         |
// | compositor   | takes the drawings' messages and answers them                                       |
// | requests     | answers requests for the state and the picture; draws without the lock              |
// | pace         | 20 ms after a change, at once after "process commands" and events, and every 50 ms: |
// |              | overdue texts, state of the data, actions, changes, a changed design               |
//
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "unit/health/notify_link.h"
#include "unit/health/subscriber.h"
#include "unit/screen/design/design_watch.h"
#include "unit/screen/live/live_screen.h"
#include "unit/screen/service/action_poster.h"
#include "unit/screen/service/message_server.h"
#include "unit/screen/service/page_memory.h"
#include "unit/screen/service/picture_drawer.h"
#include "unit/service/service.h"

namespace unit {

// The constructor starts all threads, the destructor ends them.
class ScreenWorker {
 public:
  // Throws std::runtime_error when the configuration or the design cannot be read, or another process has one
  // of the service's names.
  explicit ScreenWorker(const options_t& options);
  ~ScreenWorker();
  ScreenWorker(const ScreenWorker&) = delete;
  ScreenWorker& operator=(const ScreenWorker&) = delete;

  status_t GetStatus() const;

 private:
  using Clock = std::chrono::steady_clock;

  ScreenModel MakeModel(const options_t& options);
  word_catalogue_t ReadCheckedWords(const design_t& design, std::vector<std::string>& problems) const;
  // subscriber
  void AcceptMessage(std::size_t channel, std::span<const std::uint8_t> payload);
  // compositor and requests
  message_reply_t AcceptDrawing(std::span<const std::uint8_t> message);
  std::optional<message_reply_t> Answer(std::span<const std::uint8_t> message, int rcvid);
  std::string Document(std::uint32_t request);
  void DrawPicture(int rcvid);
  // pace
  void Pace();
  void WakePaceBy(Clock::time_point when);
  void Step(Clock::time_point now);
  void PublishMark(Clock::time_point now);
  void PublishChange(Clock::time_point now);
  void PostActions(Clock::time_point now);
  void ReloadDesign(Clock::time_point now);
  void ReadVariables();
  std::map<std::string, std::uint64_t> Counters() const;

  const std::filesystem::path designFolder_, wordsFolder_;
  NotifyLink link_;
  DesignWatch watch_, wordsWatch_;  // the pace thread's

  mutable std::mutex mutex_;  // guards all down to stopping_
  LiveScreen screen_;
  std::string designProblem_;
  Clock::time_point nextStep_{};
  bool stopping_ = false;
  std::condition_variable wakePace_;

  PictureDrawer drawer_;

  // The pace thread's.
  ActionPoster actions_;
  PageMemory pageMemory_;
  Clock::time_point nextRead_{}, nextSign_{}, nextMark_{};

  std::unique_ptr<Subscriber> subscriber_;
  std::unique_ptr<MessageServer> compositorServer_, requestServer_;
  std::thread pace_;
};

}  // namespace unit
