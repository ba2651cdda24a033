#include "board/backlight.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <gmock/gmock.h>

namespace unit {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

TEST(Brightness, IsTheShareRoundedAndNeverDarkByRounding) {
  struct case_t {
    std::uint32_t most, period, duty, brightness;
  };
  for (const case_t& c : {case_t{255, 100, 100, 255},
                          {255, 100, 50, 128},
                          {255, 100, 0, 0},
                          {7, 100, 1, 1},
                          {7, 100, 64, 4},
                          {7, 100, 65, 5},
                          {1, 100, 5, 1},
                          {255, 100, 250, 255},
                          {4'294'967'295, 4'294'967'295, 4'294'967'294, 4'294'967'294},
                          {255, 0, 5, 0}}) {
    EXPECT_EQ(Brightness(c.most, c.period, c.duty), c.brightness) << c.most << ' ' << c.duty << '/' << c.period;
  }
}

class BacklightFolder : public testing::Test {
 protected:
  BacklightFolder() {
    std::string name = testing::TempDir() + "orvik-backlight-XXXXXX";
    EXPECT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
    Write("max_brightness", "200\n");
    Write("brightness", "40\n");
  }
  ~BacklightFolder() override { std::filesystem::remove_all(folder_); }

  void Write(const std::string& file, const std::string& text) const {
    std::ofstream(folder_ + "/" + file) << text;
  }
  std::string Read(const std::string& file) const {
    std::string line;
    std::getline(std::ifstream(folder_ + "/" + file) >> std::ws, line);
    return line;
  }
  void Remove(const std::string& file) const { std::filesystem::remove_all(folder_ + "/" + file); }
  std::string StartProblem() const {
    try {
      const Backlight light(folder_);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return {};
  }

  std::string folder_;
};

TEST_F(BacklightFolder, FollowsFromTheEnableOnAndWritesChangesAlone) {
  Write("bl_power", "4\n");
  Backlight light(folder_);
  const Backlight::time_t now{};
  light.Follow(false, 100, 50, now);
  light.Follow(true, 100, 0, now);  // enabled just now: the duty is still to come
  EXPECT_EQ(Read("brightness") + Read("bl_power"), "404");
  light.Follow(true, 100, 50, now);
  EXPECT_EQ(Read("brightness") + Read("bl_power"), "1000");
  Write("brightness", "7\n");
  Write("bl_power", "4\n");
  light.Follow(true, 100, 50, now);
  EXPECT_EQ(Read("brightness") + Read("bl_power"), "74") << "nothing changed, nothing is written";
  light.Follow(true, 100, 0, now);
  EXPECT_EQ(Read("brightness") + Read("bl_power"), "04") << "the power is given once";
}

TEST_F(BacklightFolder, ReportsALightThatGoesAndTriesAgain) {
  Backlight light(folder_);
  Backlight::time_t now{};
  light.Follow(true, 100, 100, now);
  Remove("brightness");
  light.Follow(true, 100, 100, now);
  EXPECT_THAT(light.Problem(), HasSubstr("brightness: No such file"));
  Write("brightness", "0\n");
  Write("max_brightness", "10\n");
  light.Follow(true, 100, 100, now += 999ms);
  EXPECT_EQ(Read("brightness"), "0");
  light.Follow(true, 100, 100, now += 1ms);
  EXPECT_EQ(Read("brightness"), "10") << "of the new driver's range";
  EXPECT_EQ(light.Problem(), "");
}

TEST_F(BacklightFolder, RefusesAFolderThatIsNone) {
  EXPECT_EQ(StartProblem(), "");
  for (const char* text : {"", "bright\n", "0\n", "-5\n", "5 5\n", "99999999999\n"}) {
    Write("max_brightness", text);
    EXPECT_THAT(StartProblem(), HasSubstr("holds no number above 0")) << text;
  }
  Remove("max_brightness");
  EXPECT_THAT(StartProblem(), HasSubstr("max_brightness: No such file"));
  Write("max_brightness", "5\n");
  Remove("brightness");
  EXPECT_THAT(StartProblem(), HasSubstr("/sys/class/backlight"));
}

}  // namespace
}  // namespace unit
