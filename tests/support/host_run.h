// A load computer without bus and clock: its messages, joined from the frames that it sends.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "host/protocol/field_codecs.h"
#include "host/protocol/reassembly.h"
#include "host/simulate/config_files.h"
#include "host/simulate/scenario.h"

namespace simulate {

struct said_t {
  std::int64_t time_ms;
  host::MessageBytes message;

  const host::command_t* Command() const { return host::FindCommand(message); }
  bool Is(std::string_view name) const { return Command() != nullptr && Command()->name == name; }
};

class HostRun {
 public:
  explicit HostRun(std::uint32_t seed = 1, scenario_t scenario = {})
      : shelf_(SOURCE_FOLDER "/config"), computer(shelf_.Chart(""), seed), player_(std::move(scenario), true) {}

  // The messages of the next seconds of crane time.
  std::vector<said_t> Pass(double seconds) {
    std::vector<said_t> said;
    const std::int64_t end_ms = computer.Now_ms() + static_cast<std::int64_t>(seconds * 1000);
    while (computer.Now_ms() < end_ms) {
      player_.Step(computer.Now_ms(), stage_);
      for (const message_frames_t& transmission : computer.Step()) Join(transmission, said);
    }
    return said;
  }
  // Carries out the action that the words name.
  void Do(std::string_view words) { ParseAction(SplitWords(words))(stage_); }

 private:
  void Join(const message_frames_t& transmission, std::vector<said_t>& said) {
    host::MessageBytes message;
    for (std::size_t i = 0; i < transmission.size(); ++i) {
      const bool whole = reassembler_.Accept(transmission[i].Bytes(), message);
      EXPECT_EQ(whole, i + 1 == transmission.size()) << "one message a transmission";
      if (whole) said.push_back({computer.Now_ms(), message});
    }
  }

  ConfigFiles shelf_;

 public:
  LoadComputer computer;
  ControlUnits controlUnits;
  std::vector<int> presses;
  std::vector<std::string> lines;

 private:
  ScenarioPlayer player_;
  action_target_t stage_{computer, controlUnits, [this](int key) { presses.push_back(key); },
                         [this](const std::string& text) { lines.push_back(text); }};
  host::Reassembler reassembler_;
};

// The text that a message of command 5 puts into a field; empty where it names none.
inline std::string TextOf(const said_t& said, std::string_view field) {
  const host::MessageBytes& m = said.message;
  const std::size_t end = host::TEXTS_BEGIN + static_cast<std::size_t>(m[1] << 8 | m[2]);
  for (std::size_t at = host::TEXTS_BEGIN; at + host::TEXT_HEADER <= end;) {
    const std::size_t length = static_cast<std::size_t>(m[at] << 8 | m[at + 1]);
    if (m[at + host::TEXT_FIELD_AT] == *host::FindTextField(field)) {
      return {m.begin() + static_cast<std::ptrdiff_t>(at + host::TEXT_HEADER),
              m.begin() + static_cast<std::ptrdiff_t>(at + host::TEXT_LENGTH_BYTES + length)};
    }
    at += host::TEXT_LENGTH_BYTES + length;
  }
  return {};
}

}  // namespace simulate
