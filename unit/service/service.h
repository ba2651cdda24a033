// What every service of the unit is to the program that runs it.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace unit {

// Options of a run, as the command line gave them.
struct options_t {
  std::string configDirectory;  // holds generic.xml, parameters.xml and screen/
  std::string genericFile;      // the generic configuration; default configDirectory + "/generic.xml"
  std::string bus = "local";    // "local" or "socketcan:IFACE"
  std::string httpAddress = "127.0.0.1:8740";         // port 0: any free one
  std::string socketcandAddress = "127.0.0.1:29536";  // port 0: any free one
  std::string recordFile;                             // candump -L log of the bus; empty: none
  std::string keysDevice;            // evdev device of the front keys; empty: the panel's alone
  std::string keyMapFile;            // which of its keys is which front key; empty: KeyMap::Default()
  std::string beeperDevice;          // evdev device that sounds; empty: none
  std::string backlightDirectory;    // sysfs folder of the display's light; empty: none
  bool fullscreen = false;           // of the native window, where that is run
  std::size_t queueMessages = 4096;  // notification manager: bound of one subscriber's queue
  std::size_t queueBytes = 8U << 20U;
};

// A service's own view of itself. Each service publishes it once a second, as JSON, on HEALTH_CHANNEL_NAME.
struct status_t {
  std::string name;  // "notify", "database", "j1939", "screen", "board", "panel", "window"
  bool up = false;
  std::string detail;  // one line for a person, empty when there is nothing to say
  std::map<std::string, std::uint64_t> counters;
};

// A service owns its threads. Start returns when it can serve, or throws std::runtime_error with what is wrong
// and what to do; Stop ends its threads and removes what it made. GetStatus may be called from any thread in
// between.
class Service {
 public:
  virtual ~Service() = default;
  virtual void Start() = 0;
  virtual void Stop() = 0;
  virtual status_t GetStatus() const = 0;
};

// Channels of the notification manager that the unit's services use among themselves; see also
// DATABASE_CHANNEL_NAME (database_change.h) and SCREEN_CHANGES_CHANNEL_NAME. The application has channels of
// its own: the event and action channels of the generic configuration, SCREEN_CHANNEL_NAME, J1939_CHANNEL_NAME.
constexpr const char* HEALTH_CHANNEL_NAME = "unit.Health";  // JSON: name, up, detail, counters
constexpr const char* BUS_CHANNEL_NAME = "unit.Bus";  // JSON: counts and the last frames, ten times a second
constexpr const char* BOARD_CHANNEL_NAME = "unit.Board";  // JSON: beeper, backlight, keys; on every change

}  // namespace unit
