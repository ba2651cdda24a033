// An HTTP server for this machine alone: what the front panel and the host simulator have in common.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "http/address.h"

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace http {

using request_t = httplib::Request;
using response_t = httplib::Response;

constexpr const char* JSON = "application/json";

enum status_t : int {
  OK = 200,
  BAD_REQUEST = 400,
  FORBIDDEN = 403,
  NOT_FOUND = 404,
  TOO_LARGE = 413,
  UNAVAILABLE = 503,
};

// Answers with {"error":TEXT}.
void Fail(response_t& response, status_t status, const std::string& text);

struct server_options_t {
  std::string name;         // for messages: "the front panel"
  std::string guide;        // for who asks for something that is not there: "see the front panel at /"
  const char* addressFile;  // of the runtime directory; says where the server listens while it does
  std::size_t threads;      // requests at once; one whose answer is a stream keeps its thread
  std::size_t mostBody;     // bytes
  std::map<std::string, std::string> headers;  // of every answer, beside the server's own
};

// A Host other than the loopback's names gets 403, and so does a request that changes something from another
// origin; a body that is too large gets 413. A connection serves one request, so that idle browsers hold no
// thread.
class LocalServer {
 public:
  // Both are called on a thread of the server's pool.
  using get_t = std::function<void(const request_t&, response_t&)>;
  using post_t = std::function<void(const request_t&, const std::string& body, response_t&)>;

  explicit LocalServer(server_options_t options);
  // Waits for answers that are under way.
  ~LocalServer();
  LocalServer(const LocalServer&) = delete;
  LocalServer& operator=(const LocalServer&) = delete;

  // `path` is a regular expression; its groups are the request's matches. Before Listen.
  void Get(const std::string& path, get_t answer);
  void Post(const std::string& path, post_t answer);
  // Answers from now on. Throws std::runtime_error when the address cannot be had. Once.
  void Listen(const address_t& address);

  // Where it listens; with the port that it was given where any was asked for.
  const address_t& Address() const { return address_; }
  std::uint64_t Requests() const { return requests_; }
  std::uint64_t Refused() const { return refused_; }

 private:
  void Configure();
  void Bind();
  bool Admit(const request_t& request, response_t& response);

  const server_options_t options_;
  address_t address_;
  std::unique_ptr<httplib::Server> server_;
  std::atomic<std::uint64_t> requests_{0}, refused_{0};
  std::thread thread_;
};

}  // namespace http
