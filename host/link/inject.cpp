#include "host/link/inject.h"

#include <algorithm>

#include "base/nearest_word.h"
#include "host/protocol/errors.h"
#include "host/protocol/protocol.h"
#include "host/protocol/value_text.h"

namespace host {
namespace {

using frames_t = std::vector<bus::frame_t>;

constexpr std::array<bus_fault_name_t, BUS_FAULTS> FAULT_TABLE = {{
    {"missing-frame", "one frame of a message is left out"},
    {"repeated-frame", "one frame of a message is sent twice"},
    {"wrong-sequence", "two frames of a message are swapped"},
    {"oversize", "a message of more frames than the display takes"},
    {"bad-length", "a text command with a wrong length"},
    {"broken-utf8", "a text that is not UTF-8"},
    {"unknown-command", "a command number that the display does not know"},
    {"babble", "another station floods the bus with frames"},
}};

constexpr std::size_t OVERSIZE_FRAMES = 40;
constexpr std::size_t BABBLE_FRAMES = 500;
constexpr std::uint32_t BABBLE_IDENTIFIER = 0x18FF00D1;  // between the host's and the display's
constexpr std::uint8_t FIRST_UNKNOWN = 10;

// A message of at least three frames: a single frame cannot lose a part or be swapped.
frames_t MakeLong(std::span<const bus::frame_t> message) {
  constexpr std::size_t LONG = 3;
  if (message.size() >= LONG) return {message.begin(), message.end()};
  return CutIntoFrames(
      MakeMessage(OperatingValuesCommand(), std::vector<double>(OperatingValuesCommand().fields.size(), 0.0)));
}

std::size_t Pick(std::mt19937_64& chance, std::size_t from, std::size_t to) {
  return from + chance() % (to - from + 1);
}

frames_t DropFrame(std::span<const bus::frame_t> message, std::mt19937_64& chance) {
  frames_t frames = MakeLong(message);
  frames.erase(frames.begin() + static_cast<std::ptrdiff_t>(Pick(chance, 0, frames.size() - 1)));
  return frames;
}

frames_t RepeatFrame(std::span<const bus::frame_t> message, std::mt19937_64& chance) {
  frames_t frames = MakeLong(message);
  const auto at = static_cast<std::ptrdiff_t>(Pick(chance, 0, frames.size() - 1));
  const bus::frame_t twice = frames[static_cast<std::size_t>(at)];
  frames.insert(frames.begin() + at, twice);
  return frames;
}

frames_t SwapFrames(std::span<const bus::frame_t> message, std::mt19937_64& chance) {
  frames_t frames = MakeLong(message);
  const std::size_t at = Pick(chance, 1, frames.size() - 2);
  std::swap(frames[at], frames[at + 1]);
  return frames;
}

frames_t SendOversize(std::span<const bus::frame_t> /*message*/, std::mt19937_64& /*chance*/) {
  MessageBytes message(6 + 7 * (OVERSIZE_FRAMES - 1), 'X');
  message[0] = TextsCommand().number;
  return CutIntoFrames(message);
}

// A text command whose length is below or above every length that the display accepts.
frames_t SendBadLength(std::span<const bus::frame_t> /*message*/, std::mt19937_64& chance) {
  constexpr std::array<std::uint16_t, 5> LENGTHS = {0, 1, 4, 803, 0xFFFF};
  const std::uint16_t length = LENGTHS[Pick(chance, 0, LENGTHS.size() - 1)];
  MessageBytes message = MakeTextsMessage(std::array<field_text_t, 1>{{{17, "BAD LENGTH"}}});
  message[1] = static_cast<std::uint8_t>(length >> 8U);
  message[2] = static_cast<std::uint8_t>(length);
  return CutIntoFrames(message);
}

frames_t SendBrokenText(std::span<const bus::frame_t> /*message*/, std::mt19937_64& chance) {
  constexpr std::array<std::string_view, 4> TEXTS = {"A\xC3\x28", "\xE4\xB8", "\xED\xA0\x80", "\xF8\x88\x80"};
  const std::string_view text = TEXTS[Pick(chance, 0, TEXTS.size() - 1)];
  MessageBytes message = MakeTextsMessage(std::array<field_text_t, 1>{{{17, "BROKEN UTF8 "}}});
  std::copy(text.begin(), text.end(), message.end() - static_cast<std::ptrdiff_t>(text.size()));
  return CutIntoFrames(message);
}

frames_t SendUnknown(std::span<const bus::frame_t> /*message*/, std::mt19937_64& chance) {
  return CutIntoFrames(MessageBytes{static_cast<std::uint8_t>(Pick(chance, FIRST_UNKNOWN, 0xFF))});
}

frames_t FloodBus(std::span<const bus::frame_t> /*message*/, std::mt19937_64& chance) {
  frames_t frames(BABBLE_FRAMES);
  for (bus::frame_t& frame : frames) {
    frame.identifier = BABBLE_IDENTIFIER;
    frame.length = static_cast<std::uint8_t>(frame.data.size());
    std::ranges::generate(frame.data, [&chance] { return static_cast<std::uint8_t>(chance()); });
  }
  return frames;
}

using faulty_sender_t = frames_t (*)(std::span<const bus::frame_t>, std::mt19937_64&);
constexpr std::array<faulty_sender_t, BUS_FAULTS> SENDERS = {
    DropFrame, RepeatFrame, SwapFrames, SendOversize, SendBadLength, SendBrokenText, SendUnknown, FloodBus};

}  // namespace

std::span<const bus_fault_name_t, BUS_FAULTS> BusFaults() {
  return FAULT_TABLE;
}

std::vector<bus_fault_t> ParseBusFaults(std::string_view text) {
  std::vector<bus_fault_t> faults;
  std::vector<std::string_view> names(BUS_FAULTS);
  std::ranges::transform(FAULT_TABLE, names.begin(), &bus_fault_name_t::name);
  for (const std::string_view name : text == "all" || text.empty() ? names : SplitAt(text, ',')) {
    const auto found = std::ranges::find(names, name);
    if (found == names.end()) {
      throw UsageError("there is no fault \"" + std::string(name) + "\"" + base::Suggest(name, names));
    }
    faults.push_back(static_cast<bus_fault_t>(found - names.begin()));
  }
  return faults;
}

Injector::Injector(std::vector<bus_fault_t> faults, double rate, std::uint64_t seed)
    : faults_(std::move(faults)), rate_(rate), chance_(seed) {}

bool Injector::DrawFault(bus_fault_t& fault) {
  if (!asked_.empty()) {
    fault = asked_.front();
    asked_.erase(asked_.begin());
    return true;
  }
  if (faults_.empty() || std::generate_canonical<double, 53>(chance_) >= rate_) return false;
  fault = faults_[Pick(chance_, 0, faults_.size() - 1)];
  return true;
}

std::vector<bus::frame_t> Injector::MakeFaulty(bus_fault_t fault, std::span<const bus::frame_t> message) {
  ++counts_[static_cast<std::size_t>(fault)];
  return SENDERS[static_cast<std::size_t>(fault)](message, chance_);
}

std::vector<bus::frame_t> Injector::Apply(std::span<const bus::frame_t> message) {
  std::vector<bus::frame_t> frames;
  if (bus_fault_t fault{}; DrawFault(fault)) frames = MakeFaulty(fault, message);
  frames.insert(frames.end(), message.begin(), message.end());
  return frames;
}

std::string Injector::Summary() const {
  std::uint64_t total = 0;
  std::string names;
  for (std::size_t i = 0; i < BUS_FAULTS; ++i) {
    if (counts_[i] == 0) continue;
    total += counts_[i];
    names +=
        (names.empty() ? ": " : ", ") + std::string(FAULT_TABLE[i].name) + " " + std::to_string(counts_[i]);
  }
  return total == 0 ? "injected no faults" : "injected " + std::to_string(total) + " faults" + names;
}

}  // namespace host
