#include "unit/window/sdl_window.h"

#include <array>
#include <atomic>
#include <cmath>
#include <span>
#include <stdexcept>
#include <string_view>

#include <SDL.h>
#include <X11/Xlib.h>
#include <unistd.h>

#include "platform/console_writer.h"

#include "unit/window/beep_tone.h"

namespace unit {
namespace {

constexpr const char* TITLE = "Orvik display unit";
constexpr int SMALLEST_WIDTH = 160, SMALLEST_HEIGHT = 120;
constexpr std::uint16_t SAMPLES_AHEAD = 512;  // 11 ms, about the period of the board's other outputs
constexpr int KEYPAD_SHIFT = 8;

// Without this list SDL would fall back to drivers that show nothing. A driver named in the environment has
// priority.
constexpr const char* REAL_DISPLAYS = "x11,wayland,KMSDRM";

void SetHints(bool fullscreen) {
  const std::array<std::array<const char*, 2>, 6> hints = {{
      {SDL_HINT_NO_SIGNAL_HANDLERS, "1"},  // the program handles SIGINT and SIGTERM itself
      {SDL_HINT_VIDEODRIVER, REAL_DISPLAYS},
      {SDL_HINT_APP_NAME, TITLE},
      {SDL_HINT_RENDER_SCALE_QUALITY, "linear"},
      {SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0"},  // the desktop's compositor stays on
      // A display unit must not go dark; a desktop may.
      {SDL_HINT_VIDEO_ALLOW_SCREENSAVER, fullscreen ? "0" : "1"},
  }};
  for (const auto& [name, value] : hints) SDL_SetHintWithPriority(name, value, SDL_HINT_DEFAULT);
}

// Xlib ends the process when the X server has gone, with destructors of what other threads still use.
[[noreturn]] int LeaveWithoutServer(Display* /*display*/) {
  platform::PrintLine(stderr, "window: the X server has ended, and this program with it");
  platform::DrainConsole();
  _exit(1);
}

std::unique_ptr<SdlPart> OpenVideo(bool fullscreen) {
  SetHints(fullscreen);
  XSetIOErrorHandler(LeaveWithoutServer);
  try {
    return std::make_unique<SdlPart>(SDL_INIT_VIDEO);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(
        std::string("cannot open a display (") + error.what() +
        "). In a desktop session set DISPLAY or WAYLAND_DISPLAY; on a unit without a desktop "
        "give this user access to /dev/dri (group video) and /dev/input (group "
        "input). Without the window the front panel shows the screen.");
  }
}

// Without a desktop SDL uses OpenGL ES. Its renderer for desktop OpenGL, which it would try first, starts there
// too when libGL.so.1 is not installed, and shows a black picture.
void ChooseRenderer() {
  if (std::string_view(SDL_GetCurrentVideoDriver()) == "KMSDRM")
    SDL_SetHintWithPriority(SDL_HINT_RENDER_DRIVER, "opengles2", SDL_HINT_DEFAULT);
}

[[noreturn]] void FailToOpen() {
  throw std::runtime_error(std::string("cannot make the window: ") + SDL_GetError() +
                           ". With SDL_RENDER_DRIVER=software no graphics processor is needed.");
}

// The bit of a digit 1 to 8 of the keyboard or of its keypad, by the key's position; 0 for any other key.
std::uint32_t FingerOf(SDL_Scancode code) {
  if (code >= SDL_SCANCODE_1 && code <= SDL_SCANCODE_8) return KeyBit(code - SDL_SCANCODE_1 + 1);
  if (code >= SDL_SCANCODE_KP_1 && code <= SDL_SCANCODE_KP_8) {
    return KeyBit(code - SDL_SCANCODE_KP_1 + 1) << KEYPAD_SHIFT;
  }
  return 0;
}

}  // namespace

SdlPart::SdlPart(std::uint32_t flag) : flag_(flag) {
  SDL_ClearError();
  if (SDL_InitSubSystem(flag) != 0) throw std::runtime_error(SDL_GetError());
}

SdlPart::~SdlPart() {
  SDL_QuitSubSystem(flag_);
}

// --- Window

SdlWindow::library_t::~library_t() {
  SDL_Quit();
}

void SdlWindow::release_t::operator()(SDL_Window* window) const {
  SDL_DestroyWindow(window);
}

void SdlWindow::release_t::operator()(SDL_Renderer* renderer) const {
  SDL_DestroyRenderer(renderer);
}

void SdlWindow::release_t::operator()(SDL_Texture* texture) const {
  SDL_DestroyTexture(texture);
}

SdlWindow::SdlWindow(bool fullscreen) : fullscreen_(fullscreen), library_(), video_(OpenVideo(fullscreen)) {
  SDL_Rect size{0, 0, PICTURE_WIDTH, PICTURE_HEIGHT};
  // Without a window manager an X server does not enlarge the window to the display.
  if (fullscreen) SDL_GetDisplayBounds(0, &size);
  const std::uint32_t kind = fullscreen ? SDL_WINDOW_FULLSCREEN_DESKTOP : SDL_WINDOW_RESIZABLE;
  window_.reset(SDL_CreateWindow(TITLE, SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, size.w, size.h,
                                 kind | SDL_WINDOW_ALLOW_HIGHDPI));
  if (!window_) FailToOpen();
  ChooseRenderer();
  renderer_.reset(SDL_CreateRenderer(window_.get(), -1, 0));
  if (!renderer_) FailToOpen();
  SDL_SetWindowMinimumSize(window_.get(), SMALLEST_WIDTH, SMALLEST_HEIGHT);
  SDL_StopTextInput();  // else an input method could take the digits
  if (fullscreen) SDL_ShowCursor(SDL_DISABLE);
}

SdlWindow::~SdlWindow() = default;

bool SdlWindow::DrainEvents() {
  bool end = false;
  SDL_Event event;
  while (SDL_PollEvent(&event) != 0) end = Accept(event) || end;
  return end;
}

bool SdlWindow::Accept(const SDL_Event& event) {
  switch (event.type) {
    case SDL_QUIT:
      return true;
    case SDL_WINDOWEVENT:
      stale_ = true;  // it may have been moved, uncovered or resized
      if (event.window.event == SDL_WINDOWEVENT_FOCUS_LOST) fingers_ = 0;
      break;
    case SDL_RENDER_TARGETS_RESET:
    case SDL_RENDER_DEVICE_RESET:
      texture_.reset();
      shown_.reset();
      break;
    case SDL_KEYDOWN:
      return AcceptKey(event.key);
    case SDL_KEYUP:
      fingers_ &= ~FingerOf(event.key.keysym.scancode);
      break;
    default:
      break;
  }
  return false;
}

// On a console without a desktop only the window receives Ctrl-C, and it is the only way to end the program
// there.
bool SdlWindow::AcceptKey(const SDL_KeyboardEvent& key) {
  const unsigned modifiers = key.keysym.mod;
  if (key.repeat != 0) return false;
  if ((modifiers & (KMOD_CTRL | KMOD_ALT | KMOD_GUI)) != 0) {
    // By its position too: a Cyrillic layout has no letter C.
    return (modifiers & KMOD_CTRL) != 0 && (key.keysym.sym == SDLK_c || key.keysym.scancode == SDL_SCANCODE_C);
  }
  fingers_ |= FingerOf(key.keysym.scancode);
  return !fullscreen_ && key.keysym.sym == SDLK_ESCAPE;
}

std::uint32_t SdlWindow::KeysHeld() const {
  return (fingers_ | fingers_ >> KEYPAD_SHIFT) & 0xFFU;
}

place_t SdlWindow::PicturePlace() const {
  int width = PICTURE_WIDTH, height = PICTURE_HEIGHT;
  SDL_GetRendererOutputSize(renderer_.get(), &width, &height);
  return FitPicture(width, height);
}

void SdlWindow::Show(const std::shared_ptr<const pixels_t>& picture, double brightness) {
  const auto shade = static_cast<std::uint8_t>(std::lround(brightness * 255));
  if (picture != shown_) Upload(picture);
  if (!stale_ && shade == shade_) return;
  const place_t place = PicturePlace();
  const SDL_Rect target{place.x, place.y, place.width, place.height};
  SDL_SetRenderDrawColor(renderer_.get(), 0, 0, 0, SDL_ALPHA_OPAQUE);
  SDL_RenderClear(renderer_.get());
  if (texture_) {  // null: no memory for it; an empty window is better than an old picture
    SDL_SetTextureColorMod(texture_.get(), shade, shade, shade);
    SDL_RenderCopy(renderer_.get(), texture_.get(), nullptr, &target);
  }
  SDL_RenderPresent(renderer_.get());
  shade_ = shade;
  stale_ = false;
}

void SdlWindow::Upload(const std::shared_ptr<const pixels_t>& picture) {
  if (!texture_ || !shown_ || shown_->width != picture->width || shown_->height != picture->height) {
    texture_.reset(SDL_CreateTexture(renderer_.get(), SDL_PIXELFORMAT_RGB888, SDL_TEXTUREACCESS_STREAMING,
                                     picture->width, picture->height));
  }
  shown_ = picture;
  stale_ = true;
  if (!texture_) return;
  SDL_UpdateTexture(texture_.get(), nullptr, picture->values.data(),
                    picture->width * static_cast<int>(sizeof picture->values[0]));
}

std::string SdlWindow::Driver() const {
  return SDL_GetCurrentVideoDriver();
}

// --- Speaker

struct SdlSpeaker::tone_source_t {
  std::atomic<bool> on{false};
  BeepTone tone;  // of the audio thread

  static void Fill(void* self, Uint8* bytes, int size) {
    auto& tone = *static_cast<tone_source_t*>(self);
    const std::span samples(reinterpret_cast<float*>(bytes), static_cast<std::size_t>(size) / sizeof(float));
    tone.tone.Fill(samples, tone.on);
  }
};

SdlSpeaker::SdlSpeaker() : tone_(std::make_unique<tone_source_t>()) {}

SdlSpeaker::~SdlSpeaker() {
  if (device_ != 0) SDL_CloseAudioDevice(device_);
}

void SdlSpeaker::Sound(bool on, TimePoint now) {
  tone_->on = on;
  if (now < nextLook_) return;
  nextLook_ = now + RETRY;
  try {
    LookAfter();
    problem_.clear();
  } catch (const std::runtime_error& error) {
    problem_ = error.what();
  }
}

// Without a device SDL's drivers are not opened, because they would print many lines on the terminal.
void SdlSpeaker::LookAfter() {
  if (device_ != 0 && SDL_GetAudioDeviceStatus(device_) == SDL_AUDIO_STOPPED) {
    SDL_CloseAudioDevice(device_);
    device_ = 0;
  }
  if (device_ != 0) return;
  if (!audio_) audio_ = std::make_unique<SdlPart>(SDL_INIT_AUDIO);
  if (SDL_GetNumAudioDevices(0) == 0) throw std::runtime_error("no audio device");
  OpenDevice();
}

void SdlSpeaker::OpenDevice() {
  SDL_AudioSpec wanted{};
  wanted.freq = BeepTone::SAMPLE_RATE;
  wanted.format = AUDIO_F32SYS;
  wanted.channels = 1;
  wanted.samples = SAMPLES_AHEAD;
  wanted.callback = tone_source_t::Fill;
  wanted.userdata = tone_.get();
  device_ = SDL_OpenAudioDevice(nullptr, 0, &wanted, nullptr, 0);
  if (device_ == 0) throw std::runtime_error(SDL_GetError());
  SDL_PauseAudioDevice(device_, 0);
}

}  // namespace unit
