#include "host/judge/expectation.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>

#include "base/nearest_word.h"
#include "host/protocol/errors.h"

namespace judge {
namespace {

using host::UsageError;
using words_t = std::span<const std::string>;

constexpr const char* WITHIN = "within";
constexpr double MOST_S = 3600;

std::string Join(words_t words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string WithoutQuotes(std::string word) {
  std::erase(word, '"');
  return word;
}

std::int64_t ParseWithin(const std::string& word) {
  double seconds = 0;
  const char* const end = word.data() + word.size();
  const auto [stop, error] = std::from_chars(word.data(), end, seconds);
  if (error == std::errc() && stop == end && seconds >= 0 && seconds <= MOST_S)
    return std::llround(seconds * 1000);
  throw UsageError("\"" + word + "\" is not a time; within takes seconds, from 0 to 3600");
}

const host::command_t& FindRequest(const std::string& name) {
  std::vector<std::string_view> names;
  for (const host::command_t& command : host::Commands()) {
    if (command.reply.fields.empty()) continue;
    if (command.name == name) return command;
    names.push_back(command.name);
  }
  throw UsageError("\"" + name + "\" is no request that the display replies to" + base::Suggest(name, names));
}

// "key=info", or the value alone where the reply has only one.
std::pair<std::string, std::string> ParseReplyValue(const host::command_t& request, const std::string& word) {
  const auto fields = request.reply.fields;
  const std::size_t equals = word.find('=');
  if (fields.size() == 1 && equals == std::string::npos) return {"", WithoutQuotes(word)};
  std::vector<std::string_view> names;
  for (const host::field_t& field : fields) names.push_back(field.name);
  const std::string name = word.substr(0, equals);
  if (equals == std::string::npos || std::ranges::find(names, name) == names.end()) {
    throw UsageError("the reply " + std::string(request.name) + " has no value \"" + name + "\"" +
                     base::Suggest(name, names));
  }
  return {fields.size() == 1 ? "" : name, WithoutQuotes(word.substr(equals + 1))};
}

wanted_reply_t ParseReply(words_t words) {
  if (words.empty()) throw UsageError("reply takes a request, such as key-state, and values, such as key=info");
  const host::command_t& request = FindRequest(words[0]);
  wanted_reply_t wanted{words[0], {}};
  for (const std::string& word : words.subspan(1)) wanted.values.push_back(ParseReplyValue(request, word));
  return wanted;
}

// The picture stands beside the scenario, and one that comes over HTTP may name no other file.
wanted_picture_t ParsePicture(words_t words) {
  const std::string name = words.size() == 1 ? WithoutQuotes(words[0]) : "";
  if (!name.ends_with(".png") || name.find('/') != std::string::npos || name.starts_with('.')) {
    throw UsageError("picture takes the name of a PNG file beside the scenario, such as overload.png");
  }
  return {name};
}

expect::Expectation ParseShown(const std::string& text) {
  try {
    return expect::Expectation(text);
  } catch (const std::invalid_argument& error) {
    throw UsageError(error.what());
  }
}

}  // namespace

expectation_t ParseExpectation(words_t words) {
  std::int64_t within_ms = USUAL_WITHIN_MS;
  if (words.size() > 2 && words[words.size() - 2] == WITHIN) {
    within_ms = ParseWithin(words.back());
    words = words.first(words.size() - 2);
  }
  if (words.empty()) throw UsageError("expect takes what the display has to show, such as page Wad");
  const std::string text = Join(words);
  if (words[0] == "reply") return {text, ParseReply(words.subspan(1)), within_ms};
  if (words[0] == "picture") return {text, ParsePicture(words.subspan(1)), within_ms};
  return {text, ParseShown(text), within_ms};
}

bool IsReply(const wanted_reply_t& wanted, const host::decoded_t& message) {
  if (wanted.request != message.name) return false;
  return std::ranges::all_of(wanted.values, [&](const auto& value) {
    return std::ranges::any_of(message.values, [&](const host::value_t& shown) {
      return shown.name == value.first && shown.text == value.second;
    });
  });
}

}  // namespace judge
