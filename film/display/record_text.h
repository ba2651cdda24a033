// The records of a film as text: JSON objects, one on each line.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace film {

// Builds one record, member by member. A film has millions of them, so that they are written straight away.
class RecordText {
 public:
  explicit RecordText(std::int64_t time_ms) : text_("{\"t\":" + std::to_string(time_ms)) {}

  // Each adds a member; `json` is a value that is JSON already.
  RecordText& AddText(std::string_view name, std::string_view value);
  RecordText& AddJson(std::string_view name, std::string_view json);
  // The record with its closing brace.
  std::string Take() &&;

  // The text in quotes. Bytes that are not UTF-8 become U+FFFD.
  static std::string Quote(std::string_view text);

 private:
  std::string text_;
};

}  // namespace film
