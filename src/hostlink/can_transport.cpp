#include "src/hostlink/can_transport.h"

#include <algorithm>
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

using clock_type = std::chrono::steady_clock;

// Requests in one frame that are answered without the parser.
struct immediate_request_t {
  std::uint8_t command;
  int subCommand;  // ANY_DATA where the command has none
  void (*reply)(orvikData_t* data);
  std::uint8_t counter;
};
constexpr int ANY_DATA = -1;
constexpr std::array<immediate_request_t, 6> IMMEDIATE_REQUESTS = {{
    {6, ANY_DATA, ReturnKeyState, 6},
    {7, 3, ReturnProgramName, 9},
    {7, 4, ReturnProgramDate, 10},
    {7, 5, ReturnFileID, 11},
    {7, 7, ReturnLCDStatus, 13},
    {7, 9, ReturnLEDBrightness, 15},
}};

const immediate_request_t* FindImmediateRequest(std::span<const std::uint8_t, FRAME_SIZE> frame) {
  if (frame[0] != 0 || frame[1] != 1) return nullptr;
  const auto* request =
      std::find_if(IMMEDIATE_REQUESTS.begin(), IMMEDIATE_REQUESTS.end(), [frame](const immediate_request_t& r) {
        return frame[2] == r.command && (r.subCommand == ANY_DATA || frame[3] == r.subCommand);
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

// Makes the clients and registers the channels. The first client goes into the record last: whoever finds it
// there may use the channel numbers.
NM::NMClient& ConnectReceiver(orvikData_t* data) {
  auto* client = new NM::NMClient;  // the record's, which also frees it
  for (NM::NMClient*& spare : data->spareNmClients) spare = new NM::NMClient;
  data->j1939ApiChannel = client->registerName(J1939_CHANNEL_NAME);
  data->rxChannel = client->registerName(orvikRxChName);
  client->subscribe(data->rxChannel);
  data->canNmClient.store(client);
  return *client;
}

// Says why a receive brought nothing, each reason once a second at most, and keeps a client whose server is
// gone from spinning.
class ReceiveTrouble {
 public:
  void Report(int result) {
    line_t& line = result < 0 ? failed_ : empty_;
    if (clock_type::now() >= line.silentUntil) {
      PrintErr(line.text);
      line.silentUntil = clock_type::now() + REPORT_INTERVAL;
    }
    if (result < 0) std::this_thread::sleep_for(PAUSE);
  }

 private:
  static constexpr std::chrono::seconds REPORT_INTERVAL{1};
  static constexpr std::chrono::milliseconds PAUSE{10};
  struct line_t {
    const char* text;
    clock_type::time_point silentUntil{};
  };
  line_t failed_{"Received Error"};
  line_t empty_{"Received zero bytes"};
};

constexpr worker_t RECEIVER = {.slot = THREAD_CAN,
                               .name = "Receive CAN",
                               .readyLine = "Orvik: CAN initialization complete",
                               .exitLine = "Orvik: CAN Receive thread EXIT"};

// Waits for one message of the service at each step.
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

// The sending side: one client for all threads.
struct transmitter_t {
  NM::NMClient client;
  int channel = client.registerName(J1939_CHANNEL_NAME);
};

transmitter_t& Transmitter() {
  // Never destroyed: detached threads may still send while the process ends.
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
  // The length word stays 0: the service takes transmit requests by their size on the channel.
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
