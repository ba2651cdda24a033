// The table of the requests that the front panel answers. The server takes path and method of each request from
// it, and the document of GET /api is made from it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace unit {

enum class route_t : std::uint8_t {
  API,
  SHOWN,
  SCREEN,
  SCREEN_SVG,
  SCREEN_PNG,
  STREAM,
  HISTORY,
  HISTORY_AFTER,
  HISTORY_SCREENS,
  BOARD,
  BUS,
  TRACE,
  LOG,
  DATABASE,
  HEALTH,
  METRICS,
  HOLD_KEYS,
  PRESS_KEYS,
  HOST,
  HOST_STATE,
  HOST_DO,
  HOST_CONTROLS,
  WORDS,
};

struct api_route_t {
  route_t route;
  std::string_view method;  // "GET" or "POST"
  std::string_view path;    // with a parameter as {keys}
  std::string_view summary;
  std::string_view type;        // the media type of the answer 200
  std::string_view schema;      // of an answer in JSON, in ApiSchemas
  std::string_view request;     // schema of the body; empty: none
  std::string_view errors;      // the statuses beside those that every request may have, with blanks between
  std::string_view query = "";  // the parameters after "?", with blanks between; all may be left out
};

// In the order of route_t.
std::span<const api_route_t> ApiRoutes();
const api_route_t& RouteOf(route_t route);
// The path as a regular expression with a group for each parameter.
std::string PatternOf(const api_route_t& route);

}  // namespace unit
