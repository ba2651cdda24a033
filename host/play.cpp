#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>

#include <unistd.h>

#include "host/commands.h"
#include "host/errors.h"
#include "host/log_reader.h"
#include "host/play_control.h"
#include "host/player.h"
#include "host/station.h"
#include "host/value_text.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kFastest = 100'000;

std::string Seconds(std::chrono::microseconds time) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(1) << std::chrono::duration<double>(time).count() << " s";
  return text.str();
}

// A line on the terminal that is written over five times a second.
class ProgressLine {
 public:
  explicit ProgressLine(bool shown) : shown_(shown) {}
  bool Due() const { return shown_ && Clock::now() >= next_; }
  void Show(const std::string& text) {
    constexpr std::chrono::milliseconds kPace{200};
    next_ = Clock::now() + kPace;
    text_ = text;
    if (shown_) std::cerr << "\r\033[K" + text_;
  }
  // What holds the log, behind the text that stands.
  void ShowPaused(bool paused) const {
    if (shown_) std::cerr << "\r\033[K" + text_ + (paused ? "  paused, space goes on" : "");
  }
  void Clear() const {
    if (shown_) std::cerr << "\r\033[K";
  }

 private:
  const bool shown_;
  std::string text_;
  Clock::time_point next_{};
};

// Bytes of a file; 0 where it is no file or has none.
std::uintmax_t SizeOf(const std::string& file) {
  std::error_code error;
  const std::uintmax_t size =
      std::filesystem::is_regular_file(file, error) ? std::filesystem::file_size(file, error) : 0;
  return error ? 0 : size;
}

class FilePlayer {
 public:
  FilePlayer(const play_options_t& options, const StopSignal& stop)
      : options_(options),
        stop_(stop),
        station_(options.bus, stop),
        schedule_(Clock::now(), ParseSpeed(options.speed, kFastest)),
        progress_(!options.quiet && ::isatty(STDERR_FILENO) != 0),
        control_(stop, options.file != "-", [this](bool paused) { progress_.ShowPaused(paused); }),
        size_(SizeOf(options.file)) {
    station_.Drain();
  }
  void Run(std::istream& in);

 private:
  bool PlayOnce(std::istream& in);
  void ShowProgress(std::istream& in);
  void Summarise() const;

  const play_options_t& options_;
  const StopSignal& stop_;
  Station station_;
  Schedule schedule_;
  ProgressLine progress_;
  PlayControl control_;
  const std::uintmax_t size_;
  played_t played_;
  std::uint64_t skipped_ = 0;
};

// "12.3 s  45 %  1234 frames"
void FilePlayer::ShowProgress(std::istream& in) {
  if (!progress_.Due()) return;
  std::string text = Seconds(schedule_.Position());
  if (size_ > 0) {
    const auto at = static_cast<std::streamoff>(in.tellg());
    text += "  " + std::to_string(at < 0 ? 100 : static_cast<std::uintmax_t>(at) * 100 / size_) + " %";
  }
  progress_.Show(text + "  " + std::to_string(played_.frames) + " frames");
}

bool FilePlayer::PlayOnce(std::istream& in) {
  LogReader reader(in);
  const stage_t stage{.now = Clock::now,
                      .waitUntil = [this](Clock::time_point when) { return control_.WaitUntil(when); },
                      .send =
                          [this](const bus::frame_t& frame) {
                            const bool sent = station_.Send({&frame, 1});
                            control_.Sent();
                            return sent;
                          },
                      .progress = [this, &in] { ShowProgress(in); }};
  const bool whole = Play([&reader] { return reader.Next(); }, schedule_, options_.all, stage, played_);
  skipped_ += reader.Skipped();
  return whole;
}

void FilePlayer::Summarise() const {
  progress_.Clear();
  if (options_.quiet) return;
  std::cerr << "hx7: played " << played_.frames << " frames, " << Seconds(schedule_.Position())
            << " of the log; passed over " << played_.passedOver << " frames of the display and " << skipped_
            << " lines that are no frames\n";
}

void FilePlayer::Run(std::istream& in) {
  try {
    while (PlayOnce(in) && options_.loop && played_.frames > 0) {
      schedule_.Rewind();
      in.clear();
      in.seekg(0);
      if (!in) throw failure(options_.file + " cannot be read again for --loop");
    }
  } catch (...) {
    Summarise();
    throw;
  }
  Summarise();
  if (played_.frames == 0 && !stop_.Stopped())
    throw failure(
        options_.file +
        " holds no frame to play; it should be a log of candump -L or another that `hx7 play --help` names");
}

}  // namespace

void PlayFile(const play_options_t& options) {
  std::ifstream file;
  if (options.file != "-") {
    file.open(options.file);
    if (!file) throw failure("cannot read " + options.file);
  }
  const StopSignal stop;
  FilePlayer player(options, stop);
  player.Run(options.file == "-" ? std::cin : file);
}

}  // namespace host
