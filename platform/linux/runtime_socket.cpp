#include "platform/linux/runtime_socket.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/paths.h"

namespace platform {
namespace {

// Interval at which a blocked sender checks whether the receiver's process lives. The socket shows the
// receiver's death at once, unless a child of the receiver that has not yet reached its fork hooks or exec
// holds a copy.
constexpr timeval LIVENESS_CHECK = {0, 100'000};
constexpr int SEND_BUFFER = 1 << 20;  // the kernel reduces it to its own limit
constexpr int BACKLOG = 4096;

// A socket address. A path that is too long for one is reached through a descriptor of its directory.
class SocketAddress {
 public:
  explicit SocketAddress(const std::string& path) {
    address_.sun_family = AF_UNIX;
    if (path.size() < sizeof address_.sun_path) {
      path.copy(address_.sun_path, path.size());
      return;
    }
    const auto slash = path.find_last_of('/');
    const std::string directory = path.substr(0, slash);
    directory_ =
        UnsharedDescriptor::Make([&] { return open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC); });
    const std::string shorter = "/proc/self/fd/" + std::to_string(directory_.Get()) + path.substr(slash);
    shorter.copy(address_.sun_path, sizeof address_.sun_path - 1);
  }
  int Bind(int socket) const { return bind(socket, Generic(), sizeof address_); }
  int Connect(int socket) const { return connect(socket, Generic(), sizeof address_); }

 private:
  const sockaddr* Generic() const { return reinterpret_cast<const sockaddr*>(&address_); }

  sockaddr_un address_{};
  UnsharedDescriptor directory_;
};

UnsharedDescriptor CreateSocket(int flags) {
  return UnsharedDescriptor::Make(
      [flags] { return socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0); });
}

int ConnectRetrying(const SocketAddress& address, int socket) {
  int result = 0;
  do {
    result = address.Connect(socket);
  } while (result != 0 && errno == EINTR);
  return result;
}

bool NobodyListens(int error) {
  return error == ENOENT || error == ECONNREFUSED || error == ENOTSOCK;
}

void SetClientOptions(int socket) {
  setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &SEND_BUFFER, sizeof SEND_BUFFER);
  setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &LIVENESS_CHECK, sizeof LIVENESS_CHECK);
  setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &LIVENESS_CHECK, sizeof LIVENESS_CHECK);
}

}  // namespace

std::string RuntimeFile(std::string_view prefix, std::string_view rest) {
  std::string path = RuntimeDirectory();
  if (!path.empty()) path.append("/").append(prefix).append(rest);
  return path;
}

std::string EscapeFileName(std::string_view text) {
  constexpr std::string_view HEX = "0123456789ABCDEF";
  std::string escaped;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte > ' ' && byte < 0x7F && byte != '/' && byte != '%') {
      escaped.push_back(character);
    } else {
      escaped.append({'%', HEX[byte >> 4U], HEX[byte & 0xFU]});
    }
  }
  return escaped;
}

std::string ChannelFileName(pid_t pid, int chid) {
  return std::to_string(pid) + "." + std::to_string(chid);
}

UnsharedDescriptor ListenOnChannelSocket(int chid, std::string& path) {
  const std::string file = ChannelFileName(getpid(), chid);
  const std::string unfinished = RuntimeFile(UNFINISHED_CHANNEL_PREFIX, file);
  path = RuntimeFile(CHANNEL_PREFIX, file);
  if (path.empty() || unfinished.empty()) return {};

  unlink(unfinished.c_str());
  UnsharedDescriptor socket = CreateSocket(SOCK_NONBLOCK);
  if (!socket) return {};
  // The socket is bound under another name first, because other processes take a socket that does not listen
  // for a dead one and remove its file.
  if (SocketAddress(unfinished).Bind(socket.Get()) != 0) return {};
  if (listen(socket.Get(), BACKLOG) == 0 && rename(unfinished.c_str(), path.c_str()) == 0) return socket;
  const int error = errno;
  unlink(unfinished.c_str());
  errno = error;
  return {};
}

UnsharedDescriptor ConnectToChannelSocket(pid_t pid, int chid, connect_t mode) {
  const std::string path = RuntimeFile(CHANNEL_PREFIX, ChannelFileName(pid, chid));
  if (path.empty()) return {};
  UnsharedDescriptor socket = CreateSocket(mode == connect_t::DO_NOT_WAIT ? SOCK_NONBLOCK : 0);
  if (!socket) return {};
  SetClientOptions(socket.Get());
  if (ConnectRetrying(SocketAddress(path), socket.Get()) != 0) {
    if (NobodyListens(errno)) errno = ESRCH;
    return {};
  }
  if (mode == connect_t::DO_NOT_WAIT) fcntl(socket.Get(), F_SETFL, 0);
  return socket;
}

bool IsSocketServed(const std::string& path) {
  const UnsharedDescriptor socket = CreateSocket(SOCK_NONBLOCK);
  return !socket || ConnectRetrying(SocketAddress(path), socket.Get()) == 0 || !NobodyListens(errno);
}

}  // namespace platform
