#include "host/simulate/http_control.h"

#include <stdexcept>

#include <httplib.h>

#include "base/address_file.h"
#include "host/protocol/errors.h"
#include "host/simulate/state_json.h"

namespace simulate {
namespace {

constexpr std::size_t THREADS = 16;
constexpr std::size_t MOST_BODY = 4096;

}  // namespace

http::address_t ReadHttpAddress(const std::string& text) {
  try {
    return http::ParseAddress(text);
  } catch (const std::runtime_error& error) {
    throw host::UsageError(error.what());
  }
}

HttpControl::HttpControl(const std::string& address, CommandQueue& controls, const StateBoard& board,
                         const ConfigFiles& files)
    : commands_(controls),
      board_(board),
      files_(files),
      server_({.name = "the simulator",
               .guide = "see GET /api/state, POST /api/do and POST /api/controls",
               .addressFile = base::HOST_ADDRESS_FILE,
               .threads = THREADS,
               .mostBody = MOST_BODY,
               .headers = {}}) {
  AddRequests();
  const http::address_t wanted = ReadHttpAddress(address);
  try {
    server_.Listen(wanted);
  } catch (const std::runtime_error& error) {
    throw host::Failure(error.what());
  }
}

void HttpControl::AddRequests() {
  server_.Get("/api/state", [this](const http::request_t&, http::response_t& response) {
    response.set_content(StateJson(board_.Get(), files_.ScenarioNames()), http::JSON);
  });
  server_.Post("/api/do", [this](const http::request_t&, const std::string& body, http::response_t& response) {
    PostCommand([&] { return ReadDo(body, files_); }, response);
  });
  server_.Post("/api/controls",
               [this](const http::request_t&, const std::string& body, http::response_t& response) {
                 PostCommand([&] { return ReadControls(body); }, response);
               });
}

void HttpControl::PostCommand(const std::function<simulation_command_t()>& read, http::response_t& response) {
  try {
    if (!commands_.Post(read())) {
      return http::Fail(response, http::UNAVAILABLE, "256 commands wait already; try again");
    }
    response.set_content("{}", http::JSON);
  } catch (const host::UsageError& error) {
    http::Fail(response, http::BAD_REQUEST, error.what());
  } catch (const host::Failure& error) {
    http::Fail(response, http::BAD_REQUEST, error.what());
  }
}

}  // namespace simulate
