#include "platform/linux/messages/channel.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/linux/runtime_socket.h"

namespace platform {
namespace {

constexpr int EVENT_BATCH = 16;
// So that a client that sends pulses without end cannot keep others from being read.
constexpr int READS_BETWEEN_POLLS = 16;
constexpr int SEND_BUFFER = 1 << 20;

pid_t PeerProcess(int socket) {
  ucred credentials{};
  socklen_t size = sizeof credentials;
  return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0 ? credentials.pid : 0;
}

UnsharedDescriptor OpenReserve() {
  return UnsharedDescriptor::Make([] { return open("/dev/null", O_RDONLY | O_CLOEXEC); });
}

_pulse MakePulse(int code, int value, int scoid) {
  _pulse pulse{};
  pulse.code = static_cast<std::int8_t>(code);
  pulse.value.sival_int = value;
  pulse.scoid = scoid;
  return pulse;
}

void CopyPulse(const _pulse& pulse, void* msg, std::size_t bytes) {
  if (const std::size_t size = std::min(bytes, sizeof pulse); size > 0) std::memcpy(msg, &pulse, size);
}

// Notes what the reply needs, and returns the receive id.
int AcceptMessage(incoming_t& incoming, const request_header_t& header) {
  incoming.sequence.store(header.sequence, std::memory_order_relaxed);
  incoming.room.store(header.room, std::memory_order_relaxed);
  return OweReply(incoming);
}

}  // namespace

bool Channel::Open() {
  listener_ = ListenOnChannelSocket(chid_, path_);
  if (!listener_) return false;
  events_ = UnsharedDescriptor::Make([] { return epoll_create1(EPOLL_CLOEXEC); });
  wake_ = UnsharedDescriptor::Make([] { return eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK); });
  reserve_ = OpenReserve();
  if (events_ && wake_ && Watch(wake_.Get(), EPOLLIN, &wake_) && Watch(listener_.Get(), EPOLLIN, &listener_)) {
    return true;
  }
  unlink(path_.c_str());
  return false;
}

bool Channel::Watch(int descriptor, std::uint32_t events, void* tag) const {
  epoll_event event{};
  event.events = events;
  event.data.ptr = tag;
  return epoll_ctl(events_.Get(), EPOLL_CTL_ADD, descriptor, &event) == 0;
}

int Channel::Receive(void* msg, std::size_t bytes, _msg_info* info) {
  const std::lock_guard guard(receiving_);
  while (!closed_.load(std::memory_order_acquire)) {
    if (!systemPulses_.empty()) {
      CopyPulse(systemPulses_.front(), msg, bytes);
      systemPulses_.pop_front();
      return 0;
    }
    incoming_t* incoming = NextReady();
    if (incoming == nullptr) continue;
    int rcvid = 0;
    if (Read(incoming, msg, bytes, info, rcvid) != read_result_t::NOTHING) return rcvid;
  }
  errno = ESRCH;
  return -1;
}

incoming_t* Channel::NextReady() {
  if (firstReady_ == nullptr) {
    FetchEvents(-1);
  } else if (++readsSincePoll_ >= READS_BETWEEN_POLLS) {
    FetchEvents(0);
  }
  return PopReady();
}

// Events are edge-triggered: a socket is reported once and stays in the ready list until it is empty. With
// level-triggered events, busy sockets would be reported again and served out of order.
void Channel::FetchEvents(int timeout_ms) {
  readsSincePoll_ = 0;
  std::array<epoll_event, EVENT_BATCH> events;
  const int count = epoll_wait(events_.Get(), events.data(), EVENT_BATCH, timeout_ms);
  for (int i = 0; i < count; ++i) {
    const epoll_event& event = events.at(static_cast<std::size_t>(i));
    if (event.data.ptr == &wake_) continue;
    if (event.data.ptr == &listener_) {
      AcceptAll();
      continue;
    }
    auto* incoming = static_cast<incoming_t*>(event.data.ptr);
    if ((event.events & (EPOLLHUP | EPOLLRDHUP | EPOLLERR)) != 0) incoming->hungUp = true;
    PushReady(incoming);
  }
}

void Channel::AcceptAll() {
  while (AcceptOne()) continue;
  if (errno == EMFILE || errno == ENFILE) RefuseOne();
}

bool Channel::AcceptOne() {
  auto incoming = std::make_shared<incoming_t>();
  incoming->socket = UnsharedDescriptor::Make(
      [this] { return accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK); });
  if (!incoming->socket) return errno == EINTR || errno == ECONNABORTED;
  const int socket = incoming->socket.Get();
  setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &SEND_BUFFER, sizeof SEND_BUFFER);
  incoming->pid = PeerProcess(socket);
  if (!EnterIncoming(incoming)) return true;  // the table is full; the client sees the end of the connection
  if (!Watch(socket, EPOLLIN | EPOLLRDHUP | EPOLLET, incoming.get())) {
    LeaveIncoming(*incoming);
    return true;
  }
  incoming_.emplace(incoming.get(), incoming);
  return true;
}

// Closes one waiting client, which would otherwise wait in the listening queue until a descriptor is free.
void Channel::RefuseOne() {
  reserve_.Close();
  UnsharedDescriptor::Make([this] { return accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC); });
  reserve_ = OpenReserve();
}

void Channel::PushReady(incoming_t* incoming) {
  if (std::exchange(incoming->ready, true)) return;
  incoming->nextReady = nullptr;
  (lastReady_ != nullptr ? lastReady_->nextReady : firstReady_) = incoming;
  lastReady_ = incoming;
}

incoming_t* Channel::PopReady() {
  incoming_t* incoming = firstReady_;
  if (incoming == nullptr) return nullptr;
  firstReady_ = incoming->nextReady;
  if (firstReady_ == nullptr) lastReady_ = nullptr;
  incoming->ready = false;
  return incoming;
}

Channel::read_result_t Channel::Read(incoming_t* incoming, void* msg, std::size_t bytes, _msg_info* info,
                                     int& rcvid) {
  request_header_t header{};
  const received_t received =
      ReceiveRecord(incoming->socket.Get(), &header, sizeof header, msg, bytes, MSG_DONTWAIT);
  if (received.length < 0 && (errno == EAGAIN || errno == EINTR)) {
    if (errno == EINTR) PushReady(incoming);
    return read_result_t::NOTHING;
  }
  if (received.length <= 0 || !IsWellFormed(*incoming, header, received.copied, bytes)) {
    Remove(incoming);
    return read_result_t::NOTHING;
  }
  if (incoming->scoid.load(std::memory_order_relaxed) == 0) Identify(*incoming, header);
  // The sender of a message waits for the reply, so the socket has no other record. After any other record it
  // may have.
  if (header.kind != packet_kind_t::MESSAGE || incoming->hungUp) PushReady(incoming);
  if (header.kind == packet_kind_t::HELLO) return read_result_t::NOTHING;
  if (header.kind == packet_kind_t::PULSE) {
    const int scoid = incoming->scoid.load(std::memory_order_relaxed);
    CopyPulse(MakePulse(header.code, header.value, scoid), msg, bytes);
    return read_result_t::PULSE;
  }
  if (info != nullptr) FillInfo(*info, *incoming, header, received.copied);
  rcvid = AcceptMessage(*incoming, header);
  return read_result_t::MESSAGE;
}

void Channel::FillInfo(_msg_info& info, const incoming_t& incoming, const request_header_t& header,
                       std::size_t copied) const {
  info = {};
  info.pid = incoming.pid;
  info.tid = header.tid;
  info.chid = chid_;
  info.scoid = incoming.scoid.load(std::memory_order_relaxed);
  info.coid = header.coid;
  info.msglen = static_cast<std::int32_t>(copied);
  info.srcmsglen = static_cast<std::int32_t>(header.bytes);
  info.dstmsglen = static_cast<std::int32_t>(header.room);
  info.priority = static_cast<std::int16_t>(header.code);
}

bool Channel::IsWellFormed(const incoming_t& incoming, const request_header_t& header, std::size_t copied,
                           std::size_t room) const {
  switch (header.kind) {
    case packet_kind_t::HELLO:
    case packet_kind_t::PULSE:
      return header.bytes == 0 && copied == 0;
    case packet_kind_t::MESSAGE:
      return header.bytes <= MAX_MESSAGE_SIZE && copied == std::min<std::size_t>(header.bytes, room) &&
             incoming.owed.load(std::memory_order_acquire) == 0;
  }
  return false;
}

void Channel::Identify(incoming_t& incoming, const request_header_t& header) {
  incoming.client = clients_.try_emplace({incoming.pid, header.coid}).first;
  channel_client_t& client = incoming.client->second;
  if (client.scoid == 0) client.scoid = NewScoid();
  ++client.sockets;
  incoming.scoid.store(client.scoid, std::memory_order_relaxed);
}

void Channel::Remove(incoming_t* incoming) {
  const auto owner = incoming_.find(incoming);
  const int scoid = incoming->scoid.load(std::memory_order_relaxed);
  const std::uint32_t owed = incoming->owed.load(std::memory_order_acquire);
  // Explicit removal and shutdown: a copy of the descriptor in a forked child would keep the socket watched and
  // open, and the peer would not see end of file.
  epoll_ctl(events_.Get(), EPOLL_CTL_DEL, incoming->socket.Get(), nullptr);
  shutdown(incoming->socket.Get(), SHUT_RDWR);
  LeaveIncoming(*incoming);
  if (owed != 0 && (flags_ & _NTO_CHF_UNBLOCK) != 0) {
    QueueSystemPulse(_PULSE_CODE_UNBLOCK, ReceiveId(*incoming, owed), scoid);
  }
  if (scoid != 0 && --incoming->client->second.sockets == 0) {
    clients_.erase(incoming->client);
    if ((flags_ & _NTO_CHF_DISCONNECT) != 0) QueueSystemPulse(_PULSE_CODE_DISCONNECT, 0, scoid);
  }
  incoming_.erase(owner);
}

void Channel::QueueSystemPulse(int code, int value, int scoid) {
  systemPulses_.push_back(MakePulse(code, value, scoid));
}

void Channel::Close() {
  closed_.store(true, std::memory_order_release);
  unlink(path_.c_str());
  const std::uint64_t one = 1;
  static_cast<void>(!write(wake_.Get(), &one, sizeof one));
  const std::lock_guard guard(receiving_);
  while (!incoming_.empty()) Remove(incoming_.begin()->first);
  firstReady_ = lastReady_ = nullptr;
  systemPulses_.clear();
  shutdown(listener_.Get(), SHUT_RDWR);
  listener_.Close();
}

}  // namespace platform
