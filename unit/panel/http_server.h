// The front panel's HTTP server.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "bus/http_address.h"
#include "panel/key_holder.h"
#include "panel/panel_state.h"
#include "panel/stream_hub.h"

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace unit {

struct panel_parts_t {
  PanelState& state;
  StreamHub& hub;
  KeyHolder& keys;
  std::function<bool()> connected;  // to the notification manager; any thread
};

// Listens while it exists. Each request has a thread of a pool that is larger than the number of streams, and a
// connection serves one request, so that idle browsers hold no thread.
class HttpServer {
 public:
  // Throws std::runtime_error when the address cannot be had.
  HttpServer(const bus::http_address_t& address, panel_parts_t parts);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  const bus::http_address_t& Address() const { return address_; }
  std::uint64_t Requests() const { return requests_; }
  std::uint64_t Refused() const { return refused_; }

 private:
  using request_t = httplib::Request;
  using response_t = httplib::Response;

  void Configure();
  void Bind();
  void AddAssets();
  void AddScreen();
  void AddState();
  void AddKeys();
  void AddHost();
  bool Admit(const request_t& request, response_t& response);
  void ServeStream(response_t& response);
  void PressKey(const request_t& request, response_t& response);
  void HoldKey(const request_t& request, const std::string& body, response_t& response);
  bool FindKey(const request_t& request, response_t& response, int& key) const;

  bus::http_address_t address_;
  panel_parts_t parts_;
  std::unique_ptr<httplib::Server> server_;
  std::atomic<std::uint64_t> requests_{0}, refused_{0};
  std::thread thread_;
};

}  // namespace unit
