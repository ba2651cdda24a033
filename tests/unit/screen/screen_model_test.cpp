#include "screen/screen_model.h"

#include <limits>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test_design.h"

namespace unit {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* MAIN = R"svg(
  <text id="Load" x="90" y="20" text-anchor="end" data-box="10 80" data-stale="----">----</text>
  <text data-widget="Load" x="90" y="40">----</text>
  <rect id="lamp" style="stroke:red" data-var="Lamp" data-fill="1:#f00" data-show="..2" data-stale=""/>
  <rect id="bar" width="120" data-var="Part" data-bar="0 1.2"/>
  <g id="needle" transform="scale(2)" data-var="Part" data-turn="-90 5 6"/>)svg";
constexpr const char* WAD = R"(<text id="Load" x="0" y="20">?</text>)";

enum handle_t : std::int32_t { LOAD = 7, HIDDEN_FROM_PAGES = 8 };
enum event_t : std::uint32_t { MAIN_TO_WAD = 1, WAD_TO_MAIN = 2, HEARTBEAT = 3 };

screen_names_t Names() {
  screen_names_t names;
  names.events = {{MAIN_TO_WAD, "MainToWad"}, {WAD_TO_MAIN, "WadToMain"}, {HEARTBEAT, "Heartbeat"}};
  names.widgets = {{LOAD, "Load"}, {HIDDEN_FROM_PAGES, "Elsewhere"}};
  names.variables = {{"Lamp", "Lamp"}, {"Part", "Part"}};
  return names;
}

class Screen : public testing::Test {
 protected:
  Screen() {
    folder_.Write("main.svg", Page("Main", 0, MAIN, R"(<transition event="MainToWad" page="Wad"/>)"));
    folder_.Write("wad.svg", Page("Wad", 1, WAD, R"(<transition event="WadToMain" page="Main"/>)"));
    model_ = std::make_unique<ScreenModel>(Names(), Load());
    model_->SetDataState(DATA_CURRENT);
    model_->TakeChange();
  }

  design_t Load() {
    problems_.clear();
    return LoadDesign(folder_.Path(), WidgetNames(Names()), problems_);
  }

  void SetText(std::int32_t handle, const std::string& text, std::uint32_t attribute = SCREEN_TEXT_RIGHT) {
    screen_command_t command;
    command.target = handle;
    command.operation = SCREEN_SET_TEXT;
    command.number = attribute;
    command.text = text;
    model_->Accept(command);
  }

  // The attribute of a changed element; "-" when it is removed or not there.
  static std::string Attribute(const screen_change_t& change, const std::string& id, const std::string& name) {
    for (const element_change_t& element : change.elements) {
      const auto found = element.attributes.find(name);
      if (element.id == id && found != element.attributes.end()) return found->second.value_or("-");
    }
    return "-";
  }

  TestFolder folder_;
  std::vector<std::string> problems_;
  std::unique_ptr<ScreenModel> model_;
};

TEST_F(Screen, TextsTakeEffectTogetherAtProcessCommands) {
  SetText(LOAD, " 12,300");
  EXPECT_TRUE(model_->TakeChange().elements.empty());
  model_->Accept({});  // process commands
  const screen_change_t change = model_->TakeChange();
  ASSERT_EQ(change.elements.size(), 2U);  // both elements that show the widget
  EXPECT_EQ(change.elements[0].content, "12,300");
  EXPECT_EQ(change.widgets.at("Load"), " 12,300");
  EXPECT_EQ(change.revision, change.previous + 1);
  EXPECT_TRUE(model_->TakeChange().elements.empty());
}

TEST_F(Screen, EqualTextsChangeNothing) {
  SetText(LOAD, "1");
  model_->ProcessCommands();
  model_->TakeChange();
  SetText(LOAD, "1");
  model_->ProcessCommands();
  EXPECT_TRUE(model_->TakeChange().elements.empty());
}

TEST_F(Screen, ManyCommandsWithoutAnEndTakeEffectAtTheBound) {
  for (std::size_t i = 0; i < ScreenModel::MAX_PENDING; ++i) SetText(LOAD, std::to_string(i));
  EXPECT_FALSE(model_->HasPending());
  EXPECT_EQ(model_->WidgetTexts().at("Load"), std::to_string(ScreenModel::MAX_PENDING - 1));
}

TEST_F(Screen, UnknownHandlesAreCountedAndChangeNothing) {
  SetText(0, "lost");
  SetText(99, "lost");
  model_->ProcessCommands();
  EXPECT_EQ(model_->Counters().unknownWidgets, 2U);
  EXPECT_TRUE(model_->TakeChange().elements.empty());
}

TEST_F(Screen, AWidgetKeepsItsTextWhileAnotherPageIsShown) {
  EXPECT_TRUE(model_->HandleEvent(MAIN_TO_WAD));
  SetText(LOAD, "500");
  SetText(HIDDEN_FROM_PAGES, "kept");
  model_->ProcessCommands();
  EXPECT_TRUE(model_->HandleEvent(WAD_TO_MAIN));
  EXPECT_THAT(model_->Svg(), HasSubstr(">500</text>"));
  EXPECT_EQ(model_->WidgetTexts().at("Elsewhere"), "kept");
}

TEST_F(Screen, OnlyEventsOfThePageShownChangeIt) {
  EXPECT_FALSE(model_->HandleEvent(WAD_TO_MAIN));
  EXPECT_FALSE(model_->HandleEvent(HEARTBEAT));
  EXPECT_FALSE(model_->HandleEvent(4711));
  EXPECT_EQ(model_->Page().name, "Main");
  EXPECT_TRUE(model_->HandleEvent(MAIN_TO_WAD));
  EXPECT_EQ(model_->Page().name, "Wad");
  EXPECT_TRUE(model_->TakeChange().page);
}

TEST_F(Screen, ElementsFollowTheirVariable) {
  model_->SetVariable("Lamp", 1.0);
  model_->SetVariable("Part", 0.6);
  const screen_change_t change = model_->TakeChange();
  EXPECT_EQ(Attribute(change, "lamp", "style"), "stroke:red;fill:#f00");
  EXPECT_EQ(Attribute(change, "bar", "width"), "60");
  EXPECT_EQ(Attribute(change, "needle", "transform"), "scale(2) rotate(-54 5 6)");
  model_->SetVariable("Lamp", 2.0);
  EXPECT_EQ(Attribute(model_->TakeChange(), "lamp", "display"), "none");
  model_->SetVariable("Part", 7.0);
  EXPECT_EQ(Attribute(model_->TakeChange(), "bar", "width"), "120");
}

TEST_F(Screen, ABadNumberIsNotAValue) {
  model_->SetVariable("Part", 0.6);
  model_->TakeChange();
  model_->SetVariable("Part", std::numeric_limits<double>::quiet_NaN());
  const screen_change_t change = model_->TakeChange();
  EXPECT_EQ(Attribute(change, "bar", "width"), "0");
  EXPECT_FALSE(change.variables.at("Part").has_value());
}

TEST_F(Screen, DataThatAreNotCurrentShowDashes) {
  SetText(LOAD, "12,300");
  model_->ProcessCommands();
  model_->SetVariable("Lamp", 1.0);
  model_->SetDataState(DATA_LINK_LOST);
  const screen_change_t change = model_->TakeChange();
  EXPECT_EQ(Attribute(change, "lamp", "display"), "none");  // unknown is none of the values that it shows
  EXPECT_THAT(model_->Svg(), HasSubstr(">----</text>"));
  EXPECT_EQ(model_->WidgetTexts().at("Load"), "12,300");
  model_->SetDataState(DATA_CURRENT);
  EXPECT_THAT(model_->Svg(), Not(HasSubstr(">----<")));
}

TEST_F(Screen, WidgetsMoveTurnHideAndChangeColour) {
  screen_command_t command;
  command.target = LOAD;
  const auto send = [&](screen_operation_t operation) {
    command.operation = operation;
    model_->Accept(command);
    model_->ProcessCommands();
    return model_->TakeChange();
  };
  command.place = {30, 76};
  EXPECT_EQ(Attribute(send(SCREEN_MOVE), "Load", "transform"), "translate(20 56) ");
  command.parts = {90, 1, 2, 0};
  EXPECT_EQ(Attribute(send(SCREEN_ROTATE), "Load", "transform"), "translate(20 56) rotate(90 1 2) ");
  EXPECT_EQ(Attribute(send(SCREEN_HIDE), "Load", "display"), "none");
  EXPECT_EQ(Attribute(send(SCREEN_SHOW), "Load", "display"), "-");
  command.parts = {1, 0, 0.5, 2};
  EXPECT_EQ(Attribute(send(SCREEN_SET_COLOR), "Load", "style"), "fill:rgba(255,0,128,1)");
}

TEST_F(Screen, AChangedDesignReplacesItsPageAndABrokenOneDoesNot) {
  SetText(LOAD, "77");
  model_->ProcessCommands();
  folder_.Write("main.svg", Page("Main", 0, R"(<text id="Load" x="1" y="1"/><circle r="4"/>)", ""));
  folder_.Write("wad.svg", "<svg");
  model_->ReplacePages(Load());
  EXPECT_EQ(problems_.size(), 1U);
  EXPECT_THAT(model_->Svg(), HasSubstr("<circle"));
  EXPECT_THAT(model_->Svg(), HasSubstr(">77</text>"));
  EXPECT_TRUE(model_->TakeChange().page);
  EXPECT_FALSE(model_->HandleEvent(MAIN_TO_WAD)) << "the changed page has no transitions any more";
}

TEST_F(Screen, TextsAreWrittenAsReferencesNotAsElements) {
  SetText(LOAD, "<b>&");
  model_->ProcessCommands();
  EXPECT_EQ(model_->TakeChange().elements.front().content, "&lt;b&gt;&amp;");
}

}  // namespace
}  // namespace unit
