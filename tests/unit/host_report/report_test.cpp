// What a report takes from a log and from the film, before it is packed.
#include <cmath>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "host/protocol/send_plan.h"
#include "host/report/curve_tiles.h"
#include "host/report/packed_text.h"
#include "host/report/report_figures.h"
#include "host/report/report_file.h"
#include "host/report/screen_chunks.h"
#include "host/report/traffic_report.h"

namespace host::report {
namespace {

using nlohmann::json;
using testing::ElementsAre;

class KeptChunks : public ChunkSink {
 public:
  void AddChunk(const std::string& name, std::string_view text) override { chunks[name] = json::parse(text); }
  std::map<std::string, json> chunks;
};

// Zlib's form has the same bytes in every implementation for texts as short as these; the digits are Python's.
TEST(PackedText, IsBase64OfZlibsForm) {
  const std::map<std::string, std::string> cases = {
      {"", "eJwDAAAAAAE="}, {"a", "eJxLBAAAYgBi"}, {"ab", "eJxLTAIAASYAxA=="}, {"<&>", "eJyzUbMDAAFBAKE="}};
  for (const auto& [text, packed] : cases) EXPECT_EQ(PackText(text), packed) << text;
  EXPECT_EQ(EscapeHtml("</title><img onerror=\"x\">&"), "&lt;/title&gt;&lt;img onerror=&quot;x&quot;&gt;&amp;");
}

// --- Figures and traffic

struct said_t {
  std::int64_t time_ms;
  std::vector<std::string> words;  // as `hx7 send` takes them
};

// The index after these messages, and the end of the log a second after the last.
json IndexOf(const std::vector<said_t>& log, KeptChunks& chunks) {
  TrafficReport traffic(chunks);
  Cmd2Values values;
  for (const said_t& said : log) {
    for (const send_step_t& step : PlanSend(said.words, values).steps) {
      for (const bus::frame_t& frame : step.frames) traffic.Accept(frame, said.time_ms);
    }
  }
  json index{{"bands", json::object()}};
  traffic.Finish(log.back().time_ms + 1000, index);
  return index;
}

struct traffic_case_t {
  const char* what;
  std::vector<said_t> log;
  const char* member;  // of the index
  json expected;
};

TEST(TrafficReport, CountsAndPlacesWhatWarns) {
  const traffic_case_t cases[] = {
      {"an overload's greatest percentage is that of the lit messages",
       {{0, {"percent=150"}},
        {1000, {"led=overload", "percent=104"}},
        {2000, {"percent=113.2"}},
        {3000, {"led=none"}},
        {4000, {"led=overload", "percent=101"}}},
       "/figures/overloads",
       {{"count", 2}, {"times", {1000, 4000}}, {"percents", {113.2, 101.0}}, {"most", 113.2}}},
      {"a lamp's row has its time",
       {{0, {"led=none"}}, {500, {"led=a2b"}}, {2500, {"led=none"}}},
       "/figures/twoBlocks",
       {{"count", 1}, {"times", {500}}, {"total", 2000}}},
      {"a lamp is lit for ten seconds after the last message",
       {{0, {"led=a2b"}}, {60'000, {"program-name"}}},
       "/bands/two-block/spans",
       {0, 10'000, 0}},
      {"after a silence the overload is another one",
       {{0, {"led=overload", "percent=110"}}, {60'000, {"percent=105"}}},
       "/figures/overloads/times",
       {0, 60'000}},
      {"a frame out of order breaks a message",
       {{0, {"led=none"}}, {700, {"frame=18FF00D0#0006020046D22800", "frame=18FF00D0#0343FA000041FF33"}}},
       "/figures/broken",
       {{"count", 1}, {"times", {700}}}},
      {"the lamps say how the crane is rigged until the host falls silent",
       {{0, {"led=outrigger-half,overload,stowed"}},
        {3000, {"led=jib-long-fly-15"}},
        {60'000, {"program-name"}}},
       "/bands/rigging",
       {{"labels", {"outrigger-half stowed", "jib-long-fly-15"}}, {"spans", {0, 3000, 0, 3000, 10'000, 1}}}},
      {"a language holds until the next",
       {{0, {"language=russian"}}, {3000, {"language=french"}}},
       "/bands/language",
       {{"labels", {"russian", "french"}}, {"spans", {0, 3000, 0, 3000, 1000, 1}}}},
  };
  for (const traffic_case_t& one : cases) {
    KeptChunks kept;
    EXPECT_EQ(IndexOf(one.log, kept).at(json::json_pointer(one.member)), one.expected) << one.what;
  }
}

TEST(TrafficReport, KeepsTheUnitsOfTheBeginning) {
  KeptChunks kept;
  const json index = IndexOf({{0, {"units=imperial", "load=1000", "radius=100"}},
                              {100, {"units=metric", "load=453.6", "radius=30.48"}}},
                             kept);
  EXPECT_EQ(index["units"], 0);
  KeptChunks taken;
  EXPECT_EQ(IndexOf({{0, {"load=100"}}, {100, {"units=metric", "load=45.36"}}}, taken)["units"], 0);
  EXPECT_EQ(taken.chunks["c0-0"]["lo"][0], json({100, 0}));
  KeptChunks turned;
  IndexOf({{0, {"swing=-40"}}, {100, {"swing=32767"}}}, turned);
  EXPECT_EQ(turned.chunks["c0-0"]["lo"][6], json({-40, nullptr})) << "the host sends no NaN of a whole number";
  // load and radius: first value, then the difference.
  EXPECT_EQ(kept.chunks["c0-0"]["lo"][0], json({1000, 0}));
  EXPECT_EQ(kept.chunks["c0-0"]["lo"][3], json({1000, 0}));
}

TEST(TrafficReport, ListsOperatingValuesOnceASecondAndEachChangeOfALamp) {
  KeptChunks kept;
  IndexOf({{0, {"load=100"}},
           {100, {"load=200"}},
           {200, {"load=300", "led=overload"}},
           {300, {"load=400"}},
           {1200, {"load=500"}},
           {1300, {"line1-left=A"}},
           {1400, {"line1-left=B"}},
           {1500, {"line1-left=B"}}},
          kept);
  std::vector<int> times;
  const json& messages = kept.chunks["m0"]["messages"];
  for (std::size_t i = 0; i < messages.size(); i += 4) times.push_back(messages[i]);
  EXPECT_THAT(times, ElementsAre(0, 200, 1200, 1300, 1400));
}

// --- Curves

TEST(CurveTiles, KeepAPeakAtEachLevel) {
  KeptChunks kept;
  CurveTiles tiles(kept);
  for (int i = 0; i < 3000; ++i) {
    curve_values_t values{};
    values[0] = i == 1500 ? 999 : 10;
    values[2] = i < 2000 ? std::nan("") : 50;
    tiles.Add(std::int64_t{100} * i, values);
  }
  const json levels = tiles.Finish();
  EXPECT_EQ(levels[0]["chunks"], json({0, 102'400, 204'800}));
  EXPECT_EQ(kept.chunks["c0-1"]["t"][0], 102'400);
  EXPECT_EQ(kept.chunks["c0-1"]["t"][1], 100);
  // 150 s, in whole intervals of each level: the peak comes and goes.
  const std::map<std::string, std::size_t> peaks = {{"c1-0", 150}, {"c2-0", 37}, {"c3-0", 9}, {"c4-0", 2}};
  for (const auto& [name, row] : peaks) {
    const json& chunk = kept.chunks[name];
    EXPECT_EQ(chunk["hi"][0][row], 989) << name;
    EXPECT_EQ(chunk["hi"][0][row + 1], -989) << name;
    EXPECT_EQ(chunk["lo"][0][row], 0) << name;
    EXPECT_EQ(chunk["hi"][2][0], nullptr) << name;
  }
  EXPECT_EQ(kept.chunks["c1-0"]["lo"][2][200], 500);  // tenths of a percent
}

// --- Screen

TEST(ScreenChunks, BeginEachMinuteWithTheWholePage) {
  KeptChunks kept;
  ScreenChunks screen(kept);
  for (
      const char* record :
      {R"({"t":10,"page":"Main","title":"OPERATING","look":"day","svg":"<svg/>","variables":{"OrvikHX7TimeOutLamp":1}})",
       R"({"t":20,"elements":[["load",{"style":null,"fill":"red"},"100"],["lamp",{"display":null}]]})",
       R"({"t":30,"page":"Wad","title":"WAD","look":"day","svg":"<svg/>"})",
       R"({"t":40,"page":"Main","title":"OPERATING","look":"day","elements":[["load",{"fill":"blue"}]]})",
       R"({"t":50,"sound":true})", R"({"t":60,"sound":false})",
       R"({"t":70,"variables":{"OrvikHX7TimeOutLamp":2}})", "no record",
       R"({"t":125000,"elements":[["lamp",{"display":"none"}]],"line":"</script>"})"}) {
    screen.Accept(record);
  }
  EXPECT_THAT(screen.Finish(), ElementsAre(0, 120'000));
  EXPECT_EQ(screen.Unreadable(), 1U);
  const json main = {
      {"page", "Main"},
      {"title", "OPERATING"},
      {"document", 0},
      {"elements",
       {{"lamp", {{"display", nullptr}}}, {"load", {{"style", nullptr}, {"fill", "blue"}}, "100"}}}};
  EXPECT_EQ(kept.chunks["s0"]["start"], nullptr);
  EXPECT_EQ(kept.chunks["s0"]["changes"][3], json({40, main}));
  EXPECT_EQ(kept.chunks["s1"]["start"], main);
  EXPECT_EQ(kept.chunks["s1"]["lines"], json::parse(R"([[125000,"</script>"]])"));
  const json bands = screen.Bands().Finish(125'000);
  EXPECT_EQ(bands["page"]["spans"], json({10, 20, 0, 30, 10, 1, 40, 124'960, 0}));
  EXPECT_EQ(bands["beeper"]["spans"], json({50, 10, 0}));
  EXPECT_EQ(bands["link"]["spans"], json({70, 124'930, 0}));
}

}  // namespace
}  // namespace host::report
