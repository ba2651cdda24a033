// The machine's display, keyboard and loudspeaker, through SDL2.
//
// Which display, the environment decides: X11 or Wayland in a desktop session, else the kernel's own (KMS, DRM)
// on a unit without a desktop; SDL_VIDEODRIVER and SDL_AUDIODRIVER of the environment choose otherwise. All
// calls to the objects of this header come from the one thread that made them.
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

// A part of SDL that is up as long as the object lives.
class SdlPart {
 public:
  // `flag` is one of SDL_INIT_*. Throws std::runtime_error with SDL's reason.
  explicit SdlPart(std::uint32_t flag);
  ~SdlPart();
  SdlPart(const SdlPart&) = delete;
  SdlPart& operator=(const SdlPart&) = delete;

 private:
  const std::uint32_t flag_;
};

// One at a time, and alive longer than any speaker.
class SdlWindow {
 public:
  // `fullscreen`: takes the whole display and hides the pointer. Throws std::runtime_error with what is wrong
  // and what to do when there is no display.
  explicit SdlWindow(bool fullscreen);
  ~SdlWindow();
  SdlWindow(const SdlWindow&) = delete;
  SdlWindow& operator=(const SdlWindow&) = delete;

  // Takes what has happened since the last call. True when its end was asked for: the window closed, Ctrl-C,
  // or, where it does not fill the display, Escape.
  bool TakeEvents();
  // The front keys that the fingers hold: the keyboard's digits 1 to 8 and those of its keypad. Bit n-1 for key
  // n. None while the window has not the keyboard.
  std::uint32_t KeysHeld() const;
  // Where the picture stands, in pixels of the display.
  place_t PicturePlace() const;
  // Shows the picture, scaled where it has another size than its place, at this share of its brightness. Does
  // nothing where that is what stands there.
  void Show(const std::shared_ptr<const pixels_t>& picture, double brightness);
  // SDL's name of what it shows on: "x11", "wayland", "KMSDRM".
  std::string Driver() const;

 private:
  struct release_t {
    void operator()(SDL_Window* window) const;
    void operator()(SDL_Renderer* renderer) const;
    void operator()(SDL_Texture* texture) const;
  };

  bool Take(const SDL_Event& event);
  bool TakeKey(const SDL_KeyboardEvent& key);
  void Upload(const std::shared_ptr<const pixels_t>& picture);

  struct library_t {  // gives back what SDL keeps beside its parts
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
  bool stale_ = true;          // what stands in the window is not what is to be shown
  std::uint32_t fingers_ = 0;  // bit n-1 for digit n, bit n+7 for digit n of the keypad
};

// The beeper as a tone. A device that is not there, or goes, is waited for and looked for every few seconds.
class SdlSpeaker {
 public:
  using time_t = std::chrono::steady_clock::time_point;
  static constexpr std::chrono::seconds RETRY{5};

  SdlSpeaker();
  // Silent.
  ~SdlSpeaker();
  SdlSpeaker(const SdlSpeaker&) = delete;
  SdlSpeaker& operator=(const SdlSpeaker&) = delete;

  // Sounds or is silent from now on; to be called every few milliseconds.
  void Sound(bool on, time_t now);
  // What keeps it from sounding; empty when nothing does.
  const std::string& Problem() const { return problem_; }

 private:
  struct Tone_t;  // what SDL's audio thread reads

  void LookAfter();

  const std::unique_ptr<Tone_t> tone_;
  std::unique_ptr<SdlPart> audio_;  // null: not up
  std::uint32_t device_ = 0;        // 0: none
  time_t nextLook_{};
  std::string problem_;
};

}  // namespace unit
