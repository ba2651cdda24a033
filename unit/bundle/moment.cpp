#include "unit/bundle/moment.h"

#include <array>
#include <chrono>
#include <span>
#include <thread>

#include <httplib.h>

#include <nlohmann/json.hpp>

#include "base/address_file.h"
#include "unit/bundle/bundle.h"

namespace unit {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr int TIMEOUT_S = 5;
// A frame reaches the screen in some 20 ms; a host sends its values every 100 ms.
constexpr auto ON_ITS_WAY = 60ms;
constexpr auto PATIENCE = 4s;
// For so long the picture is part of the moment; on a busy machine drawing it takes longer than the screen
// stands still.
constexpr auto PICTURE_PATIENCE = 2s;

struct state_file_t {
  const char* name;
  const char* path;  // of the panel
};
constexpr auto QUICK_FILES = std::to_array<state_file_t>({{"state/database.json", "/api/database"},
                                                          {"state/board.json", "/api/board"},
                                                          {"state/screen.svg", "/screen.svg"}});
constexpr auto PICTURE_FILE = std::to_array<state_file_t>({{"state/screen.png", "/screen.png"}});
// What is the same a moment later, or differs at each request.
constexpr auto SLOW_FILES = std::to_array<state_file_t>({{"state/bus.json", "/api/bus"},
                                                         {"state/health.json", "/api/health"},
                                                         {"state/host.json", "/api/host/state"}});

std::int64_t RealTime_us() {
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

class MomentCapture {
 public:
  explicit MomentCapture(const std::string& address) : client_("http://" + address) {
    client_.set_connection_timeout(TIMEOUT_S);
    client_.set_read_timeout(TIMEOUT_S);
  }
  moment_t Capture();

 private:
  bool TryOnce(bool withPicture);
  bool Get(const char* name, const char* path);
  void GetAll(std::span<const state_file_t> files);
  void GetHistory();

  httplib::Client client_;
  moment_t moment_;
};

// Also an error answer: it says why a service is down.
bool MomentCapture::Get(const char* name, const char* path) {
  const httplib::Result result = client_.Get(path);
  if (!result || result->body.empty()) return false;
  moment_.files[name] = result->body;
  return true;
}

void MomentCapture::GetAll(std::span<const state_file_t> files) {
  for (const state_file_t& file : files) {
    if (!Get(file.name, file.path)) moment_.missing.emplace_back(file.name);
  }
}

// The overview first, so that the screens reach at least to its end. A chunk that was dropped meanwhile is the
// oldest one.
void MomentCapture::GetHistory() {
  if (!Get(BUNDLE_HISTORY, "/api/history")) moment_.missing.emplace_back(BUNDLE_HISTORY);
  const auto overview = nlohmann::json::parse(moment_.files[BUNDLE_HISTORY], nullptr, false);
  if (!overview.is_object() || !overview.contains("screens")) return;
  for (const nlohmann::json& screen : overview["screens"]) {
    const std::string number = screen.value("number", nlohmann::json()).dump();
    Get((BUNDLE_HISTORY_SCREENS + number + ".json").c_str(), ("/api/history/screens/" + number).c_str());
  }
}

// Every frame before `time_us` has reached the screen by the second look, and none of those after it has
// changed anything: so the state is that of the log up to this time.
bool MomentCapture::TryOnce(bool withPicture) {
  moment_.missing.clear();
  if (!Get(BUNDLE_SCREEN, "/api/screen")) return false;
  const std::string first = moment_.files[BUNDLE_SCREEN];
  moment_.time_us = RealTime_us();
  const auto look = steady_clock::now() + ON_ITS_WAY;
  GetAll(QUICK_FILES);
  if (withPicture) GetAll(PICTURE_FILE);
  std::this_thread::sleep_until(look);
  return Get(BUNDLE_SCREEN, "/api/screen") && IsSameState(first, moment_.files[BUNDLE_SCREEN]);
}

moment_t MomentCapture::Capture() {
  const auto begin = steady_clock::now();
  bool withPicture = true;
  do {
    withPicture = steady_clock::now() < begin + PICTURE_PATIENCE;
    moment_.isStill = TryOnce(withPicture);
  } while (!moment_.isStill && steady_clock::now() < begin + PATIENCE);
  if (!withPicture) GetAll(PICTURE_FILE);
  GetAll(SLOW_FILES);
  GetHistory();
  if (!moment_.files.contains(BUNDLE_SCREEN)) moment_.missing.emplace_back(BUNDLE_SCREEN);
  return std::move(moment_);
}

}  // namespace

moment_t CaptureMoment() {
  const std::string address = base::ReadAddressFile(base::PANEL_ADDRESS_FILE);
  if (!address.empty()) return MomentCapture(address).Capture();
  moment_t nothing;
  nothing.missing.emplace_back("state (the unit is not running)");
  return nothing;
}

std::string CutAfter(const std::string& log, std::int64_t time_us) {
  constexpr double SECOND_US = 1e6;
  std::size_t end = log.size();
  while (end > 0) {
    const std::size_t begin = end < 2 ? 0 : log.rfind('\n', end - 2) + 1;
    const bool isTimed = log[begin] == '(';
    if (isTimed && std::strtod(log.c_str() + begin + 1, nullptr) * SECOND_US <= static_cast<double>(time_us)) {
      break;
    }
    end = begin;
  }
  return log.substr(0, end);
}

}  // namespace unit
