#include "http/address.h"

#include <stdexcept>
#include <tuple>

#include <gtest/gtest.h>

namespace {

TEST(HttpAddressTest, IsOneOfTheLoopback) {
  for (const char* text : {"127.0.0.1:8740", "localhost:0", "[::1]:65535", "127.1.2.3:1"}) {
    EXPECT_EQ(base::FormatHostPort(http::ParseAddress(text)), text);
  }
  for (const char* text : {"", "127.0.0.1", ":8740", "0.0.0.0:8740", "192.168.0.2:80",
                           "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1:80x", "[::]:80",
                           "127.0.0.1.example.org:80", "[::1]", "127.1:80", "127.0.0.256:80"}) {
    EXPECT_THROW(http::ParseAddress(text), std::runtime_error) << text;
  }
}

TEST(HttpAddressTest, OnlyLoopbackNamesAreAnswered) {
  for (const char* host : {"127.0.0.1:8740", "localhost", "localhost:1", "[::1]:8740"}) {
    EXPECT_TRUE(http::IsLoopbackHost(host)) << host;
  }
  for (const char* host :
       {"", "example.org", "localhost.example.org", "127.0.0.1.example.org:8740", "127.evil.0.1", "127.0.1."}) {
    EXPECT_FALSE(http::IsLoopbackHost(host)) << host;
  }
}

TEST(HttpAddressTest, RequestsComeFromProgramsOrTheOwnPages) {
  constexpr const char* OWN = "http://127.0.0.1:8740";
  const std::tuple<http::request_source_t, bool> cases[] = {
      {{"", "", "", "/api/stream"}, true},
      {{OWN, "", "", "/api/keys/1"}, true},
      {{OWN, "same-origin", "cors", "/api/keys/1"}, true},
      {{"", "none", "navigate", "/api/screen"}, true},
      {{"", "cross-site", "navigate", "/"}, true},
      {{"", "cross-site", "navigate", "/api/stream"}, false},
      {{"", "cross-site", "no-cors", "/"}, false},
      {{"", "same-site", "no-cors", "/screen.png"}, false},
      {{OWN, "cross-site", "cors", "/api/screen"}, false},
      {{"http://example.org", "cross-site", "navigate", "/"}, false},
      {{"null", "", "", "/"}, false},
      {{"http://127.0.0.1:8741", "", "", "/"}, false},
      {{"https://127.0.0.1:8740", "", "", "/"}, false},
      {{"http://127.0.0.1:8740.example.org", "", "", "/"}, false},
  };
  for (const auto& [source, own] : cases) {
    EXPECT_EQ(http::IsOwnRequest(source, "127.0.0.1:8740"), own)
        << source.origin << " " << source.site << " " << source.mode << " " << source.path;
  }
}

}  // namespace
