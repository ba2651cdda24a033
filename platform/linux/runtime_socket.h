// The files of the runtime directory, and the sockets of channels.
//
// | file                  | content                                                     |
// |-----------------------|-------------------------------------------------------------|
// | channel.PID.CHID      | listening socket of a channel                               |
// | .channel.PID.CHID     | the same socket between bind and listen                     |
// | name.NAME             | claim of an attached name; its text is "PID CHID"           |
// | shared.NAME           | claim of a shared object by the process that created it     |
#pragma once

#include <string>
#include <string_view>

#include <sys/types.h>

#include "platform/linux/unshared_descriptor.h"

namespace platform {

constexpr std::string_view CHANNEL_PREFIX = "channel.";
constexpr std::string_view UNFINISHED_CHANNEL_PREFIX = ".channel.";
constexpr std::string_view NAME_PREFIX = "name.";
constexpr std::string_view SHARED_PREFIX = "shared.";

// The path of a file in the runtime directory; empty with errno when the directory cannot be used.
std::string RuntimeFile(std::string_view prefix, std::string_view rest);
// Replaces each character that a file name cannot have by %XX.
std::string EscapeFileName(std::string_view text);
// "PID.CHID".
std::string ChannelFileName(pid_t pid, int chid);

// Creates the listening, non-blocking socket `channel.PID.CHID` of this process and stores its path. It accepts
// connections as soon as its file exists. A file of a dead process with the same id is replaced.
UnsharedDescriptor ListenOnChannelSocket(int chid, std::string& path);

enum class connect_t { WAIT, DO_NOT_WAIT };
// Returns a socket connected to the channel. Empty with errno: ESRCH when no process listens, EAGAIN when the
// listener's queue is full and `mode` forbids waiting or the wait took more than 100 ms.
UnsharedDescriptor ConnectToChannelSocket(pid_t pid, int chid, connect_t mode);
// Whether a process listens at the socket file `path`.
bool IsSocketServed(const std::string& path);

}  // namespace platform
