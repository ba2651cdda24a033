#include "bus/socketcand_endpoint.h"

// A client of a socketcand server: text messages in angle brackets over TCP.
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "base/host_port.h"
#include "base/local_socket.h"
#include "bus/bus_token.h"
#include "bus/can_frame.h"
#include "bus/echo_window.h"
#include "bus/socketcand_text.h"
#include "bus/wait.h"

namespace bus {
namespace {

constexpr int CONNECT_TIMEOUT_MS = 2000;  // for the connection, and again for the greeting
constexpr int PARTING_TIMEOUT_MS =
    5000;  // of silence of the server; the unit's server may pause for two seconds
constexpr int PARTING_LIMIT_MS = 60'000;  // in all, while the server still sends
constexpr std::size_t READ_BYTES = 16384;
constexpr std::string_view ECHO = "< echo >";

constexpr const char* TOKEN_VARIABLE = "ORVIK_BUS_TOKEN";

std::string DescribeRefusal(const std::string& address, const std::string& message) {
  const bool ofToken = message.find("token") != std::string::npos;
  return address + " refused the bus can0: " + message +
         (ofToken ? std::string("; name the file with the bus's token in ") + TOKEN_VARIABLE : std::string());
}

class SocketcandEndpoint : public Endpoint {
 public:
  SocketcandEndpoint(base::Descriptor socket, std::string address)
      : socket_(std::move(socket)), address_(std::move(address)) {}
  ~SocketcandEndpoint() override;
  // `token`: what the server may ask for; empty: nothing.
  void Greet(const std::string& token);
  result_t Send(const frame_t& frame, int timeout_ms) override { return SendAll({&frame, 1}, timeout_ms); }
  result_t SendAll(std::span<const frame_t> frames, int timeout_ms) override;
  result_t Receive(frame_t& frame, int timeout_ms) override;
  void Interrupt() override { waker_.Wake(); }
  std::uint64_t Lost() const override { return lost_; }
  std::string Problem() const override { return problem_.Get(); }

 private:
  result_t Flush(const Deadline& deadline);
  result_t ReadMore(const Deadline& deadline);
  void Expect(const std::string& answer, const Deadline& deadline);
  void Ask(const std::string& request, const Deadline& deadline);
  result_t Down(const std::string& what);

  base::Descriptor socket_;
  const std::string address_;
  std::string unsent_;    // sending thread: bytes that the socket has not accepted yet
  bool hasSent_ = false;  // sending thread
  EchoWindow window_;
  SocketcandSplitter splitter_;  // receiving thread
  std::string message_;          // receiving thread
  std::atomic<std::uint64_t> lost_ = 0;
  Waker waker_;
  ProblemText problem_;
};

// Closing a connection with unread bytes resets it, and the server may lose the frames that were sent last. The
// destructor therefore ends its own direction and reads until the server has read everything and closes the
// connection. While the server still sends, it has not come to the end: the connection's buffers hold seconds
// of frames.
SocketcandEndpoint::~SocketcandEndpoint() {
  if (!hasSent_ || problem_.Any()) return;
  if (Flush(Deadline(PARTING_TIMEOUT_MS)) != result_t::OK) return;
  ::shutdown(socket_.Get(), SHUT_WR);
  const Deadline limit(PARTING_LIMIT_MS);
  std::string message;
  while (ReadMore(Deadline(PARTING_TIMEOUT_MS)) == result_t::OK && limit.Left_ms() > 0) {
    while (splitter_.Next(message)) {
    }
  }
}

Endpoint::result_t SocketcandEndpoint::Down(const std::string& what) {
  problem_.Set(address_ + ": " + what);
  window_.Release();
  return result_t::DOWN;
}

Endpoint::result_t SocketcandEndpoint::Flush(const Deadline& deadline) {
  while (!unsent_.empty()) {
    const ssize_t sent = ::send(socket_.Get(), unsent_.data(), unsent_.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent > 0) {
      unsent_.erase(0, static_cast<std::size_t>(sent));
    } else if (errno == EAGAIN || errno == EINTR) {
      if (!WaitWritable(socket_.Get(), deadline)) return result_t::TIMEOUT;
    } else {
      return Down("lost the server: " + ErrorText(errno));
    }
  }
  return result_t::OK;
}

// A message of which the server has received a part counts as sent; the next call sends the rest first. So
// `unsent_` never holds the frames of more than one call.
Endpoint::result_t SocketcandEndpoint::SendAll(std::span<const frame_t> frames, int timeout_ms) {
  if (problem_.Any()) return result_t::DOWN;
  const Deadline deadline(timeout_ms);
  result_t result = Flush(deadline);
  if (result != result_t::OK) return result;
  if (!window_.WaitForRoom(deadline)) return result_t::TIMEOUT;
  hasSent_ = true;
  for (const frame_t& frame : frames) unsent_ += FormatSocketcandSend(frame);
  const bool echo = window_.IsDue(frames.size());
  if (echo) unsent_ += ECHO;
  const std::size_t whole = unsent_.size();
  result = Flush(deadline);
  if (result != result_t::TIMEOUT) return result;
  if (unsent_.size() < whole) return result_t::OK;
  unsent_.clear();
  if (echo) window_.TakeBack();
  return result_t::TIMEOUT;
}

// Waits for bytes and passes them to the splitter.
Endpoint::result_t SocketcandEndpoint::ReadMore(const Deadline& deadline) {
  if (WaitReadable(socket_.Get(), waker_, deadline) != wait_t::READY) return result_t::TIMEOUT;
  std::array<char, READ_BYTES> bytes{};
  const ssize_t got = ::recv(socket_.Get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
  if (got == 0) return Down("the server closed the connection");
  if (got < 0 && errno != EAGAIN && errno != EINTR) return Down("lost the server: " + ErrorText(errno));
  if (got > 0) splitter_.Feed({bytes.data(), static_cast<std::size_t>(got)});
  return result_t::OK;
}

// After the connection is lost, the frames that had arrived are returned first.
Endpoint::result_t SocketcandEndpoint::Receive(frame_t& frame, int timeout_ms) {
  const Deadline deadline(timeout_ms);
  for (;;) {
    while (splitter_.Next(message_)) {
      const auto parsed = ParseSocketcandFrame(message_);
      if (!parsed && message_ == ECHO) window_.Answered();
      if (!parsed) continue;
      frame = *parsed;
      if (frame.time_us == 0) frame.time_us = RealTime_us();
      return result_t::OK;
    }
    lost_ = splitter_.Dropped();
    if (problem_.Any()) return result_t::DOWN;
    const result_t result = ReadMore(deadline);
    if (result != result_t::OK) return result;
  }
}

void SocketcandEndpoint::Expect(const std::string& answer, const Deadline& deadline) {
  result_t result = result_t::OK;
  for (; result == result_t::OK; result = ReadMore(deadline)) {
    while (splitter_.Next(message_)) {
      if (message_ == answer) return;
      if (message_.starts_with("< error")) throw std::runtime_error(DescribeRefusal(address_, message_));
    }
  }
  const std::string what = result == result_t::DOWN ? problem_.Get() : address_ + " does not answer";
  throw std::runtime_error(what + "; expected \"" + answer + "\". Is it a socketcand server?");
}

void SocketcandEndpoint::Ask(const std::string& request, const Deadline& deadline) {
  unsent_ = request;
  if (Flush(deadline) != result_t::OK) throw std::runtime_error(address_ + " does not take requests");
  Expect("< ok >", deadline);
}

void SocketcandEndpoint::Greet(const std::string& token) {
  const Deadline deadline(CONNECT_TIMEOUT_MS);
  Expect("< hi >", deadline);
  if (!token.empty()) Ask(FormatTokenMessage(token), deadline);
  Ask("< open can0 >", deadline);
  Ask("< rawmode >", deadline);
}

struct address_list_t {
  addrinfo* first = nullptr;
  address_list_t() = default;
  address_list_t(const address_list_t&) = delete;
  address_list_t& operator=(const address_list_t&) = delete;
  ~address_list_t() {
    if (first != nullptr) ::freeaddrinfo(first);
  }
};

base::host_port_t ParseServer(const std::string& address) {
  try {
    return base::ParseHostPort(address);
  } catch (const std::runtime_error& error) {
    throw AddressError("\"" + address + "\" is no address of a socketcand server: " + error.what() +
                             "; write HOST:PORT");
  }
}

void Resolve(const std::string& address, address_list_t& list) {
  const base::host_port_t server = ParseServer(address);
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  const int error =
      ::getaddrinfo(server.host.c_str(), std::to_string(server.port).c_str(), &hints, &list.first);
  if (error != 0) throw std::runtime_error(address + ": " + ::gai_strerror(error));
}

// An error number, 0 when connected.
int Connect(int fd, const addrinfo& to, const Deadline& deadline) {
  if (::connect(fd, to.ai_addr, to.ai_addrlen) == 0) return 0;
  if (errno != EINPROGRESS) return errno;
  if (!WaitWritable(fd, deadline)) return ETIMEDOUT;
  int error = 0;
  socklen_t size = sizeof error;
  return ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

base::Descriptor ConnectTo(const std::string& address, const std::string& remedy) {
  address_list_t list;
  Resolve(address, list);
  const Deadline deadline(CONNECT_TIMEOUT_MS);
  int error = ECONNREFUSED;
  for (const addrinfo* to = list.first; to != nullptr; to = to->ai_next) {
    base::Descriptor socket(
        ::socket(to->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, to->ai_protocol));
    error = socket.Get() < 0 ? errno : Connect(socket.Get(), *to, deadline);
    if (error == 0) return socket;
  }
  throw std::runtime_error("nothing answers at " + address + " (" + ErrorText(error) + "); " + remedy);
}

}  // namespace

std::unique_ptr<Endpoint> OpenSocketcand(const std::string& address, const std::string& remedy) {
  base::Descriptor socket = ConnectTo(address, remedy);
  // Small packets are sent at once: a frame must not wait for the next one.
  const int on = 1;
  ::setsockopt(socket.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  const char* file = std::getenv(TOKEN_VARIABLE);
  auto endpoint = std::make_unique<SocketcandEndpoint>(std::move(socket), address);
  endpoint->Greet(file != nullptr && *file != '\0' ? ReadBusToken(file) : std::string());
  return endpoint;
}

std::unique_ptr<Endpoint> OpenLocalSocketcand(const std::string& path) {
  base::Descriptor socket = base::ConnectLocally(path);
  if (socket.Get() < 0 && (errno == ENOENT || errno == ECONNREFUSED)) return nullptr;
  if (socket.Get() < 0) throw std::runtime_error(path + ": " + ErrorText(errno));
  auto endpoint = std::make_unique<SocketcandEndpoint>(std::move(socket), path);
  endpoint->Greet({});
  return endpoint;
}

}  // namespace bus
