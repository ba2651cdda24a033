// The retained picture beside the same document drawn whole by librsvg.
#include "unit/screen/render/retained_picture.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "unit/design/design_scenes.h"
#include "unit/screen/design/screen_model.h"

namespace unit {
namespace {

constexpr int WIDTH = 640, HEIGHT = 480;
// Of 255, of each colour. Laying half-transparent edges over each other rounds twice what librsvg rounds once.
constexpr int TOLERANCE = 2;

struct drawn_state_t {
  std::string name, svg;
  dim_rates_t dim;
  pixels_t whole;
};

drawn_state_t DrawState(const std::string& name, const std::string& svg, dim_rates_t dim = {}) {
  std::string style;
  if (dim.once) style += R"([data-flashing="1"]{opacity:0.25!important})";
  if (dim.twice) style += R"([data-flashing="2"]{opacity:0.25!important})";
  return {name, svg, dim, RenderPixels(svg, WIDTH, HEIGHT, style)};
}

// The first pixel that differs; empty when the pictures are alike.
std::string FindDifference(const pixels_t& wanted, const pixels_t& drawn) {
  for (std::size_t i = 0; i < wanted.values.size(); ++i) {
    for (const unsigned shift : {0U, 8U, 16U}) {
      const auto color = [shift](std::uint32_t pixel) { return static_cast<int>(pixel >> shift & 0xFFU); };
      if (std::abs(color(wanted.values[i]) - color(drawn.values.at(i))) <= TOLERANCE) continue;
      return std::to_string(i % WIDTH) + ", " + std::to_string(i / WIDTH);
    }
  }
  return {};
}

ScreenModel MakeModel() {
  std::vector<std::string> problems;
  const screen_names_t names = ReadScreenNames(SOURCE_FOLDER "/config/generic.xml");
  ScreenModel model(names, ReadDesign(SOURCE_FOLDER "/config/screen", WidgetNames(names), problems),
                    ReadWords(SOURCE_FOLDER "/config/words", problems));
  EXPECT_TRUE(problems.empty()) << problems.front();
  return model;
}

void SetText(ScreenModel& model, const std::string& widget, const std::string& text) {
  for (const auto& [handle, name] : model.Names().widgets) {
    if (name == widget)
      model.Accept({.target = handle, .operation = SCREEN_SET_TEXT, .number = 2, .text = text});
  }
}

void ShowGolden(ScreenModel& model, const std::filesystem::path& file) {
  const auto golden = nlohmann::json::parse(std::ifstream(file));
  for (const auto& [name, text] : golden["widgets"].items()) SetText(model, name, text);
  for (const auto& [name, value] : golden["variables"].items()) {
    model.SetVariable(name, value.is_null() ? variable_value_t() : value.get<double>());
  }
  model.SetDataState(file.stem() == "link-lost" ? DATA_LINK_LOST : DATA_CURRENT);
  model.ProcessCommands();
  model.ShowPage(golden["page"]);
}

std::vector<drawn_state_t> GoldenStates() {
  ScreenModel model = MakeModel();
  std::vector<drawn_state_t> states;
  for (const auto& entry : std::filesystem::directory_iterator(SOURCE_FOLDER "/tests/golden")) {
    if (entry.path().extension() != ".json") continue;
    ShowGolden(model, entry.path());
    states.push_back(DrawState(entry.path().stem(), model.Svg()));
  }
  for (const dim_rates_t dim : {dim_rates_t{true, false}, dim_rates_t{true, true}}) {
    ShowGolden(model, SOURCE_FOLDER "/tests/golden/overload.json");
    states.push_back(DrawState("dim overload", model.Svg(), dim));
    model.SetDataState(DATA_LINK_LOST);
    states.push_back(DrawState("dim banner", model.Svg(), dim));
  }
  for (const int language : {0, CHINESE}) {
    ShowScene(model, CheckScenes().back(), language, LOOK_NIGHT);
    states.push_back(DrawState("night", model.Svg()));
  }
  return states;
}

// Goes round three times in different orders: stale pixels of the state before would be seen.
TEST(RetainedPictureTest, EachGoldenStateIsDrawnRightAfterOthers) {
  const std::vector<drawn_state_t> states = GoldenStates();
  ASSERT_EQ(states.size(), 17U) << "a prime number, so that each step visits all";
  RetainedPicture picture;
  std::size_t at = 0;
  for (const std::size_t step : {1U, 5U, 9U}) {
    for (std::size_t i = 0; i < states.size(); ++i) {
      const std::string& from = states[at].name;
      at = (at + step) % states.size();
      picture.Update(states[at].svg, WIDTH, HEIGHT, states[at].dim);
      ASSERT_EQ(FindDifference(states[at].whole, picture.Pixels()), "") << states[at].name << " after " << from;
    }
  }
  EXPECT_EQ(picture.Counters().wholes, 0U);
}

TEST(RetainedPictureTest, DrawsOnlyWhatChanged) {
  ScreenModel model = MakeModel();
  ShowGolden(model, SOURCE_FOLDER "/tests/golden/lift-under-way.json");
  RetainedPicture picture;
  EXPECT_TRUE(picture.Update(model.Svg(), WIDTH, HEIGHT));
  const picture_counters_t first = picture.Counters();
  EXPECT_FALSE(picture.Update(model.Svg(), WIDTH, HEIGHT));
  SetText(model, "orvikTextWidgetRadius", " 33.5");
  model.ProcessCommands();
  EXPECT_TRUE(picture.Update(model.Svg(), WIDTH, HEIGHT));
  EXPECT_EQ(picture.Counters().sprites, first.sprites + 1);
  EXPECT_LT(picture.Counters().pixels, first.pixels + std::uint64_t{90} * 40)
      << "more than the box of the number";
}

struct written_case_t {
  const char* name;
  const char* content;       // with a digit in place of each $
  std::uint64_t wholes = 0;  // how often it is drawn whole, of three times
};

// Elements that others cover, that act on groups, or that use others.
constexpr written_case_t WRITTEN_CASES[] = {
    {"a number below another element", R"svg(<text x="90" y="90" fill="red" font-size="60">$</text>
       <path d="M80 60 L200 90" stroke="#fff" stroke-width="9" opacity="0.7"/>)svg"},
    {"a group that fades as a whole",
     R"svg(<g style="opacity:0.$"><rect x="9" width="90" height="90" fill="red"/>
       <rect x="50" y="50" width="90" height="90" fill="blue"/></g>)svg"},
    {"inherited properties and transforms",
     R"svg(<g fill="red" transform="rotate($)"><g transform="translate(90 90)">
       <rect width="50" height="50"/><text font-size="40">A &amp; B</text></g></g>)svg"},
    {"a style that shows what an attribute hides", R"svg(<rect width="90" height="9$" fill="red" display="none"
       style="display:inline"/>)svg"},
    {"a sheet that shows what an attribute hides", R"svg(<style>.b{display:inline}</style>
       <rect width="90" height="9$" fill="red" display="none" class="b"/>)svg",
     3},
    {"a definition that changes", R"svg(<defs><style>.a{stroke:red}</style><linearGradient id="g">
       <stop stop-color="red"/><stop offset="1" style="stop-color:#0$0"/></linearGradient></defs>
       <rect class="a" width="99" height="99" fill="url(#g)"/>)svg"},
    {"a picture that turns",
     R"svg(<defs><image id="p" width="2" height="2" href="data:image/png;base64,iVBORw0KGgo
       AAAANSUhEUgAAAAIAAAACCAIAAAD91JpzAAAAFUlEQVR42gXBAQEAAACAEP9PF0JQGR7vBPwV2kkwAAAAAElFTkSuQmCC"/></defs>
       <g id="compositor-layer"><use href="#p" transform="translate(200 200) rotate($) scale(40)"/></g>)svg"},
    {"an element that shows another drawn one", R"svg(<rect id="r" width="90" height="90" fill="#0$0"/>
       <use href="#r" x="200"/>)svg",
     3},
    {"a sheet that selects by neighbours", R"svg(<style>rect + .b { fill: #fff }</style><rect width="$"/>
       <rect class="b" x="99" width="$0" height="90"/>)svg",
     3},
    {"a sheet within a group that fades", R"svg(<g opacity="0.$"><style>.b{fill:red}</style></g>
       <rect class="b" width="90" height="90"/>)svg",
     3},
};

TEST(RetainedPictureTest, DrawsWhatAnEditorOfPagesMayWrite) {
  for (const written_case_t& written : WRITTEN_CASES) {
    RetainedPicture picture;
    for (const char digit : {'3', '8', '3'}) {
      std::string svg = R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 640 480">)";
      svg.append(written.content).append("</svg>");
      std::replace(svg.begin(), svg.end(), '$', digit);
      const drawn_state_t state = DrawState(written.name, svg);
      picture.Update(svg, WIDTH, HEIGHT);
      EXPECT_EQ(FindDifference(state.whole, picture.Pixels()), "") << written.name << ", " << digit;
    }
    EXPECT_EQ(picture.Counters().wholes, written.wholes) << written.name;
  }
}

// A page of `layers` rectangles over each other, each as large as the picture.
std::string Layers(int layers, int color) {
  std::string svg = R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 640 480">)";
  for (int i = 0; i < layers; ++i) {
    svg += R"(<rect width="640" height="480" fill="rgb(0,0,)" + std::to_string(i + color) + ")\"/>";
  }
  return svg + "</svg>";
}

TEST(RetainedPictureTest, EveryCacheIsBounded) {
  RetainedPicture picture;
  for (int color = 0; color < 60; ++color) picture.Update(Layers(1, color), WIDTH, HEIGHT);
  constexpr std::size_t PAGE = std::size_t{4} * WIDTH * HEIGHT + 1000;  // the first of them
  EXPECT_LE(picture.Counters().cacheBytes, RetainedPicture::MOST_VALUE_CACHE + PAGE);
  EXPECT_GT(picture.Counters().cacheBytes, RetainedPicture::MOST_VALUE_CACHE / 2);
  picture.Update(Layers(1, 0), WIDTH, HEIGHT);
  EXPECT_EQ(picture.Pixels().values.front() & 0xFFFFFFU, 0U) << "dropped and drawn again";
  EXPECT_EQ(picture.Counters().wholes, 0U);
  picture.Update(Layers(RetainedPicture::MOST_LAYERS + 1, 5), WIDTH, HEIGHT);
  EXPECT_EQ(picture.Counters().wholes, 1U);
  EXPECT_EQ(picture.Pixels().values.front() & 0xFFFFFFU, 5U + RetainedPicture::MOST_LAYERS);
}

// A crane works for a while on one page; the others are not drawn again after it.
TEST(RetainedPictureTest, ManyValuesDoNotPushOutThePages) {
  ScreenModel model = MakeModel();
  RetainedPicture picture;
  const auto show = [&](const std::string& page) {
    model.ShowPage(page);
    picture.Update(model.Svg(), WIDTH, HEIGHT);
    return picture.Counters().sprites;
  };
  for (const auto& [name, page] : model.Design()) show(name);
  show("Main");
  for (int color = 0; color < 40; ++color) picture.Update(Layers(1, color), WIDTH, HEIGHT);
  const std::uint64_t drawn = picture.Counters().sprites;
  for (const auto& [name, page] : model.Design()) EXPECT_LE(show(name), drawn) << name;
}

}  // namespace
}  // namespace unit
