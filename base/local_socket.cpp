#include "base/local_socket.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace base {
namespace {

constexpr int BACKLOG = 16;
constexpr mode_t OWNER_ONLY = 0600;

using socket_call_t = int (*)(int socket, const sockaddr* address, socklen_t size);

// An address holds 107 bytes, and the path of a runtime directory may be longer. The address therefore goes
// through a descriptor of the folder.
int CallWithAddress(socket_call_t call, int socket, const std::filesystem::path& path) {
  const Descriptor folder(open(path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (folder.Get() < 0) return -1;
  const std::string name = "/proc/self/fd/" + std::to_string(folder.Get()) + "/" + path.filename().string();
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (name.size() >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    return -1;
  }
  name.copy(address.sun_path, name.size());
  return call(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

Descriptor CreateSocket() {
  return Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

}  // namespace

Descriptor ListenLocally(const std::string& path) {
  Descriptor socket = CreateSocket();
  unlink(path.c_str());
  // The mode is set before the file exists, so that no other user can connect in between.
  if (socket.Get() < 0 || fchmod(socket.Get(), OWNER_ONLY) != 0 ||
      CallWithAddress(bind, socket.Get(), path) != 0 || listen(socket.Get(), BACKLOG) != 0) {
    throw std::runtime_error("cannot listen on " + path + ": " + std::strerror(errno));
  }
  return socket;
}

Descriptor ConnectLocally(const std::string& path) {
  Descriptor socket = CreateSocket();
  if (socket.Get() >= 0 && CallWithAddress(connect, socket.Get(), path) == 0) return socket;
  const int error = errno;
  socket = Descriptor();
  errno = error;
  return socket;
}

}  // namespace base
