#include "src/pages/display_transition.h"

#include <string>

#include "src/core/console.h"
#include "src/core/name_tables.h"

namespace {

// The index is the request. Request 2 has no transition in the host protocol.
constexpr transition_t TRANSITIONS[] = {
    {"WAD", "OPERATING", ACTION_PAGE_WAD, "orvik.WadToMain", wrong_page_t::ERROR_UNLESS_MAIN},
    {"CONFIG", "WAD", ACTION_PAGE_CONFIG, "orvik.ConfigToWad", wrong_page_t::ERROR},
    {nullptr, nullptr, 0, nullptr, wrong_page_t::SILENT},
    {"SLATE", "MAIN", ACTION_PAGE_SLATE, "orvik.SlateToMain", wrong_page_t::SILENT},
    {"WAD", "CONFIG", ACTION_PAGE_WAD, "orvik.WadToConfig", wrong_page_t::SILENT},
    {"SLATE", "CONFIG", ACTION_PAGE_SLATE, "orvik.SlateToConfig", wrong_page_t::SILENT},
    {"OPERATING", "WAD", ACTION_PAGE_MAIN, "orvik.MainToWad", wrong_page_t::SILENT},
    {"SLATE", "WAD", ACTION_PAGE_SLATE, "orvik.SlateToWAD", wrong_page_t::SILENT},
};

constexpr select_transition_t SELECT_TRANSITIONS[] = {
    {true, ACTION_PAGE_MAIN, "orvik.MainToWad"},
    {false, ACTION_PAGE_WAD, "orvik.WadToMain"},
};

const transition_t* FindTransition(int request) {
  if (request < 0 || request >= static_cast<int>(std::size(TRANSITIONS))) return nullptr;
  const transition_t& transition = TRANSITIONS[request];
  return transition.from == nullptr ? nullptr : &transition;
}

void RefuseTransition(const transition_t& transition, int pageId) {
  if (transition.onWrongPage == wrong_page_t::SILENT) return;
  if (transition.onWrongPage == wrong_page_t::ERROR_UNLESS_MAIN && pageId == ACTION_PAGE_MAIN) {
    PrintOut("WARNING!  INEFFICIENCY!  I am already on the " + std::string(ActionName(pageId)) + " page");
  } else {
    PrintErr("ERROR!  Not on proper page!");
  }
}

}  // namespace

std::span<const transition_t> DisplayTransitions() {
  return TRANSITIONS;
}

std::span<const select_transition_t> SelectTransitions() {
  return SELECT_TRANSITIONS;
}

void SetDisplayTransition(orvikData_t* data, int request) {
  const int pageId = CurrentPageId(data);
  const std::string pageName(ActionName(pageId));
  const transition_t* transition = FindTransition(request);
  if (transition == nullptr) {
    PrintErr("ERROR! Received undefined transition request " + std::to_string(request) + " while on " +
             pageName + " page");
    return;
  }
  PrintOut(std::string("Received request to transition from ") + transition->from + " page to " +
           transition->to + " page while on " + pageName + " page");
  if (pageId == transition->requiredPage) {
    PostEvent(data, transition->event);
  } else {
    RefuseTransition(*transition, pageId);
  }
}

void SetSelectMode(orvikData_t* data, bool on) {
  data->selectMode = on ? 1 : 0;
  const int pageId = CurrentPageId(data);
  for (const select_transition_t& transition : SELECT_TRANSITIONS) {
    if (transition.on == on && transition.page == pageId) PostEvent(data, transition.event);
  }
}
