#include "core/generic_config.h"

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "support/console_capture.h"
#include "support/test_record.h"

namespace {

const std::string ROOT = R"(<orvik-generic CT-version="1" createdBy="me" version="2" xml-date="d">)";
const std::string APP = R"(<App id="7" name="N"/>)";

std::string Parse(orvikData_t* data, const std::string& text) {
  std::istringstream stream(text);
  ConsoleCapture console;
  parseGeneric(stream, data);
  return console.Err();
}

TEST(GenericConfiguration, FillsIdentityAndNamesInAnyOrderOfSections) {
  TestRecord record;
  record->variableHandles.clear();
  const std::string error = Parse(record, "<?xml version=\"1.0\"?><!-- names -->" + ROOT + APP + R"(
    <Events channel="E"><Event name="e" id="4"/><Event name="e" id="5"/><Action name="no" id="1"/></Events>
    <Unknown><Action name="no" id="1"/></Unknown><Action name="no" id="1"/>
    <ScreenApi><Object name="w" id="9"/></ScreenApi>
    <Variables><Variable name="load" var="OrvikLoad"/><Variable name="x" var="NoSuchParameter"/></Variables>
    <Actions channel="A"><Action name="a" id="3"/></Actions></orvik-generic>)");
  EXPECT_EQ(error, "");
  EXPECT_EQ(record->ctVersion + record->createdBy + record->configVersion + record->xmlDate, "1me2d");
  EXPECT_EQ(record->appId, 7);
  EXPECT_EQ(record->appName, "N");
  EXPECT_EQ(record->eventChannelName, "E");
  EXPECT_EQ(record->actionChannelName, "A");
  EXPECT_EQ(record->eventIds, (name_map_t{{"e", 4}}));
  EXPECT_EQ(record->actionIds, (name_map_t{{"a", 3}}));
  EXPECT_EQ(record->screenObjectIds, (name_map_t{{"w", 9}}));
  EXPECT_EQ(record->variableHandles.size(), 1U);
  EXPECT_EQ(record->variableHandles.at("load"), static_cast<int>(record->variables.load));
}

TEST(GenericConfiguration, ReportsEachFaultAndKeepsWhatCameBefore) {
  const std::string prefix = "Orvik: Error reading configuratin file: ";
  struct case_t {
    std::string text, error;
    std::size_t events;
  };
  const std::string events = R"(<Events channel="E"><Event name="e" id="4"/>)";
  for (const case_t& c : {
           case_t{"<orvik-generics/>", prefix + "Not a orvik generic config file\n", 0},
           {"<orvik-generic/>", prefix + "Can't find attribute: CT-version\n", 0},
           {ROOT + APP + events, prefix + "End of file encountered\n", 1},
           {ROOT + APP + events + "<Event id=\"5\"/>", prefix + "Can't find attribute: name\n", 1},
           {ROOT + APP + events + "<Event name=&quot;>", prefix + "Bad parse encountered\n", 1},
           {ROOT + events + "</Events></orvik-generic>", "orvik: ERROR! getFirstChild did not return App\n", 0},
       }) {
    TestRecord record;
    EXPECT_EQ(Parse(record, c.text), c.error) << c.text;
    EXPECT_EQ(record->eventIds.size(), c.events) << c.text;
  }
  TestRecord record;
  std::ifstream missing("/nonexistent/generic.xml");
  ConsoleCapture console;
  parseGeneric(missing, record);
  EXPECT_EQ(console.Err(), prefix + "Orvik: Can't open generic configuration file.\n\n");
}

}  // namespace
