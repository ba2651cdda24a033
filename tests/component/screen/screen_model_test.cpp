// The design's files, and the document that follows commands, events and variables.
#include "unit/screen/design/screen_model.h"

#include <limits>
#include <memory>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/test_folder.h"
#include "unit/screen/design/design.h"
#include "unit/screen/render/renderer.h"

namespace unit {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::ThrowsMessage;

std::string Page(const std::string& name, int order, const std::string& content,
                 const std::string& transitions) {
  return R"(<svg xmlns="http://www.w3.org/2000/svg"><metadata><page name=")" + name + R"(" action="Page.)" +
         name + R"(" order=")" + std::to_string(order) + R"(" title="T">)" + transitions +
         "</page></metadata>" + content + "</svg>";
}

TEST(DesignTest, MistakesAreReportedWithFileAndElement) {
  const std::pair<const char*, const char*> mistakes[] = {
      {R"(<text data-widget="Unknown"/>)", "no widget Unknown"},
      {R"(<rect data-var="A" data-fil="1:red"/>)", "unknown attribute data-fil"},
      {R"(<rect data-fill="1:red"/>)", "has no data-var"},
      {R"(<rect data-var="A" data-fill="red"/>)", "no colon"},
      {R"(<rect data-var="A" data-bar="0 1"/>)", "data-bar needs a width"},
      {R"(<rect data-var="A" data-text="1:x"/>)", "for text elements only"},
      {R"(<text id="Known" data-cells="40"/>)", "data-cells needs data-box"},
      {R"(<text id="Known" data-cells="0" data-box="0 9"/>)", "1 to 200"},
      {R"(<g id="a"/><g id="a"/>)", "has this id"},
      {"<script/>", "do not draw this element alike"},
      {"<g>", "at byte"},
  };
  const TestFolder folder;
  for (const auto& [content, message] : mistakes) {
    folder.Write("page.svg", Page("P", 0, content, ""));
    EXPECT_THAT([&] { ReadPage(folder.Path() / "page.svg", {"Known"}); },
                ThrowsMessage<std::runtime_error>(AllOf(HasSubstr("page.svg"), HasSubstr(message))))
        << content;
  }
}

TEST(DesignTest, AFolderGivesItsGoodPagesAndReportsTheOthers) {
  const TestFolder folder;
  folder.Write("a.svg", Page("A", 0, "", R"(<transition event="e" page="Nowhere"/>)"));
  folder.Write("b.svg", Page("A", 1, "", ""));
  folder.Write("c.svg", "<svg/>");
  folder.Write("d.svg", Page("D", 0, "", ""));
  folder.Write("notes.txt", "no page");
  std::vector<std::string> problems;
  const design_t design = ReadDesign(folder.Path(), {}, problems);
  EXPECT_EQ(design.size(), 2U);
  EXPECT_EQ(problems.size(), 2U);
  EXPECT_THAT(CheckDesign(design),
              testing::UnorderedElementsAre(HasSubstr("Nowhere"), HasSubstr("the same order")));
}

// The design in config/screen with the names in config/generic.xml.
TEST(ProductDesignTest, FitsTheConfigurationAndIsDrawn) {
  const screen_names_t names = ReadScreenNames(SOURCE_FOLDER "/config/generic.xml");
  std::vector<std::string> problems;
  const design_t design = ReadDesign(SOURCE_FOLDER "/config/screen", WidgetNames(names), problems);
  EXPECT_THAT(problems, IsEmpty());
  EXPECT_THAT(CheckDesign(design), IsEmpty());
  std::set<std::string> events;
  for (const auto& [number, name] : names.events) events.insert(name);
  for (const auto& [name, page] : design) {
    EXPECT_TRUE(names.actions.contains(page.action)) << page.action;
    for (const auto& [event, target] : page.transitions) EXPECT_TRUE(events.contains(event)) << event;
    for (const live_element_t& element : page.looks[LOOK_DAY].elements) {
      for (const std::string& variable : element.variables) {
        EXPECT_TRUE(IsOwnVariable(variable) || names.variables.contains(variable)) << name << ": " << variable;
      }
    }
    std::ostringstream svg;
    page.looks[LOOK_DAY].document->print(svg);
    EXPECT_NO_THROW(RenderPixels(svg.str(), 640, 480)) << name;
  }
  EXPECT_THROW(RenderPixels("<svg", 640, 480), std::runtime_error);
}

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

class ScreenModelTest : public testing::Test {
 protected:
  ScreenModelTest() {
    folder_.Write("main.svg", Page("Main", 0, MAIN, R"(<transition event="MainToWad" page="Wad"/>)"));
    folder_.Write("wad.svg", Page("Wad", 1, WAD, R"(<transition event="WadToMain" page="Main"/>)"));
    model_ = std::make_unique<ScreenModel>(Names(), Load());
    model_->SetDataState(DATA_CURRENT);
    model_->DrainChange();
  }

  design_t Load() {
    problems_.clear();
    return ReadDesign(folder_.Path(), WidgetNames(Names()), problems_);
  }

  void SetText(std::int32_t handle, const std::string& text) {
    screen_command_t command;
    command.target = handle;
    command.operation = SCREEN_SET_TEXT;
    command.number = SCREEN_TEXT_RIGHT;
    command.text = text;
    model_->Accept(command);
  }
  screen_change_t Show(const std::string& text) {
    SetText(LOAD, text);
    model_->ProcessCommands();
    return model_->DrainChange();
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

TEST_F(ScreenModelTest, TextsTakeEffectTogetherAtProcessCommandsAndOnce) {
  SetText(LOAD, " 12,300");
  EXPECT_TRUE(model_->DrainChange().elements.empty());
  model_->Accept({});  // process commands
  const screen_change_t change = model_->DrainChange();
  ASSERT_EQ(change.elements.size(), 2U);  // both elements that show the widget
  EXPECT_EQ(change.elements[0].content, "12,300");
  EXPECT_EQ(change.widgets.at("Load"), " 12,300");
  EXPECT_EQ(change.revision, change.previous + 1);
  EXPECT_TRUE(Show(" 12,300").elements.empty());
  EXPECT_EQ(Show("<b>&").elements.front().content, "&lt;b&gt;&amp;") << "references, not elements";
}

TEST_F(ScreenModelTest, ManyCommandsWithoutAnEndTakeEffectAtTheBound) {
  for (std::size_t i = 0; i < ScreenModel::MAX_PENDING; ++i) SetText(LOAD, std::to_string(i));
  EXPECT_FALSE(model_->HasPending());
  EXPECT_EQ(model_->WidgetTexts().at("Load"), std::to_string(ScreenModel::MAX_PENDING - 1));
}

TEST_F(ScreenModelTest, UnknownHandlesAreCountedAndChangeNothing) {
  SetText(0, "lost");
  SetText(99, "lost");
  model_->ProcessCommands();
  EXPECT_EQ(model_->Counters().unknownWidgets, 2U);
  EXPECT_TRUE(model_->DrainChange().elements.empty());
}

TEST_F(ScreenModelTest, OnlyEventsOfThePageShownChangeItAndWidgetsKeepTheirTexts) {
  for (const std::uint32_t event : {std::uint32_t{WAD_TO_MAIN}, std::uint32_t{HEARTBEAT}, 4711U}) {
    EXPECT_FALSE(model_->HandleEvent(event));
  }
  EXPECT_EQ(model_->Page().name, "Main");
  EXPECT_TRUE(model_->HandleEvent(MAIN_TO_WAD));
  EXPECT_EQ(model_->Page().name, "Wad");
  EXPECT_TRUE(model_->DrainChange().page);
  SetText(HIDDEN_FROM_PAGES, "kept");
  Show("500");
  EXPECT_TRUE(model_->HandleEvent(WAD_TO_MAIN));
  EXPECT_THAT(model_->Svg(), HasSubstr(">500</text>"));
  EXPECT_EQ(model_->WidgetTexts().at("Elsewhere"), "kept");
}

TEST_F(ScreenModelTest, ElementsFollowTheirVariable) {
  model_->SetVariable("Lamp", 1.0);
  model_->SetVariable("Part", 0.6);
  const screen_change_t change = model_->DrainChange();
  EXPECT_EQ(Attribute(change, "lamp", "style"), "stroke:red;fill:#f00");
  EXPECT_EQ(Attribute(change, "bar", "width"), "60");
  EXPECT_EQ(Attribute(change, "needle", "transform"), "scale(2) rotate(-54 5 6)");
  model_->SetVariable("Lamp", 2.0);
  EXPECT_EQ(Attribute(model_->DrainChange(), "lamp", "display"), "none");
  model_->SetVariable("Part", 7.0);
  EXPECT_EQ(Attribute(model_->DrainChange(), "bar", "width"), "120");
  model_->SetVariable("Part", std::numeric_limits<double>::quiet_NaN());
  const screen_change_t unknown = model_->DrainChange();
  EXPECT_EQ(Attribute(unknown, "bar", "width"), "0");
  EXPECT_FALSE(unknown.variables.at("Part").has_value());
}

TEST_F(ScreenModelTest, DataThatAreNotCurrentShowDashes) {
  Show("12,300");
  model_->SetVariable("Lamp", 1.0);
  model_->SetDataState(DATA_LINK_LOST);
  const screen_change_t change = model_->DrainChange();
  EXPECT_EQ(Attribute(change, "lamp", "display"), "none");  // data-show names no entry for an unknown value
  EXPECT_THAT(model_->Svg(), HasSubstr(">----</text>"));
  EXPECT_EQ(model_->WidgetTexts().at("Load"), "12,300");
  model_->SetDataState(DATA_CURRENT);
  EXPECT_THAT(model_->Svg(), Not(HasSubstr(">----<")));
}

TEST_F(ScreenModelTest, DataAreCurrentOnceTheHostWasHeardByThisApplication) {
  const auto absent = std::nullopt;
  const source_state_t well, ended{.isProgramSilent = true, .hasProgramEnded = true};
  const source_state_t late{.isProgramSilent = true}, deaf{.isBusReceived = false},
      old{.areValuesFresh = false};
  const std::tuple<const char*, variable_value_t, variable_value_t, source_state_t, data_state_t> steps[] = {
      {"before the application's start", absent, absent, ended, DATA_PROGRAM_SILENT},
      {"started", absent, absent, well, DATA_HOST_NOT_HEARD},
      {"the link that the application begins with", 1, absent, well, DATA_HOST_NOT_HEARD},
      {"no host for ten seconds", 2, absent, well, DATA_LINK_LOST},
      {"the first command", 1, 1, well, DATA_CURRENT},
      {"the bus not received", 1, 1, deaf, DATA_HOST_NOT_HEARD},
      {"the host gone, for the bus is not received", 2, 500, deaf, DATA_LINK_LOST},
      {"the host again", 1, 501, well, DATA_CURRENT},
      {"its values of before the silence", 1, 501, old, DATA_VALUES_OLD},
      {"the application late", 1, 502, late, DATA_PROGRAM_SILENT},
      {"in time again, without a new command", 1, 502, well, DATA_CURRENT},
      {"the database started anew", absent, absent, well, DATA_HOST_NOT_HEARD},
      {"a number that is no state", 0, 502, well, DATA_HOST_NOT_HEARD},
      {"the application killed", 1, 502, ended, DATA_PROGRAM_SILENT},
      {"the next one, with the count of the last", 1, 502, well, DATA_HOST_NOT_HEARD},
      {"its first command", 1, 1, well, DATA_CURRENT},
  };
  for (const auto& [name, link, commands, source, state] : steps) {
    model_->SetVariable("OrvikHX7TimeOutLamp", link);
    model_->SetVariable("OrvikTotalHX7Commands", commands);
    model_->UpdateDataState(source);
    EXPECT_EQ(model_->Variables().at(DATA_STATE_VARIABLE), state) << name;
  }
}

TEST_F(ScreenModelTest, WidgetsMoveTurnHideAndChangeColour) {
  screen_command_t command;
  command.target = LOAD;
  const auto send = [&](screen_operation_t operation) {
    command.operation = operation;
    model_->Accept(command);
    model_->ProcessCommands();
    return model_->DrainChange();
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

TEST_F(ScreenModelTest, AChangedDesignReplacesItsPageAndABrokenOneDoesNot) {
  Show("77");
  folder_.Write("main.svg", Page("Main", 0, R"(<text id="Load" x="1" y="1"/><circle r="4"/>)", ""));
  folder_.Write("wad.svg", "<svg");
  model_->ReplacePages(Load());
  EXPECT_EQ(problems_.size(), 1U);
  EXPECT_THAT(model_->Svg(), HasSubstr("<circle"));
  EXPECT_THAT(model_->Svg(), HasSubstr(">77</text>"));
  EXPECT_TRUE(model_->DrainChange().page);
  EXPECT_FALSE(model_->HandleEvent(MAIN_TO_WAD)) << "the changed page has no transitions";
}

TEST_F(ScreenModelTest, AMistakeInOnePageIsOneLineAboutThatPageAndItsTransitionIsNeverTaken) {
  folder_.Write("wad.svg", Page("Wad", 1, WAD, R"(<transition event="WadToMain" page="Nowhere"/>)"));
  EXPECT_THAT(
      model_->ReplacePages(Load()),
      testing::ElementsAre(HasSubstr("wad.svg: WadToMain leads to a page that does not exist: Nowhere")));
  EXPECT_TRUE(model_->HandleEvent(MAIN_TO_WAD)) << "Main leads to the page as it was";
  EXPECT_TRUE(model_->HandleEvent(WAD_TO_MAIN)) << "and that leads back";
  folder_.Write("wad.svg", "<svg");
  EXPECT_THAT(model_->ReplacePages(Load()), IsEmpty()) << "the transitions to Wad are no mistake of Main";
  EXPECT_THAT(problems_, testing::ElementsAre(HasSubstr("wad.svg")));
}

}  // namespace
}  // namespace unit
