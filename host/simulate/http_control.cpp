#include "simulate/http_control.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>

#include <httplib.h>
#include <sys/socket.h>

#include "platform/paths.h"

#include "host/errors.h"
#include "simulate/state_json.h"

namespace simulate {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kThreads = 4;
constexpr std::size_t kMostBody = 4096;
constexpr const char* kJson = "application/json";
constexpr const char* kAddressFile = "hx7.address";
constexpr const char* kPanelAddressFile = "http.address";
constexpr std::size_t kMostPresses = 16;

enum Status : int {
  kBadRequest = 400,
  kForbidden = 403,
  kNotFound = 404,
  kTooLarge = 413,
  kUnavailable = 503,
};

std::filesystem::path InRuntime(const char* file) {
  return std::filesystem::path(platform::RuntimeDirectory()) / file;
}

void Fail(httplib::Response& response, int status, const std::string& text) {
  response.status = status;
  response.set_content(ErrorJson(text), kJson);
}

const char* Explain(int status) {
  if (status == kNotFound)
    return "there is nothing here; see GET /api/state, POST /api/do and POST /api/controls";
  return status == kTooLarge ? "the body is larger than any request here" : "the request cannot be understood";
}

// The front panel's page comes through the panel.
bool Admit(const httplib::Request& request, httplib::Response& response) {
  if (!bus::IsLoopbackHost(request.get_header_value("Host"))) {
    Fail(response, kForbidden, "the simulator answers to the names of this machine's loopback only");
    return false;
  }
  if (!bus::IsOwnOrigin(request.get_header_value("Origin"), request.get_header_value("Host"))) {
    Fail(response, kForbidden, "requests from other origins are refused");
    return false;
  }
  return true;
}

}  // namespace

bus::http_address_t ReadHttpAddress(const std::string& text) {
  try {
    return bus::ParseHttpAddress(text);
  } catch (const std::runtime_error& error) {
    throw host::usage_error(error.what());
  }
}

HttpControl::HttpControl(const std::string& address, ControlQueue& controls, const StateBoard& board,
                         const Shelf& shelf)
    : address_(ReadHttpAddress(address)),
      controls_(controls),
      board_(board),
      shelf_(shelf),
      server_(std::make_unique<httplib::Server>()) {
  Configure();
  AddRequests();
  Bind();
  thread_ = std::thread([this] { server_->listen_after_bind(); });
  WriteAddress();
}

HttpControl::~HttpControl() {
  std::error_code ignored;
  std::filesystem::remove(InRuntime(kAddressFile), ignored);
  while (!server_->is_running()) std::this_thread::sleep_for(1ms);  // stop() is without effect before
  server_->stop();
  thread_.join();
}

void HttpControl::Configure() {
  server_->new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
  server_->set_keep_alive_max_count(1);
  server_->set_read_timeout(2s);
  server_->set_write_timeout(2s);
  server_->set_payload_max_length(kMostBody);
  server_->set_tcp_nodelay(true);
  server_->set_socket_options([](int descriptor) {
    const int on = 1;
    ::setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  });
  server_->set_default_headers({{"Cache-Control", "no-store"}, {"X-Content-Type-Options", "nosniff"}});
  server_->set_pre_routing_handler([](const request_t& request, response_t& response) {
    return Admit(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                    : httplib::Server::HandlerResponse::Handled;
  });
  server_->set_error_handler([](const request_t& request, response_t& response) {
    if (!response.body.empty()) return;
    response.set_content(ErrorJson(request.method + " " + request.path + ": " + Explain(response.status)),
                         kJson);
  });
}

void HttpControl::AddRequests() {
  server_->Get("/api/state", [this](const request_t&, response_t& response) {
    response.set_content(StateJson(board_.Get(), shelf_.ScenarioNames()), kJson);
  });
  server_->Post("/api/do", [this](const request_t& request, response_t& response) {
    Take([&] { return ReadDo(request.body, shelf_); }, response);
  });
  server_->Post("/api/controls", [this](const request_t& request, response_t& response) {
    Take([&] { return ReadControls(request.body); }, response);
  });
}

void HttpControl::Take(const std::function<control_t()>& read, response_t& response) {
  try {
    if (!controls_.Push(read())) return Fail(response, kUnavailable, "too many commands wait already");
    response.set_content("{}", kJson);
  } catch (const host::usage_error& error) {
    Fail(response, kBadRequest, error.what());
  } catch (const host::failure& error) {
    Fail(response, kBadRequest, error.what());
  }
}

void HttpControl::Bind() {
  const std::string wanted = bus::FormatHttpAddress(address_);
  if (address_.port == 0) {
    address_.port = server_->bind_to_any_port(address_.host);
  } else if (!server_->bind_to_port(address_.host, address_.port)) {
    address_.port = -1;
  }
  if (address_.port < 0) {
    throw host::failure(
        "cannot listen on " + wanted +
        ", most likely because another program does; choose another port with --http, or port 0");
  }
}

// In one step, so that a reader never sees half of it.
void HttpControl::WriteAddress() const {
  const std::filesystem::path path = InRuntime(kAddressFile);
  std::filesystem::path part = path;
  part += ".part";
  std::ofstream(part) << bus::FormatHttpAddress(address_) << '\n';
  std::error_code error;
  std::filesystem::rename(part, path, error);
  if (error) std::cerr << "hx7: cannot write " + path.string() + ": " + error.message() + "\n";
}

FrontKeys::~FrontKeys() {
  thread_.request_stop();
  wake_.notify_all();
}

void FrontKeys::Press(int key) {
  const std::scoped_lock lock(mutex_);
  if (waiting_.size() >= kMostPresses) {
    std::cerr << "hx7: press " << key << " is dropped; the panel does not answer\n";
    return;
  }
  waiting_.push_back(key);
  if (!thread_.joinable()) thread_ = std::jthread([this](const std::stop_token& stop) { Work(stop); });
  wake_.notify_all();
}

void FrontKeys::Work(const std::stop_token& stop) {
  for (;;) {
    std::unique_lock lock(mutex_);
    if (!wake_.wait(lock, stop, [this] { return !waiting_.empty(); })) return;
    const int key = waiting_.front();
    waiting_.pop_front();
    lock.unlock();
    std::string address;
    std::getline(std::ifstream(InRuntime(kPanelAddressFile)), address);
    httplib::Client panel("http://" + address);
    panel.set_connection_timeout(1s);
    panel.set_read_timeout(1s);
    if (address.empty() || !panel.Post("/api/keys/" + std::to_string(key) + "/press")) {
      std::cerr << "hx7: press " << key << " is ignored; no panel runs here\n";
    }
  }
}

}  // namespace simulate
