#include "http/local_server.h"

#include <chrono>
#include <iostream>
#include <stdexcept>
#include <utility>

#include <httplib.h>
#include <sys/socket.h>

#include <nlohmann/json.hpp>

#include "platform/paths.h"
#include "platform/threads.h"

#include "base/address_file.h"
#include "base/host_port.h"
#include "base/json_text.h"
#include "http/connection.h"
#include "http/request_threads.h"

namespace http {
namespace {

using namespace std::chrono_literals;

// SO_REUSEADDR lets a restarted server bind its port at once. The library's default, SO_REUSEPORT, would let
// two running servers share a port.
void SetSocketOptions(int descriptor) {
  const int on = 1;
  ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

// Without the first line the library would wait for a body that never comes, where a request has none and says
// nothing of its length. False when the body is too large; the library then answers.
bool ReadBody(const request_t& request, const httplib::ContentReader& read, std::size_t most,
              std::string& body) {
  if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) return true;
  return read([&body, most](const char* data, std::size_t length) {
    body.append(data, length);
    return body.size() <= most;
  });
}

std::string Explain(int status, const std::string& guide) {
  if (status == NOT_FOUND) return "there is no such page; " + guide;
  if (status == BAD_METHOD) return "this path takes the method that the header Allow names";
  return status == TOO_LARGE ? "the body is larger than any request here" : "the request cannot be understood";
}

bool IsOfOwnPage(const request_t& request, const std::string& host) {
  const std::string origin = request.get_header_value("Origin");
  const std::string site = request.get_header_value("Sec-Fetch-Site");
  const std::string mode = request.get_header_value("Sec-Fetch-Mode");
  return IsOwnRequest({origin, site, mode, request.path}, host);
}

std::string ErrorJson(const std::string& text) {
  return base::DumpJson({{"error", text}});
}

}  // namespace

// The library's server with connections and threads that have bounds.
class BoundedServer : public httplib::Server {
 public:
  explicit BoundedServer(std::size_t threads) {
    new_task_queue = [this, threads] { return new RequestThreads(threads, waiting_); };
  }

  // The library lets five connections wait to be accepted. The kernel drops further ones, and their clients try
  // again after a second.
  void RaiseBacklog() { ::listen(svr_sock_, SOMAXCONN); }

 private:
  // One request on each connection.
  bool process_and_close_socket(socket_t descriptor) override {
    Connection connection(descriptor, waiting_);
    bool isClosed = false;
    return process_request(connection, true, isClosed, nullptr);
  }

  WaitingConnections waiting_;
};

void Fail(response_t& response, status_code_t status, const std::string& text) {
  response.status = status;
  response.set_content(ErrorJson(text), JSON);
}

LocalServer::LocalServer(server_options_t options)
    : options_(std::move(options)), server_(std::make_unique<BoundedServer>(options_.threads)) {
  Configure();
}

LocalServer::~LocalServer() {
  if (!thread_.joinable()) return;
  base::RemoveAddressFile(options_.addressFile);
  // stop() has no effect before the loop runs.
  while (!server_->is_running()) std::this_thread::sleep_for(1ms);
  server_->stop();
  thread_.join();
}

void LocalServer::Configure() {
  server_->set_payload_max_length(options_.mostBody);
  server_->set_tcp_nodelay(true);
  server_->set_socket_options([](int descriptor) { SetSocketOptions(descriptor); });
  httplib::Headers headers = {{"Cache-Control", "no-store"},
                              {"X-Content-Type-Options", "nosniff"},
                              {"Cross-Origin-Resource-Policy", "same-origin"},
                              {"Cross-Origin-Opener-Policy", "same-origin"},
                              {"Referrer-Policy", "no-referrer"}};
  headers.insert(options_.headers.begin(), options_.headers.end());
  server_->set_default_headers(std::move(headers));
  SetHandlers();
}

void LocalServer::SetHandlers() {
  server_->set_pre_routing_handler([this](const request_t& request, response_t& response) {
    return Admit(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                    : httplib::Server::HandlerResponse::Handled;
  });
  server_->set_error_handler([this](const request_t& request, response_t& response) {
    if (!response.body.empty()) return;
    if (const std::string methods = MethodsOf(request.path); response.status == NOT_FOUND && !methods.empty()) {
      response.status = BAD_METHOD;
      response.set_header("Allow", methods);
    }
    const std::string why = Explain(response.status, options_.guide);
    response.set_content(ErrorJson(request.method + " " + request.path + ": " + why), JSON);
  });
}

bool LocalServer::Admit(const request_t& request, response_t& response) {
  ++requests_;
  const std::string host = request.get_header_value("Host");
  if (request.get_header_value_count("Host") != 1 || !IsLoopbackHost(host)) {
    Fail(response, FORBIDDEN, options_.name + " answers to the names of this machine's loopback only");
  } else if (!IsOfOwnPage(request, host)) {
    Fail(response, FORBIDDEN, "requests of other sites' pages are refused; open " + options_.name + " itself");
  } else if (request.is_multipart_form_data()) {
    Fail(response, BAD_TYPE, "no request here has a body of several parts; send application/json");
  } else {
    return true;
  }
  ++refused_;
  return false;
}

std::string LocalServer::MethodsOf(const std::string& path) const {
  std::string methods;
  for (const auto& [method, pattern] : routes_) {
    if (std::regex_match(path, pattern)) methods += (methods.empty() ? "" : ", ") + method;
  }
  return methods;
}

void LocalServer::Get(const std::string& path, get_t answer) {
  routes_.emplace_back("GET", path);
  server_->Get(path, std::move(answer));
}

void LocalServer::Post(const std::string& path, post_t answer) {
  routes_.emplace_back("POST", path);
  server_->Post(path, [answer = std::move(answer), most = options_.mostBody](
                          const request_t& request, response_t& response, const auto& read) {
    std::string body;
    if (ReadBody(request, read, most, body)) answer(request, body, response);
  });
}

void LocalServer::Listen(const address_t& address) {
  address_ = address;
  base::RemoveAddressFile(options_.addressFile);  // of a server that was killed
  Bind();
  server_->RaiseBacklog();
  thread_ = std::thread([this] {
    platform::NameThread("http listener");
    server_->listen_after_bind();
  });
  if (!base::WriteAddressFile(options_.addressFile, base::FormatHostPort(address_))) {
    std::cerr << options_.name + " cannot write its address into " + platform::RuntimeDirectory() + "\n";
  }
}

void LocalServer::Bind() {
  const std::string wanted = base::FormatHostPort(address_);
  if (address_.port == 0) {
    address_.port = server_->bind_to_any_port(address_.host);
  } else if (!server_->bind_to_port(address_.host, address_.port)) {
    address_.port = -1;
  }
  if (address_.port < 0) {
    throw std::runtime_error(
        options_.name + " cannot listen on " + wanted +
        ", most likely because another program does; choose another port with --http, or port 0 for any free "
        "one");
  }
}

}  // namespace http
