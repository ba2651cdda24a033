#include "support/test_record.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <span>
#include <stdexcept>
#include <string_view>

#include "platform/byte_order.h"
#include "platform/shared_memory.h"

#include "core/operating_values.h"
#include "services/dbshm.h"

namespace {

// In the order of variable_handles_t.
constexpr std::array<std::string_view, 67> PARAMETERS = {"OrvikTires",
                                                         "OrvikOutriggerRetracted",
                                                         "OrvikOutriggerHalf",
                                                         "OrvikOutriggerExtended",
                                                         "OrvikPickMainBoom",
                                                         "OrvikPickAux",
                                                         "OrvikPickFly",
                                                         "OrvikJibShortFly0",
                                                         "OrvikJibLongFly0",
                                                         "OrvikJibShortFly15",
                                                         "OrvikJibLongFly15",
                                                         "OrvikJibShortFly30",
                                                         "OrvikJibLongFly30",
                                                         "OrvikFrontWinch",
                                                         "OrvikRearWinch",
                                                         "OrvikCounterweight",
                                                         "OrvikStowed",
                                                         "OrvikBoomMode",
                                                         "OrvikAuxHead",
                                                         "OrvikAlarmSet",
                                                         "OrvikPreAlarm",
                                                         "OrvikOverload",
                                                         "OrvikA2B",
                                                         "OrvikPercentSafeWorkingLoad",
                                                         "OrvikCapacity",
                                                         "OrvikPartsOfLine",
                                                         "OrvikLoad",
                                                         "OrvikExtension",
                                                         "OrvikAngle",
                                                         "OrvikRadius",
                                                         "OrvikSwing",
                                                         "OrvikSwingMode",
                                                         "OrvikBrightness",
                                                         "OrvikAlarmLED",
                                                         "OrvikBeepImage",
                                                         "OrvikLanguage",
                                                         "OrvikAngleAlarmSet",
                                                         "OrvikAngleAlarmTripped",
                                                         "OrvikRadiusAlarmSet",
                                                         "OrvikRadiusAlarmTripped",
                                                         "OrvikExtensionAlarmSet",
                                                         "OrvikExtensionAlarmTripped",
                                                         "OrvikSwingAlarmSet",
                                                         "OrvikSwingAlarmTripped",
                                                         "OrvikErectedIcon",
                                                         "OrvikStowedIcon",
                                                         "OrvikRodPressure",
                                                         "OrvikPistonPressure",
                                                         "RealTimeClock.Second",
                                                         "RealTimeClock.Minute",
                                                         "RealTimeClock.Hour",
                                                         "RealTimeClock.Day",
                                                         "RealTimeClock.Month",
                                                         "RealTimeClock.Year",
                                                         "RealTimeClock.DayOfWeek",
                                                         "RealTimeClock.IsAvailable",
                                                         "OrvikHX7TimeOutLamp",
                                                         "OrvikLindarKeysEnabled",
                                                         "OrvikGaugesKeysEnabled",
                                                         "OrvikECUTimeOutLamp",
                                                         "OrvikHornMode",
                                                         "OrvikManBasket",
                                                         "OrvikExternalKeysEnabled",
                                                         "OrvikInternalSystemKeyCode",
                                                         "OrvikExternalSystemKeyCode",
                                                         "OrvikTotalHX7Commands",
                                                         "PlugA.Resistor"};

using handle_array_t = std::array<unsigned, PARAMETERS.size()>;
static_assert(sizeof(handle_array_t) == sizeof(variable_handles_t));

// A directory that goes with the process.
class RuntimeDirectory {
 public:
  RuntimeDirectory() {
    std::string path = (std::filesystem::temp_directory_path() / "orvik-test-XXXXXX").string();
    if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("cannot make a directory for the test");
    path_ = path;
    setenv("ORVIK_RUNTIME_DIR", path.c_str(), 1);
  }
  ~RuntimeDirectory() {
    platform::UnlinkSharedObject(dbshm_layout::OBJECT_NAME);
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  RuntimeDirectory(const RuntimeDirectory&) = delete;
  RuntimeDirectory& operator=(const RuntimeDirectory&) = delete;

  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

// Handles from 1 on: handle 0 is what an unknown name gets.
handle_array_t Handles() {
  handle_array_t handles{};
  for (unsigned i = 0; i < handles.size(); ++i) handles[i] = i + 1;
  return handles;
}

void FillNameTable() {
  using namespace dbshm_layout;
  const std::span<std::uint8_t> object(static_cast<std::uint8_t*>(DBSHM::getMemoryPtr()), OBJECT_SIZE);
  for (std::size_t i = 0; i < PARAMETERS.size(); ++i) {
    const std::size_t entry = NAMES_AT + NAME_ENTRY_SIZE * i;
    platform::StoreLe32(object, entry, Handles()[i]);
    std::copy(PARAMETERS[i].begin(), PARAMETERS[i].end(),
              object.begin() + static_cast<std::ptrdiff_t>(entry + 4));
  }
  platform::StoreLe32(object, LAST_NAME_AT, static_cast<std::uint32_t>(PARAMETERS.size() - 1));
  DBSHM::makeParamMap();
}

}  // namespace

const std::string& PrepareTestRuntime() {
  static const RuntimeDirectory directory;
  static const bool databaseMade = [] {
    DBSHM::Init();
    if (DBSHM::getMemoryPtr() == nullptr) throw std::runtime_error("no parameter database for the test");
    FillNameTable();
    return true;
  }();
  static_cast<void>(databaseMade);
  return directory.Path();
}

double ParameterValue(unsigned handle) {
  double value = 0;
  return DBSHM::Read(handle, value) == 1 ? value : std::numeric_limits<double>::quiet_NaN();
}

double ParameterValue(const std::string& name) {
  return ParameterValue(DBSHM::getHandle(name));
}

TestRecord::TestRecord() {
  PrepareTestRuntime();
  for (pthread_mutex_t* mutex :
       {&data_.canMutex, &data_.decapMutex, &data_.displayMutex, &data_.beeperMutex, &data_.dialsMutex}) {
    pthread_mutex_init(mutex, nullptr);
  }
  const handle_array_t handles = Handles();
  data_.variables = std::bit_cast<variable_handles_t>(handles);
  for (std::size_t i = 0; i < PARAMETERS.size(); ++i) {
    data_.variableHandles[std::string(PARAMETERS[i])] = static_cast<int>(handles[i]);
  }
  SetLanguage(&data_, 0);
  data_.running = 1;
}

void TestRecord::ConnectEvents(const std::string& channelName) {
  data_.eventChannelName = channelName;
  data_.nmClient = new NM::NMClient;  // the record's, which also frees it
  data_.eventChannel = data_.nmClient->registerName(channelName.c_str());
}
