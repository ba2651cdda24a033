// The screen's part of a film: writes what changes on it, each page's document once.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "unit/screen/design/screen_model.h"

namespace film {

class ScreenFilm {
 public:
  // The record of all that changed since the last call; empty where nothing did.
  std::optional<std::string> Write(std::int64_t time_ms, unit::ScreenModel& model);

 private:
  struct element_t {
    std::map<std::string, std::optional<std::string>> attributes;
    std::optional<std::string> content;
    bool operator==(const element_t&) const = default;
  };
  using page_t = std::map<std::string, element_t>;  // by the element's id

  std::string ElementsJson(const std::vector<unit::element_change_t>& elements, page_t& page);

  std::map<std::pair<std::string, unit::look_t>, page_t> pages_;  // as they were shown last
};

}  // namespace film
