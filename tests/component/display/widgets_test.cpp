// The texts that the dispatcher sends to the text widgets, by the names of the configuration.
#include <algorithm>
#include <fstream>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "platform/byte_order.h"

#include "src/core/generic_config.h"
#include "src/core/name_tables.h"
#include "src/core/operating_values.h"
#include "src/display/dispatcher.h"
#include "src/display/handles.h"
#include "src/display/init_display.h"
#include "src/pages/page_tables.h"
#include "src/services/nm_messages.h"
#include "src/text/fields.h"
#include "src/text/grid.h"
#include "tests/support/console_capture.h"
#include "tests/support/fake_service.h"
#include "tests/support/test_record.h"

namespace {

constexpr std::size_t TEXT_AT = NM_HEADER_SIZE + 12;
using texts_t = std::map<std::string, std::string>;  // text → names of widgets

class WidgetsTest : public testing::Test {
 protected:
  WidgetsTest() {
    std::ifstream configuration(SOURCE_FOLDER "/config/generic.xml");
    parseGeneric(configuration, data_);
    InitGaugeHandles(data_);
    InitPages(data_);
    for (const auto& [name, id] : data_->screenObjectIds) {
      EXPECT_NE(id, 0) << name << " is not in the configuration";
      names_[static_cast<std::uint32_t>(id)] = name.substr(std::string("orvikTextWidget").size());
    }
    InitDisplay(data_);
  }

  void Show(int pageId) {
    data_->currentPage = FindPage(data_, pageId);
    UpdateDisplay(data_);
  }

  void Put(unsigned char field, const std::string& text) {
    UpdateField(data_, field, {text.begin(), text.end()});
    FieldsToUTF8Lines(data_);
  }

  // The texts sent since the last call, without blanks around and with the number of their alignment before
  // them, and the widgets of each text.
  texts_t TakeTexts() {
    texts_t texts;
    for (const bytes_t& request : manager_.DrainRequests()) {
      if (request[0] != NM_SEND || request.size() <= TEXT_AT) continue;
      std::string text(request.begin() + TEXT_AT, request.end() - 1);
      text.erase(text.find_last_not_of(' ') + 1).erase(0, text.find_first_not_of(' '));
      const std::string alignment = std::to_string(platform::LoadLe32(request, NM_HEADER_SIZE + 8));
      texts[alignment + text] += names_.at(platform::LoadLe32(request, NM_HEADER_SIZE)) + " ";
    }
    return texts;
  }

  ConsoleCapture console_;
  TestRecord data_;
  FakeService manager_{NM_SERVER_NAME, [](const bytes_t&) { return Words({0, 6, 1, 1}); }};
  std::map<std::uint32_t, std::string> names_;
};

TEST_F(WidgetsTest, EachShowsItsValueAndIsSentAChangedTextAlone) {
  const std::string blanked = TakeTexts()["0"];  // by the first initialisation of the process
  EXPECT_EQ(std::count(blanked.begin(), blanked.end(), ' '), 12 * 4 + 6) << blanked;

  data_->hostSeen = 1;
  data_->spaceChar = ' ';
  Show(ACTION_PAGE_MAIN);
  TakeTexts();
  SetCapacity(data_, 12300);
  SetLoad(data_, 11000);
  SetExtension(data_, 45.6);
  SetAngle(data_, 61.2);
  SetRadius(data_, 7.8);
  SetSwing(data_, -24);
  SetUnits(data_, 1);
  Put(16, "one");
  Put(27, "four");
  Put(29, "up");
  Put(30, "in");
  data_->flashLine = {'f', 'l', 'a', 's', 'h'};
  const texts_t shown = {{"212,300", "Capacity WadCapacity "},
                         {"211,000", "Load WadLoad "},
                         {"245.6", "Extension WadExtension "},
                         {"261.2", "Angle WadAngle "},
                         {"27.8", "Radius WadRadius "},
                         {"2-24", "Swing WadSwing "},
                         {"1kgs", "UnitsWeight WadUnitsWeight "},
                         {"0meters", "UnitsDistance WadUnitsDistance "},
                         {"0one", "Line1Std WadLine1Std SlateLine1Std "},
                         {"0four", "Line4Std WadLine4Std SlateLine4Std "},
                         {"0up", "MainErectedStd "},
                         {"0in", "MainStowedStd "}};
  Show(ACTION_PAGE_MAIN);
  EXPECT_EQ(TakeTexts(), shown);
  for (const int page : {ACTION_PAGE_MAIN, ACTION_PAGE_WAD, ACTION_PAGE_SLATE, ACTION_PAGE_SPLASH}) {
    Show(page);
    EXPECT_EQ(TakeTexts(), texts_t{}) << "sent again on page " << page;
  }
  Show(ACTION_PAGE_CONFIG);
  EXPECT_EQ(TakeTexts(), (texts_t{{"0up", "ConfigErectedStd "},
                                  {"0in", "ConfigStowedStd "},
                                  {"0flash", "FlashMsgStd "},
                                  {"0", "ConfigErectedWide ConfigStowedWide FlashMsgWide "}}));
  SetSwingMode(data_, 6);
  SetUnits(data_, 0);
  SetLanguage(data_, 5);
  Show(ACTION_PAGE_MAIN);
  EXPECT_EQ(TakeTexts(), (texts_t{{"2F-ARC", "Swing WadSwing "},
                                  {"1livres", "UnitsWeight WadUnitsWeight "},
                                  {"0pieds", "UnitsDistance WadUnitsDistance "}}));
}

}  // namespace
