// The simulator over HTTP on the loopback: its state, and everything that a scenario can do.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "bus/http_address.h"
#include "simulate/control.h"

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace simulate {

// An address of this machine alone, such as 127.0.0.1:8741. Throws host::usage_error.
bus::http_address_t ReadHttpAddress(const std::string& text);

// GET /api/state, POST /api/do and POST /api/controls; state_json.h says what they carry. A mistake is answered
// with 400 and {"error":...}, a request from elsewhere with 403, a large body with 413, and 503 while 256
// commands wait. Listens while it exists, and keeps its address in the file hx7.address of the runtime
// directory.
class HttpControl {
 public:
  // Throws host::usage_error for the address and host::failure when it cannot be had.
  HttpControl(const std::string& address, ControlQueue& controls, const StateBoard& board, const Shelf& shelf);
  ~HttpControl();
  HttpControl(const HttpControl&) = delete;
  HttpControl& operator=(const HttpControl&) = delete;

 private:
  using request_t = httplib::Request;
  using response_t = httplib::Response;

  void Configure();
  void AddRequests();
  void Bind();
  void WriteAddress() const;
  void Take(const std::function<control_t()>& read, response_t& response);

  bus::http_address_t address_;
  ControlQueue& controls_;
  const StateBoard& board_;
  const Shelf& shelf_;
  std::unique_ptr<httplib::Server> server_;
  std::thread thread_;
};

// Presses front keys of the display that runs in this runtime directory, over its panel's HTTP. On a thread of
// its own: a panel that hangs must not hold the host up.
class FrontKeys {
 public:
  FrontKeys() = default;
  ~FrontKeys();
  FrontKeys(const FrontKeys&) = delete;
  FrontKeys& operator=(const FrontKeys&) = delete;
  // Returns at once. Where no panel runs, a line on standard error says so; beyond 16 that wait, presses are
  // dropped with another.
  void Press(int key);

 private:
  void Work(const std::stop_token& stop);

  std::mutex mutex_;
  std::condition_variable_any wake_;
  std::deque<int> waiting_;  // guarded by mutex_
  std::jthread thread_;      // started by the first press
};

}  // namespace simulate
