#include "unit/j1939/j1939_service.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <span>
#include <thread>
#include <variant>
#include <vector>

#include "platform/paths.h"
#include "platform/threads.h"

#include "base/line_limiter.h"
#include "src/core/frame_layout.h"
#include "src/services/nm_messages.h"
#include "unit/faults/fault_list.h"
#include "unit/health/notify_link.h"
#include "unit/hostwatch/host_report.h"
#include "unit/hostwatch/host_watch.h"
#include "unit/j1939/bus_link.h"
#include "unit/j1939/bus_report.h"
#include "unit/j1939/client_link.h"
#include "unit/j1939/frame_log.h"
#include "unit/j1939/j1939_requests.h"
#include "unit/j1939/pacing.h"
#include "unit/service/liveness.h"
#include "unit/trace/trace_sender.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr int RECEIVE_TIMEOUT_MS = 200;
constexpr std::size_t MOST_IN_BURST = 16;
// For a kernel bus whose queue is full. The local bus takes a frame at once.
constexpr int SEND_TIMEOUT_MS = 2500;
constexpr auto REPORT_PERIOD = 100ms;
constexpr auto RETRY_PERIOD = 500ms;
constexpr auto RECEIVE_HUNG =
    1s;  // then the frames thread is late, and no report says that the bus is received
constexpr const char* FILTER_FILE = "/j1939.filters";
constexpr const char* NO_FAST_PACKETS = "fast-packet messages are not served";
constexpr const char* KERNEL_BUS_ONLY = "multi-packet messages are served on a kernel bus only";

// | thread   | what it does                                                                     |
// |----------|----------------------------------------------------------------------------------|
// | frames   | receives frames from the bus, logs and delivers them; reopens the bus            |
// | requests | takes the clients' requests and carries them out; reconnects to clients          |
// | report   | publishes counts, frames, active faults, age of values; checks the manager       |
// | messages | on a kernel bus: receives and delivers messages of several frames                |
class J1939Service : public Service {
 public:
  explicit J1939Service(const options_t& options)
      : options_(options),
        report_(options.bus, InterfaceOf(options.bus)),
        bus_(options, report_, [this](const std::string& what) { Complain(what); }) {}
  ~J1939Service() override { J1939Service::Stop(); }

  void Start() override;
  void Stop() override;
  status_t GetStatus() const override;

 private:
  void ReceiveFrames();
  void ReceiveBurst(const BusLink::endpoint_t& endpoint);
  bool AcceptHostFrame(const bus::frame_t& frame);
  void AcceptFrame(const bus::frame_t& frame);
  void ForgetValues();
  void ReportSoon();
  void ReceiveMessages();

  void ReceiveRequests();
  void Carry(const filter_request_t& filter);
  void Carry(const send_request_t& request);
  void Carry(const refused_request_t& refused);
  void SendFrame(const send_request_t& request);
  void SendMessage(const send_request_t& request);

  void Report();
  void PublishFaults();
  void PublishHost();
  bool PauseReport();
  void Complain(const std::string& what);
  bool Pause(std::chrono::milliseconds time);

  const options_t options_;
  BusReport report_;
  TraceSender trace_;
  base::LineLimiter complaints_;
  BusLink bus_;
  std::unique_ptr<FrameLog> log_;
  std::unique_ptr<ClientLink> clients_;
  FaultList faults_;
  HostWatch host_;
  NotifyLink link_;
  Pacing pacing_;                                                           // the frames thread's
  std::atomic<steady_clock::time_point> lastReceive_{steady_clock::now()};  // written by the frames thread
  bool hostBegun_ = false;  // the frames thread's: a message has begun since this service, or the bus, came up

  std::atomic<bool> stopping_{false};
  std::mutex stopMutex_;  // the one of stopped_; guards reportSoon_
  bool reportSoon_ = false;
  std::condition_variable stopped_;
  std::vector<std::thread> threads_;
};

void J1939Service::Start() {
  log_ = std::make_unique<FrameLog>(options_.recordFile, InterfaceOf(options_.bus));
  clients_ = std::make_unique<ClientLink>(platform::RuntimeDirectory() + FILTER_FILE);
  bus_.Open();
  stopping_ = false;
  clients_->Connect();  // before the application starts, since it requests its filters only once
  threads_.emplace_back([this] { ReceiveFrames(); });
  threads_.emplace_back([this] { ReceiveRequests(); });
  threads_.emplace_back([this] { Report(); });
  if (bus_.IsKernelBus()) threads_.emplace_back([this] { ReceiveMessages(); });
}

void J1939Service::Stop() {
  if (threads_.empty()) return;
  {
    const std::lock_guard lock(stopMutex_);
    stopping_ = true;
  }
  stopped_.notify_all();
  bus_.Interrupt();
  clients_->WakeReceiver();
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
  clients_->Disconnect();
  clients_->ForgetFilters();
  bus_.Close();
  log_.reset();  // the lines are in the files now
}

status_t J1939Service::GetStatus() const {
  status_t status{"j1939", report_.IsUp(), bus_.Problem() + bus_.Notice(), report_.Counters()};
  status.counters.merge(bus_.Counters());
  if (log_) {
    status.counters.merge(log_->Counters());
    const std::string problem = log_->Problem();
    status.detail += (status.detail.empty() || problem.empty() ? "" : "; ") + problem;
  }
  status.counters["filters"] = clients_ ? clients_->FilterCount() : 0;
  return status;
}

// True when the service is to stop.
bool J1939Service::Pause(std::chrono::milliseconds time) {
  std::unique_lock lock(stopMutex_);
  return stopped_.wait_for(lock, time, [this] { return stopping_.load(); });
}

void J1939Service::Complain(const std::string& what) {
  if (const auto line = complaints_.Note(what, steady_clock::now())) {
    std::cerr << "j1939: " + *line + "\n" << std::flush;
  }
}

// --- From the bus

void J1939Service::ReceiveFrames() {
  platform::NameThread("j1939 frames");
  platform::RaiseThread();
  Liveness liveness("j1939 frames");
  while (!stopping_) {
    liveness.Note();
    lastReceive_ = steady_clock::now();
    if (const BusLink::endpoint_t endpoint = bus_.Endpoint()) {
      ReceiveBurst(endpoint);
    } else if (!Pause(RETRY_PERIOD)) {
      bus_.Reopen();
    }
  }
}

// The frames of a message arrive together. All of them are logged before the first one is delivered, so that
// the writer of the log wakes once for them.
void J1939Service::ReceiveBurst(const BusLink::endpoint_t& endpoint) {
  using result_t = bus::Endpoint::result_t;
  std::array<bus::frame_t, MOST_IN_BURST> frames;
  std::size_t count = 0;
  result_t result = endpoint->Receive(frames[0], RECEIVE_TIMEOUT_MS);
  while (result == result_t::OK && ++count < frames.size()) result = endpoint->Receive(frames.at(count), 0);
  const auto received = std::span(frames).first(count);
  for (const bus::frame_t& frame : received) {
    log_->Write(frame);
    report_.Note(frame, BusReport::direction_t::RECEIVED);
    trace_.Note(frame, false);
  }
  for (const bus::frame_t& frame : received) {
    lastReceive_ = steady_clock::now();
    AcceptFrame(frame);
  }
  if (result != result_t::DOWN) return;
  hostBegun_ = false;
  host_.ForgetMessage();
  bus_.Lose(endpoint);
}

// False for a frame of the host that the display must not join with others.
bool J1939Service::AcceptHostFrame(const bus::frame_t& frame) {
  // The host pads its frames to eight bytes. What a shorter one lacks nobody sent, so that it has no value.
  if (frame.length < FRAME_SIZE) {
    report_.NoteShort();
    return false;
  }
  // The display may hold the first frames of a message from before the break. It would join them with the last
  // ones of another message; the first frame of a message makes it drop them.
  hostBegun_ = hostBegun_ || frame.data[0] == 0;
  if (hostBegun_ && host_.Accept(frame.Bytes(), steady_clock::now())) ReportSoon();
  return hostBegun_;
}

void J1939Service::ForgetValues() {
  host_.ForgetValues();
  ReportSoon();
}

// Before the application has carried the message out.
void J1939Service::ReportSoon() {
  const std::lock_guard lock(stopMutex_);
  reportSoon_ = true;
  stopped_.notify_all();
}

void J1939Service::AcceptFrame(const bus::frame_t& frame) {
  if (frame.extended && frame.identifier == HOST_FRAME_ID && !AcceptHostFrame(frame)) return;
  if (frame.extended) faults_.Accept(frame.identifier, frame.Bytes(), steady_clock::now());
  const auto begin = steady_clock::now();
  const std::optional<int> room = clients_->Deliver(frame);
  if (!room) return;
  // The frames that waited on the bus meanwhile follow at once; their values are as old as the oldest of them.
  if (steady_clock::now() - begin > RECEIVE_HUNG) ForgetValues();
  if (*room < 0) report_.NoteDropped();
  if (const auto pause = pacing_.PauseAfter(*room); pause > 0ms) Pause(pause);
}

void J1939Service::ReceiveMessages() {
  platform::NameThread("j1939 messages");
  Liveness liveness("j1939 messages");
  while (!stopping_) {
    liveness.Note();
    const auto transport = bus_.Transport();
    transport_message_t message;
    if (!transport) {
      Pause(RETRY_PERIOD);
    } else if (transport->Receive(message, RECEIVE_TIMEOUT_MS)) {
      for (unsigned failed = clients_->Deliver(message); failed > 0; --failed) report_.NoteDropped();
    }
  }
}

// --- From the clients

void J1939Service::ReceiveRequests() {
  platform::NameThread("j1939 requests");
  platform::RaiseThread();
  std::vector<char> buffer(NM_PAYLOAD_SIZE);
  Liveness liveness("j1939 requests");
  while (!stopping_) {
    if (!clients_->IsConnected()) {
      liveness.Note();
      clients_->Disconnect();
      if (!Pause(RETRY_PERIOD)) clients_->Connect();
      continue;
    }
    liveness.Rest();
    const auto message = clients_->ReceiveRequest(buffer);
    liveness.Note();
    if (message) std::visit([this](const auto& request) { Carry(request); }, ReadRequest(*message));
  }
}

void J1939Service::Carry(const filter_request_t& filter) {
  if (filter.reach == reach_t::FASTPACKET) return Carry(refused_request_t{NO_FAST_PACKETS});
  if (filter.reach == reach_t::MULTIPACKET && !bus_.IsKernelBus()) {
    return Carry(refused_request_t{KERNEL_BUS_ONLY});
  }
  if (!clients_->AddFilter(filter)) Carry(refused_request_t{"too many filters"});
}

void J1939Service::Carry(const send_request_t& request) {
  switch (request.reach) {
    case reach_t::STANDARD:
      return SendFrame(request);
    case reach_t::MULTIPACKET:
      return SendMessage(request);
    case reach_t::FASTPACKET:
      return Carry(refused_request_t{NO_FAST_PACKETS});
  }
}

void J1939Service::Carry(const refused_request_t& refused) {
  report_.NoteRefused();
  Complain(std::string("request refused: ") + refused.why);
}

void J1939Service::SendFrame(const send_request_t& request) {
  bus::frame_t frame{.identifier = request.identifier,
                     .extended = true,
                     .length = static_cast<std::uint8_t>(request.data.size()),
                     .data = {},
                     .time_us = bus::RealTime_us()};
  std::ranges::copy(request.data, frame.data.begin());
  const BusLink::endpoint_t endpoint = bus_.Endpoint();
  const auto result = endpoint ? endpoint->Send(frame, SEND_TIMEOUT_MS) : bus::Endpoint::result_t::DOWN;
  if (result == bus::Endpoint::result_t::OK) {
    log_->Write(frame);
    report_.Note(frame, BusReport::direction_t::SENT);
    trace_.Note(frame, true);
    return;
  }
  report_.NoteDropped();
  if (endpoint && result == bus::Endpoint::result_t::DOWN) return bus_.Lose(endpoint);
  Complain(endpoint ? "a frame found no room on the bus" : "a frame was dropped: the bus is down");
}

void J1939Service::SendMessage(const send_request_t& request) {
  if (!bus_.IsKernelBus()) return Carry(refused_request_t{KERNEL_BUS_ONLY});
  const auto transport = bus_.Transport();
  const std::string problem = transport ? transport->Send(request.identifier, request.data) : "the bus is down";
  if (problem.empty()) return;
  report_.NoteDropped();
  Complain("a multi-packet message was dropped: " + problem);
}

// --- The report

// True when the service is to stop.
bool J1939Service::PauseReport() {
  std::unique_lock lock(stopMutex_);
  stopped_.wait_for(lock, REPORT_PERIOD, [this] { return stopping_.load() || reportSoon_; });
  reportSoon_ = false;
  return stopping_;
}

void J1939Service::Report() {
  platform::NameThread("j1939 report");
  Liveness liveness("j1939 report");
  auto nextCheck = steady_clock::now();
  while (!PauseReport()) {
    liveness.Note();
    if (const auto text = report_.DrainIfChanged()) link_.Publish(BUS_CHANNEL_NAME, *text);
    for (const auto& frames : trace_.Drain()) link_.Publish(TRACE_CHANNEL_NAME, frames);
    PublishFaults();
    PublishHost();
    if (steady_clock::now() < nextCheck) continue;
    nextCheck = steady_clock::now() + RETRY_PERIOD;
    clients_->CheckManager();
  }
}

void J1939Service::PublishFaults() {
  const auto report = faults_.TakeIfDue(steady_clock::now());
  if (report) link_.Publish(FAULT_CHANNEL_NAME, WriteFaultReport(*report));
}

void J1939Service::PublishHost() {
  const auto now = steady_clock::now();
  if (!report_.IsUp() || now - lastReceive_.load() > RECEIVE_HUNG) return;
  const auto report = host_.TakeIfDue(now);
  if (report) link_.Publish(HOST_CHANNEL_NAME, WriteHostReport(*report));
}

}  // namespace

std::unique_ptr<Service> MakeJ1939Service(const options_t& options) {
  return std::make_unique<J1939Service>(options);
}

}  // namespace unit
