#include "host/inject.h"

#include <gmock/gmock.h>

#include "host/reassembly.h"

namespace host {
namespace {

// What the display would join of the frames: the messages, and what broke.
struct joined_t {
  std::vector<Message> messages;
  Reassembler::counters_t counters;
};

joined_t Join(const std::vector<bus::frame_t>& frames) {
  Reassembler reassembler;
  joined_t joined;
  for (const bus::frame_t& frame : frames) {
    Message message;
    if (frame.identifier == 0x18FF00D0 && reassembler.Feed(frame.Bytes(), message))
      joined.messages.push_back(message);
  }
  joined.counters = reassembler.Counters();
  return joined;
}

std::vector<bus::frame_t> Send(Injector& injector, int messages) {
  std::vector<bus::frame_t> frames;
  for (int i = 0; i < messages; ++i) {
    const auto more = injector.Apply(Segment(Encode("beeper", i % 256)));
    frames.insert(frames.end(), more.begin(), more.end());
  }
  return frames;
}

TEST(Injector, EachFaultSpoilsAsItsNameSaysAndLosesOneGoodMessageAtMost) {
  struct case_t {
    const char* name;
    std::function<bool(const joined_t&)> spoils;
  };
  const Message good = Encode("units", 1);
  for (const case_t& c : {
           case_t{"missing-frame", [](const auto& j) { return j.counters.broken + j.counters.strays > 0; }},
           {"repeated-frame", [](const auto& j) { return j.counters.broken + j.counters.strays > 0; }},
           {"wrong-sequence", [](const auto& j) { return j.counters.broken > 0; }},
           {"oversize", [](const auto& j) { return j.counters.tooLong > 0; }},
           {"bad-length", [](const auto& j) { return j.messages.front()[0] == 5; }},
           {"broken-utf8", [](const auto& j) { return j.messages.front()[0] == 5; }},
           {"unknown-command", [](const auto& j) { return j.messages.front()[0] > 9; }},
           {"babble", [](const auto& j) { return j.messages.size() == 2; }},
       }) {
    for (std::uint64_t seed = 0; seed < 50; ++seed) {
      Injector injector({}, 0, seed);
      injector.Ask(ParseFaults(c.name).front());
      auto frames = injector.Apply(Segment(good));
      const auto next = injector.Apply(Segment(good));
      frames.insert(frames.end(), next.begin(), next.end());
      const joined_t joined = Join(frames);
      EXPECT_TRUE(c.spoils(joined)) << c.name << ", seed " << seed;
      ASSERT_FALSE(joined.messages.empty()) << c.name;
      EXPECT_EQ(joined.messages.back()[0], good[0]) << c.name << ", seed " << seed;
      EXPECT_EQ(injector.Summary(), std::string("injected 1 faults: ") + c.name + " 1");
    }
  }
}

TEST(Injector, KeepsItsRate) {
  Injector injector(ParseFaults("all"), 0.1, 7);
  Send(injector, 2000);
  std::uint64_t faults = 0;
  for (std::size_t i = 0; i < kFaults; ++i) {
    EXPECT_GT(injector.Count(static_cast<Fault>(i)), 0U) << Faults()[i].name;
    faults += injector.Count(static_cast<Fault>(i));
  }
  EXPECT_NEAR(static_cast<double>(faults), 200.0, 60.0);
  Injector none({}, 1, 1);
  EXPECT_EQ(Join(Send(none, 100)).messages.size(), 100U);
}

}  // namespace
}  // namespace host
