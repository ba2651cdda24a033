// Fuzzes what the HTTP servers read themselves: addresses, the sources of requests, and bodies. Oracle:
// inet_pton; only "localhost" and its addresses of the loopback are the loopback. A request of another origin
// is never the server's own; a body that is taken has the form of its request; health and state stay JSON
// whatever was received.
#include <arpa/inet.h>

#include <nlohmann/json.hpp>

#include "fuzz/fuzz_input.h"
#include "host/protocol/errors.h"
#include "host/simulate/state_json.h"
#include "http/address.h"
#include "unit/panel/health_book.h"
#include "unit/panel/key_holder.h"
#include "unit/panel/panel_state.h"

namespace {

using fuzz::Require;
using nlohmann::json;

bool IsLoopback(const std::string& host) {
  in_addr ipv4{};
  in6_addr ipv6{};
  if (host.find('\0') != std::string::npos) return false;
  if (inet_pton(AF_INET, host.c_str(), &ipv4) == 1) return (ntohl(ipv4.s_addr) >> 24U) == 127;
  return host == "localhost" || (inet_pton(AF_INET6, host.c_str(), &ipv6) == 1 && IN6_IS_ADDR_LOOPBACK(&ipv6));
}

void CheckAddress(const std::string& text) {
  Require(!http::IsLoopbackHost(text) || IsLoopback(std::string(base::HostOf(text))));
  try {
    const http::address_t address = http::ParseAddress(text);
    Require(IsLoopback(address.host) && address.port >= 0 && address.port <= 65535);
  } catch (const std::runtime_error& error) {
    Require(std::string_view(error.what()).starts_with("--http "));
  }
}

void CheckSource(fuzz::InputReader reader) {
  std::array<std::string, 4> texts;
  for (std::string& text : texts) text = fuzz::TextOf(reader.Take(reader.TakeByte() % 32));
  const http::request_source_t source{texts[0], texts[1], texts[2], texts[3]};
  if (!http::IsOwnRequest(source, "127.0.0.1:8740")) return;
  Require(source.origin.empty() || source.origin == "http://127.0.0.1:8740");
  Require(source.site.empty() || source.site == "none" || source.site == "same-origin" || source.path == "/");
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  static const simulate::ConfigFiles FILES(SOURCE_FOLDER "/config");
  const std::string text = TextOf(input);
  CheckAddress(text);
  CheckSource(InputReader(input));
  const json body = json::parse(text, nullptr, false);
  try {
    body.contains("do") ? simulate::ReadDo(text, FILES) : simulate::ReadControls(text);
    Require(body.is_object() && !body.empty());
  } catch (const host::UsageError&) {
  }
  Require(!unit::ReadKeyRequest(text) || (body.is_object() && body.size() >= 1 && body.size() <= 2));
  unit::HealthBook book;
  book.Accept(text, {});
  Require(json::accept(book.Report(text, {}).json));
  Require(body.is_discarded() || json::accept(unit::WithoutPicture(text)));
}
