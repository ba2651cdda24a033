// What the application does in virtual time, for whoever wants to know.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace film {

enum class channel_t : std::uint8_t { EVENTS = 1, BUS = 2, SCREEN = 4, OTHER = 0 };

// Called at the moment, from the application's task; no function may wait.
class Watcher {
 public:
  virtual ~Watcher() = default;
  // A message to the notification manager.
  virtual void OnMessage(channel_t /*channel*/, std::span<const std::uint8_t> /*payload*/) {}
  // A changed value in the database. `code` is the pulse's.
  virtual void OnWrite(unsigned /*handle*/, int /*code*/, double /*value*/) {}
  // A message of a drawing layer.
  virtual void OnLayer(std::span<const std::uint8_t> /*message*/) {}
  // Bytes written to a device, or a command with its data.
  virtual void OnDevice(const std::string& /*name*/, std::string_view /*command*/,
                        std::span<const std::uint8_t> /*bytes*/) {}
  // A line on a stream: "out", "err" or "handler".
  virtual void OnLine(const char* /*stream*/, std::string_view /*line*/) {}
  // Any other call of the system: its kind and what it was about.
  virtual void OnCall(const char* /*kind*/, const std::string& /*what*/) {}
};

// The program's watcher; it is set before the application starts.
void SetWatcher(Watcher& watcher);
Watcher& GetWatcher();

}  // namespace film
