// The unit around the application in virtual time: its platform (threads, messages, devices, console),
// notification manager, database and compositor, and as much of the J1939 service as answers the application.
// What the application does goes to the Watcher.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "bus/can_frame.h"
#include "src/services/nm_client.h"

namespace film {

struct unit_state_t {
  std::string configFolder = "config";
  std::set<std::string> missing;  // names of servers, devices and threads that cannot be had
  std::uint32_t keysHeld = 0;     // bit n-1 is front key n
  std::uint8_t compositorReply = 0;
  // Gets the frames that the application sends.
  std::function<void(const bus::frame_t&)> onFrame = [](const bus::frame_t&) {};
};
extern unit_state_t unitState;

// Makes the database and starts the services.
void StartUnit();
// Delivers a frame of the bus, where a filter of the application lets it through.
void ReceiveFrame(const bus::frame_t& frame);
// Says that a page is shown, or whatever else the screen service tells the application. The message names the
// action channel, or the channel `channelsOn` behind it.
void PostAction(const std::string& action, int channelsOn = 0);

int EventChannel();
// Waits for the client's next message.
std::vector<std::uint8_t> WaitForMessage(NM::NMClient& client);

}  // namespace film
