// The list of parameters, and shortened names on the command line.
#include <stdexcept>

#include <gmock/gmock.h>

#include "unit/database/database_commands.h"
#include "unit/database/parameter_list.h"

namespace unit {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

TEST(ParameterListTest, ReadsNamesHandlesFirstValuesAndWhetherChangesArePublished) {
  const auto parameters = ReadParameters(R"(<?xml version="1.0"?>
    <!-- comment -->
    <orvik-parameters version="1">
      <Parameter name="OrvikTires" handle="1" first="-2.5" notify="1"/>
      <Parameter name="Version.App.1" handle="9999" notify="0"/>
      <Parameter name="Plain" handle="3"/>
    </orvik-parameters>)",
                                         "p.xml");
  const auto parameter = [](const char* name, unsigned handle, std::optional<double> first, bool notify) {
    return AllOf(Field(&parameter_t::name, name), Field(&parameter_t::handle, handle),
                 Field(&parameter_t::first, first), Field(&parameter_t::notify, notify));
  };
  EXPECT_THAT(parameters, ElementsAre(parameter("OrvikTires", 1, -2.5, true),
                                      parameter("Version.App.1", 9999, std::nullopt, false),
                                      parameter("Plain", 3, std::nullopt, false)));
}

TEST(ParameterListTest, AWrongListIsRefusedWithFileLineAndRemedy) {
  const std::string longName(128, 'n');
  const std::pair<std::string, const char*> cases[] = {
      {"<Parameter name=\"a\" handle=\"1\"", "p.xml:"},
      {"", "has no <Parameter>"},
      {"<Param name=\"a\" handle=\"1\"/>", "p.xml:2: <Param> is not known here"},
      {"<Parameter handle=\"1\"/>", "p.xml:2: name must have 1 to 127 bytes"},
      {"<Parameter name=\"" + longName + "\" handle=\"1\"/>", "has 128"},
      {"<Parameter name=\"a\"/>", "p.xml:2: handle must be a number from 1 to 9999"},
      {"<Parameter name=\"a\" handle=\"0\"/>", "handle must be"},
      {"<Parameter name=\"a\" handle=\"10000\"/>", "is \"10000\""},
      {"<Parameter name=\"a\" handle=\"1x\"/>", "is \"1x\""},
      {"<Parameter name=\"a\" handle=\"-1\"/>", "handle must be"},
      {"<Parameter name=\"a\" handle=\"1\" first=\"one\"/>", "first must be a number, is \"one\""},
      {"<Parameter name=\"a\" handle=\"1\" first=\"inf\"/>", "first must be a number"},
      {"<Parameter name=\"a\" handle=\"1\" first=\"\"/>", "leave it out"},
      {"<Parameter name=\"a\" handle=\"1\" notify=\"yes\"/>", "notify must be 0 or 1"},
      {"<Parameter name=\"a\" handle=\"1\" notfy=\"1\"/>", "attribute \"notfy\" is not known"},
      {"<Parameter name=\"a\" handle=\"1\"/>\n<Parameter name=\"a\" handle=\"2\"/>",
       "p.xml:3: name \"a\" is used on line 2 already"},
      {"<Parameter name=\"a\" handle=\"1\"/>\n\n<Parameter name=\"b\" handle=\"1\"/>",
       "p.xml:4: handle 1 is used on line 2 already"},
  };
  for (const auto& [line2, text] : cases) {
    const std::string list = "<orvik-parameters version=\"1\">\n" + line2 + "\n</orvik-parameters>";
    EXPECT_THAT([&] { ReadParameters(list, "p.xml"); },
                ThrowsMessage<std::runtime_error>(AllOf(StartsWith("p.xml:"), HasSubstr(text))))
        << line2;
  }
  for (const char* text : {"", "<other/>", "<orvik-parameters version=\"2\"/>", "not XML", "<a"}) {
    EXPECT_THROW(ReadParameters(text, "p.xml"), std::runtime_error) << text;
  }
}

TEST(DatabaseCommandsTest, AShortenedNameMeansAllThatBeginWithItAndAWholeOneItself) {
  const std::vector<std::string> names = {"OrvikLoad", "OrvikLoadLimit", "OrvikRadius"};
  EXPECT_THAT(FindCandidates(names, "OrvikR"), ElementsAre("OrvikRadius"));
  EXPECT_THAT(FindCandidates(names, "OrvikL"), ElementsAre("OrvikLoad", "OrvikLoadLimit"));
  EXPECT_THAT(FindCandidates(names, "OrvikLoad"), ElementsAre("OrvikLoad"));
  EXPECT_THAT(FindCandidates(names, "orvik"), IsEmpty());
}

}  // namespace
}  // namespace unit
