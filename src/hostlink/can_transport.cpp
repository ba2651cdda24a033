#include "src/hostlink/can_transport.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <thread>

#include "platform/byte_order.h"

#include "src/core/command_counters.h"
#include "src/core/console.h"
#include "src/core/queues.h"
#include "src/core/worker.h"
#include "src/hostlink/immediate_replies.h"
#include "src/hostlink/j1939_external.h"

constexpr std::array<std::uint32_t, 14> hx7RxFilters = {
    0x18FF00D0, 0x18FF0CD6, 0x18FF4101, 0x18FF0AD4, 0x18FF0BD4, 0x18FF3400, 0x18FF3500,
    0x18FF3600, 0x18FF3700, 0x18FF3200, 0x18FF3300, 0x18FF3001, 0x18FF3101, 0x1CFF00F7};

PlainWord<int> canTransducersSwapped;

namespace {

// A request of one frame that the receive thread answers itself.
struct immediate_request_t {
  std::uint8_t command;
  int subCommand;  // NO_SUB_COMMAND for a command without one
  void (*reply)(orvikData_t* data);
  command_counter_t counter;
};
constexpr int NO_SUB_COMMAND = -1;
constexpr auto IMMEDIATE_REQUESTS = std::to_array<immediate_request_t>({
    {6, NO_SUB_COMMAND, ReturnKeyState, COUNT_CMD6},
    {7, 3, ReturnProgramName, COUNT_CMD7_3},
    {7, 4, ReturnProgramDate, COUNT_CMD7_4},
    {7, 5, ReturnFileID, COUNT_CMD7_5},
    {7, 7, ReturnLCDStatus, COUNT_CMD7_7},
    {7, 9, ReturnLEDBrightness, COUNT_CMD7_9},
});

const immediate_request_t* FindImmediateRequest(std::span<const std::uint8_t, FRAME_SIZE> frame) {
  if (frame[0] != 0 || frame[1] != 1) return nullptr;
  const auto* request =
      std::find_if(IMMEDIATE_REQUESTS.begin(), IMMEDIATE_REQUESTS.end(), [frame](const immediate_request_t& r) {
        return frame[2] == r.command && (r.subCommand == NO_SUB_COMMAND || frame[3] == r.subCommand);
      });
  return request == IMMEDIATE_REQUESTS.end() ? nullptr : request;
}

void HandleHostFrame(orvikData_t* data, const CAN_packet_t2& packet) {
  data->hostSeen = 1;
  data->watchdogSeconds = 0;
  if (const immediate_request_t* request = FindImmediateRequest(packet.data)) {
    request->reply(data);
    IncrementCommandCounter(data, request->counter);
    return;
  }
  addCanPacket(data, packet);
  IncrementCommandCounter(data, COUNT_TOTAL_PKTS);
}

// Creates the clients and registers the channels. The client is stored in the record last: a thread that finds
// it there may use the channel numbers.
NM::NMClient& ConnectReceiver(orvikData_t* data) {
  auto* client = new NM::NMClient;  // the record's, which also frees it
  for (NM::NMClient*& spare : data->spareNmClients) spare = new NM::NMClient;
  data->j1939ApiChannel = client->registerName(J1939_CHANNEL_NAME);
  data->rxChannel = client->registerName(orvikRxChName);
  client->subscribe(data->rxChannel);
  data->canNmClient.store(client);
  return *client;
}

// A line on standard error that is printed once a second at most.
class LimitedLine {
 public:
  explicit LimitedLine(const char* text) : text_(text) {}
  void Print() {
    const auto now = std::chrono::steady_clock::now();
    if (now < silentUntil_) return;
    PrintErr(text_);
    silentUntil_ = now + INTERVAL;
  }

 private:
  static constexpr std::chrono::seconds INTERVAL{1};
  const char* text_;
  std::chrono::steady_clock::time_point silentUntil_{};
};

// Reports receives that brought no message. After an error it pauses too: without a notification manager
// recvMsg fails at once, and the thread would use a whole processor.
class ReceiveTrouble {
 public:
  void Report(int result) {
    if (result >= 0) return empty_.Print();
    failed_.Print();
    std::this_thread::sleep_for(PAUSE);
  }

 private:
  static constexpr std::chrono::milliseconds PAUSE{10};
  LimitedLine failed_{"Received Error"};
  LimitedLine empty_{"Received zero bytes"};
};

constexpr worker_t RECEIVER = {.slot = THREAD_CAN,
                               .name = "Receive CAN",
                               .readyLine = "Orvik: CAN initialization complete",
                               .exitLine = "Orvik: CAN Receive thread EXIT"};

// Each step waits for one message of the service and handles it.
class ReceiveTask : public WorkerTask {
 public:
  explicit ReceiveTask(orvikData_t* data) : data_(data), client_(ConnectReceiver(data)) {
    InitCANTransducers();
    InitCANFilters(data);
  }
  bool Step() override {
    int channel = -1;
    const int size =
        client_.recvMsg(channel, reinterpret_cast<char*>(message_.data()), static_cast<int>(message_.size()));
    if (size >= 1) {
      HandleServiceMessage(data_, std::span(message_).first(static_cast<std::size_t>(size)));
    } else if (data_->canExit == 0) {
      trouble_.Report(size);
    }
    return true;
  }

 private:
  orvikData_t* data_;
  NM::NMClient& client_;
  std::array<std::uint8_t, NM_MESSAGE_SIZE> message_{};
  ReceiveTrouble trouble_;
};

// The client through which all threads send.
struct transmitter_t {
  NM::NMClient client;
  int channel = client.registerName(J1939_CHANNEL_NAME);
};

transmitter_t& Transmitter() {
  // Never destroyed, because detached threads may still send while the process ends.
  static auto& transmitter = *new transmitter_t;
  return transmitter;
}

}  // namespace

int Init_CAN(orvikData_t* data) {
  return StartWorker(RECEIVER, ReceiveCANThreadFn, data);
}

void* ReceiveCANThreadFn(void* record) {
  return RunWorker<ReceiveTask>(RECEIVER, record);
}

void HandleServiceMessage(orvikData_t* data, std::span<const std::uint8_t> message) {
  if (message.size() < J1939_DATA_AT + FRAME_SIZE) return;
  CAN_packet_t2 packet;
  packet.canID = platform::LoadLe32(message, J1939_IDENTIFIER_AT);
  if (packet.canID != HOST_FRAME_ID) return;
  const auto bytes = message.subspan(J1939_DATA_AT, FRAME_SIZE);
  std::copy(bytes.begin(), bytes.end(), packet.data.begin());
  HandleHostFrame(data, packet);
}

void TransmitCAN(orvikData_t* /*data*/, unsigned identifier, unsigned port, const std::uint8_t* bytes) {
  // The length word stays 0: the service uses the size of the received message.
  std::array<std::uint8_t, J1939_MESSAGE_SIZE> message{};
  platform::StoreLe32(message, J1939_TYPE_AT, J1939_SEND_RAW);
  platform::StoreLe32(message, J1939_PORT_AT, port);
  platform::StoreLe32(message, J1939_IDENTIFIER_AT, identifier);
  platform::StoreLe32(message, J1939_DATA_LENGTH_AT, FRAME_SIZE);
  std::copy_n(bytes, FRAME_SIZE, message.begin() + J1939_DATA_AT);

  transmitter_t& transmitter = Transmitter();
  transmitter.client.sendMsg(transmitter.channel, reinterpret_cast<const char*>(message.data()),
                             static_cast<int>(message.size()));
}

void InitCANFilters(orvikData_t* data) {
  const std::string bytes = std::to_string(sizeof(hx7RxFilters));
  PrintOut("InitCANFilters: hx7NumFilters=" + bytes + ", sizeof=" + bytes);
  NM::NMClient* client = data->canNmClient.load();
  if (client == nullptr) return;
  const std::string channelName = orvikRxChName;
  std::array<char, J1939_MESSAGE_SIZE + J1939_NAME_SIZE> message{};
  for (const std::uint32_t identifier : hx7RxFilters) {
    J1939External::setFilter(identifier, RX_FILTER_MASK, CAN_PORT, channelName, message.data());
    client->sendMsg(data->j1939ApiChannel, message.data(),
                    static_cast<int>(J1939_MESSAGE_SIZE + channelName.size()));
  }
}

void InitCANTransducers() {
  canTransducersSwapped = 0;
}
void SwapCANTransducers() {
  canTransducersSwapped = canTransducersSwapped == 0 ? 1 : 0;
}

void DumpCANPacket(const CAN_packet_t2* packet) {
  std::string line = "dCANpacket: canID: " + HexText(packet->canID, 8) + ", dlc:" + std::to_string(packet->dlc);
  for (const std::uint8_t byte : packet->data) line += HexText(byte, 2);
  line += "cpkt_flags:";
  for (const std::uint8_t byte : packet->cpkt_flags) line += HexText(byte, 2);
  PrintOut(line);
}
