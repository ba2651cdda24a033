// The target of every page change that a key, the host, its silence or the program's end can request, from the
// tables of the application and the transitions of the screen design. docs/pages.md shows the same table.
#include <algorithm>
#include <array>
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

constexpr const char* PAGES = "table";
constexpr const char* PAGES_OVER_OTHERS = "over";

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

  // The name of the page that the request leads to from the design; nothing when there is no transition.
  static std::optional<std::string> LeadsTo(const unit::page_design_t& shown, const ask_t& ask) {
    const auto& transitions = shown.transitions;
    for (const std::string& event : ask.events) {
      const auto transition = transitions.find(event);
      if (transition != transitions.end()) return transition->second;
    }
    return std::nullopt;
  }

  static std::string Cell(const unit::page_design_t& shown, const ask_t& ask) {
    const auto page = LeadsTo(shown, ask);
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
      cells[{ask.how, ask.page}] = Cell(DesignOf(ask.page), ask);
    }
    for (const std::string& row : rows) {
      text << "| " << row << " |";
      for (const page_definition_t& page : PageDefinitions()) text << " " << cells[{row, page.pageId}] << " |";
      text << "\n";
    }
    return text.str();
  }

  // The pages that the page of the application leads to and that the application does not know: it still has
  // the page of before for the current one.
  std::vector<const unit::page_design_t*> PagesOver(int pageId) const {
    std::vector<const unit::page_design_t*> over;
    for (const auto& [event, target] : DesignOf(pageId).transitions) {
      const unit::page_design_t& page = design_.at(target);
      const bool known = std::ranges::any_of(PageDefinitions(), [&](const page_definition_t& definition) {
        return ActionName(definition.pageId) == page.action;
      });
      if (!known) over.push_back(&page);
    }
    return over;
  }

  // What is asked on a page over the page of the application.
  static std::vector<ask_t> AsksOver(int pageId) {
    std::vector<ask_t> asks;
    for (ask_t& ask : AllAsks()) {
      if (ask.page == pageId && ask.how != "host silent" && ask.how != "SIGUSR1")
        asks.push_back(std::move(ask));
    }
    asks.push_back({"application starts", pageId, {std::begin(SPLASH_EVENTS), std::end(SPLASH_EVENTS)}, ""});
    return asks;
  }

  // One column for all pages over Main, one for those over Config: the pages of a column agree.
  std::string TableOfPagesOver() const {
    constexpr std::array<int, 2> BELOW{ACTION_PAGE_MAIN, ACTION_PAGE_CONFIG};
    std::map<std::string, std::array<std::string, BELOW.size()>> cells;
    for (std::size_t column = 0; column < BELOW.size(); ++column) {
      for (const unit::page_design_t* page : PagesOver(BELOW.at(column))) {
        const auto set = [&](const std::string& row, const std::string& cell) {
          std::string& present = cells[row].at(column);
          EXPECT_TRUE(present.empty() || present == cell) << page->name << ", " << row << ": " << cell;
          present = cell;
        };
        for (const ask_t& ask : AsksOver(BELOW.at(column))) set(ask.how, Cell(*page, ask));
        set("host silent", "→ " + page->lostLinkPage);
      }
    }
    std::string text = "| | over Main | over Config |\n|---|---|---|\n";
    for (const auto& [row, pair] : cells) text += "| " + row + " | " + pair[0] + " | " + pair[1] + " |\n";
    return text;
  }

  unit::design_t design_;
  std::map<std::string, const unit::page_design_t*> pageByAction_;
};

// Compares the part of docs/pages.md between the marks with the table, or writes the table there.
void CheckTable(const std::string& mark, const std::string& table) {
  const std::string file = SOURCE_FOLDER "/docs/pages.md";
  std::stringstream content;
  content << std::ifstream(file).rdbuf();
  const std::string text = content.str();
  const std::string beginMark = "<!-- " + mark + ": begin -->\n";
  const std::size_t begin = text.find(beginMark);
  const std::size_t end = text.find("<!-- " + mark + ": end -->\n");
  ASSERT_TRUE(begin != std::string::npos && end != std::string::npos) << file << " has no " << mark;
  const std::size_t from = begin + beginMark.size();
  if (std::getenv("ORVIK_WRITE_DOCS") != nullptr) {
    std::ofstream(file) << text.substr(0, from) << table << text.substr(end);
  } else {
    EXPECT_EQ(text.substr(from, end - from), table)
        << "set ORVIK_WRITE_DOCS=1 and run this test to write the table";
  }
}

TEST_F(PageFlowTest, TheDocumentShowsTheTablesThatTheProgramsUse) {
  CheckTable(PAGES, Table());
  CheckTable(PAGES_OVER_OTHERS, TableOfPagesOver());
}

}  // namespace
