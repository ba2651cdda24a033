// The pages with their key bindings.
#pragma once

#include <span>

#include "src/core/name_tables.h"
#include "src/core/orvik_data.h"

// Front keys as the bindings and the scanner number them.
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

// The key tables of the page set, filler entry first, in the order of the pages.
struct page_definition_t {
  int pageId;
  int timeOutEvent;
  std::span<const Pkey_t> keys;
};
std::span<const page_definition_t> PageDefinitions();

// Builds the page set on the first call; later ones leave the pages as they stand, since other threads hold
// pointers to them. Makes the splash page the current one where there is none.
void InitPages(orvikData_t* data);
void InitHoltenPages(orvikData_t* data);
// Replaces the page's bindings by the first `count` of `keys`; a count below 1 leaves it without keys.
void PopulatePage(orvikData_t* data, Page_t* page, const Pkey_t* keys, int count);

// The page of the set with this identifier; null when there is none.
const Page_t* FindPage(const orvikData_t* data, int pageId);
