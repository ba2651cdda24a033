#include "host/commands/hold.h"

#include <chrono>
#include <iostream>

#include <httplib.h>

#include <nlohmann/json.hpp>

#include "base/address_file.h"
#include "host/protocol/errors.h"

namespace host {
namespace {

constexpr std::chrono::seconds PATIENCE{1};
constexpr int HTTP_OK = 200;

httplib::Client Connect() {
  httplib::Client client("http://" + base::ReadAddressFile(base::HOST_ADDRESS_FILE));
  client.set_connection_timeout(PATIENCE);
  client.set_read_timeout(PATIENCE);
  return client;
}

// As a word of an action, which may hold blanks.
std::string Quote(const std::string& word) {
  if (word.find('"') != std::string::npos) throw UsageError("a value of hold holds no quote: " + word);
  return '"' + word + '"';
}

}  // namespace

bool SimulatorRuns() {
  if (base::ReadAddressFile(base::HOST_ADDRESS_FILE).empty()) return false;
  const httplib::Result result = Connect().Get("/api/state");
  return result && result->status == HTTP_OK;
}

void Hold(const hold_options_t& options) {
  if (options.release != options.arguments.empty()) {
    throw UsageError("name what to hold, such as load=12300, or --release");
  }
  std::string action = options.release ? "release" : "hold";
  for (const std::string& argument : options.arguments) action += " " + Quote(argument);
  const nlohmann::json request = {{"do", action}};
  const httplib::Result result = Connect().Post(
      "/api/do", request.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace), "application/json");
  if (!result) {
    throw Failure(
        "no simulator runs in this runtime directory; start one with `unit run`, or send with hx7 send");
  }
  if (result->status == HTTP_OK) return;
  const nlohmann::json answer = nlohmann::json::parse(result->body, nullptr, false);
  throw UsageError(answer.is_object() ? answer.value("error", "the simulator refuses it") : result->body);
}

}  // namespace host
