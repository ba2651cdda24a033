#include "panel/http_server.h"

#include <chrono>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <utility>

#include <httplib.h>
#include <sys/socket.h>

#include "platform/paths.h"

#include "panel/assets.h"
#include "screen/screen_requests.h"

namespace unit {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t POOL = StreamHub::MAX_STREAMS + 8;
constexpr std::size_t MAX_BODY = 1024;
constexpr auto BEAT = 1s;
constexpr const char* JSON = "application/json";
constexpr const char* NO_BOARD = "no board runs in this runtime directory";

enum http_status_t : int {
  HTTP_OK = 200,
  HTTP_BAD_REQUEST = 400,
  HTTP_FORBIDDEN = 403,
  HTTP_NOT_FOUND = 404,
  HTTP_TOO_LARGE = 413,
  HTTP_UNAVAILABLE = 503,
};

const char* Explain(int status) {
  if (status == HTTP_NOT_FOUND) return "there is nothing here; see the front panel at /";
  if (status == HTTP_TOO_LARGE) return "the body is larger than any request here";
  return "the request cannot be understood";
}

void Fail(httplib::Response& response, int status, const std::string& text) {
  response.status = status;
  response.set_content(ErrorJson(text), JSON);
}

// A restarted unit takes its port again at once; two running units must not share one.
void SetSocketOptions(int descriptor) {
  const int on = 1;
  setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

// A request may come without a body and without saying so, which would be waited for. False when the body is
// too large; the answer then stands.
bool ReadBody(const httplib::Request& request, const httplib::ContentReader& read, std::string& body) {
  if (!request.has_header("Content-Length") && !request.has_header("Transfer-Encoding")) return true;
  return read([&body](const char* data, std::size_t length) {
    body.append(data, length);
    return body.size() <= MAX_BODY;
  });
}

void AnswerFromScreen(screen_request_t request, const char* type, httplib::Response& response) {
  std::string result;
  if (!AskScreen(request, result)) return Fail(response, HTTP_UNAVAILABLE, result);
  response.set_content(result, type);
}

void AskHost(const std::function<httplib::Result(httplib::Client&)>& ask, httplib::Response& response) {
  std::string address;
  std::getline(std::ifstream(platform::RuntimeDirectory() + "/hx7.address"), address);
  if (address.empty()) {
    return Fail(response, HTTP_UNAVAILABLE,
                "no host simulator runs here; start one with hx7 simulate --http 127.0.0.1:0");
  }
  httplib::Client host("http://" + address);
  host.set_connection_timeout(1s);
  host.set_read_timeout(2s);
  const httplib::Result result = ask(host);
  if (!result) return Fail(response, HTTP_UNAVAILABLE, "the host simulator at " + address + " does not answer");
  response.status = result->status;
  response.set_content(result->body, JSON);
}

}  // namespace

HttpServer::HttpServer(const bus::http_address_t& address, panel_parts_t parts)
    : address_(address), parts_(std::move(parts)), server_(std::make_unique<httplib::Server>()) {
  Configure();
  AddAssets();
  AddScreen();
  AddState();
  AddKeys();
  AddHost();
  Bind();
  thread_ = std::thread([this] { server_->listen_after_bind(); });
}

HttpServer::~HttpServer() {
  parts_.hub.CloseAll();
  // stop() is without effect until the loop runs.
  while (!server_->is_running()) std::this_thread::sleep_for(1ms);
  server_->stop();
  thread_.join();
}

void HttpServer::Configure() {
  server_->new_task_queue = [] { return new httplib::ThreadPool(POOL); };
  server_->set_keep_alive_max_count(1);
  server_->set_read_timeout(2s);
  server_->set_write_timeout(2s);
  server_->set_payload_max_length(MAX_BODY);
  server_->set_tcp_nodelay(true);
  server_->set_socket_options([](int descriptor) { SetSocketOptions(descriptor); });
  server_->set_default_headers({{"Cache-Control", "no-store"},
                                {"X-Content-Type-Options", "nosniff"},
                                {"Content-Security-Policy",
                                 "default-src 'none'; script-src 'self'; style-src 'self' 'unsafe-inline'; "
                                 "connect-src 'self'; img-src 'self' "
                                 "data:; base-uri 'none'; form-action 'none'; frame-ancestors 'none'"}});
  server_->set_pre_routing_handler([this](const request_t& request, response_t& response) {
    return Admit(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                    : httplib::Server::HandlerResponse::Handled;
  });
  server_->set_error_handler([](const request_t& request, response_t& response) {
    if (response.body.empty()) {
      response.set_content(ErrorJson(request.method + " " + request.path + ": " + Explain(response.status)),
                           JSON);
    }
  });
}

void HttpServer::Bind() {
  const std::string wanted = bus::FormatHttpAddress(address_);
  if (address_.port == 0) {
    address_.port = server_->bind_to_any_port(address_.host);
  } else if (!server_->bind_to_port(address_.host, address_.port)) {
    address_.port = -1;
  }
  if (address_.port < 0) {
    throw std::runtime_error(
        "the front panel cannot listen on " + wanted +
        ", most likely because another program does. Choose another port with --http, or port 0 "
        "for any free one.");
  }
}

bool HttpServer::Admit(const request_t& request, response_t& response) {
  ++requests_;
  const std::string host = request.get_header_value("Host");
  const bool reads = request.method == "GET" || request.method == "HEAD";
  if (!bus::IsLoopbackHost(host)) {
    Fail(response, HTTP_FORBIDDEN, "the front panel answers to the names of this machine's loopback only");
  } else if (!reads && !bus::IsOwnOrigin(request.get_header_value("Origin"), host)) {
    Fail(response, HTTP_FORBIDDEN, "requests that change something are refused from other origins");
  } else {
    return true;
  }
  ++refused_;
  return false;
}

void HttpServer::AddAssets() {
  for (const asset_t& asset : Assets()) {
    server_->Get(std::string(asset.path), [asset](const request_t&, response_t& response) {
      response.set_content(asset.content.data(), asset.content.size(), std::string(asset.type));
    });
  }
}

void HttpServer::AddScreen() {
  server_->Get("/screen.svg", [](const request_t&, response_t& response) {
    AnswerFromScreen(SCREEN_REQUEST_SVG, "image/svg+xml", response);
  });
  server_->Get("/screen.png", [](const request_t&, response_t& response) {
    AnswerFromScreen(SCREEN_REQUEST_PNG, "image/png", response);
  });
  server_->Get("/api/screen", [](const request_t&, response_t& response) {
    AnswerFromScreen(SCREEN_REQUEST_STATE, JSON, response);
    if (response.status != HTTP_UNAVAILABLE) response.body = WithoutPicture(response.body);
  });
  server_->Get("/api/stream", [this](const request_t&, response_t& response) { ServeStream(response); });
}

void HttpServer::AddState() {
  server_->Get("/api/board", [this](const request_t&, response_t& response) {
    const std::string board = parts_.keys.View();
    if (board.empty()) return Fail(response, HTTP_UNAVAILABLE, NO_BOARD);
    response.set_content(board, JSON);
  });
  server_->Get("/api/bus", [this](const request_t&, response_t& response) {
    response.set_content(parts_.state.Bus(), JSON);
  });
  server_->Get("/api/database", [this](const request_t&, response_t& response) {
    std::string text;
    if (!parts_.state.Database(text)) {
      return Fail(response, HTTP_UNAVAILABLE, "no parameter database runs in this runtime directory");
    }
    response.set_content(text, JSON);
  });
  server_->Get("/api/health", [this](const request_t&, response_t& response) {
    const auto report = parts_.state.Health(parts_.connected(), std::chrono::steady_clock::now());
    response.status = report.up ? HTTP_OK : HTTP_UNAVAILABLE;
    response.set_content(report.json, JSON);
  });
}

void HttpServer::AddKeys() {
  server_->Post("/api/keys/([^/]+)", [this](const request_t& request, response_t& response, const auto& read) {
    std::string body;
    if (ReadBody(request, read, body)) HoldKey(request, body, response);
  });
  server_->Post("/api/keys/([^/]+)/press",
                [this](const request_t& request, response_t& response, const auto& read) {
                  std::string body;
                  if (ReadBody(request, read, body)) PressKey(request, response);
                });
}

// The host simulator has a port of its own; its controls go through here, so that the page asks nobody else.
void HttpServer::AddHost() {
  server_->Get("/api/host/state", [](const request_t&, response_t& response) {
    AskHost([](httplib::Client& host) { return host.Get("/api/state"); }, response);
  });
  for (const std::string path : {"do", "controls"}) {
    server_->Post(
        "/api/host/" + path, [path](const request_t& request, response_t& response, const auto& read) {
          std::string body;
          if (!ReadBody(request, read, body)) return;
          AskHost([&](httplib::Client& host) { return host.Post("/api/" + path, body, JSON); }, response);
        });
  }
}

bool HttpServer::FindKey(const request_t& request, response_t& response, int& key) const {
  const std::string name = request.matches[1];
  key = name.size() == 1 ? name.front() - '0' : 0;
  if (IsKey(key)) return true;
  Fail(response, HTTP_NOT_FOUND, "there is no key " + name + "; the keys are 1 to 8");
  return false;
}

void HttpServer::HoldKey(const request_t& request, const std::string& body, response_t& response) {
  int key = 0;
  bool down = false;
  if (!FindKey(request, response, key)) return;
  if (!ReadKeyRequest(body, down)) {
    return Fail(response, HTTP_BAD_REQUEST, "the body is {\"down\":true} or {\"down\":false}");
  }
  if (!parts_.keys.Set(key, down)) return Fail(response, HTTP_UNAVAILABLE, NO_BOARD);
  response.set_content("{}", JSON);
}

void HttpServer::PressKey(const request_t& request, response_t& response) {
  int key = 0;
  if (!FindKey(request, response, key)) return;
  if (!parts_.keys.Press(key, std::chrono::steady_clock::now())) {
    return Fail(response, HTTP_UNAVAILABLE, NO_BOARD);
  }
  response.set_content("{}", JSON);
}

void HttpServer::ServeStream(response_t& response) {
  const std::shared_ptr<EventStream> stream = parts_.hub.Open();
  if (!stream) {
    return Fail(
        response, HTTP_UNAVAILABLE,
        std::to_string(StreamHub::MAX_STREAMS) + " streams are open already; close another front panel");
  }
  const auto provide = [this, stream](std::size_t, httplib::DataSink& sink) {
    std::string text;
    switch (stream->Wait(text, BEAT)) {
      case EventStream::Next::kClosed:
        return false;
      case EventStream::Next::kBeat:
        text = StreamHub::Format("beat", "{}");
        break;
      case EventStream::Next::kFull:
        text = parts_.state.FullState(parts_.connected());
        break;
      case EventStream::Next::kEvents:
        break;
    }
    return sink.write(text.data(), text.size());
  };
  response.set_chunked_content_provider("text/event-stream", provide,
                                        [this, stream](bool) { parts_.hub.Release(stream); });
}

}  // namespace unit
