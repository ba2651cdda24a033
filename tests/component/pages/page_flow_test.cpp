// The target of every page change that a key, the host, its silence or the program's end can request, from the
// tables of the application and the transitions of the screen design. docs/pages.md shows the same table.
#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "src/core/name_tables.h"
#include "src/hostlink/watchdog.h"
#include "src/pages/display_transition.h"
#include "src/pages/page_tables.h"
#include "src/startup/shutdown.h"
#include "src/startup/startup.h"
#include "unit/screen/design/design.h"
#include "unit/screen/design/screen_names.h"

namespace {

constexpr const char* BEGIN = "<!-- table: begin -->\n";
constexpr const char* END = "<!-- table: end -->\n";

// One request on one page. The first of `events` that the page's design has a transition for decides.
struct ask_t {
  std::string how;
  int page;
  std::vector<std::string> events;
  std::string hostKey;
};

std::string KeyRow(int key) {
  return "key " + std::to_string(key);
}

void AskByKeys(std::vector<ask_t>& asks) {
  for (int key = KD620_KEY1; key <= KD620_KEY8; ++key) {
    for (const page_definition_t& page : PageDefinitions()) {
      for (const Pkey_t& bound : page.keys) {
        if (bound.platformKey != key) continue;
        const std::string hostKey = bound.targetKey == 0 ? "" : std::string(TARGET_KEY_NAMES[bound.targetKey]);
        std::vector<std::string> events;
        if (bound.event != EVENT_ID_NONE) events.emplace_back(EventName(bound.event));
        asks.push_back({KeyRow(key), page.pageId, events, hostKey});
      }
    }
  }
}

void AskByHost(std::vector<ask_t>& asks) {
  int request = 0;
  for (const transition_t& transition : DisplayTransitions()) {
    if (transition.from != nullptr) {
      asks.push_back(
          {"host request " + std::to_string(request), transition.requiredPage, {transition.event}, ""});
    }
    ++request;
  }
  for (const select_transition_t& transition : SelectTransitions()) {
    asks.push_back(
        {transition.on ? "select mode on" : "select mode off", transition.page, {transition.event}, ""});
  }
}

std::vector<ask_t> AllAsks() {
  std::vector<ask_t> asks;
  AskByKeys(asks);
  AskByHost(asks);
  asks.push_back({"host heard", ACTION_PAGE_SPLASH, {std::begin(SPLASH_EVENTS), std::end(SPLASH_EVENTS)}, ""});
  for (const page_definition_t& page : PageDefinitions()) {
    if (page.timeOutEvent == EVENT_ID_NONE) continue;
    asks.push_back({"host silent", page.pageId, {std::string(EventName(page.timeOutEvent))}, ""});
  }
  for (const exit_page_t& page : ExitPages()) asks.push_back({"SIGUSR1", page.pageId, {page.event}, ""});
  return asks;
}

class PageFlowTest : public testing::Test {
 protected:
  PageFlowTest() {
    const unit::screen_names_t names = unit::ReadScreenNames(SOURCE_FOLDER "/config/generic.xml");
    std::vector<std::string> problems;
    design_ = unit::ReadDesign(SOURCE_FOLDER "/config/screen", unit::WidgetNames(names), problems);
    EXPECT_TRUE(problems.empty()) << problems.front();
    for (const auto& [name, page] : design_) pageByAction_[page.action] = &page;
  }

  const unit::page_design_t& DesignOf(int pageId) const {
    return *pageByAction_.at(std::string(ActionName(pageId)));
  }

  // The name of the page that the request leads to; nothing when there is no transition.
  std::optional<std::string> LeadsTo(const ask_t& ask) const {
    const auto& transitions = DesignOf(ask.page).transitions;
    for (const std::string& event : ask.events) {
      const auto transition = transitions.find(event);
      if (transition != transitions.end()) return transition->second;
    }
    return std::nullopt;
  }

  std::string Cell(const ask_t& ask) const {
    const auto page = LeadsTo(ask);
    if (ask.hostKey.empty() && ask.events.empty()) return "–";
    if (!page) return ask.hostKey;
    return ask.hostKey.empty() ? "→ " + *page : ask.hostKey + " → " + *page;
  }

  std::string Table() const {
    std::ostringstream text;
    text << "| |";
    for (const page_definition_t& page : PageDefinitions()) text << " " << DesignOf(page.pageId).name << " |";
    text << "\n|---|";
    for (std::size_t i = 0; i < PageDefinitions().size(); ++i) text << "---|";
    text << "\n";
    std::vector<std::string> rows;
    std::map<std::pair<std::string, int>, std::string> cells;
    for (const ask_t& ask : AllAsks()) {
      if (rows.empty() || rows.back() != ask.how) rows.push_back(ask.how);
      cells[{ask.how, ask.page}] = Cell(ask);
    }
    for (const std::string& row : rows) {
      text << "| " << row << " |";
      for (const page_definition_t& page : PageDefinitions()) text << " " << cells[{row, page.pageId}] << " |";
      text << "\n";
    }
    return text.str();
  }

  unit::design_t design_;
  std::map<std::string, const unit::page_design_t*> pageByAction_;
};

TEST_F(PageFlowTest, TheDocumentShowsTheTablesThatTheProgramsUse) {
  const std::string file = SOURCE_FOLDER "/docs/pages.md";
  std::stringstream content;
  content << std::ifstream(file).rdbuf();
  const std::string text = content.str();
  const std::size_t begin = text.find(BEGIN);
  const std::size_t end = text.find(END);
  ASSERT_TRUE(begin != std::string::npos && end != std::string::npos) << file << " has no table";
  const std::size_t from = begin + std::string_view(BEGIN).size();
  if (std::getenv("ORVIK_WRITE_DOCS") != nullptr) {
    std::ofstream(file) << text.substr(0, from) << Table() << text.substr(end);
  } else {
    EXPECT_EQ(text.substr(from, end - from), Table())
        << "set ORVIK_WRITE_DOCS=1 and run this test to write the table";
  }
}

}  // namespace
