// The machine's display, keyboard and loudspeaker, through SDL2.
//
// The environment decides which display is used: X11 or Wayland in a desktop session, else the kernel's (KMS,
// DRM) on a unit without a desktop. SDL_VIDEODRIVER and SDL_AUDIODRIVER in the environment select another
// driver. Only the thread that made an object of this header may use it.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "unit/screen/render/renderer.h"
#include "unit/window/picture_rules.h"

struct SDL_Window;
struct SDL_Renderer;
struct SDL_Texture;
struct SDL_KeyboardEvent;
union SDL_Event;

namespace unit {

// Initialises a part of SDL for the life of the object.
class SdlPart {
 public:
  // `flag` is one of SDL_INIT_*. Throws std::runtime_error with SDL's message.
  explicit SdlPart(std::uint32_t flag);
  ~SdlPart();
  SdlPart(const SdlPart&) = delete;
  SdlPart& operator=(const SdlPart&) = delete;

 private:
  const std::uint32_t flag_;
};

// A process may have one, and it must outlive every speaker.
class SdlWindow {
 public:
  // With `fullscreen`, takes the whole display and hides the pointer. Throws std::runtime_error with the
  // problem and what to do about it when there is no display.
  explicit SdlWindow(bool fullscreen);
  ~SdlWindow();
  SdlWindow(const SdlWindow&) = delete;
  SdlWindow& operator=(const SdlWindow&) = delete;

  // Handles the events since the last call. True when the user ends the program: closes the window, presses
  // Ctrl-C, or Escape in a window that does not fill the display.
  bool DrainEvents();
  // The front keys that are held by the digits 1 to 8 of the keyboard or of its keypad; bit n-1 for key n. None
  // while the window has no keyboard focus.
  std::uint32_t KeysHeld() const;
  // The place of the picture, in pixels of the display.
  place_t PicturePlace() const;
  // Shows the picture, scaled to its place, at this brightness (0 to 1). Does nothing when the window shows
  // that already.
  void Show(const std::shared_ptr<const pixels_t>& picture, double brightness);
  // SDL's name of the display driver: "x11", "wayland", "KMSDRM".
  std::string Driver() const;

 private:
  struct release_t {
    void operator()(SDL_Window* window) const;
    void operator()(SDL_Renderer* renderer) const;
    void operator()(SDL_Texture* texture) const;
  };

  bool Accept(const SDL_Event& event);
  bool AcceptKey(const SDL_KeyboardEvent& key);
  void Upload(const std::shared_ptr<const pixels_t>& picture);

  struct library_t {  // releases what SDL holds beside its parts
    ~library_t();
  };

  const bool fullscreen_;
  const library_t library_;
  const std::unique_ptr<SdlPart> video_;
  std::unique_ptr<SDL_Window, release_t> window_;
  std::unique_ptr<SDL_Renderer, release_t> renderer_;
  std::unique_ptr<SDL_Texture, release_t> texture_;
  std::shared_ptr<const pixels_t> shown_;
  std::uint8_t shade_ = 0;     // the brightness shown, of 255
  bool stale_ = true;          // the window does not show what it is to show
  std::uint32_t fingers_ = 0;  // bit n-1 for digit n, bit n+7 for digit n of the keypad
};

// Plays the beeper as a tone. While there is no audio device, one is looked for every few seconds.
class SdlSpeaker {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::seconds RETRY{5};

  SdlSpeaker();
  // Ends the tone.
  ~SdlSpeaker();
  SdlSpeaker(const SdlSpeaker&) = delete;
  SdlSpeaker& operator=(const SdlSpeaker&) = delete;

  // Switches the tone on or off; to be called every few milliseconds.
  void Sound(bool on, TimePoint now);
  // Why the speaker cannot sound; empty when it can.
  const std::string& Problem() const { return problem_; }

 private:
  struct tone_source_t;  // read by SDL's audio thread

  void LookAfter();
  void OpenDevice();

  const std::unique_ptr<tone_source_t> tone_;
  std::unique_ptr<SdlPart> audio_;  // null: not up
  std::uint32_t device_ = 0;        // 0: none
  TimePoint nextLook_{};
  std::string problem_;
};

}  // namespace unit
