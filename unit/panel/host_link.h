// The panel's requests to the host simulator, which has an HTTP server of its own.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <string>

#include "http/local_server.h"

namespace httplib {
class Client;
class Result;
}  // namespace httplib

namespace unit {

// Any thread.
class HostLink {
 public:
  // Both wait for the simulator's answer, 2.5 s at most, and pass it on; 503 where it gives none.
  void Get(const std::string& path, http::response_t& response);
  void Post(const std::string& path, const std::string& body, http::response_t& response);
  // Ends all waits, also later ones, and waits until no request is left, so that a simulator that hangs does
  // not hold up the panel's stop.
  void Close();

 private:
  using ask_t = std::function<httplib::Result(httplib::Client&)>;

  void Ask(const ask_t& ask, http::response_t& response);
  bool Enter(httplib::Client& client);
  void Leave(httplib::Client& client);

  std::mutex mutex_;  // guards the two below
  std::condition_variable left_;
  std::set<httplib::Client*> waiting_;
  bool closed_ = false;
};

}  // namespace unit
