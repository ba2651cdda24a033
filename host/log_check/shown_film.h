// What stands on the screen at a moment of a film, by names that a person understands.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace host::log_check {

// A name is a page with what is on it and, beside its text, one of its attributes: "page Main:
// capacity-number", "page Main: OrvikPreAlarm, style"; or "page", "look", "title", "beeper". What is hidden has
// no value. The drawing of a page, that is all of its document that does not move, is "page Main: drawing",
// with a digest as its value.
constexpr std::string_view DRAWING = "drawing";

class ShownFilm {
 public:
  // `value` is empty where nothing is shown any more.
  using on_change_t = std::function<void(const std::string& name, const std::optional<std::string>& value)>;

  // Takes the next record. Returns its time in milliseconds since the log's beginning. Throws
  // nlohmann::json::exception where the record has another form.
  void Accept(const nlohmann::json& record, const on_change_t& onChange);

 private:
  friend class DocumentReader;
  // What a page has under an id.
  struct element_t {
    std::string name;
    std::string parent;  // the id of the element around it; empty: the page
    std::vector<std::string> children;
    std::map<std::string, std::string> attributes;
    std::optional<std::string> content;
  };
  // By id. An element of the design without a name has an id that the screen gives it by its place, which a new
  // design moves; its name comes from what it shows.
  using elements_t = std::map<std::string, element_t>;

  void AcceptDocument(const std::string& svg, const on_change_t& onChange);
  void AcceptElement(const nlohmann::json& element, const on_change_t& onChange);
  static bool IsVisible(const elements_t& elements, const std::string& id);
  static void Tell(const elements_t& elements, const std::string& id, const on_change_t& onChange);

  std::string page_;
  std::string look_;
  std::map<std::string, elements_t> pages_;  // by page and look
};

// "12,300" in quotes for the text with its marks: <tspan x=1>12,300</tspan>. "nothing" for none.
std::string WordsOf(const std::optional<std::string>& value);

}  // namespace host::log_check
