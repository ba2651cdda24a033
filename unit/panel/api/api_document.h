// The description of the panel's requests, in the form OpenAPI 3.1.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace unit {

// The document of GET /api, made from the table of api_routes.h. `files` are the paths of the panel's page.
std::string MakeApiDocument(std::span<const std::string_view> files);

// The schemas by name (JSON Schema 2020-12), and the events of the stream by name with their schemas: two JSON
// objects.
extern const std::string_view API_SCHEMAS;
extern const std::string_view API_EVENTS;

}  // namespace unit
