// The model of the screen: the page shown, the widgets, the variables, and their changes since the last
// revision.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "unit/screen/design/drawing.h"
#include "unit/screen/design/element_view.h"
#include "unit/screen/design/message_reader.h"
#include "unit/screen/design/screen_names.h"

namespace unit {

constexpr const char* LANGUAGE_VARIABLE = "OrvikLanguage";
constexpr const char* LANGUAGE_ATTRIBUTE = "data-language";  // of the document: the variable's value
// From the application: 1 when the host was heard within ten seconds or the application started then, 2 when
// the link is lost.
constexpr const char* LINK_VARIABLE = "OrvikHX7TimeOutLamp";
constexpr const char* COMMANDS_VARIABLE =
    "OrvikTotalHX7Commands";  // host commands since the application's start

struct element_change_t {
  std::string id;
  std::map<std::string, std::optional<std::string>> attributes;
  std::optional<std::string> content;  // the element's content, as SVG
};

// What changed between two revisions.
struct screen_change_t {
  std::uint64_t revision = 0;
  std::uint64_t previous = 0;
  bool page = false;  // another page or a new design of it: readers request the whole picture
  std::vector<element_change_t> elements;
  std::map<std::string, std::string> widgets;
  std::map<std::string, variable_value_t> variables;
};

struct screen_counters_t {
  std::uint64_t commands = 0;
  std::uint64_t unknownWidgets = 0;  // commands for a handle that is not in the configuration
  std::uint64_t unknownEvents = 0;   // numbers without a name
  std::uint64_t eventsIgnored = 0;   // events that no transition of the page shown uses
  std::uint64_t pageChanges = 0;
};

// Of the parties that the values come through.
struct source_state_t {
  bool isProgramSilent = false;
  bool hasProgramEnded = false;
  bool isBusReceived = true;
  bool areValuesFresh = true;
};

// Not thread-safe; its owner locks it.
class ScreenModel {
 public:
  // The page of the lowest order is shown first. Throws std::runtime_error when the design has no page.
  ScreenModel(screen_names_t names, design_t design, word_catalogue_t words = {});

  // Keeps the command until ProcessCommands. False when its widget is unknown. When MAX_PENDING commands wait,
  // all of them take effect.
  bool Accept(screen_command_t command);
  void ProcessCommands();
  bool HasPending() const { return !pending_.empty(); }

  // Keeps variables that the design does not use too. A value that is not finite counts as unknown.
  void SetVariable(const std::string& name, variable_value_t value);
  void SetDataState(data_state_t state);
  // Sets the state that follows from the sources, the link's variable and the count of host commands. The count
  // of an application that has ended stays in the database; it says nothing of the next one.
  void UpdateDataState(const source_state_t& source);
  // Follows the transition that the page shown has for the event. True when the page changed.
  bool HandleEvent(std::uint32_t number);
  // While the link to the load computer is lost: shows the page that the page shown names for that.
  void LeaveForLostLink();
  // Shows the page of that name, which must exist.
  void ShowPage(const std::string& name);
  // The actions that the page shown posts for changed values, oldest first; at most MAX_NOTICES are kept.
  std::vector<std::string> DrainNotices() { return std::exchange(notices_, {}); }
  bool HasNotices() const { return !notices_.empty(); }
  void SetDrawing(drawing_t drawing);
  // Sets the pictures that drawings use, as definitions of every page.
  void SetPictures(drawing_t pictures);
  // Replaces the pages that were read again; the other pages stay unchanged, and so does a page with a mistake
  // (CheckPage). Returns one line for each such page.
  std::vector<std::string> ReplacePages(design_t&& pages);
  void ReplaceWords(word_catalogue_t words);

  const page_design_t& Page() const { return *page_; }
  look_t Look() const { return look_; }
  std::uint64_t Revision() const { return revision_; }
  // The changes since the last call. Advances the revision when there are any.
  screen_change_t DrainChange();
  // All live elements of the page shown as they are, and its drawing.
  std::vector<element_change_t> PageElements() const;

  const design_t& Design() const { return design_; }
  // The page as an SVG document.
  std::string Svg() const;
  const std::map<std::string, variable_value_t>& Variables() const { return variables_; }
  std::map<std::string, std::string> WidgetTexts() const;
  const screen_names_t& Names() const { return names_; }
  const screen_counters_t& Counters() const { return counters_; }

  static constexpr std::size_t MAX_PENDING = 4096;
  static constexpr std::size_t MAX_NOTICES = 64;

 private:
  void Apply(const screen_command_t& command);
  void NoteChange(const std::string& variable);
  void RefreshAll();
  void RefreshWords();
  void WriteLanguage();
  void UpdateLook();
  const page_look_t& Shown() const { return page_->looks.at(look_); }
  void Refresh(std::size_t index);
  void RefreshWidget(const std::string& name);
  void RefreshVariable(const std::string& name);
  void WriteDrawing();
  void WritePictures();
  bool IsCurrent() const;
  data_state_t LinkState() const;
  variable_value_t ValueOf(const live_element_t& element) const;
  variable_value_t ValueOf(const std::string& variable) const;
  element_input_t InputOf(const live_element_t& element) const;
  const widget_t* FindWidget(const std::string& name) const;
  element_change_t ChangeOf(std::size_t index) const;
  void ForgetChanges();

  screen_names_t names_;
  design_t design_;
  word_catalogue_t words_;
  page_design_t* page_ = nullptr;
  look_t look_ = LOOK_DAY;
  std::map<std::int32_t, widget_t> widgets_;  // by handle
  std::map<std::string, variable_value_t> variables_;
  variable_value_t endedCommands_;  // COMMANDS_VARIABLE while the application was last silent
  std::vector<screen_command_t> pending_;
  std::vector<std::string> notices_;
  std::vector<element_view_t> views_;  // of the page's elements
  drawing_t drawing_, pictures_;

  std::uint64_t revision_ = 1;
  bool pageChanged_ = false;
  bool drawingChanged_ = false;
  std::set<std::size_t> changedElements_;
  std::set<std::int32_t> changedWidgets_;
  std::set<std::string> changedVariables_;
  screen_counters_t counters_;
};

}  // namespace unit
