// The files of the runtime directory, and the sockets among them.
//
// | file                  | what it is                                                  |
// |-----------------------|-------------------------------------------------------------|
// | channel.PID.CHID      | listening socket of a channel                               |
// | .channel.PID.CHID     | the same for the moment between bind and listen             |
// | name.NAME             | claim of an attached name, holding "PID CHID"               |
// | shared.NAME           | claim of a shared object by the process that made it        |
#pragma once

#include <string>
#include <string_view>

#include <sys/types.h>

#include "platform/linux/descriptor.h"

namespace platform {

constexpr std::string_view CHANNEL_PREFIX = "channel.";
constexpr std::string_view UNFINISHED_CHANNEL_PREFIX = ".channel.";
constexpr std::string_view NAME_PREFIX = "name.";
constexpr std::string_view SHARED_PREFIX = "shared.";

// The path of a file in the runtime directory; empty, with errno, when there is no such directory.
std::string RuntimeFile(std::string_view prefix, std::string_view rest);
// `text` with everything that a file name cannot hold written as %XX.
std::string EscapeFileName(std::string_view text);
// "PID.CHID".
std::string ChannelFileName(pid_t pid, int chid);

// A listening, non-blocking socket at `channel.PID.CHID` of this process. It can be connected to from the
// moment its name is there. Replaces what a dead process of the same id left.
Descriptor ListenOnChannelSocket(int chid, std::string& path);

enum class connect_t { WAIT, DO_NOT_WAIT };
// A socket connected to the channel; empty with errno: ESRCH when nobody listens, EAGAIN when the listener's
// queue is full and `mode` forbids waiting (or the wait took long).
Descriptor ConnectToChannelSocket(pid_t pid, int chid, connect_t mode);
// Whether somebody listens at the socket file `path`.
bool IsSocketServed(const std::string& path);

}  // namespace platform
