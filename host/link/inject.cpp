#include "host/link/inject.h"

#include <algorithm>

#include "host/protocol/errors.h"
#include "host/protocol/protocol.h"
#include "host/protocol/value_text.h"

namespace host {
namespace {

using frames_t = std::vector<bus::frame_t>;

constexpr std::array<fault_t, kFaults> kFaultTable = {{
    {"missing-frame", "one frame of a message is left out"},
    {"repeated-frame", "one frame of a message comes twice"},
    {"wrong-sequence", "two frames of a message change places"},
    {"oversize", "a message of more frames than the display takes"},
    {"bad-length", "a text command whose length is not its own"},
    {"broken-utf8", "a text that is no UTF-8"},
    {"unknown-command", "a command that nobody knows"},
    {"babble", "a station that floods the bus with frames of its own"},
}};

constexpr std::size_t kOversizeFrames = 40;
constexpr std::size_t kBabbleFrames = 500;
constexpr std::uint32_t kBabbleIdentifier = 0x18FF00D1;  // next to the host's
constexpr std::uint8_t kFirstUnknown = 10;
constexpr std::uint8_t kTextCommand = 5;

// Three frames at least: a single frame can neither be missed in part nor change places.
frames_t Lengthened(std::span<const bus::frame_t> message) {
  constexpr std::size_t kLong = 3;
  if (message.size() >= kLong) return {message.begin(), message.end()};
  return Segment(
      Encode(OperatingValuesCommand(), std::vector<double>(OperatingValuesCommand().fields.size(), 0.0)));
}

std::size_t Pick(std::mt19937_64& chance, std::size_t from, std::size_t to) {
  return from + chance() % (to - from + 1);
}

frames_t MissFrame(std::span<const bus::frame_t> message, std::mt19937_64& chance) {
  frames_t frames = Lengthened(message);
  frames.erase(frames.begin() + static_cast<std::ptrdiff_t>(Pick(chance, 0, frames.size() - 1)));
  return frames;
}

frames_t RepeatFrame(std::span<const bus::frame_t> message, std::mt19937_64& chance) {
  frames_t frames = Lengthened(message);
  const auto at = static_cast<std::ptrdiff_t>(Pick(chance, 0, frames.size() - 1));
  const bus::frame_t twice = frames[static_cast<std::size_t>(at)];
  frames.insert(frames.begin() + at, twice);
  return frames;
}

frames_t SwapFrames(std::span<const bus::frame_t> message, std::mt19937_64& chance) {
  frames_t frames = Lengthened(message);
  const std::size_t at = Pick(chance, 1, frames.size() - 2);
  std::swap(frames[at], frames[at + 1]);
  return frames;
}

frames_t SendOversize(std::span<const bus::frame_t> /*message*/, std::mt19937_64& /*chance*/) {
  Message message(6 + 7 * (kOversizeFrames - 1), 'X');
  message[0] = kTextCommand;
  return Segment(message);
}

// A text command that says it is longer or shorter than anything the display takes.
frames_t SpoilLength(std::span<const bus::frame_t> /*message*/, std::mt19937_64& chance) {
  constexpr std::array<std::uint16_t, 5> kLengths = {0, 1, 4, 803, 0xFFFF};
  const std::uint16_t length = kLengths[Pick(chance, 0, kLengths.size() - 1)];
  Message message = EncodeTexts(std::array<text_t, 1>{{{17, "BAD LENGTH"}}});
  message[1] = static_cast<std::uint8_t>(length >> 8U);
  message[2] = static_cast<std::uint8_t>(length);
  return Segment(message);
}

frames_t SpoilText(std::span<const bus::frame_t> /*message*/, std::mt19937_64& chance) {
  constexpr std::array<std::string_view, 4> kTexts = {"A\xC3\x28", "\xE4\xB8", "\xED\xA0\x80", "\xF8\x88\x80"};
  const std::string_view text = kTexts[Pick(chance, 0, kTexts.size() - 1)];
  Message message = EncodeTexts(std::array<text_t, 1>{{{17, "BROKEN UTF8 "}}});
  std::copy(text.begin(), text.end(), message.end() - static_cast<std::ptrdiff_t>(text.size()));
  return Segment(message);
}

frames_t SendUnknown(std::span<const bus::frame_t> /*message*/, std::mt19937_64& chance) {
  return Segment(Message{static_cast<std::uint8_t>(Pick(chance, kFirstUnknown, 0xFF))});
}

frames_t Babble(std::span<const bus::frame_t> /*message*/, std::mt19937_64& chance) {
  frames_t frames(kBabbleFrames);
  for (bus::frame_t& frame : frames) {
    frame.identifier = kBabbleIdentifier;
    frame.length = static_cast<std::uint8_t>(frame.data.size());
    std::ranges::generate(frame.data, [&chance] { return static_cast<std::uint8_t>(chance()); });
  }
  return frames;
}

using spoiler_t = frames_t (*)(std::span<const bus::frame_t>, std::mt19937_64&);
constexpr std::array<spoiler_t, kFaults> kSpoilers = {MissFrame,   RepeatFrame, SwapFrames,  SendOversize,
                                                      SpoilLength, SpoilText,   SendUnknown, Babble};

}  // namespace

std::span<const fault_t, kFaults> Faults() {
  return kFaultTable;
}

std::vector<Fault> ParseFaults(std::string_view text) {
  std::vector<Fault> faults;
  std::vector<std::string_view> names(kFaults);
  std::ranges::transform(kFaultTable, names.begin(), &fault_t::name);
  if (text == "all") text = {};
  for (const std::string_view name : text.empty() ? names : Split(text, ',')) {
    const auto found = std::ranges::find(names, name);
    if (found == names.end()) {
      const std::string_view nearest = Nearest(name, names);
      throw usage_error("there is no fault \"" + std::string(name) + "\"" +
                        (nearest.empty() ? "" : "; did you mean " + std::string(nearest) + "?"));
    }
    faults.push_back(static_cast<Fault>(found - names.begin()));
  }
  return faults;
}

Injector::Injector(std::vector<Fault> faults, double rate, std::uint64_t seed)
    : faults_(std::move(faults)), rate_(rate), chance_(seed) {}

bool Injector::Draw(Fault& fault) {
  if (!asked_.empty()) {
    fault = asked_.front();
    asked_.erase(asked_.begin());
    return true;
  }
  if (faults_.empty() || std::generate_canonical<double, 53>(chance_) >= rate_) return false;
  fault = faults_[Pick(chance_, 0, faults_.size() - 1)];
  return true;
}

std::vector<bus::frame_t> Injector::Spoil(Fault fault, std::span<const bus::frame_t> message) {
  ++counts_[static_cast<std::size_t>(fault)];
  return kSpoilers[static_cast<std::size_t>(fault)](message, chance_);
}

std::vector<bus::frame_t> Injector::Apply(std::span<const bus::frame_t> message) {
  std::vector<bus::frame_t> frames;
  if (Fault fault{}; Draw(fault)) frames = Spoil(fault, message);
  frames.insert(frames.end(), message.begin(), message.end());
  return frames;
}

std::string Injector::Summary() const {
  std::uint64_t total = 0;
  std::string names;
  for (std::size_t i = 0; i < kFaults; ++i) {
    if (counts_[i] == 0) continue;
    total += counts_[i];
    names +=
        (names.empty() ? ": " : ", ") + std::string(kFaultTable[i].name) + " " + std::to_string(counts_[i]);
  }
  return total == 0 ? "injected no faults" : "injected " + std::to_string(total) + " faults" + names;
}

}  // namespace host
