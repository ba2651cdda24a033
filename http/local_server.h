// The HTTP server of the front panel and of the host simulator. It serves this machine alone.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "http/address.h"

namespace httplib {
struct Request;
struct Response;
}  // namespace httplib

namespace http {

class BoundedServer;

using request_t = httplib::Request;
using response_t = httplib::Response;

constexpr const char* JSON = "application/json";

enum status_code_t : int {
  OK = 200,
  BAD_REQUEST = 400,
  FORBIDDEN = 403,
  NOT_FOUND = 404,
  BAD_METHOD = 405,
  CONFLICT = 409,
  TOO_LARGE = 413,
  BAD_TYPE = 415,
  UNAVAILABLE = 503,
};

// Answers with {"error":TEXT}.
void Fail(response_t& response, status_code_t status, const std::string& text);

struct server_options_t {
  std::string name;         // for messages: "the front panel"
  std::string guide;        // in the answer 404: "see the front panel at /"
  const char* addressFile;  // of the runtime directory; has the address while the server listens
  // At most. They are started on demand, and a stream keeps its thread until it ends. A connection beyond them
  // ends the oldest one whose request has not come yet.
  std::size_t threads;
  std::size_t mostBody;                        // bytes of a request
  std::map<std::string, std::string> headers;  // of every answer, beside the server's own
};

// Answers 404 to an unknown path, 405 with Allow to another method of a known one, 403 to a Host other than the
// loopback's names and to a request of another site's page, 413 to a body that is too large and 415 to one of
// several parts, which no request here has. No answer lets the pages of other sites read it (CORS) or show it
// (Cross-Origin-Resource-Policy). Serves one request on each connection, so that no idle browser keeps a
// thread. A request has to come within Connection::READ_LIMIT.
class LocalServer {
 public:
  // Both are called on a thread of the server's pool.
  using get_t = std::function<void(const request_t&, response_t&)>;
  using post_t = std::function<void(const request_t&, const std::string& body, response_t&)>;

  explicit LocalServer(server_options_t options);
  // Waits until all requests that have come are answered.
  ~LocalServer();
  LocalServer(const LocalServer&) = delete;
  LocalServer& operator=(const LocalServer&) = delete;

  // `path` is a regular expression; the handler finds its groups in request.matches. To be called before
  // Listen.
  void Get(const std::string& path, get_t answer);
  void Post(const std::string& path, post_t answer);
  // Binds the address and answers requests from now on. Throws std::runtime_error when the address cannot be
  // bound. To be called once.
  void Listen(const address_t& address);

  // Where the server listens; for port 0, with the port that the system chose.
  const address_t& Address() const { return address_; }
  std::uint64_t Requests() const { return requests_; }
  std::uint64_t Refused() const { return refused_; }

 private:
  void Configure();
  void SetHandlers();
  void Bind();
  bool Admit(const request_t& request, response_t& response);

  std::string MethodsOf(const std::string& path) const;

  const server_options_t options_;
  std::vector<std::pair<std::string, std::regex>> routes_;  // method and path; complete before Listen
  address_t address_;
  std::unique_ptr<BoundedServer> server_;
  std::atomic<std::uint64_t> requests_{0}, refused_{0};
  std::thread thread_;
};

}  // namespace http
