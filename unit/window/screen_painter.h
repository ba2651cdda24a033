// Draws the unit's screen as pixels, in the size of the window: a vector picture is sharp in every size.
//
// Asks the screen service for its document when that has changed, and once a second in any case, and draws it
// on a thread of its own: keys and beeper must not wait for a picture (some 20 ms at 640 by 480). At most 25
// pictures a second; none while neither document nor size changes and nothing flashes.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "unit/health/subscriber.h"
#include "unit/screen/design/word_catalogue.h"
#include "unit/screen/render/renderer.h"

namespace unit {

// Owns its threads, which end with the object.
class ScreenPainter {
 public:
  using clock_t = std::chrono::steady_clock;
  using picture_t = std::shared_ptr<const pixels_t>;
  static constexpr std::chrono::milliseconds SHORTEST{40};  // from one picture to the next
  static constexpr std::chrono::milliseconds LOOK{1000};
  static constexpr std::chrono::milliseconds SILENCE{3000};
  static constexpr int WIDEST = 2048;  // what every graphics processor takes

  // `words` are those of the veil that is shown while there is no picture.
  explicit ScreenPainter(word_catalogue_t words);
  ~ScreenPainter();
  ScreenPainter(const ScreenPainter&) = delete;
  ScreenPainter& operator=(const ScreenPainter&) = delete;

  // The size of the pictures to come, in pixels; at most WIDEST and its three quarters. Any thread.
  void SetSize(int width, int height);
  // The picture to show now; another object for each. One that says that nothing is known while the screen
  // service gives no picture or has been silent for SILENCE: never an old number. May have another size than
  // the last one that was set. Any thread; never waits for a picture.
  picture_t Latest(clock_t::time_point now) const;
  // What keeps the picture from being shown; empty when nothing does. Any thread.
  std::string Problem(clock_t::time_point now) const;
  // How many have been drawn.
  std::uint64_t Pictures() const { return pictures_; }

 private:
  // What a picture is drawn from.
  struct source_t {
    std::string svg, style;
    int width = 0, height = 0;

    bool operator==(const source_t&) const = default;
  };

  void Wake();
  void Run();
  void Step(int width, int height);
  void FollowLanguage(const std::string& svg);
  void Draw(source_t source);
  void Lose(const std::string& problem);
  clock_t::time_point NextLook() const;

  const word_catalogue_t words_;
  double language_ = 0;       // the thread's: of the last document
  source_t drawn_;            // the thread's
  clock_t::time_point look_;  // the thread's: when it last asked

  mutable std::mutex mutex_;  // guards all down to stopping_
  picture_t picture_;         // null: there is none
  picture_t veil_;            // in the language of the last document
  std::string problem_;
  clock_t::time_point heard_;  // when the picture was last known to be the current one
  int width_, height_;
  bool changed_ = false;
  bool stopping_ = false;
  std::condition_variable wake_;
  std::atomic<std::uint64_t> pictures_{0};
  std::thread thread_;
  std::unique_ptr<Subscriber> subscriber_;
};

}  // namespace unit
