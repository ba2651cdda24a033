#include "unit/j1939/j1939_service.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "platform/byte_order.h"
#include "platform/paths.h"

#include "base/address_file.h"
#include "bus/endpoint.h"
#include "src/core/frame_layout.h"
#include "src/hostlink/j1939_external.h"
#include "unit/health/notify_link.h"
#include "unit/j1939/bus_report.h"
#include "unit/j1939/filter_store.h"
#include "unit/j1939/frame_log.h"
#include "unit/j1939/j1939_requests.h"
#include "unit/j1939/kernel_transport.h"
#include "unit/j1939/local_bus.h"
#include "unit/j1939/pacing.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr int RECEIVE_TIMEOUT_MS = 200;
constexpr int SEND_TIMEOUT_MS = 2500;  // longer than a stalled station of the local bus is waited for
constexpr auto REPORT_PERIOD = 100ms;
constexpr auto RETRY_PERIOD = 500ms;
constexpr auto COMPLAINT_PERIOD = 1s;
constexpr const char* NOT_STARTED = "not started";
constexpr const char* FILTER_FILE = "/j1939.filters";
constexpr std::string_view KERNEL_BUS = "socketcan:";

std::string InterfaceOf(const std::string& bus) {
  return bus.starts_with(KERNEL_BUS) ? bus.substr(KERNEL_BUS.size()) : std::string(SocketcandSession::BUS_NAME);
}

// One line on standard error a second at most; what comes between is counted into the next line.
class Complaints {
 public:
  void Add(const std::string& what) {
    const std::lock_guard lock(mutex_);
    const auto now = steady_clock::now();
    if (now < next_) {
      ++kept_;
      return;
    }
    next_ = now + COMPLAINT_PERIOD;
    std::cerr << "j1939: " << what;
    if (kept_ > 0) std::cerr << " (and " << std::exchange(kept_, 0) << " more)";
    std::cerr << std::endl;
  }

 private:
  std::mutex mutex_;  // guards the two below
  steady_clock::time_point next_;
  std::uint64_t kept_ = 0;
};

// A client at the notification manager together with the filter table that delivers through it.
struct delivery_t {
  explicit delivery_t(std::unique_ptr<NM::NMClient> connected)
      : client(std::move(connected)),
        requestChannel(client->registerName(J1939_CHANNEL_NAME)),
        table(*client) {}

  std::unique_ptr<NM::NMClient> client;
  const int requestChannel;
  std::mutex mutex;  // guards table
  J1939External::ExternalStandardCAN table;
};

class J1939Service : public Service {
 public:
  explicit J1939Service(const options_t& options)
      : options_(options),
        interface_(InterfaceOf(options.bus)),
        isKernelBus_(options.bus.starts_with(KERNEL_BUS)),
        report_(options.bus, interface_) {}
  ~J1939Service() override { J1939Service::Stop(); }

  void Start() override;
  void Stop() override;
  status_t GetStatus() const override;

 private:
  using endpoint_t = std::shared_ptr<bus::Endpoint>;
  using DeliveryPointer = std::shared_ptr<delivery_t>;

  // The bus.
  void OpenLocalBus();
  void OpenKernelBus();
  void ReceiveFrames();
  void LoseBus(const endpoint_t& lost);
  void TakeFrame(const bus::frame_t& frame);
  void ReceiveMessages();
  endpoint_t Endpoint() const;
  std::shared_ptr<KernelTransport> Transport() const;

  // The clients.
  bool JoinManager();
  void LeaveManager();
  void CheckManager();
  void TakeRequests();
  void Carry(std::span<const std::uint8_t> message);
  void Carry(const filter_request_t& filter);
  void Carry(const send_request_t& request);
  void Carry(const refused_request_t& refused);
  void SendFrame(const send_request_t& request);
  void SendMessage(const send_request_t& request);
  void DeliverMessage(const transport_message_t& message);
  DeliveryPointer Delivery() const;

  void Report();
  bool Pause(std::chrono::milliseconds time);

  const options_t options_;
  const std::string interface_;
  const bool isKernelBus_;
  BusReport report_;
  std::unique_ptr<FrameLog> log_;
  Complaints complaints_;
  NotifyLink link_;
  Pacing pacing_;  // the receiving thread's
  std::shared_ptr<LocalBus> localBus_;

  mutable std::mutex mutex_;  // guards the five below
  endpoint_t endpoint_;
  std::shared_ptr<KernelTransport> transport_;
  DeliveryPointer delivery_;
  std::unique_ptr<FilterStore> filters_;
  std::string problem_ = NOT_STARTED;  // what is wrong with the bus, empty while it is up

  std::atomic<bool> managerLost_{false};
  std::atomic<bool> stopping_{false};
  std::mutex stopMutex_;  // the one of stopped_
  std::condition_variable stopped_;
  std::vector<std::thread> threads_;
};

// --- Beginning and end

void J1939Service::Start() {
  log_ = std::make_unique<FrameLog>(options_.recordFile, interface_);
  filters_ = std::make_unique<FilterStore>(platform::RuntimeDirectory() + FILTER_FILE);
  if (options_.bus == "local") {
    OpenLocalBus();
  } else if (isKernelBus_ && !interface_.empty()) {
    OpenKernelBus();
  } else {
    throw std::runtime_error("\"" + options_.bus + "\" is no bus; use --bus local or --bus socketcan:IFACE");
  }
  stopping_ = false;
  JoinManager();  // before the application starts, which asks for its filters once
  threads_.emplace_back([this] { ReceiveFrames(); });
  threads_.emplace_back([this] { TakeRequests(); });
  threads_.emplace_back([this] { Report(); });
  if (isKernelBus_) threads_.emplace_back([this] { ReceiveMessages(); });
}

void J1939Service::Stop() {
  if (threads_.empty()) return;
  {
    const std::lock_guard lock(stopMutex_);
    stopping_ = true;
  }
  stopped_.notify_all();
  if (const endpoint_t endpoint = Endpoint()) endpoint->Interrupt();
  if (const DeliveryPointer delivery = Delivery()) delivery->client->wakeReceiver();
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
  LeaveManager();
  {
    const std::lock_guard lock(mutex_);
    endpoint_.reset();
    transport_.reset();
    filters_->Remove();
  }
  localBus_.reset();
  if (!isKernelBus_) base::RemoveAddressFile(base::BUS_ADDRESS_FILE);
  log_->Flush();
}

status_t J1939Service::GetStatus() const {
  status_t status{.name = "j1939", .up = report_.IsUp(), .detail = {}, .counters = report_.Counters()};
  if (localBus_) status.counters.merge(localBus_->Counters());
  const std::lock_guard lock(mutex_);
  status.detail = problem_;
  status.counters["filters"] = filters_ ? filters_->Count() : 0;
  return status;
}

// True when the service is to stop.
bool J1939Service::Pause(std::chrono::milliseconds time) {
  std::unique_lock lock(stopMutex_);
  return stopped_.wait_for(lock, time, [this] { return stopping_.load(); });
}

// --- The bus

void J1939Service::OpenLocalBus() {
  localBus_ = std::make_shared<LocalBus>(options_.socketcandAddress);
  if (!base::WriteAddressFile(base::BUS_ADDRESS_FILE, localBus_->Address())) {
    throw std::runtime_error("cannot write the bus's address into " + platform::RuntimeDirectory());
  }
  const std::lock_guard lock(mutex_);
  endpoint_ = localBus_;
  problem_.clear();
  report_.SetUp(true);
}

// Opens the interface. That it is not there is reported once: here at the start, else by LoseBus.
void J1939Service::OpenKernelBus() {
  endpoint_t endpoint;
  std::shared_ptr<KernelTransport> transport;
  std::string problem;
  try {
    endpoint = bus::OpenEndpoint(options_.bus);
  } catch (const std::exception& error) {
    problem = error.what();
  }
  if (endpoint) {
    try {
      transport = std::make_shared<KernelTransport>(interface_);
    } catch (const std::exception& error) {
      complaints_.Add(std::string("messages of more than one frame are not possible: ") + error.what());
    }
  }
  const std::lock_guard lock(mutex_);
  const bool isFirst = problem_ == NOT_STARTED;
  if (problem.empty() && !isFirst) {
    std::cout << "j1939: " << interface_ << " is up again" << std::endl;
  } else if (!problem.empty() && isFirst) {
    std::cerr << "j1939: " << problem << " (trying again twice a second)" << std::endl;
  }
  problem_ = problem;
  endpoint_ = std::move(endpoint);
  transport_ = std::move(transport);
  report_.SetUp(endpoint_ != nullptr);
}

J1939Service::endpoint_t J1939Service::Endpoint() const {
  const std::lock_guard lock(mutex_);
  return endpoint_;
}

std::shared_ptr<KernelTransport> J1939Service::Transport() const {
  const std::lock_guard lock(mutex_);
  return transport_;
}

void J1939Service::ReceiveFrames() {
  while (!stopping_) {
    const endpoint_t endpoint = Endpoint();
    if (!endpoint) {
      if (!Pause(RETRY_PERIOD)) OpenKernelBus();
      continue;
    }
    bus::frame_t frame;
    switch (endpoint->Receive(frame, RECEIVE_TIMEOUT_MS)) {
      case bus::Endpoint::result_t::OK:
        TakeFrame(frame);
        break;
      case bus::Endpoint::result_t::TIMEOUT:
        break;
      case bus::Endpoint::result_t::DOWN:
        LoseBus(endpoint);
        break;
    }
  }
}

void J1939Service::LoseBus(const endpoint_t& lost) {
  const std::lock_guard lock(mutex_);
  if (endpoint_ != lost) return;
  problem_ = lost->Problem();
  endpoint_.reset();
  transport_.reset();
  report_.SetUp(false);
  std::cerr << "j1939: " << problem_ << " (trying again twice a second)" << std::endl;
}

void J1939Service::TakeFrame(const bus::frame_t& frame) {
  log_->Write(frame);
  report_.Note(frame, BusReport::direction_t::RECEIVED);
  {
    const std::lock_guard lock(mutex_);
    if (!frame.extended || !filters_->Has(frame.identifier)) return;
  }
  const DeliveryPointer delivery = Delivery();
  if (!delivery) return report_.NoteDropped();
  const CAN_packet_t2 packet{frame.identifier, frame.length, frame.data, {}};
  int room = 0;
  {
    const std::lock_guard lock(delivery->mutex);
    delivery->table.CheckRxPacket(&packet);
    room = delivery->table.LastResult();
  }
  if (room < 0) report_.NoteDropped();
  if (const auto pause = pacing_.PauseAfter(room); pause > 0ms) Pause(pause);
}

void J1939Service::ReceiveMessages() {
  while (!stopping_) {
    const auto transport = Transport();
    transport_message_t message;
    if (!transport) {
      Pause(RETRY_PERIOD);
    } else if (transport->Receive(message, RECEIVE_TIMEOUT_MS)) {
      DeliverMessage(message);
    }
  }
}

// A message of several frames goes to the channels of all multi-packet filters that it matches under their
// masks.
void J1939Service::DeliverMessage(const transport_message_t& message) {
  std::vector<std::string> channels;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [identifier, filter] : filters_->All(reach_t::MULTIPACKET)) {
      if (((identifier ^ message.identifier) & filter.mask) == 0) channels.push_back(filter.channelName);
    }
  }
  const DeliveryPointer delivery = Delivery();
  if (channels.empty() || !delivery) return;
  std::vector<char> buffer(J1939_MESSAGE_SIZE);
  J1939External::sendMultipacketMsg(message.identifier, static_cast<unsigned>(message.data.size()), CAN_PORT,
                                    message.data.data(), buffer.data());
  for (const std::string& name : channels) {
    const int channel = delivery->client->registerName(name.c_str());
    if (delivery->client->sendMsg(channel, buffer.data(), static_cast<int>(buffer.size())) < 0)
      report_.NoteDropped();
  }
}

// --- The clients

J1939Service::DeliveryPointer J1939Service::Delivery() const {
  const std::lock_guard lock(mutex_);
  return delivery_;
}

bool J1939Service::JoinManager() {
  std::unique_ptr<NM::NMClient> client = ConnectToManager();
  if (!client) return false;
  const auto delivery = std::make_shared<delivery_t>(std::move(client));
  if (delivery->requestChannel < 1 || delivery->client->subscribe(delivery->requestChannel) < 0) return false;
  const std::lock_guard lock(mutex_);
  for (const auto& [identifier, filter] : filters_->All(reach_t::STANDARD)) {
    delivery->table.addFilter(identifier, filter.mask, filter.channelName.c_str());
  }
  delivery_ = delivery;
  managerLost_ = false;
  return true;
}

void J1939Service::LeaveManager() {
  const std::lock_guard lock(mutex_);
  delivery_.reset();
}

// A manager that ends sends no pulse, and who waits for one would wait for ever: it is asked something now and
// then.
void J1939Service::CheckManager() {
  const DeliveryPointer delivery = Delivery();
  if (!delivery || managerLost_ ||
      delivery->client->registerName(J1939_CHANNEL_NAME) == delivery->requestChannel) {
    return;
  }
  managerLost_ = true;
  delivery->client->wakeReceiver();
}

void J1939Service::TakeRequests() {
  std::vector<char> buffer(NM_PAYLOAD_SIZE);
  while (!stopping_) {
    const DeliveryPointer delivery = Delivery();
    if (!delivery || managerLost_) {
      LeaveManager();
      if (!Pause(RETRY_PERIOD)) JoinManager();
      continue;
    }
    int channel = -1;
    const int size = delivery->client->recvMsg(channel, buffer.data(), static_cast<int>(buffer.size()));
    if (size < 0) {
      managerLost_ = true;
    } else if (channel == delivery->requestChannel) {
      Carry({reinterpret_cast<const std::uint8_t*>(buffer.data()), static_cast<std::size_t>(size)});
    }
  }
}

void J1939Service::Carry(std::span<const std::uint8_t> message) {
  std::visit([this](const auto& request) { Carry(request); }, ReadRequest(message));
}

void J1939Service::Carry(const filter_request_t& filter) {
  if (filter.reach == reach_t::FASTPACKET)
    return Carry(refused_request_t{"fast-packet messages are not served"});
  if (filter.reach == reach_t::MULTIPACKET && !isKernelBus_) {
    return Carry(refused_request_t{"multi-packet messages are served on a kernel bus only"});
  }
  {
    const std::lock_guard lock(mutex_);
    if (!filters_->Add(filter)) return Carry(refused_request_t{"too many filters"});
  }
  const DeliveryPointer delivery = Delivery();
  if (filter.reach != reach_t::STANDARD || !delivery) return;
  const std::lock_guard lock(delivery->mutex);
  delivery->table.addFilter(filter.identifier, filter.mask, filter.channelName.c_str());
}

void J1939Service::Carry(const send_request_t& request) {
  switch (request.reach) {
    case reach_t::STANDARD:
      return SendFrame(request);
    case reach_t::MULTIPACKET:
      return SendMessage(request);
    case reach_t::FASTPACKET:
      return Carry(refused_request_t{"fast-packet messages are not served"});
  }
}

void J1939Service::Carry(const refused_request_t& refused) {
  report_.NoteRefused();
  complaints_.Add(std::string("request refused: ") + refused.why);
}

void J1939Service::SendFrame(const send_request_t& request) {
  bus::frame_t frame{.identifier = request.identifier,
                     .extended = true,
                     .length = static_cast<std::uint8_t>(request.data.size()),
                     .data = {},
                     .time_us = bus::RealTime_us()};
  std::ranges::copy(request.data, frame.data.begin());
  const endpoint_t endpoint = Endpoint();
  const auto result = endpoint ? endpoint->Send(frame, SEND_TIMEOUT_MS) : bus::Endpoint::result_t::DOWN;
  if (result == bus::Endpoint::result_t::OK) {
    log_->Write(frame);
    report_.Note(frame, BusReport::direction_t::SENT);
    return;
  }
  report_.NoteDropped();
  if (endpoint && result == bus::Endpoint::result_t::DOWN) return LoseBus(endpoint);
  complaints_.Add(endpoint ? "a frame found no room on the bus" : "a frame was dropped: the bus is down");
}

void J1939Service::SendMessage(const send_request_t& request) {
  if (!isKernelBus_) return Carry(refused_request_t{"multi-packet messages are served on a kernel bus only"});
  const auto transport = Transport();
  const std::string problem = transport ? transport->Send(request.identifier, request.data) : "the bus is down";
  if (problem.empty()) return;
  report_.NoteDropped();
  complaints_.Add("a multi-packet message was dropped: " + problem);
}

// --- The report

void J1939Service::Report() {
  auto nextCheck = steady_clock::now();
  while (!Pause(REPORT_PERIOD)) {
    log_->Flush();
    if (const auto text = report_.TakeIfChanged()) link_.Publish(BUS_CHANNEL_NAME, *text);
    if (steady_clock::now() < nextCheck) continue;
    nextCheck = steady_clock::now() + RETRY_PERIOD;
    CheckManager();
  }
}

}  // namespace

std::unique_ptr<Service> MakeJ1939Service(const options_t& options) {
  return std::make_unique<J1939Service>(options);
}

}  // namespace unit
