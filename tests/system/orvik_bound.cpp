// The application with other key bindings, for tests of the local commands: on the main page, platform key 100
// + n runs command n, and front keys 7 and 8 make the screen brighter and darker.
#include <algorithm>

#include "platform/console_writer.h"

#include "src/core/name_tables.h"
#include "src/pages/page_tables.h"
#include "src/startup/application.h"

namespace {

constexpr std::uint8_t FIRST_KEY = 100;
constexpr std::uint8_t BRIGHTER = 1;
constexpr std::uint8_t DARKER = 2;

void Bind(Page_t& page, std::uint8_t key, std::uint8_t command) {
  std::erase_if(page.keys, [key](const Pkey_t& bound) { return bound.platformKey == key; });
  page.keys.push_back({key, 0, 0, command});
}

void BindCommands(orvikData_t* data) {
  InitPages(data);
  auto& pages = data->target.pages;
  const auto main =
      std::ranges::find_if(pages, [](const Page_t& page) { return page.pageId == ACTION_PAGE_MAIN; });
  for (std::uint8_t command = 0; command <= CMD_NAME_COUNT; ++command) {
    Bind(*main, static_cast<std::uint8_t>(FIRST_KEY + command), command);
  }
  Bind(*main, KD620_KEY7, BRIGHTER);
  Bind(*main, KD620_KEY8, DARKER);
}

}  // namespace

int main(int argc, char* argv[]) {
  PrepareSignals();
  const platform::ConsoleWriter console("Orvik");
  orvikData_t data;
  BindCommands(&data);
  return RunApplication(&data, {argv, argv + argc});
}
