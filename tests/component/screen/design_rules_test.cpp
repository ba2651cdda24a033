// Words, colours and parts that pages share, and what the product's own pages show in the states that matter.
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/test_folder.h"
#include "unit/screen/design/page_parts.h"
#include "unit/screen/design/screen_model.h"
#include "unit/screen/design/word_catalogue.h"
#include "unit/screen/render/renderer.h"

namespace unit {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::ThrowsMessage;

std::string Words(int language, const std::string& words) {
  return "<words language=\"" + std::to_string(language) + "\">" + words + "</words>";
}

TEST(WordCatalogueTest, EachMissingAndEachSuperfluousWordIsOneLine) {
  const TestFolder folder;
  const std::string load = R"(<word key="load">L</word>)";
  for (int language = 0; language < 6; ++language) {
    folder.Write(std::to_string(language) + ".xml",
                 Words(language, language == 4 ? R"(<word key="old">O</word>)"
                                               : load + R"(<word key="panel.x">X</word>)"));
  }
  std::vector<std::string> problems;
  const word_catalogue_t words = ReadWords(folder.Path(), problems);
  EXPECT_THAT(problems, IsEmpty());
  EXPECT_THAT(CheckWords(words, {"load"}, {"panel."}),
              ElementsAre("words: Russian lacks load", "words: English lacks old", "words: Spanish lacks old",
                          "words: Portuguese lacks old", "words: Chinese lacks old", "words: French lacks old",
                          "words: nothing uses old", "words: Russian lacks panel.x"));
}

TEST(WordCatalogueTest, FilesThatCannotBeUsedAreNamed) {
  const TestFolder folder;
  folder.Write("a.xml", Words(0, R"(<word key="a">A</word>)"));
  folder.Write("b.xml", Words(0, R"(<word key="a">A</word>)"));
  folder.Write("c.xml", Words(9, ""));
  folder.Write("d.xml", Words(1, R"(<word key="a">A</word><word key="a">B</word>)"));
  folder.Write("e.xml", Words(2, R"(<word key="a"/>)"));
  folder.Write("f.xml", "<words");
  std::vector<std::string> problems;
  ReadWords(folder.Path(), problems);
  EXPECT_THAT(problems, ElementsAre(HasSubstr("b.xml: another file has the same language"),
                                    HasSubstr("c.xml: <words>"), HasSubstr("d.xml: the word a stands twice"),
                                    HasSubstr("e.xml: a word needs key and text"), HasSubstr("f.xml")));
}

// The words of the panel and the window, which the start of the screen service does not look at.
TEST(WordCatalogueTest, PanelAndWindowUseTheirWordsAndNoOthers) {
  std::set<std::string> used;
  for (const char* folder : {"unit/panel/assets", "unit/window", "viewer"}) {
    for (const auto& file : std::filesystem::directory_iterator(std::string(SOURCE_FOLDER "/") + folder)) {
      std::stringstream text;
      text << std::ifstream(file.path()).rdbuf();
      const std::string source = text.str();
      static const std::regex KEY(R"re(["']((?:panel|window)\.[a-z-]+)["'])re");
      for (std::sregex_iterator match(source.begin(), source.end(), KEY), end; match != end; ++match) {
        used.insert((*match)[1].str());
      }
    }
  }
  std::vector<std::string> problems;
  std::set<std::string> written;
  const word_catalogue_t words = ReadWords(SOURCE_FOLDER "/config/words", problems);
  for (const auto& [key, text] : words.Of(0)) {
    const bool isName = key.starts_with("panel.name.");  // the host's; compared with the host's own tables
    if (!isName && (key.starts_with("panel.") || key.starts_with("window."))) written.insert(key);
  }
  EXPECT_EQ(used, written);
}

TEST(PaletteTest, DayAndNightChangeWithHysteresis) {
  const std::pair<std::optional<double>, look_t> steps[] = {
      {100, LOOK_DAY}, {51, LOOK_DAY},   {50, LOOK_NIGHT}, {69.9, LOOK_NIGHT},
      {70, LOOK_DAY},  {50.1, LOOK_DAY}, {5, LOOK_NIGHT},  {std::nullopt, LOOK_NIGHT}};
  look_t look = LOOK_DAY;
  for (const auto& [brightness, expected] : steps) {
    look = ChooseLook(look, brightness);
    EXPECT_EQ(look, expected) << brightness.value_or(-1);
  }
}

class SharedPartsTest : public testing::Test {
 protected:
  // What stands in the page once its parts are in place.
  std::string Insert(const std::string& page, const std::string& parts) {
    pugi::xml_document document, library;
    document.load_string(("<svg>" + page + "</svg>").c_str());
    library.load_string(("<svg>" + parts + "</svg>").c_str());
    InsertParts(document.document_element(), library);
    std::ostringstream text;
    document.print(text, "", pugi::format_raw | pugi::format_no_declaration);
    return text.str();
  }
};

TEST_F(SharedPartsTest, StandInTheirPlacesWithTheirParameters) {
  EXPECT_EQ(
      Insert(R"svg(<g data-part="lamp" var="A2B" transform="translate(1 2)"/>)svg",
             R"svg(<g id="lamp"><rect data-var="Orvik$var"/><g data-part="name" word="$var"/></g>)svg"
             R"svg(<g id="name"><text>$word</text></g>)svg"),
      R"svg(<svg><g transform="translate(1 2)"><rect data-var="OrvikA2B"/><g><text>A2B</text></g></g></svg>)svg");
}

TEST_F(SharedPartsTest, WithAMistakeAreRefused) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {R"(<g data-part="b"/>)", R"(<g id="a"/>)", "no part b"},
      {R"(<g data-part="a"/>)", R"(<g id="a"><rect x="$at"/></g>)", "needs at"},
      {R"(<g data-part="a"/>)", R"(<g id="a"><g data-part="a"/></g>)", "circle"}};
  for (const auto& [page, parts, message] : cases) {
    EXPECT_THAT(([&, page = page, parts = parts] { Insert(page, parts); }),
                ThrowsMessage<std::runtime_error>(HasSubstr(message)))
        << page;
  }
}

// The product's own pages, as a unit shows them.
class ProductPagesTest : public testing::Test {
 protected:
  ProductPagesTest() {
    const std::string config = SOURCE_FOLDER "/config";
    screen_names_t names = ReadScreenNames(config + "/generic.xml");
    std::vector<std::string> problems;
    design_t design = ReadDesign(config + "/screen", WidgetNames(names), problems);
    word_catalogue_t words = ReadWords(config + "/words", problems);
    const auto wrong = CheckWords(words, WordsUsed(design), {"panel.", "window."});
    EXPECT_THAT(problems, IsEmpty());
    EXPECT_THAT(wrong, IsEmpty());
    for (const auto& [name, page] : design) pages_.push_back(name);
    model_ = std::make_unique<ScreenModel>(std::move(names), std::move(design), std::move(words));
    model_->SetVariable("OrvikLanguage", 0);
    model_->SetVariable("OrvikHX7TimeOutLamp", 1);
    model_->SetDataState(DATA_CURRENT);
  }

  void SetText(const std::string& widget, const std::string& text) {
    for (const auto& [handle, name] : model_->Names().widgets) {
      if (name != widget) continue;
      screen_command_t command;
      command.target = handle;
      command.operation = SCREEN_SET_TEXT;
      command.text = text;
      model_->Accept(command);
    }
    model_->ProcessCommands();
  }

  // The texts that stand visibly on the page, with the elements that are not hidden.
  std::string Visible() {
    pugi::xml_document document;
    document.load_string(model_->Svg().c_str());
    for (auto hidden = document.select_nodes("//*[@display='none']"); const auto& found : hidden) {
      found.node().parent().remove_child(found.node());
    }
    std::ostringstream text;
    document.print(text, "", pugi::format_raw);
    return text.str();
  }

  std::vector<std::string> pages_;
  std::unique_ptr<ScreenModel> model_;
};

TEST_F(ProductPagesTest, NothingSaysThatAllIsWellWhileTheDataAreNotCurrent) {
  for (const std::string& page : pages_) {
    model_->ShowPage(page);
    model_->SetDataState(DATA_CURRENT);
    const std::string current = Visible();
    EXPECT_THAT(current, HasSubstr(">LINK OK<")) << page;
    constexpr const char* DOT = R"(<circle cx="16" cy="16" r="6")";
    const std::string greenDot =
        current.substr(current.find(DOT), current.find('>', current.find(DOT)) - current.find(DOT));
    for (const auto& [state, reason] : {std::pair(DATA_LINK_LOST, ">NO DATA FROM LOAD"),
                                        std::pair(DATA_PROGRAM_SILENT, ">DISPLAY PROGRAM NOT"),
                                        std::pair(DATA_HOST_NOT_HEARD, ">WAITING FOR LOAD")}) {
      model_->SetDataState(state);
      const std::string visible = Visible();
      EXPECT_THAT(visible, Not(HasSubstr(">LINK OK<"))) << page;
      EXPECT_THAT(visible, Not(HasSubstr(greenDot))) << page;
      EXPECT_THAT(visible, Not(HasSubstr(">READY<"))) << page;
      EXPECT_THAT(visible, HasSubstr(reason)) << page;
      EXPECT_THAT(visible, HasSubstr(">-- %<")) << page;
    }
  }
}

TEST_F(ProductPagesTest, TheBannerIsOpaqueInBothHalvesOfItsFlash) {
  model_->ShowPage("Main");
  model_->SetDataState(DATA_LINK_LOST);
  pugi::xml_document document;
  document.load_string(model_->Svg().c_str());
  const auto draw = [&](const char* style) {
    std::ostringstream svg;
    document.print(svg);
    return RenderPixels(svg.str(), 640, 480, style);
  };
  constexpr const char* DARK = "[data-flashing]{opacity:0.25!important}";
  const pixels_t bright = draw(""), dark = draw(DARK);
  // The same with a white page below the banner.
  const pugi::xml_node banner = document.select_node("//*[@id='banner']").node();
  pugi::xml_node white = banner.parent().insert_child_before("rect", banner);
  for (const auto& [name, value] : {std::pair{"width", "640"}, {"height", "480"}, {"fill", "#fff"}}) {
    white.append_attribute(name).set_value(value);
  }
  const pixels_t brightOnWhite = draw(""), darkOnWhite = draw(DARK);
  for (std::size_t i = std::size_t{435} * 640; i < std::size_t{479} * 640; ++i) {
    ASSERT_EQ(bright.values[i], brightOnWhite.values[i]) << i % 640 << ", " << i / 640;
    ASSERT_EQ(dark.values[i], darkOnWhite.values[i]) << i % 640 << ", " << i / 640;
  }
  EXPECT_NE(bright.values[std::size_t{440} * 640 + 20], dark.values[std::size_t{440} * 640 + 20]);
}

TEST_F(ProductPagesTest, NeedlesHideWhereTheNumberIsNotKnown) {
  model_->ShowPage("Dials");
  model_->SetVariable("OrvikAngle", 61.2);
  model_->SetVariable("OrvikSwing", -24);
  constexpr const char *BOOM = "M127 122", *SWING = "M393 108";
  EXPECT_THAT(Visible(), Not(HasSubstr(BOOM))) << "no text came yet";
  SetText("orvikTextWidgetAngle", "61.2");
  SetText("orvikTextWidgetSwing", "-24");
  EXPECT_THAT(Visible(),
              testing::AllOf(HasSubstr(BOOM), HasSubstr(SWING), HasSubstr(">61.2<"), HasSubstr(">-24<")));
  SetText("orvikTextWidgetAngle", "-----");
  SetText("orvikTextWidgetSwing", "-N/A-");
  EXPECT_THAT(Visible(), testing::AllOf(Not(HasSubstr(BOOM)), Not(HasSubstr(SWING))));
}

// The application rounds a number for its widget and knows which have none; the variables are neither.
TEST_F(ProductPagesTest, DialsShowTheNumbersOfTheOperatingPage) {
  model_->ShowPage("Dials");
  for (const std::string name : {"Angle", "Swing", "Extension", "Radius"}) {
    model_->SetVariable("Orvik" + name, 61.27);
    for (const char* text : {"61.3", "-----"}) {
      SetText("orvikTextWidget" + name, text);
      EXPECT_THAT(Visible(), testing::AllOf(HasSubstr(">" + std::string(text) + "<"), Not(HasSubstr(">61.2"))))
          << name;
    }
  }
}

// The boom's length is another number, which the host does not send.
TEST_F(ProductPagesTest, TheHostsExtensionIsNotCalledALength) {
  for (const char* page : {"Main", "Wad", "Dials"}) {
    model_->ShowPage(page);
    EXPECT_THAT(Visible(), testing::AllOf(HasSubstr(">EXTENSION<"), Not(HasSubstr("LENGTH")))) << page;
  }
}

TEST_F(ProductPagesTest, EveryPageShowsTheAlarmsInTheirColours) {
  for (const std::string& page : pages_) {
    model_->ShowPage(page);
    model_->SetVariable("OrvikPercentSafeWorkingLoad", 1.89);
    for (const char* lamp : {"OrvikA2B", "OrvikOverload", "OrvikPreAlarm", "OrvikSwingAlarmTripped"}) {
      model_->SetVariable(lamp, 0);
    }
    std::string visible = Visible();
    EXPECT_THAT(visible, testing::AllOf(HasSubstr(">189 %<"), HasSubstr("■ OVER"))) << page;
    EXPECT_THAT(visible, testing::AllOf(Not(HasSubstr("\"sign-overload\"")), Not(HasSubstr(">OVERLOAD<"))))
        << page;
    for (const char* lamp : {"OrvikA2B", "OrvikOverload", "OrvikPreAlarm", "OrvikSwingAlarmTripped"}) {
      model_->SetVariable(lamp, 1);
    }
    model_->SetVariable("OrvikLanguage", 5);
    visible = Visible();
    for (const char* sign : {"\"sign-two-block\"", "\"sign-overload\"", ">SURCHARGE<", ">FIN COURSE<",
                             ">PRÉALARME<", ">LIMITE DÉP.<"}) {
      EXPECT_THAT(visible, HasSubstr(sign)) << page;
    }
    model_->SetVariable("OrvikLanguage", 0);
  }
}

TEST_F(ProductPagesTest, TheOperatorsAlarmIsAnotherLampThanTheLimits) {
  model_->ShowPage("Main");
  model_->SetVariable("OrvikAlarmSet", 1);
  const auto isLit = [&](const std::string& word) {
    pugi::xml_document document;
    document.load_string(Visible().c_str());
    return !document.select_node(("//text[@class='lit' and @data-word='" + word + "']").c_str()).node().empty();
  };
  EXPECT_TRUE(isLit("alarm.set"));
  EXPECT_FALSE(isLit("alarm.limit"));
  model_->SetVariable("OrvikRadiusAlarmTripped", 1);
  EXPECT_TRUE(isLit("alarm.limit"));
}

TEST_F(ProductPagesTest, IconsOfTheHostAreShown) {
  for (const char* page : {"Main", "Config"}) {
    model_->ShowPage(page);
    for (const char* icon : {"OrvikErectedIcon", "OrvikStowedIcon"}) {
      model_->SetVariable(icon, 0);
      const std::string without = Visible();
      model_->SetVariable(icon, 1);
      EXPECT_NE(Visible(), without) << page << icon;
      model_->SetVariable(icon, 7);
      EXPECT_THAT(Visible(), HasSubstr(">7<")) << page << icon;
    }
  }
}

}  // namespace
}  // namespace unit
