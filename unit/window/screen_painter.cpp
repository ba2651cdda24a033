#include "unit/window/screen_painter.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "unit/screen/client/screen_requests.h"
#include "unit/screen/design/screen_model.h"
#include "unit/window/picture_rules.h"

namespace unit {
namespace {

// The language of the document that was shown last; English before the first.
double LanguageOf(const std::string& svg) {
  const std::string mark = std::string(LANGUAGE_ATTRIBUTE) + "=\"";
  const std::size_t at = svg.find(mark);
  return at == std::string::npos ? 0 : std::strtod(svg.c_str() + at + mark.size(), nullptr);
}

std::string WordOf(const words_t& words, const char* key) {
  const auto word = words.find(key);
  return word == words.end() ? "" : word->second;
}

// Says in the operator's language that what the unit shows is not known.
ScreenPainter::shared_pixels_t DrawVeil(const words_t& words) {
  const std::string svg = R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 640 480">
<rect width="640" height="480" fill="#0b0f14"/>
<g font-family="B612, DejaVu Sans, Noto Sans CJK SC, sans-serif" text-anchor="middle">
<text x="320" y="232" font-size="28" font-weight="bold" fill="#ff7a7e">)" +
                          WordOf(words, "window.lost") +
                          R"(</text>
<text x="320" y="268" font-size="18" fill="#9fb2c2">)" +
                          WordOf(words, "window.unknown") + "</text>\n</g></svg>";
  return std::make_shared<pixels_t>(RenderPixels(svg, PICTURE_WIDTH, PICTURE_HEIGHT));
}

std::chrono::milliseconds Milliseconds(ScreenPainter::Clock::time_point time) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch());
}

}  // namespace

ScreenPainter::ScreenPainter(word_catalogue_t words)
    : words_(std::move(words)),
      veil_(DrawVeil(words_.Of(0))),
      problem_("not requested yet"),
      width_(PICTURE_WIDTH),
      height_(PICTURE_HEIGHT) {
  thread_ = std::thread([this] { Run(); });
  subscriber_ = std::make_unique<Subscriber>(
      std::vector<std::string>{SCREEN_CHANGES_CHANNEL_NAME}, [this](auto, auto) { Wake(); },
      [this] { Wake(); });
}

ScreenPainter::~ScreenPainter() {
  subscriber_.reset();
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  screen_.Close();
  thread_.join();
}

void ScreenPainter::Wake() {
  {
    const std::lock_guard lock(mutex_);
    changed_ = true;
  }
  wake_.notify_all();
}

void ScreenPainter::SetSize(int width, int height) {
  const place_t size = FitPicture(std::min(width, WIDEST), height);
  {
    const std::lock_guard lock(mutex_);
    if (size.width == width_ && size.height == height_) return;
    width_ = size.width;
    height_ = size.height;
    changed_ = true;
  }
  wake_.notify_all();
}

ScreenPainter::shared_pixels_t ScreenPainter::Latest(Clock::time_point now) const {
  const std::lock_guard lock(mutex_);
  return picture_ && now - heard_ < SILENCE ? picture_ : veil_;
}

std::string ScreenPainter::Problem(Clock::time_point now) const {
  const std::lock_guard lock(mutex_);
  if (!picture_) return problem_;
  return now - heard_ < SILENCE ? std::string() : "the screen service is silent";
}

void ScreenPainter::Run() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    changed_ = false;
    const int width = width_, height = height_;
    lock.unlock();
    Step(width, height);
    lock.lock();
    wake_.wait_until(lock, look_ + SHORTEST, [this] { return stopping_; });
    wake_.wait_until(lock, NextLook(), [this] { return stopping_ || changed_; });
  }
}

void ScreenPainter::Step(int width, int height) {
  look_ = Clock::now();
  picture_input_t source;
  if (!screen_.Ask(SCREEN_REQUEST_SVG, source.svg)) return Lose(source.svg);
  FollowLanguage(source.svg);
  if (HasFlash(source.svg)) source.dim = DimAt(Milliseconds(look_));
  source.width = width;
  source.height = height;
  Draw(std::move(source));
}

void ScreenPainter::FollowLanguage(const std::string& svg) {
  const double language = LanguageOf(svg);
  if (std::exchange(language_, language) == language) return;
  shared_pixels_t veil = DrawVeil(words_.Of(language));
  const std::lock_guard lock(mutex_);
  veil_ = std::move(veil);
}

// The picture is current as of the request, not as of the end of the drawing.
void ScreenPainter::Draw(picture_input_t source) {
  shared_pixels_t picture;
  if (source != drawn_) {
    try {
      if (retained_.Update(source.svg, source.width, source.height, source.dim) || drawn_.svg.empty())
        picture = std::make_shared<pixels_t>(retained_.Pixels());
    } catch (const std::runtime_error& error) {
      return Lose(error.what());
    }
    drawn_ = std::move(source);
    if (picture) ++pictures_;
  }
  const std::lock_guard lock(mutex_);
  if (picture) picture_ = std::move(picture);
  heard_ = look_;
}

void ScreenPainter::Lose(const std::string& problem) {
  drawn_ = {};
  const std::lock_guard lock(mutex_);
  picture_.reset();
  problem_ = problem;
}

ScreenPainter::Clock::time_point ScreenPainter::NextLook() const {
  if (!HasFlash(drawn_.svg)) return look_ + LOOK;
  return look_ + FLASH_STEP - Milliseconds(look_) % FLASH_STEP;
}

}  // namespace unit
