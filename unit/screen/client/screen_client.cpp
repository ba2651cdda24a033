#include "unit/screen/client/screen_client.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "platform/byte_order.h"
#include "platform/messages.h"
#include "platform/names.h"

namespace unit {

namespace {

// The status of MsgSend; -1 with errno set when there is no answer.
long SendScreenRequest(int coid, screen_request_t request, std::string& reply) {
  std::array<std::uint8_t, 4> message{};
  platform::StoreLe32(message, 0, request);
  return MsgSend(coid, message.data(), message.size(), reply.data(), reply.size());
}

}  // namespace

bool AskScreen(screen_request_t request, std::string& result) {
  const int coid = name_open(SCREEN_REQUEST_NAME, 0);
  if (coid < 0) {
    result = "no screen service runs in this runtime directory; start one with `unit run`";
    return false;
  }
  std::string reply(SCREEN_REPLY_SIZE, '\0');
  const long length = SendScreenRequest(coid, request, reply);
  const int error = errno;
  name_close(coid);
  if (length >= 0 && static_cast<std::size_t>(length) <= reply.size()) {
    reply.resize(static_cast<std::size_t>(length));
    result = std::move(reply);
    return true;
  }
  result = length == -1 ? std::string("the screen service gave no answer: ") + std::strerror(error)
                        : "the screen service cannot answer that now";
  return false;
}

std::string WriteSnapshot(const std::string& file) {
  std::string picture;
  if (!AskScreen(SCREEN_REQUEST_PNG, picture)) return picture;
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  stream << picture;
  stream.close();
  return stream ? std::string() : "cannot write " + file + ": " + std::strerror(errno);
}

}  // namespace unit
