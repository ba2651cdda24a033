#include "bus/endpoint.h"

#include <stdexcept>

#include "base/address_file.h"
#include "bus/kernel_endpoint.h"
#include "bus/socketcand_endpoint.h"
#include "bus/wait.h"

namespace bus {
namespace {

constexpr const char* DEFAULT_ADDRESS = "127.0.0.1:29536";

std::unique_ptr<Endpoint> OpenLocalBus() {
  auto endpoint = OpenLocalSocketcand(base::RuntimePath(base::BUS_SOCKET_FILE));
  if (endpoint) return endpoint;
  const std::string address = base::ReadAddressFile(base::BUS_ADDRESS_FILE);
  return OpenSocketcand(address.empty() ? DEFAULT_ADDRESS : address,
                        "start the unit with `unit run`, or name another bus");
}

// Sets `rest` to the part after "KIND:"; false when the description is of another kind.
bool TakeKind(const std::string& description, const std::string& kind, std::string& rest) {
  if (!description.starts_with(kind + ":")) return false;
  rest = description.substr(kind.size() + 1);
  return true;
}

}  // namespace

Endpoint::result_t Endpoint::SendAll(std::span<const frame_t> frames, int timeout_ms) {
  const Deadline deadline(timeout_ms);
  for (const frame_t& frame : frames) {
    const result_t result = Send(frame, deadline.Left_ms());
    if (result != result_t::OK) return result;
  }
  return result_t::OK;
}

std::unique_ptr<Endpoint> OpenEndpoint(const std::string& description) {
  std::string rest;
  if (description == "local") return OpenLocalBus();
  if (TakeKind(description, "socketcan", rest)) return OpenKernelInterface(rest);
  if (TakeKind(description, "socketcand", rest)) return OpenSocketcand(rest, "start a socketcand server there");
  throw AddressError("\"" + description +
                           "\" is not a bus; use local, socketcan:INTERFACE or socketcand:HOST:PORT");
}

}  // namespace bus
