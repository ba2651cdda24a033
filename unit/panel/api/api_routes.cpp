#include "unit/panel/api/api_routes.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace unit {
namespace {

constexpr std::string_view JSON_TYPE = "application/json";

constexpr auto ROUTES = std::to_array<api_route_t>({
    {route_t::API, "GET", "/api", "This document", JSON_TYPE, "Document", "", ""},
    {route_t::SHOWN, "GET", "/api/shown", "What the operator sees and hears, by name", JSON_TYPE, "Shown", "",
     "503"},
    {route_t::SCREEN, "GET", "/api/screen", "The page, and every widget and variable of the screen service",
     JSON_TYPE, "Screen", "", "503"},
    {route_t::SCREEN_SVG, "GET", "/screen.svg", "The screen as a drawing", "image/svg+xml", "", "", "503"},
    {route_t::SCREEN_PNG, "GET", "/screen.png", "The screen as a picture of 640 by 480 pixels", "image/png", "",
     "", "503"},
    {route_t::STREAM, "GET", "/api/stream", "Everything as it changes, as server-sent events (x-events)",
     "text/event-stream", "", "", "503"},
    {route_t::HISTORY, "GET", "/api/history", "The last ten minutes: curves, bands, and which screens are kept",
     JSON_TYPE, "History", "", ""},
    {route_t::HISTORY_AFTER, "GET", "/api/history/after/{time}", "The same without what is older than a time",
     JSON_TYPE, "History", "", "404"},
    {route_t::HISTORY_SCREENS, "GET", "/api/history/screens/{number}", "What the screen showed in a minute",
     JSON_TYPE, "HistoryScreens", "", "404"},
    {route_t::BOARD, "GET", "/api/board", "Front keys, beeper and backlight", JSON_TYPE, "Board", "", "503"},
    {route_t::BUS, "GET", "/api/bus", "The last frames of the bus", JSON_TYPE, "Bus", "", ""},
    {route_t::TRACE, "GET", "/api/bus/trace",
     "Frames and messages of the bus in words, the newest that are asked for", JSON_TYPE, "Trace", "", "400",
     "after until kind text most"},
    {route_t::LOG, "GET", "/api/bus/log", "The frames that the panel keeps, as candump -L writes them",
     "text/plain; charset=utf-8", "", "", ""},
    {route_t::DATABASE, "GET", "/api/database", "All parameters of the database", JSON_TYPE, "Database", "",
     "503"},
    {route_t::HEALTH, "GET", "/api/health",
     "The state of each service and worker; 503 with the same object while one is not up", JSON_TYPE, "Health",
     "", "503"},
    {route_t::METRICS, "GET", "/metrics", "Counters and gauges in the text form 0.0.4 of Prometheus",
     "text/plain; version=0.0.4; charset=utf-8", "", "", ""},
    {route_t::HOLD_KEYS, "POST", "/api/keys/{keys}", "Hold or release front keys; several change in one moment",
     JSON_TYPE, "Empty", "KeyRequest", "400 404 409 503"},
    {route_t::PRESS_KEYS, "POST", "/api/keys/{keys}/press", "Press front keys for 150 ms", JSON_TYPE, "Empty",
     "", "404 503"},
    {route_t::HOST, "GET", "/api/host", "Whether a host simulator listens here", JSON_TYPE, "Host", "", ""},
    {route_t::HOST_STATE, "GET", "/api/host/state",
     "The simulated crane and host; forwarded to GET /api/state of hx7 simulate --http", JSON_TYPE, "HostState",
     "", "503"},
    {route_t::HOST_DO, "POST", "/api/host/do",
     "An action of a scenario; forwarded to POST /api/do of hx7 simulate", JSON_TYPE, "Empty", "HostAction",
     "400 503"},
    {route_t::HOST_CONTROLS, "POST", "/api/host/controls",
     "Steer the crane by hand; forwarded to POST /api/controls of hx7 simulate", JSON_TYPE, "Empty",
     "HostControls", "400 503"},
    {route_t::WORDS, "GET", "/words/{language}.xml", "The words of a language of the operator",
     "text/xml; charset=utf-8", "", "", "404"},
});

constexpr bool IsInOrder() {
  for (std::size_t i = 0; i < ROUTES.size(); ++i) {
    if (ROUTES.at(i).route != static_cast<route_t>(i)) return false;
  }
  return true;
}
static_assert(IsInOrder());

}  // namespace

std::span<const api_route_t> ApiRoutes() {
  return ROUTES;
}

const api_route_t& RouteOf(route_t route) {
  return ROUTES.at(static_cast<std::size_t>(route));
}

std::string PatternOf(const api_route_t& route) {
  std::string pattern;
  for (std::size_t i = 0; i < route.path.size(); ++i) {
    const char c = route.path[i];
    if (c == '{') {
      pattern += "([^/]+)";
      i = route.path.find('}', i);
    } else {
      pattern += c == '.' ? std::string("[.]") : std::string(1, c);
    }
  }
  return pattern;
}

}  // namespace unit
