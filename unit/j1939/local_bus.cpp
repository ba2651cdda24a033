#include "unit/j1939/local_bus.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <utility>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/host_port.h"
#include "bus/socketcand_text.h"

namespace unit {
namespace {

using std::chrono::steady_clock;

constexpr std::size_t READ_SIZE = 4096;    // at most some 340 frames in one step
constexpr int SOCKET_BUFFER = 256 * 1024;  // what the kernel holds for a station that does not read
constexpr int BACKLOG = 16;
constexpr std::size_t FIRST_STATION = 2;  // its index among the polled descriptors

std::string Name(const sockaddr* address, socklen_t size) {
  std::array<char, NI_MAXHOST> host{};
  std::array<char, NI_MAXSERV> port{};
  getnameinfo(address, size, host.data(), host.size(), port.data(), port.size(),
              NI_NUMERICHOST | NI_NUMERICSERV);
  return base::FormatHostPort({host.data(), std::atoi(port.data())});
}

bool IsLoopback(const sockaddr* address) {
  if (address->sa_family == AF_INET) {
    sockaddr_in v4{};
    std::memcpy(&v4, address, sizeof v4);
    return ntohl(v4.sin_addr.s_addr) >> 24U == IN_LOOPBACKNET;
  }
  sockaddr_in6 v6{};
  if (address->sa_family == AF_INET6) std::memcpy(&v6, address, sizeof v6);
  return address->sa_family == AF_INET6 && IN6_IS_ADDR_LOOPBACK(&v6.sin6_addr);
}

base::host_port_t ParsePlace(const std::string& address) {
  try {
    return base::ParseHostPort(address);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error("\"" + address + "\" is no address: " + error.what() + "; write HOST:PORT");
  }
}

// The first address that the system finds for "HOST:PORT".
class ResolvedAddress {
 public:
  explicit ResolvedAddress(const std::string& address) {
    const base::host_port_t place = ParsePlace(address);
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    const int error = getaddrinfo(place.host.c_str(), std::to_string(place.port).c_str(), &hints, &list_);
    if (error != 0) {
      throw std::runtime_error("\"" + address + "\": " + gai_strerror(error) + "; write HOST:PORT");
    }
  }
  ~ResolvedAddress() { freeaddrinfo(list_); }
  ResolvedAddress(const ResolvedAddress&) = delete;
  ResolvedAddress& operator=(const ResolvedAddress&) = delete;
  const addrinfo& Get() const { return *list_; }

 private:
  addrinfo* list_ = nullptr;
};

[[noreturn]] void FailToListen(const std::string& address, int error) {
  throw std::runtime_error("cannot listen on " + address + ": " + std::strerror(error) +
                           "; choose another address with --socketcand 127.0.0.1:PORT (port 0: any free one)");
}

}  // namespace

LocalBus::LocalBus(const std::string& address) : wake_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
  if (wake_.Get() < 0) throw std::runtime_error(std::string("cannot make an event: ") + std::strerror(errno));
  Listen(address);
  thread_ = std::thread([this] { Run(); });
}

LocalBus::~LocalBus() {
  stopping_ = true;
  Wake();
  thread_.join();
}

void LocalBus::Listen(const std::string& address) {
  const ResolvedAddress resolved(address);
  const addrinfo& info = resolved.Get();
  if (!IsLoopback(info.ai_addr)) {
    throw std::runtime_error("the bus may be served on the loopback only, not on " + address +
                             "; use --socketcand 127.0.0.1:PORT");
  }
  listener_ = base::Descriptor(socket(info.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const int on = 1;
  setsockopt(listener_.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (bind(listener_.Get(), info.ai_addr, info.ai_addrlen) != 0 || listen(listener_.Get(), BACKLOG) != 0) {
    FailToListen(address, errno);
  }
  sockaddr_storage bound{};
  socklen_t size = sizeof bound;
  auto* name = reinterpret_cast<sockaddr*>(&bound);
  if (getsockname(listener_.Get(), name, &size) != 0) FailToListen(address, errno);
  address_ = Name(name, size);
}

// --- The unit's own station

bus::Endpoint::result_t LocalBus::Send(const bus::frame_t& frame, int timeout_ms) {
  std::unique_lock lock(mutex_);
  const auto isFree = [this] { return !AnyStationFull(); };
  if (!roomAgain_.wait_for(lock, std::chrono::milliseconds(timeout_ms), isFree)) return result_t::TIMEOUT;
  Broadcast(frame, nullptr);
  FlushAll();
  Wake();  // to send later what the sockets did not accept
  return result_t::OK;
}

bus::Endpoint::result_t LocalBus::Receive(bus::frame_t& frame, int timeout_ms) {
  std::unique_lock lock(mutex_);
  const auto isThere = [this] { return interrupted_ || !inbox_.empty(); };
  if (timeout_ms < 0) {
    received_.wait(lock, isThere);
  } else if (!received_.wait_for(lock, std::chrono::milliseconds(timeout_ms), isThere)) {
    return result_t::TIMEOUT;
  }
  if (std::exchange(interrupted_, false) || inbox_.empty()) return result_t::TIMEOUT;
  frame = inbox_.front();
  inbox_.pop_front();
  if (inboxFull_ && inbox_.size() <= INBOX_LOW) {
    inboxFull_ = false;
    Wake();
  }
  return result_t::OK;
}

void LocalBus::Interrupt() {
  const std::lock_guard lock(mutex_);
  interrupted_ = true;
  received_.notify_all();
}

std::map<std::string, std::uint64_t> LocalBus::Counters() const {
  const std::lock_guard lock(mutex_);
  std::uint64_t refused = refusedMessages_;
  for (const station_t& station : stations_) {
    refused += station.session.Refused() + station.splitter.Dropped();
  }
  return {{"stations", stations_.size()},
          {"stations.refused", refusedStations_},
          {"stations.dropped", droppedStations_},
          {"messages.refused", refused}};
}

// --- The other stations

void LocalBus::Run() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    std::vector<pollfd> polled = Interests();
    const int wait_ms = WaitTime_ms(steady_clock::now());
    lock.unlock();
    poll(polled.data(), polled.size(), wait_ms);
    lock.lock();
    std::uint64_t wakes = 0;
    if (polled[0].revents != 0 && read(wake_.Get(), &wakes, sizeof wakes) < 0 && errno != EAGAIN) return;
    const steady_clock::time_point now = steady_clock::now();
    ServeStations(std::span(polled).subspan(FIRST_STATION), now);
    if (polled[1].revents != 0) Accept();
    FlushAll();
    RemoveGone(now);
    roomAgain_.notify_all();
  }
}

// While a station is behind, no station is read. Also one that has closed its connection then waits, because
// the frames that it sent before still count; poll skips its negative descriptor.
std::vector<pollfd> LocalBus::Interests() const {
  std::vector<pollfd> polled = {{wake_.Get(), POLLIN, 0}, {listener_.Get(), POLLIN, 0}};
  const short in = IsCongested() ? 0 : POLLIN;
  for (const station_t& station : stations_) {
    const short out = station.output.empty() ? 0 : POLLOUT;
    const auto events = static_cast<short>(in | out);
    polled.push_back({events == 0 ? -1 : station.socket.Get(), events, 0});
  }
  return polled;
}

int LocalBus::WaitTime_ms(TimePoint now) const {
  std::optional<TimePoint> next;
  const auto consider = [&next](TimePoint when) { next = std::min(next.value_or(when), when); };
  for (const station_t& station : stations_) {
    if (station.fullSince) consider(*station.fullSince + STALL_LIMIT);
    if (station.session.StatisticsPeriod().count() > 0) consider(station.nextStatistics);
  }
  if (!next) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*next - now).count();
  return static_cast<int>(std::max<std::int64_t>(left, 0));
}

// `polled` has one entry for each station, in their order.
void LocalBus::ServeStations(std::span<const pollfd> polled, TimePoint now) {
  auto station = stations_.begin();
  for (const pollfd& entry : polled) {
    if ((entry.revents & (POLLIN | POLLERR | POLLHUP)) != 0 && !IsCongested()) Read(*station);
    SendStatistics(*station++, now);
  }
}

void LocalBus::Accept() {
  base::Descriptor socket(accept4(listener_.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (socket.Get() < 0) return;
  const int on = 1;
  setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  setsockopt(socket.Get(), SOL_SOCKET, SO_SNDBUF, &SOCKET_BUFFER, sizeof SOCKET_BUFFER);
  if (stations_.size() >= MAX_STATIONS) {
    constexpr std::string_view FULL = "< error too many stations on this bus >";
    send(socket.Get(), FULL.data(), FULL.size(), MSG_NOSIGNAL);
    ++refusedStations_;
    return;
  }
  stations_.emplace_back().socket = std::move(socket);
  stations_.back().output = SocketcandSession::GREETING;
}

void LocalBus::Read(station_t& station) {
  std::array<char, READ_SIZE> bytes;
  const ssize_t got = recv(station.socket.Get(), bytes.data(), bytes.size(), 0);
  if (got <= 0) {
    if (got == 0 || (errno != EAGAIN && errno != EINTR)) station.gone = true;
    return;
  }
  station.traffic[2] += static_cast<std::uint64_t>(got);
  station.splitter.Feed({bytes.data(), static_cast<std::size_t>(got)});
  for (std::string message; station.splitter.Next(message);) Obey(station, message);
}

void LocalBus::Obey(station_t& station, const std::string& message) {
  const SocketcandSession::outcome_t outcome = station.session.Accept(message);
  if (!outcome.reply.empty()) Queue(station, outcome.reply, steady_clock::now());
  if (outcome.frame) {
    ++station.traffic[3];
    Broadcast(*outcome.frame, &station);
  }
}

// Sends the frame to every station but the sender; null means the unit itself.
void LocalBus::Broadcast(bus::frame_t frame, const station_t* sender) {
  frame.time_us = bus::RealTime_us();
  // python-can drops the character before a message of which it has read only a part: the blank is for it to
  // drop.
  const std::string text = " " + bus::FormatSocketcandFrame(frame);
  const TimePoint now = steady_clock::now();
  for (station_t& station : stations_) {
    if (&station == sender || !station.session.WantsFrames()) continue;
    Queue(station, text, now);
    ++station.traffic[1];
  }
  if (sender == nullptr) return;
  inbox_.push_back(frame);
  if (inbox_.size() >= INBOX_HIGH) inboxFull_ = true;
  received_.notify_one();
}

void LocalBus::Queue(station_t& station, std::string_view text, TimePoint now) {
  if (station.deaf || station.gone) return;
  station.output += text;
  if (station.output.size() > OUTPUT_HIGH && !station.fullSince) station.fullSince = now;
}

void LocalBus::Flush(station_t& station) {
  if (station.output.empty()) return;
  const ssize_t sent =
      send(station.socket.Get(), station.output.data(), station.output.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  if (sent < 0) {
    if (errno == EAGAIN || errno == EINTR) return;
    station.deaf = true;  // it has closed its connection; the frames that it sent before are still read
    station.output.clear();
    station.fullSince.reset();
    return;
  }
  station.output.erase(0, static_cast<std::size_t>(sent));
  station.traffic[0] += static_cast<std::uint64_t>(sent);
  if (station.output.size() <= OUTPUT_LOW) station.fullSince.reset();
}

void LocalBus::FlushAll() {
  for (station_t& station : stations_) Flush(station);
}

void LocalBus::SendStatistics(station_t& station, TimePoint now) {
  const auto period = station.session.StatisticsPeriod();
  if (period.count() == 0 || now < station.nextStatistics) return;
  station.nextStatistics = now + period;
  std::string text = "< stat";
  for (const std::uint64_t count : station.traffic) text += " " + std::to_string(count);
  Queue(station, text + " >", now);
}

void LocalBus::RemoveGone(TimePoint now) {
  for (station_t& station : stations_) {
    if (station.gone || !station.fullSince || now - *station.fullSince < STALL_LIMIT) continue;
    station.gone = true;
    ++droppedStations_;
    std::cerr << "j1939: a station of the bus did not read for 2 s and was disconnected" << std::endl;
  }
  stations_.remove_if([this](const station_t& station) {
    if (station.gone) refusedMessages_ += station.session.Refused() + station.splitter.Dropped();
    return station.gone;
  });
}

bool LocalBus::AnyStationFull() const {
  return std::ranges::any_of(stations_, [](const station_t& s) { return !s.gone && s.fullSince.has_value(); });
}

void LocalBus::Wake() {
  const std::uint64_t one = 1;
  // The write fails only when the counter is full; the thread wakes then too.
  [[maybe_unused]] const ssize_t written = write(wake_.Get(), &one, sizeof one);
}

}  // namespace unit
