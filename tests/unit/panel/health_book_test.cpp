#include "panel/health_book.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace unit {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

constexpr HealthBook::time_t START{100s};

TEST(HealthBook, IsUpWhileEverybodyIsAndIsHeard) {
  HealthBook book;
  book.Take(R"({"name":"a","up":true,"detail":"fine","counters":{"x":1}})", START);
  EXPECT_TRUE(book.Report("", START + 3s).up);
  const auto silent = book.Report("", START + 3s + 1ms);
  EXPECT_FALSE(silent.up);
  EXPECT_THAT(silent.json, HasSubstr(R"("state":"silent")"));
  book.Take(R"({"name":"a","up":true})", START + 10s);
  EXPECT_TRUE(book.Report("", START + 10s).up);
  book.Take(R"({"name":"b","up":false,"detail":"gone"})", START + 10s);
  EXPECT_FALSE(book.Report("", START + 10s).up);
  EXPECT_THAT(book.Report("", START + 10s).json, HasSubstr(R"("state":"down")"));
}

TEST(HealthBook, AProblemOfItsOwnCountsToo) {
  const HealthBook book;
  EXPECT_TRUE(book.Report("", START).up);
  const auto report = book.Report("no notification manager", START);
  EXPECT_FALSE(report.up);
  EXPECT_THAT(report.json, HasSubstr("no notification manager"));
}

TEST(HealthBook, PassesOverWhatIsNoReportAndBoundsTheRest) {
  HealthBook book;
  for (const char* text :
       {"", "x", "[]", "1", R"({"up":false})", R"({"name":1,"up":false})", R"({"name":"a","up":0})"}) {
    book.Take(text, START);
  }
  EXPECT_TRUE(book.Report("", START).up);
  for (int i = 0; i < 200; ++i) book.Take(R"({"name":")" + std::to_string(i) + R"(","up":true})", START);
  book.Take(R"({"name":"late","up":false})", START);
  EXPECT_TRUE(book.Report("", START).up);
}

}  // namespace
}  // namespace unit
