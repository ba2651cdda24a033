// Page changes that the host asks for.
#pragma once

#include <span>

#include "src/core/orvik_data.h"

// What a request says when the page shown is not the one that it starts from.
enum class wrong_page_t { SILENT, ERROR, ERROR_UNLESS_MAIN };

struct transition_t {
  const char* from;  // null: the request has no transition
  const char* to;
  int requiredPage;
  const char* event;
  wrong_page_t onWrongPage;
};

// The requests of the host; the index is the request.
std::span<const transition_t> DisplayTransitions();

struct select_transition_t {
  bool on;
  int page;
  const char* event;
};

// Where select mode leads when it is set on or off.
std::span<const select_transition_t> SelectTransitions();

// Request 0 to 7 of the host's transition command: prints it and posts its event when the current page is the
// one that it starts from. Request 2 has no transition and counts as undefined, like any other number. Parse
// thread.
void SetDisplayTransition(orvikData_t* data, int request);

// Select mode brings the page with the select keys to the front (Main to Wad), and its end leads back (Wad to
// Main); on every other page only the flag is stored. Parse thread.
void SetSelectMode(orvikData_t* data, bool on);
