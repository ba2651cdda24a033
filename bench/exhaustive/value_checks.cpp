#include "bench/exhaustive/value_checks.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>
#include <utility>

#include "bench/exhaustive/recorded_screen.h"
#include "bench/exhaustive/value_reference.h"
#include "src/core/operating_values.h"
#include "src/core/orvik_data.h"
#include "src/display/value_widgets.h"
#include "src/screenapi/screen_api.h"
#include "unit/screen/design/design.h"
#include "unit/screen/design/element_view.h"
#include "unit/screen/design/screen_names.h"

namespace exhaustive {
namespace {

// Compares what is shown for one number of a check with what must be.
using compare_t = std::function<void(std::uint64_t number, const report_t& report)>;

struct numbered_check_t {
  std::string name;
  std::uint64_t cases = 0;
  compare_t compare;
};

constexpr std::uint64_t ALL_SINGLES = std::uint64_t(1) << 32U;

std::string NameOf(std::uint32_t bits) {
  std::array<char, 48> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), "0x%08X (%.9g)", bits,
                                  static_cast<double>(std::bit_cast<float>(bits))));
  return text.data();
}

void Compare(const report_t& report, std::uint32_t bits, const std::string& expected, std::string_view got) {
  if (got != expected) report({NameOf(bits), expected, std::string(got)});
}

// --- The widgets

constexpr int MAIN_HANDLE = 1;
constexpr int WAD_HANDLE = 2;

// A record whose widgets have the handles of the recorded screen; of this process.
orvikData_t* Record() {
  static const std::unique_ptr<orvikData_t> RECORD = [] {
    auto made = std::make_unique<orvikData_t>();
    made->screenApi = new ScreenApi;  // of the process
    gauge_handles_t& g = made->gauges;
    for (handle_t* handle : {&g.capacity, &g.load, &g.extension, &g.angle, &g.radius, &g.swing}) {
      *handle = MAIN_HANDLE;
    }
    for (handle_t* handle :
         {&g.wadCapacity, &g.wadLoad, &g.wadExtension, &g.wadAngle, &g.wadRadius, &g.wadSwing}) {
      *handle = WAD_HANDLE;
    }
    return made;
  }();
  return RECORD.get();
}

struct widget_way_t {
  const char* name;
  std::string (*expected)(std::uint32_t bits);
  void (*set)(orvikData_t* data, double value);
  void (*display)(orvikData_t* data);
  PlainWord<double> orvikData_t::*stored;
  void (*text)(double value, char* text);  // null where another value's check covers it
};

constexpr std::array<widget_way_t, 5> WIDGET_WAYS = {{
    {"capacity", ExpectedCapacity, SetCapacity, DisplayCapacity, &orvikData_t::capacity, nullptr},
    {"load", ExpectedLoad, SetLoad, DisplayLoad, &orvikData_t::load, LoadText},
    {"radius", ExpectedLength, SetRadius, DisplayRadius, &orvikData_t::radius, ExtensionText},
    {"angle", ExpectedAngle, SetAngle, DisplayAngle, &orvikData_t::angle, AngleText},
    {"extension", ExpectedLength, SetExtension, DisplayExtension, &orvikData_t::extension, nullptr},
}};

void CompareWidgets(const widget_way_t& way, std::uint32_t bits, const report_t& report) {
  orvikData_t* data = Record();
  const std::string expected = way.expected(bits);
  way.set(data, static_cast<double>(std::bit_cast<float>(bits)));
  way.display(data);
  Compare(report, bits, expected, recordedTexts[MAIN_HANDLE]);
  Compare(report, bits, expected, recordedTexts[WAD_HANDLE]);
  if (way.text == nullptr) return;
  std::array<char, 8> text{};
  way.text(data->*way.stored, text.data());
  Compare(report, bits, expected, text.data());
}

// The upper byte of the number is the mode, the lower 16 bits are the degrees.
void CompareSwing(std::uint64_t number, const report_t& report) {
  const auto degrees = static_cast<std::int16_t>(number & 0xFFFFU);
  const auto mode = static_cast<int>(number >> 16U);
  orvikData_t* data = Record();
  SetSwingMode(data, mode);
  SetSwing(data, degrees);
  DisplaySwing(data);
  const std::string word = ExpectedSwingWord(mode);
  const std::string expected = word.empty() ? ExpectedSwing(degrees) : word;
  for (const int handle : {MAIN_HANDLE, WAD_HANDLE}) {
    const std::string& got = recordedTexts.at(static_cast<std::size_t>(handle));
    if (got == expected) continue;
    report({std::to_string(degrees) + " in mode " + std::to_string(mode), expected, got});
  }
}

// --- The percentage, which the screen service formats

constexpr const char* PERCENT_VARIABLE = "OrvikPercentSafeWorkingLoad";

const unit::design_t& Design(const std::string& configDirectory) {
  static const unit::design_t DESIGN = [&] {
    const std::filesystem::path folder = configDirectory;
    std::vector<std::string> problems;
    unit::design_t loaded = unit::ReadDesign(
        folder / "screen", unit::WidgetNames(unit::ReadScreenNames(folder / "generic.xml")), problems);
    if (!problems.empty()) throw std::runtime_error(problems.front());
    return loaded;
  }();
  return DESIGN;
}

// The elements of all pages that follow the percentage; of those with the same `attribute` and scale, one.
std::vector<const unit::live_element_t*> ElementsWith(const std::string& configDirectory,
                                                      const char* attribute) {
  std::vector<const unit::live_element_t*> found;
  std::set<std::string> known;
  for (const auto& [name, page] : Design(configDirectory)) {
    for (const unit::live_element_t& element : page.looks.front().elements) {
      const std::string text = element.node.attribute(attribute).value();
      if (element.variables != std::vector<std::string>{PERCENT_VARIABLE} || text.empty()) continue;
      if (known.insert(text + " " + element.node.attribute("data-scale").value()).second) {
        found.push_back(&element);
      }
    }
  }
  if (found.empty())
    throw std::runtime_error(std::string("the design shows the percentage nowhere by ") + attribute);
  return found;
}

unit::variable_value_t Known(std::uint32_t bits) {
  const auto value = static_cast<double>(std::bit_cast<float>(bits));
  return std::isfinite(value) ? unit::variable_value_t(value) : std::nullopt;
}

// What stands around the number is the design's own matter: "-- %" is "--" and " %".
struct percent_element_t {
  explicit percent_element_t(const unit::live_element_t& shown) : element(&shown) {
    const std::string format = shown.node.attribute("data-format").value();
    before = format.substr(0, format.find('{'));
    after = format.substr(format.find('}') + 1);
  }
  std::string Expected(std::uint32_t bits) const { return before + ExpectedPercent(bits) + after; }

  const unit::live_element_t* element;
  std::string before, after;
};

void ComparePercent(const percent_element_t& percent, std::uint32_t bits, const report_t& report) {
  const unit::variable_value_t value = Known(bits);
  if (!value) return;  // shown as the element's own unknown value; see CompareElement
  Compare(report, bits, percent.Expected(bits), percent.element->format.Apply(*value * percent.element->scale));
}

// Beyond these shares, to the six digits that are settled, a percentage has no meaning for the operator: the
// screen shows that it is out of range, or unknown.
constexpr double LOWEST_PERCENT = -1.000005;
constexpr double HIGHEST_PERCENT = 9.999995;

// The same through the whole element, with what it shows for an unknown value.
void CompareElement(const percent_element_t& percent, std::uint32_t bits, const report_t& report) {
  unit::element_input_t input;
  input.value = Known(bits);
  const unit::element_view_t view = unit::MakeView(*percent.element, input);
  const std::string got = view.text && !view.text->empty() ? view.text->front().text : "";
  const bool shown = input.value && *input.value > LOWEST_PERCENT;
  const std::string number = shown && *input.value >= HIGHEST_PERCENT ? ">999 %" : percent.Expected(bits);
  Compare(report, bits, shown ? number : percent.element->stale.value_or(""), got);
}

// A rule keeps to its bands when it chooses for every value what it chooses in the middle of the value's band.
void CompareBand(const unit::ValueRule& rule, std::uint32_t bits, const report_t& report) {
  constexpr std::array<double, 3> MIDDLES = {0.5, 0.95, 1.5};
  const int band = ExpectedBand(bits);
  const unit::variable_value_t middle =
      band < 0 ? std::nullopt : unit::variable_value_t(MIDDLES.at(static_cast<std::size_t>(band)));
  const std::string* expected = rule.Choose(middle);
  const std::string* got = rule.Choose(Known(bits));
  if (got == expected) return;
  Compare(report, bits, expected != nullptr ? *expected : "nothing", got != nullptr ? *got : "nothing");
}

const unit::ValueRule* RuleOf(const unit::live_element_t& element, const std::string& style) {
  const auto found = std::ranges::find(element.styles, style, &std::pair<std::string, unit::ValueRule>::first);
  return found == element.styles.end() ? nullptr : &found->second;
}

void AddPercentChecks(const std::string& configDirectory, bool whole, std::vector<numbered_check_t>& checks) {
  const auto compare = whole ? CompareElement : ComparePercent;
  for (const unit::live_element_t* element : ElementsWith(configDirectory, "data-format")) {
    checks.push_back({"percentage", ALL_SINGLES,
                      [=, percent = percent_element_t(*element)](std::uint64_t number, const report_t& report) {
                        compare(percent, static_cast<std::uint32_t>(number), report);
                      }});
  }
  const auto addBand = [&](const std::string& name, const unit::ValueRule* rule) {
    if (rule == nullptr) throw std::runtime_error("the percentage's " + name + " follows no rule");
    checks.push_back({name, ALL_SINGLES, [=](std::uint64_t number, const report_t& report) {
                        CompareBand(*rule, static_cast<std::uint32_t>(number), report);
                      }});
  };
  for (const auto* element : ElementsWith(configDirectory, "data-bar")) {
    addBand("percentage-colour", RuleOf(*element, "fill"));
  }
  for (const auto* element : ElementsWith(configDirectory, "data-word")) {
    addBand("percentage-word", &element->words);
  }
}

std::vector<numbered_check_t> MakeNumberedChecks(const std::string& configDirectory, bool wholeElements) {
  std::vector<numbered_check_t> checks;
  checks.reserve(std::size(WIDGET_WAYS));
  for (const widget_way_t& way : WIDGET_WAYS) {
    checks.push_back({way.name, ALL_SINGLES, [&way](std::uint64_t number, const report_t& report) {
                        CompareWidgets(way, static_cast<std::uint32_t>(number), report);
                      }});
  }
  checks.push_back({"swing", std::uint64_t(1) << 24U, CompareSwing});
  AddPercentChecks(configDirectory, wholeElements, checks);
  return checks;
}

// --- The sample

constexpr int NEIGHBOURS = 3;

void AddNeighbourhood(double value, std::set<std::uint64_t>& numbers) {
  const auto bits = static_cast<std::int64_t>(std::bit_cast<std::uint32_t>(static_cast<float>(value)));
  for (std::int64_t near = bits - NEIGHBOURS; near <= bits + NEIGHBOURS; ++near) {
    numbers.insert(static_cast<std::uint32_t>(near));
  }
}

// Around every value at which a shown text can change, and around every power of two, infinity and NaN.
std::vector<std::uint64_t> ListBoundaries() {
  std::set<std::uint64_t> numbers;
  for (int k = 0; k <= 10005; ++k) {
    for (const double value : {k * 0.1, k * 0.1 + 0.05, k * 100.0, k * 100.0 + 50}) {
      AddNeighbourhood(value, numbers);
      AddNeighbourhood(-value, numbers);
    }
  }
  for (int k = 0; k <= 2000; ++k) AddNeighbourhood(k * 0.01, numbers);
  for (std::uint32_t exponent = 0; exponent < 512; ++exponent) {
    AddNeighbourhood(static_cast<double>(std::bit_cast<float>(exponent << 23U)), numbers);
    numbers.insert((exponent << 23U) | 0x7FFFFFU);
    numbers.insert((exponent << 23U) | 0x400000U);
  }
  return {numbers.begin(), numbers.end()};
}

}  // namespace

std::vector<check_t> MakeValueChecks(const std::string& configDirectory) {
  std::vector<check_t> checks;
  for (numbered_check_t& each : MakeNumberedChecks(configDirectory, false)) {
    const auto run = [compare = each.compare](std::uint64_t first, std::uint64_t last, const report_t& report) {
      for (std::uint64_t number = first; number < last; ++number) compare(number, report);
    };
    checks.push_back({each.name, each.cases, run});
  }
  return checks;
}

std::vector<check_t> MakeSampledValueChecks(const std::string& configDirectory, std::size_t amount,
                                            std::uint64_t seed) {
  const std::vector<std::uint64_t> boundaries = ListBoundaries();
  std::vector<check_t> checks;
  for (numbered_check_t& each : MakeNumberedChecks(configDirectory, true)) {
    std::vector<std::uint64_t> sample = DrawSample(each.cases, amount, seed);
    if (each.cases == ALL_SINGLES) sample.insert(sample.end(), boundaries.begin(), boundaries.end());
    std::shuffle(sample.begin(), sample.end(), std::mt19937_64(seed));
    const std::uint64_t cases = sample.size();
    const auto run = [compare = each.compare, sample = std::move(sample)](
                         std::uint64_t first, std::uint64_t last, const report_t& report) {
      for (std::uint64_t i = first; i < last; ++i) compare(sample.at(i), report);
    };
    checks.push_back({each.name, cases, run});
  }
  return checks;
}

}  // namespace exhaustive
