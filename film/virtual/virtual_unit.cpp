#include "film/virtual/virtual_unit.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/board_state.h"
#include "platform/byte_order.h"
#include "platform/console_writer.h"
#include "platform/device.h"
#include "platform/device_io.h"
#include "platform/messages.h"
#include "platform/names.h"
#include "platform/threads.h"

#include "film/virtual/virtual_time.h"
#include "film/virtual/watcher.h"
#include "src/compositing/compositor_messages.h"
#include "src/core/frame_layout.h"
#include "src/hostlink/j1939_external.h"
#include "src/screenapi/screen_messages.h"
#include "src/services/dbshm.h"
#include "src/services/nm_client.h"
#include "unit/database/database_owner.h"
#include "unit/notify/requests.h"
#include "unit/screen/design/screen_names.h"

namespace film {

using message_bytes_t = std::vector<std::uint8_t>;

unit_state_t unitState;

namespace {

std::unordered_map<int, std::size_t> pulses;             // waiting, by channel
std::map<int, int> channelsOf;                           // by connection
std::unordered_map<int, std::string> serversOf;          // by connection
std::map<int, std::string> devices;                      // by descriptor
std::unordered_map<std::uintptr_t, std::uint16_t> port;  // registers of the keypad
int lastId = 0;

constexpr std::uintptr_t KEYPAD_DIRECTION = 0x43FA8004;
constexpr std::uintptr_t KEYPAD_DATA = 0x43FA8006;
constexpr int PRIORITY = 10;

template <class... Values>
std::string Format(const char* format, Values... values) {
  char text[200];
  static_cast<void>(std::snprintf(text, sizeof text, format, values...));
  return text;
}

bool IsMissing(const std::string& name) {
  errno = ENOENT;
  return unitState.missing.contains(name);
}

void RecordWrite(int code, int handle) {
  double value = 0;
  DBSHM::Read(static_cast<unsigned>(handle), value);
  GetWatcher().OnWrite(static_cast<unsigned>(handle), code, value);
}

// Each value of a register once: the scanner writes the same ones all the time.
void RecordRegister(std::uintptr_t address, int digits, std::uint32_t value) {
  static std::unordered_set<std::uint64_t> written;
  if (!written.insert(static_cast<std::uint64_t>(address) << 32U | value).second) return;
  GetWatcher().OnCall("register", Format("%08lX = %0*X", address, digits, value));
}

void QueuePulse(int channel) {
  ++pulses[channel];
  WakeBlocked();
}

class Pulses : public unit::PulsePort {
 public:
  bool Open(int client, int /*process*/, int chid) override { return channels_.emplace(client, chid).second; }
  delivery_t Send(int client) override { return QueuePulse(channels_.at(client)), delivery_t::SENT; }
  void Close(int /*client*/) override {}

 private:
  std::map<int, int> channels_;
};

// The clients are made after the manager, to which they connect.
struct services_t {
  unit::screen_names_t names = unit::ReadScreenNames(unitState.configFolder + "/generic.xml");
  Pulses pulses;
  unit::Exchange exchange{{4096, 4U << 20U}, pulses};
  unit::RequestHandler manager{
      exchange, [this](int, int channel, auto payload) { GetWatcher().OnMessage(KindOf(channel), payload); }};
  int events = exchange.RegisterName(names.eventChannel);
  int busRequests = exchange.RegisterName(J1939_CHANNEL_NAME);
  int actions = exchange.RegisterName(names.actionChannel);
  int screen = exchange.RegisterName(SCREEN_CHANNEL_NAME);

  channel_t KindOf(int channel) const {
    if (channel == events) return channel_t::EVENTS;
    if (channel == busRequests) return channel_t::BUS;
    return channel == screen ? channel_t::SCREEN : channel_t::OTHER;
  }
};

services_t& Services() {
  static auto& services = *new services_t;
  return services;
}

struct bus_t {
  NM::NMClient client;
  J1939External::ExternalStandardCAN filters{client};
};

bus_t& Bus() {
  static auto& bus = *new bus_t;
  return bus;
}

void CarryBusRequest(const message_bytes_t& message) {
  const std::uint32_t identifier = platform::LoadLe32(message, J1939_IDENTIFIER_AT);
  if (platform::LoadLe32(message, J1939_TYPE_AT) == J1939_SET_FILTER) {
    const std::string channel(message.begin() + J1939_NAME_AT, message.end());
    return Bus().filters.addFilter(identifier, platform::LoadLe32(message, J1939_MASK_AT), channel.c_str());
  }
  bus::frame_t frame{.identifier = identifier, .length = FRAME_SIZE};
  std::copy_n(message.begin() + J1939_DATA_AT, FRAME_SIZE, frame.data.begin());
  unitState.onFrame(frame);
}

std::span<const std::uint8_t> AskManager(int connection, std::span<const std::uint8_t> request) {
  static std::array<std::uint8_t, NM_MESSAGE_SIZE> reply{};  // what stood there before is not sent
  return std::span(reply).first(Services().manager.Answer({request, request.size(), connection}, reply));
}

}  // namespace

std::vector<std::uint8_t> WaitForMessage(NM::NMClient& client) {
  std::array<char, NM_PAYLOAD_SIZE> buffer{};
  int channel = 0;
  const int size = client.recvMsg(channel, buffer.data(), static_cast<int>(buffer.size()));
  return {buffer.begin(), buffer.begin() + size};
}

int EventChannel() {
  return Services().events;
}

void StartUnit() {
  auto parameters = unit::ReadParameterFile(unitState.configFolder + "/parameters.xml");
  for (unit::parameter_t& parameter : parameters) parameter.notify = true;
  unit::MakeDatabase(parameters);
  StartTask([client = new NM::NMClient] {
    client->subscribe(Services().busRequests);
    for (;;) CarryBusRequest(WaitForMessage(*client));
  });
}

void ReceiveFrame(const bus::frame_t& frame) {
  const CAN_packet_t2 packet{.canID = frame.identifier, .dlc = frame.length, .data = frame.data};
  Bus().filters.CheckRxPacket(&packet);
}

void PostAction(const std::string& action, int channelsOn) {
  services_t& s = Services();
  const auto message = unit::ActionMessage(s.actions + channelsOn, s.names.actions.at(action));
  Bus().client.sendMsg(s.actions, reinterpret_cast<const char*>(message.data()),
                       static_cast<int>(message.size()));
}

}  // namespace film

using namespace film;

// --- Messages

int ChannelCreate(unsigned flags) {
  if (flags != 0) GetWatcher().OnCall("channel", Format("flags %u", flags));
  return ++lastId;
}
int ChannelDestroy(int chid) {
  GetWatcher().OnCall("destroy", chid > 0 ? "channel" : "unknown");
  return 0;
}
int ConnectAttach(std::uint32_t, pid_t, int chid, unsigned, int) {
  channelsOf[++lastId] = chid;
  return lastId;
}
int ConnectDetach(int coid) {
  GetWatcher().OnCall("detach", channelsOf.contains(coid) ? "own channel" : "unknown");
  return 0;
}
int name_open(const char* name, int) {
  if (IsMissing(name)) return -1;
  serversOf[++lastId] = name;
  return lastId;
}
int name_close(int coid) {
  GetWatcher().OnCall("close", serversOf.contains(coid) ? serversOf[coid] : "unknown");
  return 0;
}

long MsgSend(int coid, const void* smsg, std::size_t sbytes, void* rmsg, std::size_t rbytes) {
  const std::span request(static_cast<const std::uint8_t*>(smsg), sbytes);
  const std::string& server = serversOf[coid];
  if (server.empty()) return -1;
  const std::array<std::uint8_t, 4> answer{unitState.compositorReply, 0, 0, 0};
  std::span<const std::uint8_t> reply = answer;
  if (server == NM_SERVER_NAME) reply = AskManager(coid, request);
  if (server == Compositing::SERVER_NAME) GetWatcher().OnLayer(request);
  std::memcpy(rmsg, reply.data(), std::min(rbytes, reply.size()));
  return 0;
}
int MsgReceive(int chid, void* /*msg*/, std::size_t, _msg_info*) {
  while (pulses[chid] == 0) Block();
  --pulses[chid];
  return 0;
}
int MsgSendPulse(int coid, int priority, int code, int value) {
  const int channel = channelsOf.at(coid);
  if (channel != DBSHM::getChid()) {
    QueuePulse(channel);
  } else if (priority == PRIORITY) {
    RecordWrite(code, value);
  }
  return 0;
}
int MsgError(int, int) {
  return -1;
}
int getprio(pid_t) {
  return PRIORITY;
}

// --- Devices

int ThreadCtl(int command, void*) {
  return command != _NTO_TCTL_IO || IsMissing("privilege") ? -1 : 0;
}
std::uintptr_t mmap_device_io(std::size_t bytes, std::uint64_t physicalAddress) {
  const std::string name = Format("%08lX", physicalAddress);
  GetWatcher().OnCall("map", name + Format(" %zu bytes", bytes));
  return IsMissing(name) ? MAP_DEVICE_FAILED : physicalAddress;
}
std::uint16_t in16(std::uintptr_t) {
  return platform::ReadKeypadRows(unitState.keysHeld, port[KEYPAD_DIRECTION], port[KEYPAD_DATA]);
}
void out16(std::uintptr_t address, std::uint16_t value) {
  port[address] = value;
  RecordRegister(address, 4, value);
}
// The counter: 800 counts, a fortieth of a second, at each look.
std::uint32_t in32(std::uintptr_t) {
  static std::uint32_t counter = 0;
  return counter += 800;
}
void out32(std::uintptr_t address, std::uint32_t value) {
  RecordRegister(address, 8, value);
}

int devctl(int descriptor, int command, void* data, std::size_t bytes, int*) {
  const std::span value(static_cast<const std::uint8_t*>(data), bytes);
  GetWatcher().OnDevice(devices[descriptor], Format("%08X ", static_cast<unsigned>(command)), value);
  return 0;
}

namespace platform {

int OpenDevice(const char* path, int flags) {
  GetWatcher().OnCall("open", Format("%s %d", path, flags));
  if (IsMissing(path)) return -1;
  devices[++lastId] = path;
  return lastId;
}
ssize_t WriteDevice(int descriptor, const void* data, std::size_t bytes) {
  GetWatcher().OnDevice(devices[descriptor], "", {static_cast<const std::uint8_t*>(data), bytes});
  return static_cast<ssize_t>(bytes);
}
int CloseDevice(int descriptor) {
  GetWatcher().OnCall("close", devices[descriptor]);
  return 0;
}

// --- Threads and the console

int StartDetachedThread(const thread_attributes_t& attributes, void* (*body)(void*), void* argument) {
  GetWatcher().OnCall("thread", Format("%s, priority %d", attributes.name, attributes.priority));
  if (IsMissing(attributes.name)) return EAGAIN;
  StartTask([body, argument] { body(argument); });
  return 0;
}

ClockAlarm::ClockAlarm() = default;
ClockAlarm::~ClockAlarm() {
  descriptor_ = -1;
}
void ClockAlarm::Wait(const std::timespec& due) {
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  Sleep((due.tv_sec - now.tv_sec) * 1'000'000 + (due.tv_nsec - now.tv_nsec) / 1'000);
}

void PrintLine(std::FILE* stream, std::string_view line) {
  GetWatcher().OnLine(stream == stdout ? "out" : "err", line);
}
void PrintFromHandler(const char* line) {
  GetWatcher().OnLine("handler", line);
}
bool DrainConsole(std::chrono::milliseconds) {
  return true;
}

}  // namespace platform
