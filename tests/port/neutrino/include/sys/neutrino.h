// Declarations of the kernel calls of Neutrino that the application and its port use, with the types and values
// of the system's public interface. They exist so that a compiler on Linux can check the port; nothing
// implements them.
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>

#include <sys/types.h>

#define _NTO_CHF_FIXED_PRIORITY 0x0001
#define _NTO_CHF_UNBLOCK 0x0002
#define _NTO_CHF_DISCONNECT 0x0040
#define _NTO_SIDE_CHANNEL 0x40000000U
#define _NTO_TCTL_IO 14
#define _PULSE_CODE_UNBLOCK (-32)
#define _PULSE_CODE_DISCONNECT (-33)

struct _pulse {
  std::uint16_t type;
  std::uint16_t subtype;
  std::int8_t code;
  std::uint8_t zero[3];
  sigval value;
  std::int32_t scoid;
};

struct _msg_info {
  std::uint32_t nd;
  std::uint32_t srcnd;
  pid_t pid;
  std::int32_t tid;
  std::int32_t chid;
  std::int32_t scoid;
  std::int32_t coid;
  std::int32_t msglen;
  std::int32_t srcmsglen;
  std::int32_t dstmsglen;
  std::int16_t priority;
  std::int16_t flags;
  std::uint32_t reserved;
};

extern "C" {
int ChannelCreate(unsigned flags);
int ChannelDestroy(int chid);
int ConnectAttach(std::uint32_t nd, pid_t pid, int chid, unsigned index, int flags);
int ConnectDetach(int coid);
long MsgSend(int coid, const void* smsg, std::size_t sbytes, void* rmsg, std::size_t rbytes);
int MsgReceive(int chid, void* msg, std::size_t bytes, _msg_info* info);
int MsgReply(int rcvid, long status, const void* msg, std::size_t bytes);
int MsgError(int rcvid, int error);
int MsgSendPulse(int coid, int priority, int code, int value);
int ThreadCtl(int command, void* data);
std::uint64_t ClockCycles();
}
