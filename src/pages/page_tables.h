// The page set with its key bindings.
#pragma once

#include <span>

#include "src/core/name_tables.h"
#include "src/core/orvik_data.h"

// Numbers of the front keys.
enum platform_key_t : std::uint8_t {
  KD620_KEY1 = 1,
  KD620_KEY2,
  KD620_KEY3,
  KD620_KEY4,
  KD620_KEY5,
  KD620_KEY6,
  KD620_KEY7,
  KD620_KEY8,
  KD620_KEYS_5_8,  // keys 5 and 8 held together
};

// The pages of the set, in their order, with their time-out events and key bindings (a filler first).
struct page_definition_t {
  int pageId;
  int timeOutEvent;
  std::span<const Pkey_t> keys;
};
std::span<const page_definition_t> PageDefinitions();

// Build the page set and make the splash page the current page. A record that already has pages or a current
// page keeps them, because other threads hold pointers to pages.
void InitPages(orvikData_t* data);
void InitHoltenPages(orvikData_t* data);
// Replaces the page's bindings by the first `count` of `keys`. A count below 1 leaves the page without
// bindings.
void PopulatePage(orvikData_t* data, Page_t* page, const Pkey_t* keys, int count);

// The page with this identifier; null when there is none.
const Page_t* FindPage(const orvikData_t* data, int pageId);
