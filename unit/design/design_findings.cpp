#include "unit/design/design_findings.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

#include "unit/design/design_scenes.h"

namespace unit {
namespace {

// librsvg has none of these, or other ones.
constexpr std::array<std::string_view, 6> UNEVEN_ATTRIBUTES{
    "textLength", "lengthAdjust", "dominant-baseline", "baseline-shift", "writing-mode", "white-space"};
constexpr std::array<std::string_view, 4> UNEVEN_STYLES{"var(", "white-space", "dominant-baseline",
                                                        "animation"};

std::string FileOf(const page_design_t& page) {
  return page.file.filename().string() + ": ";
}

std::string DescribePlace(const pugi::xml_node& node) {
  const std::string id = node.attribute("id").value();
  return "<" + std::string(node.name()) + (id.empty() ? "" : " id=" + id) + ">: ";
}

class UnevenFinder : public pugi::xml_tree_walker {
 public:
  UnevenFinder(std::string file, std::vector<std::string>& findings)
      : file_(std::move(file)), findings_(findings) {}

  bool for_each(pugi::xml_node& node) override {
    for (const std::string_view name : UNEVEN_ATTRIBUTES) {
      if (node.attribute(std::string(name).c_str())) Add(node, name);
    }
    const bool isStyle = std::string_view(node.name()) == "style";
    const std::string_view style = isStyle ? node.text().get() : node.attribute("style").value();
    for (const std::string_view name : UNEVEN_STYLES) {
      if (style.find(name) != std::string_view::npos) Add(node, name);
    }
    return true;
  }

 private:
  void Add(const pugi::xml_node& node, std::string_view name) {
    findings_.push_back(file_ + DescribePlace(node) + std::string(name) +
                        " is not drawn alike by browsers and librsvg; do without it");
  }

  const std::string file_;
  std::vector<std::string>& findings_;
};

template <typename Names>
bool HasValue(const Names& names, const std::string& wanted) {
  return std::any_of(names.begin(), names.end(), [&](const auto& entry) { return entry.second == wanted; });
}

void CheckPageNames(const page_design_t& page, const screen_names_t& names,
                    std::vector<std::string>& findings) {
  if (!names.actions.contains(page.action))
    findings.push_back(FileOf(page) + "<page>: unknown action " + page.action);
  for (const auto& [event, target] : page.transitions) {
    if (!HasValue(names.events, event))
      findings.push_back(FileOf(page) + "<transition>: unknown event " + event);
  }
  for (const auto& [variable, action] : page.notices) {
    if (!names.variables.contains(variable))
      findings.push_back(FileOf(page) + "<notice>: unknown variable " + variable);
    if (!names.actions.contains(action))
      findings.push_back(FileOf(page) + "<notice>: unknown action " + action);
  }
  for (const live_element_t& element : page.looks.at(LOOK_DAY).elements) {
    for (const std::string& variable : element.variables) {
      if (IsOwnVariable(variable) || names.variables.contains(variable)) continue;
      findings.push_back(FileOf(page) + DescribePlace(element.node) + "unknown variable " + variable);
    }
  }
}

// Ids that look like widgets and are none.
class IdFinder : public pugi::xml_tree_walker {
 public:
  IdFinder(std::string file, const std::set<std::string>& widgets, std::vector<std::string>& findings)
      : file_(std::move(file)), widgets_(widgets), findings_(findings) {}

  bool for_each(pugi::xml_node& node) override {
    const std::string id = node.attribute("id").value();
    if (id.starts_with("orvik") && !widgets_.contains(id)) {
      findings_.push_back(file_ + DescribePlace(node) + "the configuration has no widget of this name");
    }
    return true;
  }

 private:
  const std::string file_;
  const std::set<std::string>& widgets_;
  std::vector<std::string>& findings_;
};

void CheckWidgetsShown(const design_t& design, const std::set<std::string>& widgets,
                       std::vector<std::string>& findings) {
  std::set<std::string> shown;
  for (const auto& [name, page] : design) {
    for (const live_element_t& element : page.looks.at(LOOK_DAY).elements) shown.insert(element.widget);
  }
  for (const std::string& widget : widgets) {
    if (!shown.contains(widget)) findings.push_back("all pages: no element shows the widget " + widget);
  }
}

// Findings of one page, each element and what is wrong with it once, with the first state that shows it.
class PageFindings {
 public:
  explicit PageFindings(std::string file) : file_(std::move(file)) {}

  void Add(const std::vector<text_finding_t>& found, const std::string& where) {
    for (const text_finding_t& finding : found) {
      if (!seen_.insert(finding.name + finding.what).second) continue;
      lines_.push_back(file_ + finding.name + ": " + finding.what + " (" + where + ")");
    }
  }
  void MoveTo(std::vector<std::string>& all) { all.insert(all.end(), lines_.begin(), lines_.end()); }

 private:
  const std::string file_;
  std::set<std::string> seen_;
  std::vector<std::string> lines_;
};

void CheckScene(ScreenModel& model, const design_scene_t& scene, int language, ink_cache_t& cache,
                PageFindings& findings, text_extremes_t& extremes) {
  for (const look_t look : {LOOK_DAY, LOOK_NIGHT}) {
    // Colours are the same in all languages, and places in both looks.
    if (look == LOOK_NIGHT && language != 0) continue;
    ShowScene(model, scene, language, look);
    const std::string svg = model.Svg();
    const std::vector<drawn_text_t> texts = ReadDrawnTexts(svg, cache);
    const std::string where =
        scene.name + ", " + LanguageName(language) + (look == LOOK_DAY ? ", day" : ", night");
    findings.Add(CheckPlaces(texts), where);
    findings.Add(CheckSizes(texts, extremes), where);
    if (language == 0) findings.Add(CheckContrast(svg, texts, extremes), where);
  }
}

}  // namespace

std::vector<std::string> CheckNames(const design_t& design, const screen_names_t& names) {
  std::vector<std::string> findings;
  const std::set<std::string> widgets = WidgetNames(names);
  for (const auto& [name, page] : design) {
    CheckPageNames(page, names, findings);
    UnevenFinder uneven(FileOf(page), findings);
    page.looks.at(LOOK_DAY).document->traverse(uneven);
    IdFinder ids(FileOf(page), widgets, findings);
    page.looks.at(LOOK_DAY).document->traverse(ids);
  }
  CheckWidgetsShown(design, widgets, findings);
  return findings;
}

design_report_t CheckTexts(ScreenModel& model, const std::vector<std::string>& pages,
                           const std::function<void(const std::string&)>& step) {
  design_report_t report;
  for (const std::string& name : pages) {
    step(name);
    model.ShowPage(name);
    ink_cache_t cache;
    PageFindings findings(FileOf(model.Design().at(name)));
    for (const design_scene_t& scene : CheckScenes()) {
      for (int language = 0; language < static_cast<int>(WORD_LANGUAGES); ++language) {
        CheckScene(model, scene, language, cache, findings, report.extremes);
      }
    }
    findings.MoveTo(report.findings);
  }
  return report;
}

}  // namespace unit
