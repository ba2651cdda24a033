// The interface of every service of the unit towards the program that runs it.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace unit {

// The options of a run, from the command line.
struct options_t {
  std::string configDirectory;  // holds generic.xml, parameters.xml and screen/
  std::string genericFile;      // the generic configuration; default configDirectory + "/generic.xml"
  std::string bus = "local";    // "local" or "socketcan:IFACE"
  std::string httpAddress = "127.0.0.1:8740";         // port 0: any free one
  std::string socketcandAddress = "127.0.0.1:29536";  // port 0: any free one
  std::string busTokenFile;                           // what a station on TCP must present; empty: nothing
  std::string recordFile;                             // log of the bus to write (candump -L); empty: none
  std::string keysDevice;                             // evdev device with the front keys; empty: none
  std::string keyMapFile;                             // maps its keys to front keys; empty: KeyMap::Default()
  std::string beeperDevice;                           // evdev device with a sounder; empty: none
  std::string backlightDirectory;                     // sysfs folder of the backlight; empty: none
  std::string historyFolder;                          // history of a bundle for the panel; empty: this run's
  std::string historyBusFile;                         // log of the bus of that bundle (candump -L)
  bool fullscreen = false;                            // the native window takes the whole display
  std::size_t queueMessages = 4096;                   // notification manager: bound of one subscriber's queue
  std::size_t queueBytes = 8U << 20U;
};

// The state of a service, as the service itself reports it. Published once a second, as JSON, on
// HEALTH_CHANNEL_NAME.
struct status_t {
  std::string name;  // "notify", "database", "j1939", "screen", "board", "panel", "window"
  bool up = false;
  std::string detail;  // one line for the user; may be empty
  std::map<std::string, std::uint64_t> counters;
};

// A service owns its threads. Start returns once the service can serve, or throws std::runtime_error with the
// problem and what to do about it. Stop ends the threads and removes the files, names and shared objects of the
// service. Any thread may call GetStatus between the two.
class Service {
 public:
  virtual ~Service() = default;
  virtual void Start() = 0;
  virtual void Stop() = 0;
  virtual status_t GetStatus() const = 0;
};

// Channels of the notification manager that the unit's services use among themselves; see also
// DATABASE_CHANNEL_NAME (database_change.h), FAULT_CHANNEL_NAME (unit/faults), TRACE_CHANNEL_NAME (unit/trace)
// and SCREEN_CHANGES_CHANNEL_NAME. The application has channels of its own: the event and action channels of
// the generic configuration, SCREEN_CHANNEL_NAME, J1939_CHANNEL_NAME.
constexpr const char* HEALTH_CHANNEL_NAME = "unit.Health";  // JSON: name, up, detail, counters
constexpr const char* BUS_CHANNEL_NAME = "unit.Bus";  // JSON: counts and the last frames, ten times a second
constexpr const char* BOARD_CHANNEL_NAME = "unit.Board";  // JSON: beeper, backlight, keys; on every change
// The application's messages without those that repeat a hundred times a second: the events without
// heartbeats, and SCREEN_CHANNEL_NAME with "process commands" only after another message and every 100 ms. The
// notification manager publishes them.
constexpr const char* EVENT_NEWS_CHANNEL_NAME = "unit.EventNews";
constexpr const char* SCREEN_NEWS_CHANNEL_NAME = "unit.ScreenNews";

}  // namespace unit
