// Reads and answers the requests of the notification manager's clients (layout: src/services/nm_messages.h).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include "src/services/nm_messages.h"
#include "unit/notify/exchange.h"

namespace unit {

// Why a request was refused. The reply's length word is the negative of the number.
enum class refusal_t : std::int32_t {
  NONE = 0,
  TRUNCATED_HEADER = 1,  // fewer than 16 bytes
  OVERSIZE = 2,          // more than a message holds
  BAD_TYPE = 3,
  BAD_LENGTH = 4,       // negative, or not the length of the payload
  WRONG_CLIENT = 5,     // an identity of another connection
  UNKNOWN_CHANNEL = 6,  // a number without a name
  BAD_NAME = 7,         // without a terminating zero, or longer than 127 bytes
  TOO_MANY = 8,         // clients or channels
  NO_PULSE = 9,         // a connect request whose channel cannot be reached
};
constexpr std::size_t REFUSALS = 10;
constexpr std::size_t MAX_CHANNEL_NAME = 127;

// The name under which a refusal is counted: "refused.bad-type".
const char* RefusalName(refusal_t refusal);

class RequestHandler {
 public:
  // Called with each event before it is published.
  using observer_t = std::function<void(int client, int channel, std::span<const std::uint8_t> payload)>;

  RequestHandler(Exchange& exchange, observer_t onPublish)
      : exchange_(exchange), onPublish_(std::move(onPublish)) {}

  // A request as it was received: the client may have sent more bytes (`sentBytes`) than fit into `bytes`.
  struct received_request_t {
    std::span<const std::uint8_t> bytes;
    std::size_t sentBytes;
    int connection;
  };
  // Carries out a request and writes the reply. Returns the size of the reply.
  std::size_t Answer(const received_request_t& request, std::span<std::uint8_t, NM_MESSAGE_SIZE> reply);

  std::uint64_t Refused(refusal_t refusal) const { return refused_[static_cast<std::size_t>(refusal)]; }
  std::uint64_t Cut() const { return cut_; }

 private:
  struct parsed_t {
    std::int32_t type;
    std::int32_t channel;
    std::int32_t length;
    std::int32_t client;
    int connection;
    std::span<const std::uint8_t> payload;
  };
  struct reply_values_t {
    std::int32_t channel = -1;
    std::int32_t length = 0;
    std::int32_t client = -1;
    message_t message{};  // of a fetch
  };
  using request_operation_t = refusal_t (RequestHandler::*)(const parsed_t&, reply_values_t&);
  static const std::array<request_operation_t, NM_FETCH + 1> OPERATIONS;

  refusal_t Carry(const received_request_t& request, parsed_t& parsed, reply_values_t& result);
  refusal_t Connect(const parsed_t& request, reply_values_t& result);
  refusal_t Register(const parsed_t& request, reply_values_t& result);
  refusal_t Subscribe(const parsed_t& request, reply_values_t& result);
  refusal_t Send(const parsed_t& request, reply_values_t& result);
  refusal_t Fetch(const parsed_t& request, reply_values_t& result);

  Exchange& exchange_;
  observer_t onPublish_;
  std::array<std::uint64_t, REFUSALS> refused_{};
  std::uint64_t cut_ = 0;  // fetches with less room than their message needed
};

}  // namespace unit
