// Fuzzes the notification manager's requests. Input: connection, excess of the sent size, length, request; and
// so on. A reply has the request's type and fits into a message; an unknown type is refused; a fetch returns
// what was published, and no more than there is room for; requests, refusals, events and losses are counted
// once each.
#include <array>

#include "fuzz/fuzz_input.h"
#include "unit/notify/requests.h"

namespace {

using fuzz::Require;

class Pulses : public unit::PulsePort {
 public:
  bool Open(int /*client*/, int process, int chid) override {
    return (static_cast<unsigned>(process) + static_cast<unsigned>(chid)) % 4 != 3;
  }
  delivery_t Send(int client) override {
    return static_cast<delivery_t>(client % 5 == 4 ? 2 : ++sent_ % 7 == 0);
  }
  void Close(int /*client*/) override {}

 private:
  unsigned sent_ = 0;
};

void CheckReply(std::string_view published, fuzz::bytes_t request, fuzz::bytes_t reply) {
  const std::int32_t type = request.size() < NM_HEADER_SIZE ? -1 : LoadNmWord(request, NM_TYPE_AT);
  Require(LoadNmWord(reply, NM_TYPE_AT) == type);
  Require((type >= NM_CONNECT && type <= NM_FETCH) || LoadNmWord(reply, NM_LENGTH_AT) < 0);
  const fuzz::bytes_t payload = reply.subspan(NM_HEADER_SIZE);
  if (payload.empty()) return;
  Require(type == NM_FETCH && std::cmp_less_equal(payload.size(), LoadNmWord(request, NM_LENGTH_AT)));
  Require(published.find(fuzz::TextOf(payload)) != std::string_view::npos);
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  Pulses pulses;
  unit::Exchange exchange({.messages = 8, .bytes = 600, .behind = 3}, pulses);
  std::string published;
  const auto note = [&published](int, int, bytes_t payload) { published += TextOf(payload); };
  unit::RequestHandler handler(exchange, note);
  exchange.RegisterName("kept");
  exchange.SetStateRule(1, [](bytes_t payload) {
    return unit::state_key_t{TextOf(payload).substr(0, 1), payload.size() > 2};
  });
  std::uint64_t requests = 0;
  for (InputReader reader(input); !reader.IsAtEnd(); ++requests) {
    const int connection = static_cast<int>(reader.TakeByte());
    if (connection > 250) exchange.RemoveConnection(connection - 250);
    const std::size_t excess = reader.TakeByte() == 255 ? NM_MESSAGE_SIZE : 0;
    const bytes_t request = reader.Take(reader.TakeWord());
    std::array<std::uint8_t, NM_MESSAGE_SIZE> reply{};
    const std::size_t size = handler.Answer({request, request.size() + excess, connection}, reply);
    Require(size >= NM_HEADER_SIZE && size <= NM_MESSAGE_SIZE);
    CheckReply(published, request, std::span(reply).first(size));
    exchange.PayOwedPulses();
  }
  std::uint64_t refused = 0;
  for (std::size_t i = 0; i < unit::REFUSALS; ++i) refused += handler.Refused(static_cast<unit::refusal_t>(i));
  Require(refused + exchange.Published() <= requests);
  std::uint64_t losses = 0;
  for (const unit::loss_t& loss : exchange.DrainLosses()) losses += loss.messages;
  Require(losses <= exchange.Lost());
}
