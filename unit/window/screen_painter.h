// Draws the unit's screen as pixels in the size of the window, so that it is sharp in every size.
//
// Requests the document from the screen service when it has changed, and once a second. Draws what changed of
// it on a thread of its own, because keys and beeper must not wait for a picture: a page that is shown for the
// first time takes some 20 ms at 640 by 480. Draws at most 25 pictures a second, and none while neither the
// document nor the size changes and no element flashes.
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
#include "unit/screen/client/screen_client.h"
#include "unit/screen/design/word_catalogue.h"
#include "unit/screen/render/retained_picture.h"

namespace unit {

// Has two threads, which end with the object.
class ScreenPainter {
 public:
  using Clock = std::chrono::steady_clock;
  using shared_pixels_t = std::shared_ptr<const pixels_t>;
  static constexpr std::chrono::milliseconds SHORTEST{40};  // least time from one picture to the next
  static constexpr std::chrono::milliseconds LOOK{1000};
  static constexpr std::chrono::milliseconds SILENCE{3000};
  static constexpr int WIDEST = 2048;  // the largest texture that every graphics processor supports

  // `words` are those of the veil that is shown while there is no picture.
  explicit ScreenPainter(word_catalogue_t words);
  ~ScreenPainter();
  ScreenPainter(const ScreenPainter&) = delete;
  ScreenPainter& operator=(const ScreenPainter&) = delete;

  // Sets the size of later pictures, in pixels; at most WIDEST wide and three quarters of that high. Any
  // thread.
  void SetSize(int width, int height);
  // The picture to show now; each picture is another object. While the screen service returns no picture or has
  // been silent for SILENCE, it is one that says so: an old number is never shown. The picture may have the
  // size that was set before. Any thread; never waits for a picture.
  shared_pixels_t Latest(Clock::time_point now) const;
  // Why the picture cannot be shown; empty when it can. Any thread.
  std::string Problem(Clock::time_point now) const;
  // The number of pictures drawn. Any thread.
  std::uint64_t Pictures() const { return pictures_; }

 private:
  // All that a picture depends on.
  struct picture_input_t {
    std::string svg;
    int width = 0, height = 0;
    dim_rates_t dim;

    bool operator==(const picture_input_t&) const = default;
  };

  void Wake();
  void Run();
  void Step(int width, int height);
  void FollowLanguage(const std::string& svg);
  void Draw(picture_input_t source);
  void Lose(const std::string& problem);
  Clock::time_point NextLook() const;

  const word_catalogue_t words_;
  ScreenClient screen_{SILENCE};
  double language_ = 0;       // of the thread: of the last document
  picture_input_t drawn_;     // of the thread
  RetainedPicture retained_;  // of the thread
  Clock::time_point look_;    // of the thread: time of the last request

  mutable std::mutex mutex_;  // guards all down to stopping_
  shared_pixels_t picture_;   // null: there is no picture
  shared_pixels_t veil_;      // in the language of the last document
  std::string problem_;
  Clock::time_point heard_;  // when the picture was last known to be current
  int width_, height_;
  bool changed_ = false;
  bool stopping_ = false;
  std::condition_variable wake_;
  std::atomic<std::uint64_t> pictures_{0};
  std::thread thread_;
  std::unique_ptr<Subscriber> subscriber_;
};

}  // namespace unit
