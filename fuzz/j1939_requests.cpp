// Fuzzes the requests of the J1939 service's clients. Input: size, the first 28 bytes, the last ones; zeros
// between. Oracle: a filter that the application's own writer writes again has the bytes that came. Data to
// send stand in the message and fit into a frame or a message of the bus.
#include "unit/j1939/j1939_requests.h"

#include <array>
#include <variant>

#include "platform/byte_order.h"

#include "fuzz/fuzz_input.h"
#include "src/hostlink/j1939_external.h"

namespace {

using fuzz::Require;

void CheckFilter(const unit::filter_request_t& filter, fuzz::bytes_t request) {
  static constexpr std::array WRITERS = {J1939External::setFilter, J1939External::setMultipacketFilter,
                                         J1939External::setFastpacketFilter};
  std::string text(J1939_MESSAGE_SIZE + filter.channelName.size(), '\0');
  WRITERS.at(static_cast<std::size_t>(filter.reach))(filter.identifier, filter.mask, unit::CAN_PORT,
                                                     filter.channelName, text.data());
  const std::string came = fuzz::TextOf(request);
  Require(text.size() == came.size() && filter.channelName.size() < J1939_NAME_SIZE);
  Require(text.substr(0, J1939_DATA_AT) == came.substr(0, J1939_DATA_AT));
  Require(text.substr(J1939_NAME_AT) == came.substr(J1939_NAME_AT));
}

void CheckSend(const unit::send_request_t& send, fuzz::bytes_t request) {
  const std::uint32_t type = platform::LoadLe32(request, J1939_TYPE_AT);
  const bool isStandard = send.reach == unit::reach_t::STANDARD;
  Require(type != J1939_SET_FILTER && isStandard == (type <= J1939_SEND_RAW));
  Require(send.data.size() <= (isStandard ? 8 : unit::LARGEST_MULTIPACKET));
  Require(send.data.data() == request.data() + J1939_DATA_AT);
  Require(send.data.size() + J1939_DATA_AT <= request.size());
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  InputReader reader(input);
  std::vector<std::uint8_t> request(std::min<std::size_t>(reader.TakeWord(), 4096));
  for (const bool isHead : {true, false}) {
    const bytes_t part = reader.Take(std::min(request.size(), isHead ? J1939_DATA_AT + 8 : request.size()));
    std::ranges::copy(part,
                      isHead ? request.begin() : request.end() - static_cast<std::ptrdiff_t>(part.size()));
  }
  const unit::j1939_request_t read = unit::ReadRequest(request);
  if (std::holds_alternative<unit::refused_request_t>(read)) return;
  Require(platform::LoadLe32(request, J1939_IDENTIFIER_AT) <= unit::LAST_IDENTIFIER);
  if (const auto* filter = std::get_if<unit::filter_request_t>(&read)) CheckFilter(*filter, request);
  if (const auto* send = std::get_if<unit::send_request_t>(&read)) CheckSend(*send, request);
}
