// Fuzzes the text of the socketcand protocol. Cut at any other places, the stream gives the same messages; a
// frame that was read and written again is read alike; without the token a session never opens the bus, and
// without an open bus it sends no frame.
#include "bus/socketcand_text.h"
#include "fuzz/fuzz_input.h"
#include "unit/j1939/socketcand_session.h"

namespace {

using bus::SocketcandSplitter;
using fuzz::Require;
using messages_t = std::vector<std::string>;

messages_t Split(std::string_view text, std::size_t part, SocketcandSplitter::foreign_bytes_t rule) {
  SocketcandSplitter splitter(rule);
  messages_t messages;
  std::string message;
  for (; !text.empty(); text.remove_prefix(std::min(part, text.size()))) {
    splitter.Feed(text.substr(0, part));
    while (splitter.Next(message)) messages.push_back(message);
  }
  return messages;
}

template <typename Parse, typename Format>
void CheckFrame(const std::string& message, Parse parse, Format format) {
  if (const auto frame = parse(message)) Require(format(parse(format(*frame)).value()) == format(*frame));
}

void CheckSession(const messages_t& messages, const std::string& token) {
  unit::SocketcandSession session(token);
  bool mayOpen = token.empty();
  for (const std::string& message : messages) {
    mayOpen = mayOpen || message.find(token) != std::string::npos;
    const auto outcome = session.Accept(message);
    Require(!session.IsOpen() || mayOpen);
    Require(!outcome.frame || (session.IsOpen() && outcome.frame->length <= 8));
    if (outcome.ends) return;
  }
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  const std::string text = TextOf(input);
  for (const auto rule :
       {SocketcandSplitter::foreign_bytes_t::SKIP, SocketcandSplitter::foreign_bytes_t::REFUSE}) {
    const messages_t messages = Split(text, 4096, rule);
    Require(messages == Split(text, 1 + text.size() % 7, rule));
    for (const std::string& message : messages) {
      Require(message.size() <= 256 && message.front() == '<' && message.back() == '>');
      CheckFrame(message, bus::ParseSocketcandFrame, bus::FormatSocketcandFrame);
      CheckFrame(message, bus::ParseSocketcandSend, bus::FormatSocketcandSend);
    }
    CheckSession(messages, "");
    CheckSession(messages, "secret");
  }
}
