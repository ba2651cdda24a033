#include "host/judge/panel_client.h"

#include <chrono>

#include <httplib.h>

#include "base/address_file.h"

namespace judge {
namespace {

constexpr std::chrono::seconds PATIENCE{1};
constexpr int OK = 200;

}  // namespace

panel_answer_t AskPanel(const std::string& address, const char* path) {
  if (address.empty()) return {{}, "no panel runs in this runtime directory"};
  httplib::Client panel("http://" + address);
  panel.set_connection_timeout(PATIENCE);
  panel.set_read_timeout(PATIENCE);
  const httplib::Result answer = panel.Get(path);
  if (!answer) return {{}, "the panel at " + address + " does not answer"};
  if (answer->status == OK) return {answer->body, {}};
  return {answer->body, "the panel answers " + std::to_string(answer->status) + " " + answer->body};
}

panel_answer_t AskPanel(const char* path) {
  return AskPanel(base::ReadAddressFile(base::PANEL_ADDRESS_FILE), path);
}

}  // namespace judge
