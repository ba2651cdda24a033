#include "src/services/nm_client.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <string>

#include <unistd.h>

#include "platform/messages.h"
#include "platform/names.h"

namespace NM {

namespace {

constexpr int WAKE_PULSE_CODE = 1;

void WriteNmHeader(std::span<std::uint8_t> message, nm_type_t type, std::int32_t channel, std::int32_t length,
                   std::int32_t clientId) {
  StoreNmWord(message, NM_TYPE_AT, type);
  StoreNmWord(message, NM_CHANNEL_AT, channel);
  StoreNmWord(message, NM_LENGTH_AT, length);
  StoreNmWord(message, NM_CLIENT_AT, clientId);
}

// Bytes of one type are copied as a block, and others one by one.
std::span<const std::uint8_t> AsBytes(std::span<const char> text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// Sends the first `bytes` of the message and overwrites the message with the reply.
bool SendForReply(int coid, std::span<std::uint8_t> message, std::size_t bytes) {
  return MsgSend(coid, message.data(), bytes, message.data(), message.size()) != -1;
}

}  // namespace

NMClient::NMClient() {
  chid_ = ChannelCreate(0);
  if (chid_ < 0) {
    std::cerr << "NM-Client: Error: Cannot create pulse server\n";
    valid_ = false;
  }
  coid_ = name_open(NM_SERVER_NAME, 0);
  if (coid_ < 0) {
    std::cerr << std::string("NM-Client: Error: Cannot attach to server name=") + NM_SERVER_NAME + "\n";
    valid_ = false;
  }
  if (chid_ >= 0) wakeCoid_ = ConnectAttach(0, 0, chid_, _NTO_SIDE_CHANNEL, 0);
  Connect();
}

NMClient::~NMClient() {
  if (wakeCoid_ >= 0) ConnectDetach(wakeCoid_);
  if (chid_ >= 0) ChannelDestroy(chid_);
  if (coid_ >= 0) name_close(coid_);
}

// Called even when the client has no channel or no connection; a send that fails changes nothing.
void NMClient::Connect() {
  WriteNmHeader(sendBuffer_, NM_CONNECT, -1, 0, -1);
  StoreNmWord(sendBuffer_, NM_CONNECT_PID_AT, getpid());
  StoreNmWord(sendBuffer_, NM_CONNECT_CHID_AT, chid_);
  if (!SendForReply(coid_, sendBuffer_, NM_CONNECT_SIZE)) return;
  if (LoadNmWord(sendBuffer_, NM_LENGTH_AT) < 0) {
    valid_ = false;
  } else {
    clientId_ = LoadNmWord(sendBuffer_, NM_CLIENT_AT);
  }
}

int NMClient::Request(const nm_request_t& request, std::size_t resultAt, message_area_t& buffer) const {
  if (!isValid() || request.payload.size() > NM_PAYLOAD_SIZE) return -1;
  WriteNmHeader(buffer, request.type, request.channel, request.length, clientId_);
  std::ranges::copy(AsBytes(request.payload), buffer.begin() + NM_HEADER_SIZE);
  if (!SendForReply(coid_, buffer, NM_HEADER_SIZE + request.payload.size())) return -1;
  return LoadNmWord(buffer, resultAt);
}

int NMClient::registerName(const char* name) {
  if (name == nullptr) return -1;
  const std::span<const char> payload(name, std::strlen(name) + 1);
  const auto length = static_cast<std::int32_t>(std::min(payload.size(), NM_MESSAGE_SIZE));
  const std::lock_guard lock(sendMutex_);
  return Request({NM_REGISTER, -1, length, payload}, NM_CHANNEL_AT, sendBuffer_);
}

int NMClient::subscribe(int channel) {
  const std::lock_guard lock(sendMutex_);
  return Request({NM_SUBSCRIBE, channel, 0, {}}, NM_LENGTH_AT, sendBuffer_);
}

int NMClient::sendMsg(int channel, const char* data, int len) {
  if (len < 0 || (data == nullptr && len > 0)) return -1;
  message_area_t buffer;  // not filled: the request needs a few bytes of it
  return Request({NM_SEND, channel, len, {data, static_cast<std::size_t>(len)}}, NM_LENGTH_AT, buffer);
}

int NMClient::recvMsg(int& channel, char* buf, int maxlen) {
  if (!isValid()) return -1;
  const int rcvid = MsgReceive(chid_, recvBuffer_.data(), recvBuffer_.size(), nullptr);
  if (rcvid != 0) {
    std::cerr << "NM-Client: Error: unexpected rcvid\n";
    // Only pulses are expected here. The sender of a message gets an error, because it would wait for ever
    // otherwise.
    if (rcvid > 0) MsgError(rcvid, ENOSYS);
    return -1;
  }
  return Fetch(channel, buf, maxlen);
}

int NMClient::Fetch(int& channel, char* buf, int maxlen) {
  const std::int32_t room = std::clamp(maxlen, 0, static_cast<int>(NM_PAYLOAD_SIZE));
  WriteNmHeader(recvBuffer_, NM_FETCH, -1, room, clientId_);
  if (!SendForReply(coid_, recvBuffer_, NM_HEADER_SIZE)) return -1;
  const std::int32_t length = std::min(LoadNmWord(recvBuffer_, NM_LENGTH_AT), room);
  if (length < 0) return -1;
  std::copy_n(recvBuffer_.begin() + NM_HEADER_SIZE, length, reinterpret_cast<std::uint8_t*>(buf));
  channel = LoadNmWord(recvBuffer_, NM_CHANNEL_AT);
  return length;
}

void NMClient::wakeReceiver() {
  // If the channel is full the pulse is lost, and one of the queued pulses wakes the receiver.
  if (wakeCoid_ >= 0) MsgSendPulse(wakeCoid_, getprio(0), WAKE_PULSE_CODE, 0);
}

}  // namespace NM
