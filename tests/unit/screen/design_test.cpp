#include "screen/design.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "screen/renderer.h"
#include "screen/screen_model.h"
#include "test_design.h"

namespace unit {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

struct mistake_t {
  const char* content;
  const char* message;
};

class DesignMistake : public testing::TestWithParam<mistake_t> {};

TEST_P(DesignMistake, IsReportedWithFileAndElement) {
  const TestFolder folder;
  folder.Write("page.svg", Page("P", 0, GetParam().content, ""));
  try {
    LoadPage(folder.Path() / "page.svg", {"Known"});
    FAIL() << "taken: " << GetParam().content;
  } catch (const std::runtime_error& error) {
    EXPECT_THAT(error.what(), HasSubstr("page.svg"));
    EXPECT_THAT(error.what(), HasSubstr(GetParam().message));
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, DesignMistake,
    testing::Values(mistake_t{R"(<text data-widget="Unknown"/>)", "no widget Unknown"},
                    mistake_t{R"(<rect data-var="A" data-fil="1:red"/>)", "unknown attribute data-fil"},
                    mistake_t{R"(<rect data-fill="1:red"/>)", "has no data-var"},
                    mistake_t{R"(<rect data-var="A" data-fill="red"/>)", "no colon"},
                    mistake_t{R"(<rect data-var="A" data-bar="0 1"/>)", "data-bar needs a width"},
                    mistake_t{R"(<rect data-var="A" data-text="1:x"/>)", "belong to a text"},
                    mistake_t{R"(<text id="Known" data-cells="40"/>)", "data-cells needs data-box"},
                    mistake_t{R"(<text id="Known" data-cells="0" data-box="0 9"/>)", "1 to 200"},
                    mistake_t{R"(<g id="a"/><g id="a"/>)", "taken"}, mistake_t{"<script/>", "not drawn alike"},
                    mistake_t{"<g>", "at byte"}));

TEST(Design, AFolderGivesItsGoodPagesAndReportsTheOthers) {
  const TestFolder folder;
  folder.Write("a.svg", Page("A", 0, "", R"(<transition event="e" page="Nowhere"/>)"));
  folder.Write("b.svg", Page("A", 1, "", ""));
  folder.Write("c.svg", "<svg/>");
  folder.Write("d.svg", Page("D", 0, "", ""));
  folder.Write("notes.txt", "no page");
  std::vector<std::string> problems;
  const design_t design = LoadDesign(folder.Path(), {}, problems);
  EXPECT_EQ(design.size(), 2U);
  EXPECT_EQ(problems.size(), 2U);
  EXPECT_THAT(CheckDesign(design), testing::UnorderedElementsAre(HasSubstr("Nowhere"), HasSubstr("one order")));
}

// The product's own design beside its configuration.
class ProductDesign : public testing::Test {
 protected:
  ProductDesign()
      : names_(LoadScreenNames(SOURCE_FOLDER "/config/generic.xml")),
        design_(LoadDesign(SOURCE_FOLDER "/config/screen", WidgetNames(names_), problems_)) {}

  screen_names_t names_;
  std::vector<std::string> problems_;
  design_t design_;
};

TEST_F(ProductDesign, FitsTheConfiguration) {
  EXPECT_THAT(problems_, IsEmpty());
  EXPECT_THAT(CheckDesign(design_), IsEmpty());
  std::set<std::string> events;
  for (const auto& [number, name] : names_.events) events.insert(name);
  for (const auto& [name, page] : design_) {
    EXPECT_TRUE(names_.actions.contains(page.action)) << page.action;
    for (const auto& [event, target] : page.transitions) EXPECT_TRUE(events.contains(event)) << event;
    for (const live_element_t& element : page.elements) {
      const std::string& variable = element.variable;
      EXPECT_TRUE(variable.empty() || variable == DATA_STATE_VARIABLE || names_.variables.contains(variable))
          << name << ": " << variable;
    }
  }
}

struct lead_t {
  const char* from;
  const char* event;
  const char* to;
};

TEST_F(ProductDesign, EventsLeadWhereTheirNamesSay) {
  constexpr std::array<lead_t, 17> LEADS{{{"Splash", "orvik.SplashToSlate", "Slate"},
                                          {"Splash", "orvik.SplashToGauges", "Main"},
                                          {"Slate", "orvik.SlateToGauges", "Main"},
                                          {"Slate", "orvik.SlateToMain", "Main"},
                                          {"Slate", "orvik.SlateToConfig", "Config"},
                                          {"Slate", "orvik.SlateToWAD", "Wad"},
                                          {"Slate", "orvik.SlateToSplash", "Splash"},
                                          {"Main", "orvik.MainToSplash", "Splash"},
                                          {"Main", "orvik.MainToWad", "Wad"},
                                          {"Main", "orvik.MainToDials", "Dials"},
                                          {"Main", "orvik.MainToConfig", "Config"},
                                          {"Wad", "orvik.WadToMain", "Main"},
                                          {"Wad", "orvik.WadToConfig", "Config"},
                                          {"Config", "orvik.ConfigToMain", "Main"},
                                          {"Config", "orvik.ConfigToWad", "Wad"},
                                          {"Dials", "orvik.DialsToMain", "Main"},
                                          {"Main", "orvik.SlateToMain", nullptr}}};
  for (const auto& [from, event, to] : LEADS) {
    const auto& transitions = design_.at(from).transitions;
    const auto found = transitions.find(event);
    EXPECT_EQ(found == transitions.end(), to == nullptr) << from << " " << event;
    if (found != transitions.end() && to != nullptr) {
      EXPECT_EQ(found->second, to) << event;
    }
  }
}

TEST_F(ProductDesign, TheGaugesPagesShowEveryValueAndLine) {
  for (const std::string prefix : {"", "Wad"}) {
    std::set<std::string> shown;
    for (const live_element_t& element : design_.at(prefix.empty() ? "Main" : prefix).elements) {
      shown.insert(element.widget);
    }
    for (const char* value : {"Capacity", "Load", "Extension", "Angle", "Radius", "Swing", "UnitsWeight",
                              "UnitsDistance", "Line1Std", "Line4Std", "Line1Wide", "Line4Wide"}) {
      EXPECT_TRUE(shown.contains("orvikTextWidget" + prefix + value)) << prefix << value;
    }
  }
}

TEST_F(ProductDesign, EveryPageIsDrawn) {
  for (const auto& [name, page] : design_) {
    const std::string svg = [&] {
      std::ostringstream stream;
      page.document->print(stream);
      return stream.str();
    }();
    EXPECT_THAT(RenderPng(svg), testing::StartsWith("\x89PNG")) << name;
  }
  EXPECT_THROW(RenderPng("<svg"), std::runtime_error);
}

}  // namespace
}  // namespace unit
