#include "unit/panel/http_server.h"

#include <chrono>
#include <cstdint>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include <httplib.h>
#include <unistd.h>

#include "base/address_file.h"
#include "unit/metrics/metrics_text.h"
#include "unit/panel/api/api_document.h"
#include "unit/panel/assets.h"
#include "unit/screen/client/screen_requests.h"
#include "unit/shown/shown_screen.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using http::Fail;
using http::JSON;
using http::request_t;
using http::response_t;

constexpr std::size_t MOST_WAITING = 8;  // requests that wait for one other service
constexpr std::size_t THREADS = StreamHub::MAX_STREAMS + 2 * MOST_WAITING + 40;
constexpr std::size_t MAX_BODY = 1024;
constexpr auto BEAT = 1s;
constexpr const char* KEY_BODIES =
    R"(the body is {"down":true}, {"down":true,"lease":true}, {"renew":true} or {"down":false})";
constexpr const char* NO_BOARD = "there is no board in this runtime directory";

constexpr const char* CONTENT_POLICY =
    "default-src 'none'; script-src 'self'; style-src 'self' 'unsafe-inline'; "
    "connect-src 'self'; img-src 'self' data:; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

bool IsLanguageCode(const std::string& text) {
  return text.size() == 2 && text.find_first_not_of("abcdefghijklmnopqrstuvwxyz") == std::string::npos;
}

// Empty where the text has anything but digits, or too many.
std::optional<std::int64_t> ReadWholeNumber(const std::string& text) {
  constexpr std::size_t MOST_DIGITS = 15;
  if (text.empty() || text.size() > MOST_DIGITS) return std::nullopt;
  if (text.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
  return std::stoll(text);
}

// 0 with the answer where there are no such keys.
std::uint32_t FindKeys(const request_t& request, response_t& response) {
  const std::string name = request.matches[1];
  const std::uint32_t keys = ReadKeys(name);
  if (keys == 0) {
    Fail(response, http::NOT_FOUND, "there is no key " + name + "; the keys are 1 to 8, several as 1+8");
  }
  return keys;
}

}  // namespace

HttpServer::HttpServer(const http::address_t& address, panel_parts_t parts)
    : parts_(std::move(parts)),
      screenShare_(MOST_WAITING, "the screen service"),
      hostShare_(MOST_WAITING, "the host simulator"),
      server_({.name = "the front panel",
               .guide = "see the front panel at /",
               .addressFile = base::PANEL_ADDRESS_FILE,
               .threads = THREADS,
               .mostBody = MAX_BODY,
               .headers = {{"Content-Security-Policy", CONTENT_POLICY}}}) {
  AddDocument();
  AddAssets();
  AddScreen();
  AddWords();
  AddState();
  AddHistory();
  AddKeys();
  AddHost();
  server_.Listen(address);
}

HttpServer::~HttpServer() {
  parts_.screen.Close();
  parts_.pictures.Close();
  host_.Close();
  parts_.hub.CloseAll();
}

void HttpServer::Add(route_t route, http::LocalServer::get_t answer) {
  server_.Get(PatternOf(RouteOf(route)), std::move(answer));
}

void HttpServer::Add(route_t route, http::LocalServer::post_t answer) {
  server_.Post(PatternOf(RouteOf(route)), std::move(answer));
}

void HttpServer::AddDocument() {
  std::vector<std::string_view> files;
  for (const asset_t& asset : Assets()) files.push_back(asset.path);
  Add(route_t::API, [document = MakeApiDocument(files)](const request_t&, response_t& response) {
    response.set_content(document, JSON);
  });
}

void HttpServer::AddAssets() {
  for (const asset_t& asset : Assets()) {
    server_.Get(std::string(asset.path), [asset](const request_t&, response_t& response) {
      response.set_content(asset.content.data(), asset.content.size(), std::string(asset.type));
    });
  }
}

ScreenClient& HttpServer::ClientFor(screen_request_t request) const {
  return request == SCREEN_REQUEST_PNG ? parts_.pictures : parts_.screen;
}

void HttpServer::AnswerFromScreen(screen_request_t request, const char* type, response_t& response) {
  const auto place = screenShare_.Enter(response);
  if (!place) return;
  std::string result;
  if (!ClientFor(request).Ask(request, result)) return Fail(response, http::UNAVAILABLE, result);
  response.set_content(result, type);
}

void HttpServer::AddScreen() {
  Add(route_t::SCREEN_SVG, [this](const request_t&, response_t& response) {
    AnswerFromScreen(SCREEN_REQUEST_SVG, "image/svg+xml", response);
  });
  Add(route_t::SCREEN_PNG, [this](const request_t&, response_t& response) {
    AnswerFromScreen(SCREEN_REQUEST_PNG, "image/png", response);
  });
  Add(route_t::SCREEN, [this](const request_t&, response_t& response) {
    AnswerFromScreen(SCREEN_REQUEST_STATE, JSON, response);
    if (response.status != http::UNAVAILABLE) response.body = WithoutPicture(response.body);
  });
  Add(route_t::SHOWN, [this](const request_t&, response_t& response) { AnswerShown(response); });
  Add(route_t::STREAM, [this](const request_t&, response_t& response) { ServeStream(response); });
}

void HttpServer::AnswerShown(response_t& response) {
  AnswerFromScreen(SCREEN_REQUEST_STATE, JSON, response);
  if (response.status == http::UNAVAILABLE) return;
  const std::string_view beeper = parts_.state.Beeper(std::chrono::steady_clock::now());
  const std::string shown = DescribeShown(response.body, parts_.keys.View(), beeper);
  if (shown.empty())
    return Fail(response, http::UNAVAILABLE, "the screen service's answer is no state of a screen");
  response.set_content(shown, JSON);
}

// The panel's page has its words from the catalogue that the screen uses.
void HttpServer::AddWords() {
  Add(route_t::WORDS, [this](const request_t& request, response_t& response) {
    const std::string code = request.matches[1];
    std::ifstream file;
    if (IsLanguageCode(code)) file.open(parts_.wordsFolder + "/" + code + ".xml");
    std::stringstream text;
    if (!(text << file.rdbuf())) return Fail(response, http::NOT_FOUND, "no words in the language " + code);
    response.set_content(text.str(), "text/xml; charset=utf-8");
  });
}

void HttpServer::AddState() {
  Add(route_t::BOARD, [this](const request_t&, response_t& response) {
    const std::string board = parts_.keys.View();
    if (board.empty()) return Fail(response, http::UNAVAILABLE, NO_BOARD);
    response.set_content(board, JSON);
  });
  Add(route_t::DATABASE, [this](const request_t&, response_t& response) {
    std::string text;
    if (!parts_.state.Database(text)) {
      return Fail(response, http::UNAVAILABLE, "there is no parameter database in this runtime directory");
    }
    response.set_content(text, JSON);
  });
  AddBus();
  AddHealth();
  AddMetrics();
}

void HttpServer::AddBus() {
  Add(route_t::BUS,
      [this](const request_t&, response_t& response) { response.set_content(parts_.state.Bus(), JSON); });
  Add(route_t::TRACE,
      [this](const request_t& request, response_t& response) { AnswerTrace(request, response); });
  Add(route_t::LOG, [this](const request_t&, response_t& response) {
    response.set_content(parts_.trace.Log(), std::string(RouteOf(route_t::LOG).type));
  });
}

void HttpServer::AnswerTrace(const request_t& request, response_t& response) {
  const auto parameter = [&](const char* name) { return request.get_param_value(name); };
  try {
    const trace_query_t query = ReadTraceQuery(parameter("after"), parameter("until"), parameter("kind"),
                                               parameter("text"), parameter("most"));
    response.set_content((query.until_ms ? parts_.pastTrace : parts_.trace).Answer(query), JSON);
  } catch (const std::invalid_argument& error) {
    Fail(response, http::BAD_REQUEST, error.what());
  }
}

void HttpServer::AddHistory() {
  Add(route_t::HISTORY, [this](const request_t&, response_t& response) {
    response.set_content(parts_.history.Overview(0), JSON);
  });
  Add(route_t::HISTORY_AFTER, [this](const request_t& request, response_t& response) {
    const std::optional<std::int64_t> after_ms = ReadWholeNumber(request.matches[1]);
    if (!after_ms) return Fail(response, http::NOT_FOUND, "a time is a whole number of milliseconds");
    response.set_content(parts_.history.Overview(*after_ms), JSON);
  });
  Add(route_t::HISTORY_SCREENS, [this](const request_t& request, response_t& response) {
    const std::optional<std::int64_t> number = ReadWholeNumber(request.matches[1]);
    const std::string screens =
        number ? parts_.history.Screens(static_cast<std::uint64_t>(*number)) : std::string();
    if (screens.empty())
      return Fail(response, http::NOT_FOUND, "this chunk is not kept; GET /api/history lists those that are");
    response.set_content(screens, JSON);
  });
}

void HttpServer::AddHealth() {
  Add(route_t::HEALTH, [this](const request_t&, response_t& response) {
    const auto report = parts_.state.Health(parts_.connected(), std::chrono::steady_clock::now());
    response.status = report.up ? http::OK : http::UNAVAILABLE;
    response.set_content(report.json, JSON);
  });
}

void HttpServer::AddMetrics() {
  Add(route_t::METRICS, [this](const request_t&, response_t& response) {
    const auto now = std::chrono::steady_clock::now();
    metrics_input_t input{.health = parts_.state.Health(parts_.connected(), now).json,
                          .hostValuesAge_s = parts_.state.HostValuesAge(now),
                          .viewers = parts_.hub.Count(),
                          .programs = {}};
    std::map<std::string, pid_t> programs = ProgramsIn(input.health);
    programs["unit"] = getpid();
    for (const auto& [name, process] : programs) {
      if (auto load = ReadProcessLoad(process)) input.programs.emplace(name, std::move(*load));
    }
    response.set_content(FormatMetrics(input), std::string(RouteOf(route_t::METRICS).type));
  });
}

void HttpServer::AddKeys() {
  Add(route_t::HOLD_KEYS, [this](const request_t& request, const std::string& body, response_t& response) {
    HoldKey(request, body, response);
  });
  Add(route_t::PRESS_KEYS, [this](const request_t& request, const std::string&, response_t& response) {
    PressKey(request, response);
  });
}

// The host simulator has a port of its own. The panel forwards requests to it, because the page may connect
// only to its own server.
void HttpServer::AddHost() {
  Add(route_t::HOST, [](const request_t&, response_t& response) {
    const bool isThere = !base::ReadAddressFile(base::HOST_ADDRESS_FILE).empty();
    response.set_content(isThere ? R"({"simulator":true})" : R"({"simulator":false})", JSON);
  });
  Add(route_t::HOST_STATE, [this](const request_t&, response_t& response) {
    if (const auto place = hostShare_.Enter(response)) host_.Get("/api/state", response);
  });
  AddHostPost(route_t::HOST_DO, "/api/do");
  AddHostPost(route_t::HOST_CONTROLS, "/api/controls");
}

void HttpServer::AddHostPost(route_t route, const std::string& path) {
  Add(route, [this, path](const request_t&, const std::string& body, response_t& response) {
    if (const auto place = hostShare_.Enter(response)) host_.Post(path, body, response);
  });
}

void HttpServer::HoldKey(const request_t& request, const std::string& body, response_t& response) {
  const std::uint32_t keys = FindKeys(request, response);
  if (keys == 0) return;
  const std::optional<key_request_t> wanted = ReadKeyRequest(body);
  if (!wanted) return Fail(response, http::BAD_REQUEST, KEY_BODIES);
  const auto now = std::chrono::steady_clock::now();
  if (*wanted == key_request_t::RENEW) {
    if (!parts_.keys.Renew(keys, now)) return Fail(response, http::CONFLICT, "the key is not held by a lease");
  } else if (!parts_.keys.Set(keys, *wanted, now)) {
    return Fail(response, http::UNAVAILABLE, NO_BOARD);
  }
  response.set_content("{}", JSON);
}

void HttpServer::PressKey(const request_t& request, response_t& response) {
  const std::uint32_t keys = FindKeys(request, response);
  if (keys == 0) return;
  if (!parts_.keys.Press(keys, std::chrono::steady_clock::now())) {
    return Fail(response, http::UNAVAILABLE, NO_BOARD);
  }
  response.set_content("{}", JSON);
}

// False when the stream is closed.
bool HttpServer::WaitForEvents(EventStream& stream, std::string& text) const {
  switch (stream.Wait(text, BEAT)) {
    case EventStream::next_t::CLOSED:
      return false;
    case EventStream::next_t::BEAT:
      text = StreamHub::Format("beat", "{}");
      break;
    case EventStream::next_t::FULL:
      text = parts_.state.FullState(parts_.connected());
      break;
    case EventStream::next_t::EVENTS:
      break;
  }
  return true;
}

void HttpServer::ServeStream(response_t& response) {
  const std::shared_ptr<EventStream> stream = parts_.hub.Open();
  if (!stream) {
    return Fail(
        response, http::UNAVAILABLE,
        std::to_string(StreamHub::MAX_STREAMS) + " streams are open already; close another front panel");
  }
  const auto provide = [this, stream](std::size_t, httplib::DataSink& sink) {
    std::string text;
    return WaitForEvents(*stream, text) && sink.write(text.data(), text.size());
  };
  response.set_chunked_content_provider("text/event-stream", provide,
                                        [this, stream](bool) { parts_.hub.Release(stream); });
}

}  // namespace unit
