#include "unit/screen/design/screen_model.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace unit {
namespace {

constexpr double LINK_HEARD = 1.0;
constexpr double LINK_LOST = 2.0;
constexpr const char* PICTURES_ELEMENT = "compositor-pictures";

std::string FormatContent(const pugi::xml_node& node) {
  std::string content;
  for (const pugi::xml_node& child : node.children()) content += FormatXml(child);
  return content;
}

void WriteElement(pugi::xml_node parent, const drawn_element_t& element) {
  pugi::xml_node node = parent.append_child(element.name.c_str());
  for (const auto& [name, value] : element.attributes)
    node.append_attribute(name.c_str()).set_value(value.c_str());
  if (!element.text.empty()) node.append_child(pugi::node_pcdata).set_value(element.text.c_str());
  for (const drawn_element_t& child : element.children) WriteElement(node, child);
}

page_design_t* FirstPage(design_t& design) {
  const auto first = std::min_element(design.begin(), design.end(), [](const auto& a, const auto& b) {
    return a.second.order < b.second.order;
  });
  if (first == design.end()) throw std::runtime_error("the screen design has no page");
  return &first->second;
}

// The first page of `fresh` that has a mistake beside the pages that stay as they are.
design_t::const_iterator FindMistaken(const design_t& fresh, const design_t& present, std::string& problem) {
  std::set<std::string> names;
  std::map<int, std::string> orders;
  for (const auto& [name, page] : present) {
    names.insert(name);
    if (!fresh.contains(name)) orders.emplace(page.order, name);
  }
  for (const auto& [name, page] : fresh) names.insert(name);
  return std::find_if(fresh.begin(), fresh.end(), [&](const auto& entry) {
    orders.emplace(entry.second.order, entry.first);
    problem = CheckPage(entry.second, names, orders);
    return !problem.empty();
  });
}

// Takes the pages with a mistake out of `fresh`; one line for each. A page that was there before keeps its name
// and its order, so that its mistake is no mistake of the pages that lead to it.
std::vector<std::string> DropMistaken(design_t& fresh, const design_t& present) {
  std::vector<std::string> problems;
  std::string problem;
  for (auto page = FindMistaken(fresh, present, problem); page != fresh.end();
       page = FindMistaken(fresh, present, problem)) {
    problems.push_back(problem);
    fresh.erase(page);
  }
  return problems;
}

}  // namespace

ScreenModel::ScreenModel(screen_names_t names, design_t design, word_catalogue_t words)
    : names_(std::move(names)),
      design_(std::move(design)),
      words_(std::move(words)),
      page_(FirstPage(design_)) {
  for (const auto& [handle, name] : names_.widgets) widgets_[handle].name = name;
  for (const auto& [name, parameter] : names_.variables) variables_[name];
  variables_[DATA_STATE_VARIABLE] = DATA_PROGRAM_SILENT;
  RefreshAll();
}

bool ScreenModel::Accept(screen_command_t command) {
  ++counters_.commands;
  const bool forService = command.operation == SCREEN_FRAMERATE ||
                          command.operation == SCREEN_PROCESS_COMMANDS ||
                          command.operation == SCREEN_SET_ALTERNATE;
  if (command.operation == SCREEN_PROCESS_COMMANDS) ProcessCommands();
  // Frame rate and alternate are for the whole service and have no effect: the picture follows every change,
  // and there is only one picture.
  if (forService) return true;
  if (!widgets_.contains(command.target)) {
    ++counters_.unknownWidgets;
    return false;
  }
  pending_.push_back(std::move(command));
  if (pending_.size() >= MAX_PENDING) ProcessCommands();
  return true;
}

void ScreenModel::ProcessCommands() {
  std::set<std::int32_t> touched;
  for (const screen_command_t& command : pending_) {
    Apply(command);
    touched.insert(command.target);
  }
  pending_.clear();
  for (const std::int32_t handle : touched) RefreshWidget(widgets_.at(handle).name);
}

void ScreenModel::Apply(const screen_command_t& command) {
  widget_t& widget = widgets_.at(command.target);
  const auto& parts = command.parts;
  switch (command.operation) {
    case SCREEN_SET_TEXT:
      if (widget.text != command.text) changedWidgets_.insert(command.target);
      widget.text = command.text;
      widget.align = static_cast<align_t>(command.number);
      break;
    case SCREEN_MOVE:
      widget.position = command.place;
      break;
    case SCREEN_ROTATE:
      widget.rotation = {parts[0], parts[1], parts[2]};
      break;
    case SCREEN_SHOW:
    case SCREEN_HIDE:
      widget.shown = command.operation == SCREEN_SHOW;
      break;
    case SCREEN_SET_COLOR:
      (command.number == 0 ? widget.color : widget.background) = parts;
      break;
    default:
      break;
  }
}

void ScreenModel::SetVariable(const std::string& name, variable_value_t value) {
  if (value && !std::isfinite(*value)) value.reset();
  variable_value_t& kept = variables_[name];
  if (kept == value) return;
  // The first known value is not a change that a page posts an action for.
  if (kept) NoteChange(name);
  kept = value;
  changedVariables_.insert(name);
  RefreshVariable(name);
}

void ScreenModel::NoteChange(const std::string& variable) {
  const auto notice = page_->notices.find(variable);
  if (notice != page_->notices.end() && notices_.size() < MAX_NOTICES) notices_.push_back(notice->second);
}

void ScreenModel::SetDataState(data_state_t state) {
  const bool wasCurrent = IsCurrent();
  SetVariable(DATA_STATE_VARIABLE, state);
  if (wasCurrent != IsCurrent()) RefreshAll();
}

void ScreenModel::UpdateDataState(const source_state_t& source) {
  if (source.hasProgramEnded) endedCommands_ = ValueOf(COMMANDS_VARIABLE);
  data_state_t state = source.isProgramSilent ? DATA_PROGRAM_SILENT : LinkState();
  if (state == DATA_CURRENT && !source.isBusReceived) state = DATA_HOST_NOT_HEARD;
  if (state == DATA_CURRENT && !source.areValuesFresh) state = DATA_VALUES_OLD;
  SetDataState(state);
}

// The application reports the link as well from its start on, until the host has been silent for ten seconds.
// Only a command shows that the host was heard.
data_state_t ScreenModel::LinkState() const {
  const variable_value_t link = ValueOf(LINK_VARIABLE);
  const variable_value_t commands = ValueOf(COMMANDS_VARIABLE);
  if (link == LINK_LOST) return DATA_LINK_LOST;
  const bool isHeard = commands.value_or(0) > 0 && commands != endedCommands_;
  return link == LINK_HEARD && isHeard ? DATA_CURRENT : DATA_HOST_NOT_HEARD;
}

bool ScreenModel::HandleEvent(std::uint32_t number) {
  const auto name = names_.events.find(number);
  if (name == names_.events.end()) {
    ++counters_.unknownEvents;
    return false;
  }
  const auto transition = page_->transitions.find(name->second);
  if (transition == page_->transitions.end() || !design_.contains(transition->second)) {
    const bool leads = std::any_of(design_.begin(), design_.end(), [&](const auto& entry) {
      return entry.second.transitions.contains(name->second);
    });
    if (leads) ++counters_.eventsIgnored;
    return false;
  }
  ShowPage(std::string(transition->second));
  return true;
}

void ScreenModel::LeaveForLostLink() {
  if (variables_.at(DATA_STATE_VARIABLE) != DATA_LINK_LOST || !design_.contains(page_->lostLinkPage)) return;
  ShowPage(std::string(page_->lostLinkPage));
}

void ScreenModel::ShowPage(const std::string& name) {
  page_ = &design_.at(name);
  ++counters_.pageChanges;
  pageChanged_ = true;
  RefreshAll();
}

std::vector<std::string> ScreenModel::ReplacePages(design_t&& pages) {
  const std::string shown = page_->name;
  std::vector<std::string> problems = DropMistaken(pages, design_);
  for (auto& [name, page] : pages) design_.insert_or_assign(name, std::move(page));
  page_ = &design_.at(shown);
  pageChanged_ = true;
  RefreshAll();
  return problems;
}

void ScreenModel::ReplaceWords(word_catalogue_t words) {
  words_ = std::move(words);
  RefreshWords();
}

void ScreenModel::SetDrawing(drawing_t drawing) {
  if (drawing == drawing_) return;
  drawing_ = std::move(drawing);
  WriteDrawing();
  drawingChanged_ = !Shown().compositor.empty();
}

void ScreenModel::WriteDrawing() {
  pugi::xml_node layer = Shown().compositor;
  if (layer.empty()) return;
  layer.remove_children();
  for (const drawn_element_t& element : drawing_) WriteElement(layer, element);
}

void ScreenModel::SetPictures(drawing_t pictures) {
  if (pictures == pictures_) return;
  pictures_ = std::move(pictures);
  pageChanged_ = true;
  RefreshAll();
}

void ScreenModel::WritePictures() {
  if (Shown().compositor.empty()) return;
  pugi::xml_node root = Shown().document->document_element();
  root.remove_child(root.find_child_by_attribute("defs", "id", PICTURES_ELEMENT));
  pugi::xml_node definitions = root.prepend_child("defs");
  definitions.append_attribute("id").set_value(PICTURES_ELEMENT);
  for (const drawn_element_t& picture : pictures_) WriteElement(definitions, picture);
}

void ScreenModel::RefreshAll() {
  if (pageChanged_ || views_.size() != Shown().elements.size()) {
    views_.assign(Shown().elements.size(), {});
    WriteLanguage();
    WritePictures();
    WriteDrawing();
  }
  for (std::size_t i = 0; i < Shown().elements.size(); ++i) Refresh(i);
}

void ScreenModel::Refresh(std::size_t index) {
  const live_element_t& element = Shown().elements.at(index);
  element_view_t view = MakeView(element, InputOf(element));
  if (view == views_.at(index)) return;
  ApplyView(element, view);
  views_.at(index) = std::move(view);
  changedElements_.insert(index);
}

void ScreenModel::RefreshWidget(const std::string& name) {
  for (std::size_t i = 0; i < Shown().elements.size(); ++i) {
    const live_element_t& element = Shown().elements[i];
    if (element.widget == name || element.background == name || element.known == name) Refresh(i);
  }
}

void ScreenModel::RefreshVariable(const std::string& name) {
  for (std::size_t i = 0; i < Shown().elements.size(); ++i) {
    const auto& variables = Shown().elements[i].variables;
    if (std::find(variables.begin(), variables.end(), name) != variables.end()) Refresh(i);
  }
  if (name == LANGUAGE_VARIABLE) RefreshWords();
  if (name == BRIGHTNESS_VARIABLE) UpdateLook();
}

void ScreenModel::RefreshWords() {
  WriteLanguage();
  for (std::size_t i = 0; i < Shown().elements.size(); ++i) {
    if (Shown().elements[i].HasWord()) Refresh(i);
  }
}

// Names the language on the document, for who draws it and has words of its own beside it.
void ScreenModel::WriteLanguage() {
  pugi::xml_node root = Shown().document->document_element();
  pugi::xml_attribute language = root.attribute(LANGUAGE_ATTRIBUTE);
  if (!language) language = root.append_attribute(LANGUAGE_ATTRIBUTE);
  const auto known = variables_.find(LANGUAGE_VARIABLE);
  language.set_value(known == variables_.end() ? 0 : static_cast<int>(known->second.value_or(0)));
}

void ScreenModel::UpdateLook() {
  const look_t look = ChooseLook(look_, variables_.at(BRIGHTNESS_VARIABLE));
  if (std::exchange(look_, look) == look) return;
  pageChanged_ = true;
  RefreshAll();
}

variable_value_t ScreenModel::ValueOf(const std::string& variable) const {
  const auto found = variables_.find(variable);
  return found == variables_.end() ? std::nullopt : found->second;
}

// Several variables count as one: the greatest known value of them.
variable_value_t ScreenModel::ValueOf(const live_element_t& element) const {
  variable_value_t greatest;
  for (const std::string& name : element.variables) {
    const variable_value_t value = ValueOf(name);
    if (value) greatest = std::max(greatest.value_or(*value), *value);
  }
  return greatest;
}

bool ScreenModel::IsCurrent() const {
  return variables_.at(DATA_STATE_VARIABLE) == DATA_CURRENT;
}

const widget_t* ScreenModel::FindWidget(const std::string& name) const {
  if (name.empty()) return nullptr;
  const auto found = std::find_if(widgets_.begin(), widgets_.end(),
                                  [&](const auto& entry) { return entry.second.name == name; });
  return found == widgets_.end() ? nullptr : &found->second;
}

element_input_t ScreenModel::InputOf(const live_element_t& element) const {
  element_input_t input;
  input.widget = FindWidget(element.widget);
  input.background = FindWidget(element.background);
  input.known = FindWidget(element.known);
  input.value = ValueOf(element);
  if (const auto language = variables_.find(LANGUAGE_VARIABLE); language != variables_.end()) {
    input.words = &words_.Of(language->second);
  }
  input.current = IsCurrent();
  return input;
}

element_change_t ScreenModel::ChangeOf(std::size_t index) const {
  const element_view_t& view = views_.at(index);
  element_change_t change{Shown().elements.at(index).id, view.attributes, {}};
  if (view.text) change.content = FormatContent(Shown().elements[index].node);
  return change;
}

screen_change_t ScreenModel::DrainChange() {
  screen_change_t change;
  change.previous = revision_;
  change.page = std::exchange(pageChanged_, false);
  if (!change.page) {
    for (const std::size_t index : changedElements_) change.elements.push_back(ChangeOf(index));
    if (drawingChanged_) change.elements.push_back({COMPOSITOR_ELEMENT, {}, FormatContent(Shown().compositor)});
  }
  for (const std::int32_t handle : changedWidgets_) {
    change.widgets[widgets_.at(handle).name] = widgets_.at(handle).text.value_or("");
  }
  for (const std::string& name : changedVariables_) change.variables[name] = variables_.at(name);
  ForgetChanges();
  const bool any =
      change.page || !change.elements.empty() || !change.widgets.empty() || !change.variables.empty();
  if (any) ++revision_;
  change.revision = revision_;
  return change;
}

std::vector<element_change_t> ScreenModel::PageElements() const {
  std::vector<element_change_t> elements;
  for (std::size_t index = 0; index < views_.size(); ++index) elements.push_back(ChangeOf(index));
  if (Shown().compositor) elements.push_back({COMPOSITOR_ELEMENT, {}, FormatContent(Shown().compositor)});
  return elements;
}

void ScreenModel::ForgetChanges() {
  drawingChanged_ = false;
  changedElements_.clear();
  changedWidgets_.clear();
  changedVariables_.clear();
}

std::string ScreenModel::Svg() const {
  return FormatXml(Shown().document->document_element());
}

std::map<std::string, std::string> ScreenModel::WidgetTexts() const {
  std::map<std::string, std::string> texts;
  for (const auto& [handle, widget] : widgets_) texts[widget.name] = widget.text.value_or("");
  return texts;
}

}  // namespace unit
