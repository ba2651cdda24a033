#include "unit/j1939/local_bus.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <utility>

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/threads.h"

#include "bus/socketcand_text.h"
#include "src/core/frame_layout.h"

namespace unit {
namespace {

using std::chrono::steady_clock;

constexpr std::size_t READ_SIZE = 4096;  // at most some 340 frames in one step
constexpr auto ACCEPT_PAUSE = std::chrono::milliseconds(100);
constexpr auto HOSTS_TOGETHER = std::chrono::seconds(2);  // a host sends ten times a second
constexpr auto NOTICE_TIME = std::chrono::seconds(10);
constexpr const char* TWO_HOSTS =
    "two stations send the host's frames (18FF00D0), and the display shows now one's values, now the other's";
constexpr std::size_t FIRST_STATION = 3;                    // its index among the polled descriptors
constexpr std::array DOORS = {door_t::TCP, door_t::LOCAL};  // in the order of the polled descriptors from 1 on

}  // namespace

LocalBus::LocalBus(const local_bus_options_t& options)
    : options_(options),
      listener_(options.address, options.socketPath),
      wake_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
  if (wake_.Get() < 0) throw std::runtime_error(std::string("cannot make an event: ") + std::strerror(errno));
  thread_ = std::thread([this] { Run(); });
}

LocalBus::~LocalBus() {
  stopping_ = true;
  Wake();
  thread_.join();
}

// --- The unit's own station

bus::Endpoint::result_t LocalBus::Send(const bus::frame_t& frame, int /*timeout_ms*/) {
  const std::lock_guard lock(mutex_);
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
          {"stations.expelled", expelledStations_},
          {"messages.refused", refused}};
}

// --- The other stations

void LocalBus::Run() {
  platform::NameThread("local bus");
  platform::RaiseThread();
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
    if (acceptAgain_ && now >= *acceptAgain_) acceptAgain_.reset();
    for (std::size_t i = 0; i < DOORS.size(); ++i) {
      if (polled[1 + i].revents != 0) Accept(DOORS[i], now);
    }
    FlushAll();
    RemoveGone(now);
  }
}

// While the unit's own station is behind, no other station is read. A station that has closed its connection
// then waits too, because the frames that it sent before still count; poll skips its negative descriptor.
std::vector<pollfd> LocalBus::Interests() const {
  const bool accepts = !acceptAgain_;
  std::vector<pollfd> polled = {{wake_.Get(), POLLIN, 0},
                                {accepts ? listener_.Get(door_t::TCP) : -1, POLLIN, 0},
                                {accepts ? listener_.Get(door_t::LOCAL) : -1, POLLIN, 0}};
  const short in = inboxFull_ ? 0 : POLLIN;
  for (const station_t& station : stations_) {
    const short out = station.output.IsEmpty() ? 0 : POLLOUT;
    const auto events = static_cast<short>(in | out);
    polled.push_back({events == 0 ? -1 : station.socket.Get(), events, 0});
  }
  return polled;
}

int LocalBus::WaitTime_ms(TimePoint now) const {
  std::optional<TimePoint> next;
  const auto consider = [&next](TimePoint when) { next = std::min(next.value_or(when), when); };
  if (acceptAgain_) consider(*acceptAgain_);
  for (const station_t& station : stations_) {
    if (!station.session.IsOpen()) consider(station.openBy);
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
    if ((entry.revents & (POLLOUT | POLLERR | POLLHUP)) != 0) station->blocked = false;
    if ((entry.revents & (POLLIN | POLLERR | POLLHUP)) != 0 && !inboxFull_) Read(*station);
    SendStatistics(*station++, now);
  }
}

// Each door has its own number of places: stations on TCP leave room for the tools of this user. A connection
// that finds no descriptor stays at the door; poll would report it again and again.
void LocalBus::Accept(door_t door, TimePoint now) {
  base::Descriptor socket = listener_.Accept(door);
  if (socket.Get() < 0) {
    acceptAgain_ = now + ACCEPT_PAUSE;
    return;
  }
  if (std::ranges::count(stations_, door, &station_t::door) >= std::ptrdiff_t{MAX_STATIONS}) {
    constexpr std::string_view FULL = "< error too many stations on this bus >";
    send(socket.Get(), FULL.data(), FULL.size(), MSG_NOSIGNAL);
    ++refusedStations_;
    return;
  }
  station_t& station = stations_.emplace_back();
  station.socket = std::move(socket);
  station.door = door;
  station.number = ++stationsSeen_;
  station.openBy = now + options_.openLimit;
  if (door == door_t::TCP) station.session = SocketcandSession(options_.token);
  Queue(station, SocketcandSession::GREETING);
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
  for (std::string message; !station.gone && station.splitter.Next(message);) Obey(station, message);
  if (station.splitter.IsForeign()) {
    Queue(station, "< error not the socketcand protocol >");
    Expel(station, "it does not speak the socketcand protocol");
  }
}

void LocalBus::Obey(station_t& station, const std::string& message) {
  const SocketcandSession::outcome_t outcome = station.session.Accept(message);
  if (!outcome.reply.empty()) Queue(station, outcome.reply);
  if (outcome.ends) Expel(station, "it did not present the bus's token");
  if (outcome.frame) {
    ++station.traffic[3];
    if (outcome.frame->extended && outcome.frame->identifier == HOST_FRAME_ID) {
      NoteHost(station, steady_clock::now());
    }
    Broadcast(*outcome.frame, &station);
  }
}

// Two hosts overwrite each other's values, and the frames of their messages mix. One line for each time that it
// begins.
void LocalBus::NoteHost(station_t& station, TimePoint now) {
  const auto spoke = std::exchange(station.spokeAsHost, now);
  const std::uint64_t before = std::exchange(lastHost_, station.number);
  // A program that sends once and leaves, after another one has, is no second host.
  if (!spoke || now - *spoke > HOSTS_TOGETHER || before == station.number) return;
  const bool isNew = !twoHosts_ || now - *twoHosts_ > NOTICE_TIME;
  twoHosts_ = now;
  if (isNew) std::cerr << std::string("j1939: ") + TWO_HOSTS + "; stop one of them\n" << std::flush;
}

std::string LocalBus::Notice() const {
  const std::lock_guard lock(mutex_);
  return twoHosts_ && steady_clock::now() - *twoHosts_ <= NOTICE_TIME ? TWO_HOSTS : "";
}

// Sends the frame to every station but the sender; null means the unit itself.
void LocalBus::Broadcast(bus::frame_t frame, const station_t* sender) {
  frame.time_us = bus::RealTime_us();
  // python-can drops the character before a message of which it has read only a part: the blank is for it to
  // drop.
  const std::string text = " " + bus::FormatSocketcandFrame(frame);
  for (station_t& station : stations_) {
    if (&station == sender || !station.session.WantsFrames()) continue;
    Queue(station, text);
    ++station.traffic[1];
  }
  if (sender == nullptr) return;
  inbox_.push_back(frame);
  if (inbox_.size() >= INBOX_HIGH) inboxFull_ = true;
  received_.notify_one();
}

void LocalBus::Queue(station_t& station, std::string_view text) {
  if (station.deaf || station.gone || station.output.Add(text)) return;
  station.gone = true;
  ++droppedStations_;
  Complain("a station of the bus does not read and was disconnected");
}

// Ends a session. Its last reply is sent as far as the socket takes it.
void LocalBus::Expel(station_t& station, const std::string& why) {
  if (station.gone) return;
  Flush(station);
  station.gone = true;
  ++expelledStations_;
  Complain("a station of the bus was disconnected: " + why);
}

void LocalBus::Complain(const std::string& what) {
  if (const auto line = complaints_.Note(what, steady_clock::now())) {
    std::cerr << "j1939: " + *line + "\n" << std::flush;
  }
}

// A socket that took nothing is not tried again before poll finds room in it: a station that does not read
// costs the others no system calls.
void LocalBus::Flush(station_t& station) {
  if (station.blocked || station.output.IsEmpty()) return;
  const std::string_view text = station.output.Waiting();
  const ssize_t sent = send(station.socket.Get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  if (sent < 0) {
    if (errno == EINTR) return;
    station.blocked = errno == EAGAIN;
    if (station.blocked) return;
    station.deaf = true;  // it has closed its connection; the frames that it sent before are still read
    station.output.Clear();
    return;
  }
  station.output.Take(static_cast<std::size_t>(sent));
  station.traffic[0] += static_cast<std::uint64_t>(sent);
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
  Queue(station, text + " >");
}

void LocalBus::RemoveGone(TimePoint now) {
  for (station_t& station : stations_) {
    if (!station.session.IsOpen() && now >= station.openBy) Expel(station, "it did not open the bus");
  }
  stations_.remove_if([this](const station_t& station) {
    if (station.gone) refusedMessages_ += station.session.Refused() + station.splitter.Dropped();
    return station.gone;
  });
}

void LocalBus::Wake() {
  const std::uint64_t one = 1;
  // The write fails only when the counter is full; the thread wakes then too.
  [[maybe_unused]] const ssize_t written = write(wake_.Get(), &one, sizeof one);
}

}  // namespace unit
