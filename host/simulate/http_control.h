// Serves the simulator over HTTP on the loopback: its state, and every action that a scenario has.
#pragma once

#include <functional>
#include <string>

#include "host/simulate/simulation_commands.h"
#include "http/local_server.h"

namespace simulate {

// Reads a loopback address, such as 127.0.0.1:8741. Throws host::UsageError.
http::address_t ReadHttpAddress(const std::string& text);

// GET /api/state, POST /api/do and POST /api/controls; state_json.h describes their JSON. The answer to a wrong
// request is 400 with {"error":...}; while 256 commands wait it is 503. Listens while it exists.
class HttpControl {
 public:
  // Throws host::UsageError for a wrong address and host::Failure if it cannot listen there.
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
