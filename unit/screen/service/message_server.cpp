#include "unit/screen/service/message_server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <span>
#include <stdexcept>
#include <utility>

#include "platform/messages.h"
#include "platform/threads.h"

#include "unit/service/liveness.h"

namespace unit {
namespace {

constexpr int PULSE_STOP = 1;

}  // namespace

void SendReply(int rcvid, const message_reply_t& reply) {
  MsgReply(rcvid, reply.status, reply.bytes.data(), std::min(reply.bytes.size(), MOST_REPLY_BYTES));
}

MessageServer::MessageServer(const char* name, std::size_t capacity, handler_t answer)
    : capacity_(std::max(capacity, sizeof(_pulse))),
      answer_(std::move(answer)),
      attach_(name_attach(nullptr, name, 0)),
      self_(attach_ == nullptr ? -1 : ConnectAttach(0, 0, attach_->chid, _NTO_SIDE_CHANNEL, 0)) {
  if (self_ < 0) {
    if (attach_ != nullptr) name_detach(attach_, 0);
    throw std::runtime_error(
        std::string("the name \"") + name + "\" is taken: " + std::strerror(errno) +
        ". Another unit runs in this runtime directory; stop it, or set ORVIK_RUNTIME_DIR to "
        "another one.");
  }
  thread_ = std::thread([this] { Run(); });
}

MessageServer::~MessageServer() {
  stopping_ = true;
  // A channel without room for this pulse has others, which wake the thread; it then finds stopping_ set.
  MsgSendPulse(self_, getprio(0), PULSE_STOP, 0);
  thread_.join();
  ConnectDetach(self_);
  name_detach(attach_, 0);
}

void MessageServer::Run() {
  platform::NameThread("messages");
  // Not filled with zeros, so that it takes memory only where a message has been.
  const auto memory = std::make_unique_for_overwrite<std::uint8_t[]>(capacity_);
  const std::span buffer(memory.get(), capacity_);
  Liveness liveness("messages");
  while (!stopping_) {
    _msg_info info{};
    liveness.Rest();
    const int rcvid = MsgReceive(attach_->chid, buffer.data(), buffer.size(), &info);
    liveness.Note();
    if (rcvid < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (rcvid == 0) {
      AcceptPulse(buffer);
      continue;
    }
    const std::span message(buffer.data(), static_cast<std::size_t>(std::max(info.msglen, 0)));
    if (const auto reply = answer_(message, rcvid)) SendReply(rcvid, *reply);
  }
}

// A stop pulse needs no action: it ends the wait, and Run checks stopping_.
void MessageServer::AcceptPulse(std::span<const std::uint8_t> buffer) {
  _pulse pulse{};
  std::memcpy(&pulse, buffer.data(), sizeof pulse);
  if (pulse.code == _PULSE_CODE_DISCONNECT) ConnectDetach(pulse.scoid);
}

}  // namespace unit
