// Page changes that the host requests.
#pragma once

#include <span>

#include "src/core/orvik_data.h"

// Report of a request whose start page is not the current page.
enum class wrong_page_t { SILENT, ERROR, ERROR_UNLESS_MAIN };

struct transition_t {
  const char* from;  // page names in the printed line; null for a request without a transition
  const char* to;
  int requiredPage;
  const char* event;
  wrong_page_t onWrongPage;
};

// The transitions; the index is the host's request number.
std::span<const transition_t> DisplayTransitions();

struct select_transition_t {
  bool on;
  int page;
  const char* event;
};

// The page events that go with switching select mode on and off.
std::span<const select_transition_t> SelectTransitions();

// Prints the request and posts its event when its start page is the current page. Requests are 0 to 7; request
// 2 has no transition and is reported as undefined, like any other number. Parse thread.
void SetDisplayTransition(orvikData_t* data, int request);

// Stores the select mode. Switching it on leads from Main to Wad, the page with the select keys; switching it
// off leads back from Wad to Main. Parse thread.
void SetSelectMode(orvikData_t* data, bool on);
