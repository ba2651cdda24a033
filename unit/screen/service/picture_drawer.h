// Draws the screen as PNG on a thread of its own, because a page may take the drawing library many seconds (a
// shape that is used ten thousand times), and the library cannot be stopped.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace unit {

// Any thread.
class PictureDrawer {
 public:
  static constexpr std::chrono::seconds SLOW{1};  // a page that takes longer is reported
  static constexpr std::chrono::milliseconds STOP_WAIT{500};
  static constexpr std::size_t MOST_WAITING = 8;

  // Called with the PNG file; with an empty text where the picture cannot be drawn, or too many wait already.
  using answer_t = std::function<void(const std::string& png)>;

  PictureDrawer();
  // Waits STOP_WAIT at most for the picture that is being drawn; a thread that takes longer is left behind.
  ~PictureDrawer();
  PictureDrawer(const PictureDrawer&) = delete;
  PictureDrawer& operator=(const PictureDrawer&) = delete;

  // Does not block. The drawing thread calls `answer`, which must own all that it uses.
  void Draw(std::string svg, const answer_t& answer);

 private:
  class Queue;
  const std::shared_ptr<Queue> queue_;  // the thread has it too
};

}  // namespace unit
