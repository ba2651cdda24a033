// The backlight's files, and files of keys that cannot be read.
#include "unit/board/kernel_backlight.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <gmock/gmock.h>

#include "tests/support/test_folder.h"
#include "unit/board/key_map.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

TEST(KeyMapTest, RefusesAFileThatCannotBeRead) {
  EXPECT_THROW(KeyMap::Read("/nonexistent"), std::runtime_error);
  EXPECT_THROW(KeyMap::Read("/dev/zero"), std::runtime_error);
}

class BacklightTest : public testing::Test {
 protected:
  BacklightTest() {
    folder_.Write("max_brightness", "200\n");
    folder_.Write("brightness", "40\n");
  }

  std::string Read(const std::string& file) const {
    std::string line;
    std::getline(std::ifstream(folder_.Path() / file) >> std::ws, line);
    return line;
  }

  TestFolder folder_;
};

TEST_F(BacklightTest, FollowsFromTheEnableOnAndWritesChangesAlone) {
  folder_.Write("bl_power", "4\n");
  KernelBacklight light(folder_.Path());
  const KernelBacklight::TimePoint now{};
  light.Follow(false, 100, 50, now);
  light.Follow(true, 100, 0, now);  // the application sets the duty after it enables the light
  EXPECT_EQ(Read("brightness") + Read("bl_power"), "404");
  light.Follow(true, 100, 50, now);
  EXPECT_EQ(Read("brightness") + Read("bl_power"), "1000");
  folder_.Write("brightness", "7\n");
  folder_.Write("bl_power", "4\n");
  light.Follow(true, 100, 50, now);
  EXPECT_EQ(Read("brightness") + Read("bl_power"), "74") << "an unchanged value is not written again";
  light.Follow(true, 100, 0, now);
  EXPECT_EQ(Read("brightness") + Read("bl_power"), "04") << "the power is written once only";
}

TEST_F(BacklightTest, ReportsALightThatGoesAndTriesAgain) {
  KernelBacklight light(folder_.Path());
  KernelBacklight::TimePoint now{};
  light.Follow(true, 100, 100, now);
  std::filesystem::remove(folder_.Path() / "brightness");
  light.Follow(true, 100, 100, now);
  EXPECT_THAT(light.Problem(), HasSubstr("brightness: No such file"));
  folder_.Write("brightness", "0\n");
  folder_.Write("max_brightness", "10\n");
  light.Follow(true, 100, 100, now += 999ms);
  EXPECT_EQ(Read("brightness"), "0");
  light.Follow(true, 100, 100, now += 1ms);
  EXPECT_EQ(Read("brightness"), "10") << "in the new driver's range";
  EXPECT_EQ(light.Problem(), "");
}

TEST_F(BacklightTest, RefusesARangeThatIsNone) {
  for (const char* text : {"", "0\n", "-5\n", "5 5\n", "99999999999\n"}) {
    folder_.Write("max_brightness", text);
    EXPECT_THAT([this] { const KernelBacklight light(folder_.Path()); },
                testing::ThrowsMessage<std::runtime_error>(HasSubstr("is not a number above 0")))
        << text;
  }
}

}  // namespace
}  // namespace unit
