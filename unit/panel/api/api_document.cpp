#include "unit/panel/api/api_document.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>
#include <sstream>

#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "unit/panel/api/api_routes.h"

namespace unit {
namespace {

using nlohmann::ordered_json;

struct status_text_t {
  std::string_view status, text;
};
constexpr auto STATUS_TEXTS = std::to_array<status_text_t>({
    {"400", "The body or a parameter is not what the request takes"},
    {"403", "The Host header does not name the loopback, or another site's page asks"},
    {"404", "There is nothing of this name"},
    {"405", "The path takes another method, which the header Allow names"},
    {"409", "The key is not held on a lease (any more)"},
    {"413", "The body is larger than 1024 bytes"},
    {"415", "The body has several parts (multipart)"},
    {"503", "The service that would answer does not, or too many requests wait for it"},
});
constexpr std::array<std::string_view, 1> ERRORS_OF_ALL = {"403"};
constexpr std::array<std::string_view, 2> ERRORS_OF_POST = {"413", "415"};

struct parameter_row_t {
  std::string_view name, about, pattern, example;
};
constexpr auto PARAMETERS = std::to_array<parameter_row_t>(
    {{"keys", "Front keys 1 to 8, several with + between", "^[1-8]([+][1-8])*$", "1+8"},
     {"language", "A language's two letters", "^[a-z]{2}$", "en"},
     {"time", "Milliseconds since the history's beginning", "^[0-9]{1,15}$", "0"},
     {"number", "A chunk that GET /api/history lists", "^[0-9]{1,15}$", "0"},
     {"after", "The number of a frame: only later ones", "^[0-9]*$", "0"},
     {"until",
      "Milliseconds since 1970: frames up to then, in a replay those of the bundle. A moment of the history is "
      "its begin and time added",
      "^[0-9]*$", ""},
     {"kind", "frames: every frame, not only the last of each message; both: the host and the display",
      "^(messages|host|display|other|frames|both)?$", "messages"},
     {"text", "Words that a row must have, in any letter case", "^.{0,200}$", "CMD2"},
     {"most", "At most so many rows, up to 200", "^[0-9]*$", "50"}});

ordered_json Reference(std::string_view schema) {
  return {{"$ref", "#/components/schemas/" + std::string(schema)}};
}

std::string_view TextOf(std::string_view status) {
  return std::ranges::find(STATUS_TEXTS, status, &status_text_t::status)->text;
}

// The health answers 503 with its own object.
ordered_json ErrorAnswer(const api_route_t& route, std::string_view status) {
  const std::string_view schema = route.route == route_t::HEALTH && status == "503" ? route.schema : "Error";
  return {{"description", TextOf(status)},
          {"content", {{"application/json", {{"schema", Reference(schema)}}}}}};
}

ordered_json GoodAnswer(const api_route_t& route) {
  const ordered_json schema = route.schema.empty() ? ordered_json{{"type", "string"}} : Reference(route.schema);
  return {{"description", route.summary}, {"content", {{route.type, {{"schema", schema}}}}}};
}

ordered_json AnswersOf(const api_route_t& route) {
  ordered_json answers = {{"200", GoodAnswer(route)}};
  const auto add = [&](std::string_view status) { answers[std::string(status)] = ErrorAnswer(route, status); };
  std::istringstream own{std::string(route.errors)};
  for (std::string status; own >> status;) add(status);
  std::ranges::for_each(ERRORS_OF_ALL, add);
  add("405");
  if (route.method == "POST") std::ranges::for_each(ERRORS_OF_POST, add);
  return answers;
}

bool HasWord(std::string_view words, std::string_view wanted) {
  std::istringstream list{std::string(words)};
  return std::find(std::istream_iterator<std::string>(list), {}, wanted) !=
         std::istream_iterator<std::string>();
}

ordered_json ParametersOf(const api_route_t& route) {
  ordered_json parameters = ordered_json::array();
  for (const parameter_row_t& row : PARAMETERS) {
    const bool isInPath = route.path.find("{" + std::string(row.name) + "}") != std::string_view::npos;
    if (!isInPath && !HasWord(route.query, row.name)) continue;
    parameters.push_back({{"name", row.name},
                          {"in", isInPath ? "path" : "query"},
                          {"required", isInPath},
                          {"description", row.about},
                          {"schema", {{"type", "string"}, {"pattern", row.pattern}}},
                          {"example", row.example}});
  }
  return parameters;
}

ordered_json OperationOf(const api_route_t& route) {
  ordered_json operation = {{"summary", route.summary}};
  if (ordered_json parameters = ParametersOf(route); !parameters.empty()) operation["parameters"] = parameters;
  if (!route.request.empty()) {
    operation["requestBody"] = {{"required", true},
                                {"content", {{"application/json", {{"schema", Reference(route.request)}}}}}};
  }
  operation["responses"] = AnswersOf(route);
  return operation;
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

ordered_json PathsOf(std::span<const std::string_view> files) {
  ordered_json paths = ordered_json::object();
  for (const api_route_t& route : ApiRoutes())
    paths[std::string(route.path)][LowerCase(route.method)] = OperationOf(route);
  const api_route_t file{.route = {},
                         .method = "GET",
                         .path = "",
                         .summary = "A file of the front panel's page",
                         .type = "text/*",
                         .schema = "",
                         .request = "",
                         .errors = ""};
  for (const std::string_view path : files) paths[std::string(path)]["get"] = OperationOf(file);
  return paths;
}

}  // namespace

std::string MakeApiDocument(std::span<const std::string_view> files) {
  const ordered_json document = {
      {"openapi", "3.1.0"},
      {"info",
       {{"title", "Front panel of the display unit"},
        {"version", "1"},
        {"description",
         "Served on the loopback alone. A client that is no browser needs no header. docs/http-api.md "
         "describes the requests for people."}}},
      {"paths", PathsOf(files)},
      {"components", {{"schemas", ordered_json::parse(API_SCHEMAS)}}},
      {"x-events", ordered_json::parse(API_EVENTS)}};
  return base::DumpOrderedJson(document);
}

}  // namespace unit
