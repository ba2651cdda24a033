#include "unit/panel/client/panel_client.h"

#include <functional>

#include <httplib.h>

#include <nlohmann/json.hpp>

#include "platform/paths.h"

#include "base/address_file.h"

namespace unit {
namespace {

constexpr int TIMEOUT_S = 3;
constexpr const char* START =
    "Start one with \"unit run\", or set ORVIK_RUNTIME_DIR to the folder of the running unit.";

std::string NoPanel() {
  if (std::string problem = platform::RuntimeDirectoryProblem(); !problem.empty()) return problem;
  return "no front panel runs in " + platform::RuntimeDirectory() + ". " + START;
}

panel_answer_t Ask(const std::function<httplib::Result(httplib::Client&)>& request) {
  const std::string address = base::ReadAddressFile(base::PANEL_ADDRESS_FILE);
  if (address.empty()) return {0, NoPanel()};
  httplib::Client client("http://" + address);
  client.set_connection_timeout(TIMEOUT_S);
  client.set_read_timeout(TIMEOUT_S);
  const httplib::Result result = request(client);
  if (result) return {result->status, result->body};
  return {0, "the front panel at http://" + address + " does not answer. " + START};
}

}  // namespace

panel_answer_t GetFromPanel(const std::string& path) {
  return Ask([&path](httplib::Client& client) { return client.Get(path); });
}

panel_answer_t PostToPanel(const std::string& path, const std::string& body) {
  return Ask([&](httplib::Client& client) { return client.Post(path, body, "application/json"); });
}

std::string ProblemIn(const panel_answer_t& answer) {
  const nlohmann::json parsed = nlohmann::json::parse(answer.body, nullptr, false);
  const bool isError = parsed.is_object() && parsed.value("error", nlohmann::json()).is_string();
  return isError ? parsed["error"].get<std::string>() : answer.body;
}

}  // namespace unit
