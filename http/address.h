// Which addresses the HTTP servers of the front panel and of the host simulator accept, and from which clients.
#pragma once

#include <string>
#include <string_view>

#include "base/host_port.h"

namespace http {

using address_t = base::host_port_t;

// Reads "127.0.0.1:8740", "localhost:0" or "[::1]:8740". Throws std::runtime_error for anything else. A host
// other than the loopback is refused because the servers ask for no password.
address_t ParseAddress(const std::string& text);
// Whether a Host header names the loopback. A page of another site could otherwise reach the server by letting
// a name of its own resolve to 127.0.0.1 (DNS rebinding).
bool IsLoopbackHost(std::string_view host);

// What a browser says about the page that makes a request (Fetch Metadata, W3C; the Origin header of RFC 6454).
// Programs send none of it.
struct request_source_t {
  std::string_view origin;  // the header Origin
  std::string_view site;    // Sec-Fetch-Site
  std::string_view mode;    // Sec-Fetch-Mode
  std::string_view path;    // of the request
};

// Whether a request comes from a program, from the server's own pages, or from the address bar or a link to the
// front page "/". Requests of other pages are refused even where the browser would hide the answer from them: a
// stream would take a place, and a picture shows its size.
bool IsOwnRequest(const request_source_t& source, std::string_view host);

}  // namespace http
