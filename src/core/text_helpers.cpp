#include "src/core/text_helpers.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "src/core/orvik_data.h"

namespace {

constexpr std::array<std::string_view, 12> monthNames = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}  // namespace

void StringToCharArray(char* dst, const char* src, int n) {
  if (n <= 0) return;
  const std::size_t length = std::min(std::strlen(src), static_cast<std::size_t>(n) - 1);
  std::copy_n(src, length, dst);
  dst[length] = '\0';
}

int MonthToNum(const char* month) {
  const std::string_view name(month, strnlen(month, 3));
  const auto* found = std::find(monthNames.begin(), monthNames.end(), name);
  return found == monthNames.end() ? -1 : static_cast<int>(found - monthNames.begin()) + 1;
}

void FormatDate(char* out, const char* in) {
  const std::string date = std::string(in).append(11, ' ').substr(0, 11);
  const int day = std::atoi(date.substr(4, 2).c_str());
  const int year = std::atoi(date.substr(9, 2).c_str());
  static_cast<void>(std::sprintf(out, "%02d/%02d/%02d", MonthToNum(date.c_str()), day, year));
}
