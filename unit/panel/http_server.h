// The front panel's HTTP server.
#pragma once

#include <functional>
#include <string>

#include "http/local_server.h"
#include "http/request_share.h"
#include "unit/history/history_source.h"
#include "unit/panel/api/api_routes.h"
#include "unit/panel/host_link.h"
#include "unit/panel/key_holder.h"
#include "unit/panel/panel_state.h"
#include "unit/panel/stream_hub.h"
#include "unit/screen/client/screen_client.h"
#include "unit/trace/bus_trace.h"

namespace unit {

struct panel_parts_t {
  PanelState& state;
  BusTrace& trace;
  BusTrace& pastTrace;  // of the time that the history shows
  StreamHub& hub;
  KeyHolder& keys;
  ScreenClient& screen;
  ScreenClient& pictures;           // another one, because a picture may take long to be drawn
  std::function<bool()> connected;  // to the notification manager; any thread
  std::string wordsFolder;          // the catalogue of the operator's languages
  HistorySource& history;
};

// Listens while the object lives. Streams, requests to the screen service and requests to the host simulator
// hold a bounded share of the threads each, so that health and keys are answered whatever hangs.
class HttpServer {
 public:
  // Throws std::runtime_error when the address cannot be bound.
  HttpServer(const http::address_t& address, panel_parts_t parts);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  const http::LocalServer& Server() const { return server_; }

 private:
  void Add(route_t route, http::LocalServer::get_t answer);
  void Add(route_t route, http::LocalServer::post_t answer);
  void AddDocument();
  void AddAssets();
  void AddScreen();
  void AnswerFromScreen(screen_request_t request, const char* type, http::response_t& response);
  void AnswerShown(http::response_t& response);
  ScreenClient& ClientFor(screen_request_t request) const;
  void AddWords();
  void AddState();
  void AddBus();
  void AnswerTrace(const http::request_t& request, http::response_t& response);
  void AddHistory();
  void AddKeys();
  void AddHost();
  void AddHostPost(route_t route, const std::string& path);
  void AddHealth();
  void AddMetrics();
  bool WaitForEvents(EventStream& stream, std::string& text) const;
  void ServeStream(http::response_t& response);
  void PressKey(const http::request_t& request, http::response_t& response);
  void HoldKey(const http::request_t& request, const std::string& body, http::response_t& response);

  const panel_parts_t parts_;
  http::RequestShare screenShare_, hostShare_;
  HostLink host_;
  http::LocalServer server_;
};

}  // namespace unit
