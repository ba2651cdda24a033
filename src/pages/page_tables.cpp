#include "src/pages/page_tables.h"

#include <algorithm>
#include <array>

namespace {

constexpr Pkey_t FILLER = {0, 0, 0, 0};

constexpr std::array<Pkey_t, 2> SplashKeys = {{
    FILLER,
    {KD620_KEY8, HOST_KEY_NONE, EVENT_SPLASH_TO_SLATE, 0},
}};

constexpr std::array<Pkey_t, 2> SlateKeys = {{
    FILLER,
    {KD620_KEY8, HOST_KEY_NONE, EVENT_SLATE_TO_GAUGES, 0},
}};

constexpr std::array<Pkey_t, 9> OperatingKeys = {{
    FILLER,
    {KD620_KEY1, HOST_KEY_INFO, EVENT_MAIN_TO_WAD, 0},
    {KD620_KEY2, HOST_KEY_NONE, 0, 0},
    {KD620_KEY3, HOST_KEY_POL_UP, 0, 0},
    {KD620_KEY4, HOST_KEY_TIRES, EVENT_MAIN_TO_WAD, 0},
    {KD620_KEY5, HOST_KEY_SWING_MODE, EVENT_MAIN_TO_WAD, 0},
    {KD620_KEY6, HOST_KEY_NONE, EVENT_MAIN_TO_DIALS, 0},
    {KD620_KEY7, HOST_KEY_NONE, 0, 0},
    {KD620_KEY8, HOST_KEY_NONE, 0, 0},
}};

// The select keys are beside the select fields of the grid: 1 and 2 on the left, 3 and 4 on the right.
constexpr std::array<Pkey_t, 9> WadKeys = {{
    FILLER,
    {KD620_KEY1, HOST_KEY_EXIT_ALARM_MAIN, 0, 0},
    {KD620_KEY2, HOST_KEY_NONE, 0, 0},
    {KD620_KEY3, HOST_KEY_INFO, 0, 0},
    {KD620_KEY4, HOST_KEY_TIRES, 0, 0},
    {KD620_KEY5, HOST_KEY_SELECT_1, 0, 0},
    {KD620_KEY6, HOST_KEY_SELECT_3, 0, 0},
    {KD620_KEY7, HOST_KEY_SELECT_2, 0, 0},
    {KD620_KEY8, HOST_KEY_SELECT_4, 0, 0},
}};

constexpr std::array<Pkey_t, 9> ConfigKeys = {{
    FILLER,
    {KD620_KEY1, HOST_KEY_NONE, 0, 0},
    {KD620_KEY2, HOST_KEY_PICK, 0, 0},
    {KD620_KEY3, HOST_KEY_POL_UP, 0, 0},
    {KD620_KEY4, HOST_KEY_NONE, 0, 0},
    {KD620_KEY5, HOST_KEY_NONE, 0, 0},
    {KD620_KEY6, HOST_KEY_WINCH, 0, 0},
    {KD620_KEY7, HOST_KEY_NONE, EVENT_CONFIG_TO_MAIN, 0},
    {KD620_KEY8, HOST_KEY_TIRES, 0, 0},
}};

constexpr std::array<Pkey_t, 2> DialsKeys = {{
    FILLER,
    {KD620_KEY7, HOST_KEY_NONE, EVENT_DIALS_TO_MAIN, 0},
}};

constexpr const char* TARGET_NAME = "Holten";

}  // namespace

// A time-out event leads to a page that shows the lost-link message. Main and Slate show it, so they have none.
std::span<const page_definition_t> PageDefinitions() {
  static const auto DEFINITIONS = std::to_array<page_definition_t>({
      {ACTION_PAGE_SPLASH, EVENT_SPLASH_TO_SLATE, SplashKeys},
      {ACTION_PAGE_SLATE, EVENT_ID_NONE, SlateKeys},
      {ACTION_PAGE_MAIN, EVENT_ID_NONE, OperatingKeys},
      {ACTION_PAGE_WAD, FindEventIndex("orvik.WadToMain"), WadKeys},
      {ACTION_PAGE_CONFIG, EVENT_CONFIG_TO_MAIN, ConfigKeys},
      {ACTION_PAGE_DIALS, EVENT_DIALS_TO_MAIN, DialsKeys},
  });
  return DEFINITIONS;
}

void InitPages(orvikData_t* data) {
  InitHoltenPages(data);
}

void InitHoltenPages(orvikData_t* data) {
  if (data->target.pages.empty()) {
    data->target.name = TARGET_NAME;
    data->target.pages.reserve(PageDefinitions().size());  // currentPage points into the vector
    for (const page_definition_t& definition : PageDefinitions()) {
      Page_t& page = data->target.pages.emplace_back();
      page.pageId = definition.pageId;
      page.timeOutEvent = definition.timeOutEvent;
      PopulatePage(data, &page, definition.keys.data(), static_cast<int>(definition.keys.size()));
    }
  }
  if (data->currentPage == nullptr) data->currentPage = FindPage(data, ACTION_PAGE_SPLASH);
}

void PopulatePage(orvikData_t* /*data*/, Page_t* page, const Pkey_t* keys, int count) {
  std::vector<Pkey_t>().swap(page->keys);
  if (count > 0) page->keys.assign(keys, keys + count);
}

const Page_t* FindPage(const orvikData_t* data, int pageId) {
  const auto& pages = data->target.pages;
  const auto found =
      std::find_if(pages.begin(), pages.end(), [pageId](const Page_t& page) { return page.pageId == pageId; });
  return found == pages.end() ? nullptr : &*found;
}
