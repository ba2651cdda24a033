// The pages with their key bindings, the host key map, and the way from a front key to its binding.
#pragma once

#include <span>

#include "src/core/name_tables.h"
#include "src/core/orvik_data.h"

// What SetValidKeys stores for a host key, and what follows for a press of it.
constexpr std::uint32_t KEY_NOT_VALID = 0;     // nothing: not queued, not reported
constexpr std::uint32_t KEY_NO_BEEP = 1;       // reported in silence
constexpr std::uint32_t KEY_BEEP_ONCE = 0x7F;  // reported with a click

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

constexpr unsigned char KEY_RELEASED = 0;
constexpr unsigned char KEY_PRESSED = 1;

// The key tables of the page set, filler entry first, in the order of the pages.
struct page_definition_t {
  int pageId;
  int timeOutEvent;
  std::span<const Pkey_t> keys;
};
std::span<const page_definition_t> PageDefinitions();

// The host key map's initial state: every key known by its code, valid, with a beep; the 24th entry all zero.
extern const std::array<HostKey_t, HOST_KEYS> qmt740KeyMap;

// Builds the page set on the first call; later ones leave the pages as they stand, since other threads hold
// pointers to them. Makes the splash page the current one where there is none.
void InitPages(orvikData_t* data);
void InitHoltenPages(orvikData_t* data);
// Replaces the page's bindings by the first `count` of `keys`; a count below 1 leaves it without keys.
void PopulatePage(orvikData_t* data, Page_t* page, const Pkey_t* keys, int count);

// Host command: sets the masks of the first `n` (24 at most; more are ignored) host keys. Parse thread.
void SetValidKeys(orvikData_t* data, const unsigned char* mask, int n);
// Prints the masks of the first `n` host keys in words.
void DumpValidKeys(orvikData_t* data, int n);

// A front key went down (KEY_PRESSED) or up: finds the current page's binding and dispatches it. Keypad scanner
// and action channel, at the same time if need be. What is not found is reported and changes nothing.
void MatrixDispatch(orvikData_t* data, unsigned char platformKey, unsigned char keyEvent);
void DispatchPage(orvikData_t* data, const Page_t* page, unsigned char platformKey, unsigned char keyEvent);
