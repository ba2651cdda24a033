#include "host/log/play.h"

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <span>
#include <sstream>
#include <utility>
#include <vector>

#include <unistd.h>

#include "bus/key_log.h"
#include "host/link/front_keys.h"
#include "host/link/station.h"
#include "host/log/log_reader.h"
#include "host/log/play_control.h"
#include "host/log/player.h"
#include "host/protocol/errors.h"
#include "host/protocol/value_text.h"

namespace host {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double FASTEST = 100'000;

std::string FormatSeconds(std::chrono::microseconds time) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(1) << std::chrono::duration<double>(time).count() << " s";
  return text.str();
}

// A progress line on the terminal, written anew five times a second.
class ProgressLine {
 public:
  explicit ProgressLine(bool shown) : shown_(shown) {}
  bool Due() const { return shown_ && Clock::now() >= next_; }
  void Show(const std::string& text) {
    constexpr std::chrono::milliseconds PACE{200};
    next_ = Clock::now() + PACE;
    text_ = text;
    if (shown_) std::cerr << "\r\033[K" + text_;
  }
  // Adds to the last text whether the log is paused.
  void ShowPaused(bool paused) const {
    if (shown_) std::cerr << "\r\033[K" + text_ + (paused ? "  paused; space continues" : "");
  }
  void Clear() const {
    if (shown_) std::cerr << "\r\033[K";
  }

 private:
  const bool shown_;
  std::string text_;
  Clock::time_point next_{};
};

// The size in bytes; 0 if it is not a regular file.
std::uintmax_t SizeOf(const std::string& file) {
  std::error_code error;
  const std::uintmax_t size =
      std::filesystem::is_regular_file(file, error) ? std::filesystem::file_size(file, error) : 0;
  return error ? 0 : size;
}

// A log that plays faster than recorded does not make the display faster. It needs up to half a second for the
// frames before a key press, and notices a key after two to six ticks of 10 ms.
constexpr std::chrono::milliseconds DISPLAY_CATCHES_UP{500};
constexpr std::chrono::milliseconds KEY_SETTLES{100};

std::vector<bus::key_change_t> ReadKeyLog(const std::string& file) {
  std::vector<bus::key_change_t> keys;
  if (file.empty()) return keys;
  std::ifstream in(file);
  if (!in) throw UsageError("cannot read the key log " + file + "; check its name and its rights");
  for (std::string line; std::getline(in, line);) {
    if (const auto change = bus::ParseKeyLine(line)) keys.push_back(*change);
  }
  if (keys.empty()) {
    throw UsageError("the key log " + file + " holds no key; it should have lines such as " +
                     bus::FormatKeyLine({0, 3, true}));
  }
  return keys;
}

// A log's frames and the key presses between them, in the order of time. Presses before the first frame are
// left out.
class Recording {
 public:
  Recording(std::istream& in, std::span<const bus::key_change_t> keys) : reader_(in), keys_(keys) {
    frame_ = reader_.Next();
    while (!keys_.empty() && (!frame_ || keys_.front().time_us < frame_->time_us)) keys_ = keys_.subspan(1);
  }
  std::optional<recorded_event_t> Next() {
    if (!keys_.empty() && (!frame_ || keys_.front().time_us <= frame_->time_us)) {
      const bus::key_change_t change = keys_.front();
      keys_ = keys_.subspan(1);
      return change;
    }
    if (!frame_) return std::nullopt;
    return std::exchange(frame_, reader_.Next());
  }
  std::uint64_t Skipped() const { return reader_.Skipped(); }

 private:
  LogReader reader_;
  std::span<const bus::key_change_t> keys_;
  std::optional<bus::frame_t> frame_;
};

class FilePlayer {
 public:
  FilePlayer(const play_options_t& options, const StopSignal& stop)
      : options_(options),
        stop_(stop),
        station_(options.bus, stop),
        keys_(ReadKeyLog(options.keysFile)),
        speed_(ParseSpeed(options.speed, FASTEST)),
        schedule_(Clock::now(), speed_),
        progress_(!options.quiet && ::isatty(STDERR_FILENO) != 0),
        control_(stop, options.file != "-", [this](bool paused) { progress_.ShowPaused(paused); }),
        size_(SizeOf(options.file)) {
    station_.StartReceiving();
  }
  void Run(std::istream& in);

 private:
  bool PlayOnce(std::istream& in);
  void PlayLoop(std::istream& in);
  bool SendFrame(const bus::frame_t& frame);
  std::optional<Clock::duration> MoveKey(const bus::key_change_t& change);
  void ShowProgress(std::istream& in);
  void Summarise() const;

  const play_options_t& options_;
  const StopSignal& stop_;
  Station station_;
  const std::vector<bus::key_change_t> keys_;
  FrontKeys frontKeys_;
  const double speed_;
  Schedule schedule_;
  ProgressLine progress_;
  PlayControl control_;
  const std::uintmax_t size_;
  play_counts_t played_;
  std::uint64_t skipped_ = 0;
};

// "12.3 s  45 %  1234 frames"
void FilePlayer::ShowProgress(std::istream& in) {
  if (!progress_.Due()) return;
  std::string text = FormatSeconds(schedule_.Position());
  if (size_ > 0) {
    const auto at = static_cast<std::streamoff>(in.tellg());
    text += "  " + std::to_string(at < 0 ? 100 : static_cast<std::uintmax_t>(at) * 100 / size_) + " %";
  }
  progress_.Show(text + "  " + std::to_string(played_.frames) + " frames");
}

std::optional<Clock::duration> FilePlayer::MoveKey(const bus::key_change_t& change) {
  const auto start = Clock::now();
  const bool asRecorded = speed_ > 0 && speed_ <= 1;
  if (!asRecorded && change.down && !control_.WaitUntil(start + DISPLAY_CATCHES_UP)) return std::nullopt;
  frontKeys_.Hold(change.key, change.down);
  if (asRecorded) return Clock::duration::zero();
  if (!control_.WaitUntil(Clock::now() + KEY_SETTLES)) return std::nullopt;
  return Clock::now() - start;
}

bool FilePlayer::SendFrame(const bus::frame_t& frame) {
  const bool sent = station_.Send({&frame, 1});
  control_.NoteSent();
  return sent;
}

bool FilePlayer::PlayOnce(std::istream& in) {
  Recording recording(in, keys_);
  const player_hooks_t hooks{.now = Clock::now,
                             .waitUntil = [this](Clock::time_point when) { return control_.WaitUntil(when); },
                             .send = [this](const bus::frame_t& frame) { return SendFrame(frame); },
                             .progress = [this, &in] { ShowProgress(in); },
                             .moveKey = [this](const bus::key_change_t& change) { return MoveKey(change); }};
  const bool whole = Play([&recording] { return recording.Next(); }, schedule_, options_.all, hooks, played_);
  skipped_ += recording.Skipped();
  return whole;
}

void FilePlayer::Summarise() const {
  progress_.Clear();
  if (options_.quiet) return;
  std::cerr << "hx7: played " << played_.frames << " frames, " << FormatSeconds(schedule_.Position())
            << " of the log; skipped " << played_.skipped << " frames of the display and " << skipped_
            << " lines without a frame\n";
}

void FilePlayer::PlayLoop(std::istream& in) {
  while (PlayOnce(in) && options_.loop && played_.frames > 0) {
    schedule_.Rewind();
    in.clear();
    in.seekg(0);
    if (!in)
      throw UsageError("cannot read " + options_.file +
                       " again for --loop; only a file can be played in a loop");
  }
}

void FilePlayer::Run(std::istream& in) {
  try {
    PlayLoop(in);
  } catch (...) {
    Summarise();
    throw;
  }
  Summarise();
  if (played_.frames == 0 && !stop_.Stopped()) {
    throw UsageError(options_.file +
                     " holds no frame to play; `hx7 play --help` names the kinds of logs that it reads");
  }
}

}  // namespace

void PlayFile(const play_options_t& options) {
  if (options.file.empty())
    throw UsageError("the name of the log is empty; name a file, or - for standard input");
  std::ifstream file;
  if (options.file != "-") {
    file.open(options.file);
    if (!file) throw UsageError("cannot read the log " + options.file + "; check its name and its rights");
  }
  const StopSignal stop;
  FilePlayer player(options, stop);
  player.Run(options.file == "-" ? std::cin : file);
}

}  // namespace host
