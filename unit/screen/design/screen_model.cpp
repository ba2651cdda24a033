#include "unit/screen/design/screen_model.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace unit {
namespace {

constexpr const char* PICTURES_ELEMENT = "compositor-pictures";

std::string Print(const pugi::xml_node& node) {
  std::ostringstream stream;
  node.print(stream, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
  return stream.str();
}

std::string PrintContent(const pugi::xml_node& node) {
  std::string content;
  for (const pugi::xml_node& child : node.children()) content += Print(child);
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

}  // namespace

ScreenModel::ScreenModel(screen_names_t names, design_t design)
    : names_(std::move(names)), design_(std::move(design)), page_(FirstPage(design_)) {
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

void ScreenModel::ShowPage(const std::string& name) {
  page_ = &design_.at(name);
  ++counters_.pageChanges;
  pageChanged_ = true;
  RefreshAll();
}

void ScreenModel::ReplacePages(design_t&& pages) {
  const std::string shown = page_->name;
  for (auto& [name, page] : pages) design_.insert_or_assign(name, std::move(page));
  page_ = &design_.at(shown);
  pageChanged_ = true;
  RefreshAll();
}

void ScreenModel::SetDrawing(drawing_t drawing) {
  if (drawing == drawing_) return;
  drawing_ = std::move(drawing);
  WriteDrawing();
  drawingChanged_ = !page_->compositor.empty();
}

void ScreenModel::WriteDrawing() {
  pugi::xml_node layer = page_->compositor;
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
  if (page_->compositor.empty()) return;
  pugi::xml_node root = page_->document->document_element();
  root.remove_child(root.find_child_by_attribute("defs", "id", PICTURES_ELEMENT));
  pugi::xml_node definitions = root.prepend_child("defs");
  definitions.append_attribute("id").set_value(PICTURES_ELEMENT);
  for (const drawn_element_t& picture : pictures_) WriteElement(definitions, picture);
}

void ScreenModel::RefreshAll() {
  if (pageChanged_ || views_.size() != page_->elements.size()) {
    views_.assign(page_->elements.size(), {});
    WritePictures();
    WriteDrawing();
  }
  for (std::size_t i = 0; i < page_->elements.size(); ++i) Refresh(i);
}

void ScreenModel::Refresh(std::size_t index) {
  const live_element_t& element = page_->elements.at(index);
  element_view_t view = MakeView(element, InputOf(element));
  if (view == views_.at(index)) return;
  ApplyView(element, view);
  views_.at(index) = std::move(view);
  changedElements_.insert(index);
}

void ScreenModel::RefreshWidget(const std::string& name) {
  for (std::size_t i = 0; i < page_->elements.size(); ++i) {
    const live_element_t& element = page_->elements[i];
    if (element.widget == name || element.background == name) Refresh(i);
  }
}

void ScreenModel::RefreshVariable(const std::string& name) {
  for (std::size_t i = 0; i < page_->elements.size(); ++i) {
    if (page_->elements[i].variable == name) Refresh(i);
  }
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
  const auto variable = variables_.find(element.variable);
  if (variable != variables_.end()) input.value = variable->second;
  input.current = IsCurrent();
  return input;
}

element_change_t ScreenModel::ChangeOf(std::size_t index) const {
  const element_view_t& view = views_.at(index);
  element_change_t change{page_->elements.at(index).id, view.attributes, {}};
  if (view.text) change.content = PrintContent(page_->elements[index].node);
  return change;
}

screen_change_t ScreenModel::TakeChange() {
  screen_change_t change;
  change.previous = revision_;
  change.page = std::exchange(pageChanged_, false);
  if (!change.page) {
    for (const std::size_t index : changedElements_) change.elements.push_back(ChangeOf(index));
    if (drawingChanged_) change.elements.push_back({COMPOSITOR_ELEMENT, {}, PrintContent(page_->compositor)});
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

void ScreenModel::ForgetChanges() {
  drawingChanged_ = false;
  changedElements_.clear();
  changedWidgets_.clear();
  changedVariables_.clear();
}

std::string ScreenModel::Svg() const {
  return Print(page_->document->document_element());
}

std::map<std::string, std::string> ScreenModel::WidgetTexts() const {
  std::map<std::string, std::string> texts;
  for (const auto& [handle, widget] : widgets_) texts[widget.name] = widget.text.value_or("");
  return texts;
}

}  // namespace unit
