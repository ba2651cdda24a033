#include "unit/panel/host_link.h"

#include <chrono>

#include <httplib.h>

#include "base/address_file.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

constexpr auto CONNECT_LIMIT = 500ms;
constexpr auto ANSWER_LIMIT = 2s;
constexpr auto STOP_AGAIN = 10ms;

void PassOn(const httplib::Result& result, const std::string& address, http::response_t& response) {
  if (!result) {
    return http::Fail(response, http::UNAVAILABLE, "the host simulator at " + address + " does not answer");
  }
  response.status = result->status;
  response.set_content(result->body, http::JSON);
}

}  // namespace

bool HostLink::Enter(httplib::Client& client) {
  const std::lock_guard lock(mutex_);
  if (!closed_) waiting_.insert(&client);
  return !closed_;
}

void HostLink::Leave(httplib::Client& client) {
  const std::lock_guard lock(mutex_);
  waiting_.erase(&client);
  left_.notify_all();
}

void HostLink::Ask(const ask_t& ask, http::response_t& response) {
  const std::string address = base::ReadAddressFile(base::HOST_ADDRESS_FILE);
  if (address.empty()) {
    return http::Fail(response, http::UNAVAILABLE,
                      "no host simulator runs here; start one with hx7 simulate --http 127.0.0.1:0");
  }
  httplib::Client client("http://" + address);
  client.set_connection_timeout(CONNECT_LIMIT);
  client.set_read_timeout(ANSWER_LIMIT);
  if (!Enter(client)) return http::Fail(response, http::UNAVAILABLE, "the front panel stops");
  PassOn(ask(client), address, response);
  Leave(client);
}

void HostLink::Get(const std::string& path, http::response_t& response) {
  Ask([&](httplib::Client& host) { return host.Get(path); }, response);
}

void HostLink::Post(const std::string& path, const std::string& body, http::response_t& response) {
  Ask([&](httplib::Client& host) { return host.Post(path, body, http::JSON); }, response);
}

void HostLink::Close() {
  std::unique_lock lock(mutex_);
  closed_ = true;
  while (!waiting_.empty()) {
    for (httplib::Client* client : waiting_) client->stop();
    left_.wait_for(lock, STOP_AGAIN);  // a client that had not connected yet does not notice the stop
  }
}

}  // namespace unit
