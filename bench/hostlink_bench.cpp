// Measures how many host frames per second the application processes, and what the repair of host text costs.
//
// One thread takes the frames the whole way: delivery by the service, the queues, decapsulation, and the
// commands with their writes to the parameter database. A bus of 250 kbit/s carries some 1,800 such frames per
// second.
#include <algorithm>
#include <array>
#include <iterator>
#include <string>

#include <benchmark/benchmark.h>
#include <utf8.h>

#include "platform/byte_order.h"

#include "src/hostlink/can_transport.h"
#include "src/hostlink/decapsulation.h"
#include "src/hostlink/j1939_external.h"
#include "src/parse/parse_thread.h"
#include "src/text/fields.h"
#include "src/text/utf8_text.h"
#include "tests/support/test_record.h"

namespace {

using namespace std::string_literals;

// The deliveries of the service for one message, one for each frame.
std::vector<std::vector<std::uint8_t>> Deliveries(const std::string& message) {
  std::size_t frames = 1;
  while (MessageRoom(frames) < message.size()) ++frames;
  std::vector<std::vector<std::uint8_t>> deliveries;
  std::size_t at = 0;
  for (std::size_t number = 0; number < frames; ++number) {
    std::vector<std::uint8_t> delivery(J1939_MESSAGE_SIZE);
    platform::StoreLe32(delivery, J1939_IDENTIFIER_AT, HOST_FRAME_ID);
    delivery[J1939_DATA_AT] = static_cast<std::uint8_t>(number);
    delivery[J1939_DATA_AT + 1] = static_cast<std::uint8_t>(frames);
    for (std::size_t i = number == 0 ? 2 : 1; i < FRAME_SIZE; ++i, ++at) {
      delivery[J1939_DATA_AT + i] =
          at < message.size() ? static_cast<std::uint8_t>(message[at]) : FRAME_PADDING;
    }
    deliveries.push_back(std::move(delivery));
  }
  return deliveries;
}

// Operating values, which a host sends ten times a second.
const std::string VALUES =
    "\x02\x00"
    "\x46\x41\xBC\x00\x46\x40\xF8\x00\x42\x0D\x99\x9A\xC1\x28\x00\x00\x41\xFC\x00\x00\x3F\x59\x99\x9A"
    "\x06\x78\x56\x34\xFF\x38\x12\x43\x48\x00\x00\x42\xC8\x80\x00"s;
// Four texts of a page.
const std::string TEXTS =
    "\x05\x00\x37"
    "\x00\x0D\x00\x01OUTRIGGERS "
    "\x00\x0B\x00\x11MAIN BOOM"
    "\x00\x0A\x00\x12SWING OK"
    "\x00\x0D\x00\x14PARTS OF LN"s;

void RunMessage(benchmark::State& state, const std::string& message) {
  TestRecord record;
  InitAllFields();
  Decapsulator decapsulator;
  const auto deliveries = Deliveries(message);
  for (auto _ : state) {
    for (const auto& delivery : deliveries) HandleServiceMessage(record, delivery);
    DecapsulateQueuedFrames(record, decapsulator);
    ParseQueuedMessages(record);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(deliveries.size()));
}

void BmOperatingValueFrames(benchmark::State& state) {
  RunMessage(state, VALUES);
}
void BmTextFrames(benchmark::State& state) {
  RunMessage(state, TEXTS);
}
BENCHMARK(BmOperatingValueFrames);
BENCHMARK(BmTextFrames);

// Host texts in the languages of the display, and one with a bad byte in every seven.
const std::string ASCII =
    "LOST COMMUNICATIONS WITH THE HOST COMPUTER / CHECK THE CABLE AND THE FUSE OF THE HOST";
const std::string RUSSIAN = "ПОТЕРЯНА СВЯЗЬ С ВЕДУЩИМ КОМПЬЮТЕРОМ ПРОВЕРЬТЕ КАБЕЛЬ";
const std::string CHINESE = "与主机的通信已中断请检查电缆和保险丝与主机的通信已中断";
const std::string MIXED = "ПОТЕРЯНА СВЯЗЬ / LOST COMMUNICATIONS / 与主机的通信已中断 / PERDUE ";
const std::string BROKEN = [] {
  std::string text = MIXED;
  for (std::size_t i = 0; i < text.size(); i += 7) text[i] = '\xC3';
  return text;
}();

void BmFixUtf8String(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    std::string s = text;
    FixUTF8String(s);
    benchmark::DoNotOptimize(s);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

// For comparison: the library's replacement function, which follows fewer rules.
void BmLibraryRepair(benchmark::State& state, const std::string& text) {
  constexpr char32_t FULLWIDTH_QUESTION_MARK = 0xFF1F;
  for (auto _ : state) {
    std::string s;
    utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(s), FULLWIDTH_QUESTION_MARK);
    benchmark::DoNotOptimize(s);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

BENCHMARK_CAPTURE(BmFixUtf8String, ascii, ASCII);
BENCHMARK_CAPTURE(BmLibraryRepair, ascii, ASCII);
BENCHMARK_CAPTURE(BmFixUtf8String, russian, RUSSIAN);
BENCHMARK_CAPTURE(BmLibraryRepair, russian, RUSSIAN);
BENCHMARK_CAPTURE(BmFixUtf8String, chinese, CHINESE);
BENCHMARK_CAPTURE(BmLibraryRepair, chinese, CHINESE);
BENCHMARK_CAPTURE(BmFixUtf8String, mixed, MIXED);
BENCHMARK_CAPTURE(BmLibraryRepair, mixed, MIXED);
BENCHMARK_CAPTURE(BmFixUtf8String, broken, BROKEN);
BENCHMARK_CAPTURE(BmLibraryRepair, broken, BROKEN);

}  // namespace

BENCHMARK_MAIN();
