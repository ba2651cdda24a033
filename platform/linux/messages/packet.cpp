#include "platform/linux/messages/packet.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include "platform/linux/unshared_descriptor.h"

namespace platform {
namespace {

// Room for one descriptor in a record's control data; a record never carries more.
struct alignas(cmsghdr) descriptor_room_t {
  std::array<char, CMSG_SPACE(sizeof(int))> bytes{};
};

bool WriteAll(int file, const char* data, std::size_t bytes) {
  while (bytes > 0) {
    const ssize_t written = write(file, data, bytes);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    data += written;
    bytes -= static_cast<std::size_t>(written);
  }
  return true;
}

UnsharedDescriptor CreateBodyFile(const void* body, std::size_t bytes) {
  UnsharedDescriptor file =
      UnsharedDescriptor::Make([] { return memfd_create("orvik-message", MFD_CLOEXEC | MFD_ALLOW_SEALING); });
  if (!file || !WriteAll(file.Get(), static_cast<const char*>(body), bytes)) return {};
  fcntl(file.Get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL);
  return file;
}

void AttachDescriptor(msghdr& message, descriptor_room_t& control, int descriptor) {
  message.msg_control = control.bytes.data();
  message.msg_controllen = control.bytes.size();
  cmsghdr* part = CMSG_FIRSTHDR(&message);
  part->cmsg_level = SOL_SOCKET;
  part->cmsg_type = SCM_RIGHTS;
  part->cmsg_len = CMSG_LEN(sizeof descriptor);
  std::memcpy(CMSG_DATA(part), &descriptor, sizeof descriptor);
}

UnsharedDescriptor TakeDescriptor(msghdr& message) {
  cmsghdr* part = CMSG_FIRSTHDR(&message);
  if (part == nullptr || part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS) return {};
  int descriptor = -1;
  std::memcpy(&descriptor, CMSG_DATA(part), sizeof descriptor);
  return UnsharedDescriptor::Adopt(descriptor);
}

// Read, not mapped: access to a mapping beyond the end of a short file would raise SIGBUS.
std::size_t ReadBodyFile(const UnsharedDescriptor& file, void* body, std::size_t room) {
  std::size_t copied = 0;
  while (copied < room) {
    const ssize_t got =
        pread(file.Get(), static_cast<char*>(body) + copied, room - copied, static_cast<off_t>(copied));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    copied += static_cast<std::size_t>(got);
  }
  return copied;
}

int SendMessageHeader(int socket, const msghdr& message, int flags) {
  return sendmsg(socket, &message, flags | MSG_NOSIGNAL) < 0 ? -1 : 0;
}

int SendWithBodyFile(int socket, msghdr& message, const void* body, std::size_t bytes, int flags) {
  const UnsharedDescriptor file = CreateBodyFile(body, bytes);
  if (!file) return -1;
  descriptor_room_t control;
  AttachDescriptor(message, control, file.Get());
  message.msg_iovlen = 1;
  return SendMessageHeader(socket, message, flags);
}

}  // namespace

int SendRecord(int socket, const void* header, std::size_t headerSize, const void* body, std::size_t bytes,
               int flags) {
  std::array<iovec, 2> parts = {{{const_cast<void*>(header), headerSize}, {const_cast<void*>(body), bytes}}};
  msghdr message{};
  message.msg_iov = parts.data();
  message.msg_iovlen = bytes > 0 ? 2 : 1;
  if (bytes > INLINE_SIZE) return SendWithBodyFile(socket, message, body, bytes, flags);
  return SendMessageHeader(socket, message, flags);
}

received_t ReceiveRecord(int socket, void* header, std::size_t headerSize, void* body, std::size_t room,
                         int flags) {
  std::array<iovec, 2> parts = {{{header, headerSize}, {body, room}}};
  descriptor_room_t control;
  msghdr message{};
  message.msg_iov = parts.data();
  message.msg_iovlen = room > 0 ? 2 : 1;
  message.msg_control = control.bytes.data();
  // Without the padding of CMSG_SPACE, which has room for a second descriptor.
  message.msg_controllen = CMSG_LEN(sizeof(int));

  received_t result;
  result.length = recvmsg(socket, &message, flags | MSG_CMSG_CLOEXEC);
  if (result.length <= 0) return result;
  const UnsharedDescriptor file = TakeDescriptor(message);
  if (static_cast<std::size_t>(result.length) < headerSize) return {.length = 0};
  result.copied = file ? ReadBodyFile(file, body, room) : static_cast<std::size_t>(result.length) - headerSize;
  return result;
}

}  // namespace platform
