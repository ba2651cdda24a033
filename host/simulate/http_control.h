// The simulator over HTTP on the loopback: its state, and everything that a scenario can do.
#pragma once

#include <functional>
#include <string>

#include "host/simulate/simulation_commands.h"
#include "http/local_server.h"

namespace simulate {

// An address of this machine alone, such as 127.0.0.1:8741. Throws host::UsageError.
http::address_t ReadHttpAddress(const std::string& text);

// GET /api/state, POST /api/do and POST /api/controls; state_json.h says what they carry. A mistake is answered
// with 400 and {"error":...}, and 503 comes while 256 commands wait. Listens while it exists.
class HttpControl {
 public:
  // Throws host::UsageError for the address and host::failure when it cannot be had.
  HttpControl(const std::string& address, CommandQueue& controls, const StateBoard& board,
              const ConfigFiles& files);

 private:
  void AddRequests();
  void PostCommand(const std::function<simulation_command_t()>& read, http::response_t& response);

  CommandQueue& commands_;
  const StateBoard& board_;
  const ConfigFiles& files_;
  http::LocalServer server_;
};

}  // namespace simulate
