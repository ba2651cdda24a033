#include "unit/notify/requests.h"

#include <algorithm>
#include <string>
#include <utility>

namespace unit {

const char* RefusalName(refusal_t refusal) {
  static constexpr std::array<const char*, REFUSALS> NAMES = {
      "refused.none",       "refused.truncated-header", "refused.oversize",        "refused.bad-type",
      "refused.bad-length", "refused.wrong-client",     "refused.unknown-channel", "refused.bad-name",
      "refused.too-many",   "refused.no-pulse"};
  return NAMES[static_cast<std::size_t>(refusal)];
}

const std::array<RequestHandler::request_operation_t, NM_FETCH + 1> RequestHandler::OPERATIONS = {
    &RequestHandler::Connect, &RequestHandler::Register, &RequestHandler::Subscribe, &RequestHandler::Send,
    &RequestHandler::Fetch};

std::size_t RequestHandler::Answer(const received_request_t& request,
                                   std::span<std::uint8_t, NM_MESSAGE_SIZE> reply) {
  parsed_t parsed{-1, -1, 0, -1, request.connection, {}};
  reply_values_t result;
  const refusal_t refusal = Carry(request, parsed, result);
  if (refusal != refusal_t::NONE) {
    ++refused_[static_cast<std::size_t>(refusal)];
    result =
        reply_values_t{.channel = -1, .length = -static_cast<std::int32_t>(refusal), .client = parsed.client};
  }
  StoreNmWord(reply, NM_TYPE_AT, parsed.type);
  StoreNmWord(reply, NM_CHANNEL_AT, result.channel);
  StoreNmWord(reply, NM_LENGTH_AT, result.length);
  StoreNmWord(reply, NM_CLIENT_AT, result.client);
  if (!result.message.payload) return NM_HEADER_SIZE;
  std::copy_n(result.message.payload->begin(), result.length, reply.begin() + NM_HEADER_SIZE);
  return NM_HEADER_SIZE + static_cast<std::size_t>(result.length);
}

// Checks the fields that all requests have, then carries out the request.
refusal_t RequestHandler::Carry(const received_request_t& request, parsed_t& parsed, reply_values_t& result) {
  if (request.bytes.size() < NM_HEADER_SIZE) return refusal_t::TRUNCATED_HEADER;
  parsed.type = LoadNmWord(request.bytes, NM_TYPE_AT);
  parsed.channel = LoadNmWord(request.bytes, NM_CHANNEL_AT);
  parsed.length = LoadNmWord(request.bytes, NM_LENGTH_AT);
  parsed.client = LoadNmWord(request.bytes, NM_CLIENT_AT);
  parsed.payload = request.bytes.subspan(NM_HEADER_SIZE);
  if (request.sentBytes > NM_MESSAGE_SIZE) return refusal_t::OVERSIZE;
  if (parsed.type < NM_CONNECT || parsed.type > NM_FETCH) return refusal_t::BAD_TYPE;
  if (parsed.length < 0) return refusal_t::BAD_LENGTH;
  if (parsed.type != NM_CONNECT && !exchange_.Owns(parsed.connection, parsed.client))
    return refusal_t::WRONG_CLIENT;
  result.client = parsed.client;
  return (this->*OPERATIONS[static_cast<std::size_t>(parsed.type)])(parsed, result);
}

refusal_t RequestHandler::Connect(const parsed_t& request, reply_values_t& result) {
  // The length word of a connect request is 0 although two words follow.
  if (request.payload.size() < NM_CONNECT_SIZE - NM_HEADER_SIZE) return refusal_t::BAD_LENGTH;
  const int process = LoadNmWord(request.payload, NM_CONNECT_PID_AT - NM_HEADER_SIZE);
  const int chid = LoadNmWord(request.payload, NM_CONNECT_CHID_AT - NM_HEADER_SIZE);
  if (process <= 0 || chid <= 0) return refusal_t::NO_PULSE;
  const int client = exchange_.AddClient(request.connection, process, chid);
  if (client < 0) return refusal_t::NO_PULSE;
  if (client == 0) return refusal_t::TOO_MANY;
  result.client = client;
  return refusal_t::NONE;
}

refusal_t RequestHandler::Register(const parsed_t& request, reply_values_t& result) {
  if (std::cmp_greater(request.length, request.payload.size())) return refusal_t::BAD_LENGTH;
  const auto field = request.payload.first(static_cast<std::size_t>(request.length));
  const auto end = std::ranges::find(field, std::uint8_t{0});
  const auto size = static_cast<std::size_t>(end - field.begin());
  if (end == field.end() || size > MAX_CHANNEL_NAME) return refusal_t::BAD_NAME;
  std::string name(field.begin(), end);
  const int channel = exchange_.RegisterName(name);
  if (channel == 0) return refusal_t::TOO_MANY;
  result.channel = channel;
  return refusal_t::NONE;
}

refusal_t RequestHandler::Subscribe(const parsed_t& request, reply_values_t& result) {
  if (!exchange_.HasChannel(request.channel)) return refusal_t::UNKNOWN_CHANNEL;
  exchange_.Subscribe(request.client, request.channel);
  result.channel = request.channel;
  return refusal_t::NONE;
}

refusal_t RequestHandler::Send(const parsed_t& request, reply_values_t& result) {
  if (!exchange_.HasChannel(request.channel)) return refusal_t::UNKNOWN_CHANNEL;
  if (std::cmp_not_equal(request.length, request.payload.size())) return refusal_t::BAD_LENGTH;
  onPublish_(request.client, request.channel, request.payload);
  result.channel = request.channel;
  result.length = exchange_.Publish(request.client, request.channel, request.payload);
  return refusal_t::NONE;
}

refusal_t RequestHandler::Fetch(const parsed_t& request, reply_values_t& result) {
  std::optional<message_t> message = exchange_.Fetch(request.client);
  if (!message) return refusal_t::NONE;
  const std::size_t room = std::min<std::size_t>(static_cast<std::size_t>(request.length), NM_PAYLOAD_SIZE);
  if (message->payload->size() > room) ++cut_;
  result.channel = message->channel;
  result.length = static_cast<std::int32_t>(std::min(room, message->payload->size()));
  result.message = std::move(*message);
  return refusal_t::NONE;
}

}  // namespace unit
