#include "http/address.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace {

TEST(HttpAddressTest, IsOneOfTheLoopback) {
  for (const char* text : {"127.0.0.1:8740", "localhost:0", "[::1]:65535", "127.1.2.3:1"}) {
    EXPECT_EQ(base::FormatHostPort(http::ParseAddress(text)), text);
  }
  for (const char* text :
       {"", "127.0.0.1", ":8740", "0.0.0.0:8740", "192.168.0.2:80", "127.0.0.1:", "127.0.0.1:65536",
        "127.0.0.1:-1", "127.0.0.1:80x", "[::]:80", "127.0.0.1.example.org:80", "[::1]", "127.1:80"}) {
    EXPECT_THROW(http::ParseAddress(text), std::runtime_error) << text;
  }
}

TEST(HttpAddressTest, OnlyLoopbackNamesAreAnswered) {
  for (const char* host : {"127.0.0.1:8740", "localhost", "localhost:1", "[::1]:8740"}) {
    EXPECT_TRUE(http::IsLoopbackHost(host)) << host;
  }
  for (const char* host :
       {"", "example.org", "localhost.example.org", "127.0.0.1.example.org:8740", "127.evil.0.1"}) {
    EXPECT_FALSE(http::IsLoopbackHost(host)) << host;
  }
}

TEST(HttpAddressTest, ChangesComeFromProgramsOrTheOwnPages) {
  constexpr const char* HOST = "127.0.0.1:8740";
  EXPECT_TRUE(http::IsOwnOrigin("", HOST));
  EXPECT_TRUE(http::IsOwnOrigin("http://127.0.0.1:8740", HOST));
  for (const char* origin : {"null", "http://127.0.0.1:8741", "https://127.0.0.1:8740",
                             "http://127.0.0.1:8740.example.org", "http://example.org"}) {
    EXPECT_FALSE(http::IsOwnOrigin(origin, HOST)) << origin;
  }
}

}  // namespace
