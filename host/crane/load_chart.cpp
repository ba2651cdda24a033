#include "host/crane/load_chart.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <istream>
#include <sstream>

namespace crane {
namespace {

constexpr double KILOGRAMS_PER_POUND = 0.45359237;
constexpr double METRES_PER_FOOT = 0.3048;
constexpr std::size_t MOST_TABLES = 100;
constexpr std::size_t MOST_CELLS = 10'000;  // of one configuration

std::vector<std::string> SplitChartLine(const std::string& line) {
  std::istringstream stream(line.substr(0, line.find('#')));
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

// The place of a value among increasing points: between points `low` and `low + 1`, at the fraction `part`.
struct table_place_t {
  std::size_t low;
  double part;
};

std::optional<table_place_t> Locate(const std::vector<double>& points, double value) {
  constexpr double ALMOST = 1e-9;  // rounding must not put a boom at its end outside the table
  if (points.empty() || !(value >= points.front() - ALMOST && value <= points.back() + ALMOST))
    return std::nullopt;
  const auto above = std::ranges::upper_bound(points, value);
  const auto high = static_cast<std::size_t>(above - points.begin());
  if (high == 0) return table_place_t{0, 0};
  if (high == points.size()) return table_place_t{high - 1, 0};
  return table_place_t{high - 1, (value - points[high - 1]) / (points[high] - points[high - 1])};
}

}  // namespace

class ChartParser {
 public:
  ChartParser(LoadChart& chart, const std::string& file) : chart_(chart), file_(file) {}
  void ReadLine(const std::string& line);
  void Finish();

 private:
  using table_t = LoadChart::table_t;
  using line_words_t = std::vector<std::string>;

  [[noreturn]] void Refuse(std::size_t line, const std::string& why) const {
    throw ChartError(file_ + ":" + std::to_string(line) + ": " + why);
  }
  [[noreturn]] void Refuse(const std::string& why) const { Refuse(line_, why); }
  double ParsePositive(const std::string& word) const;
  void ReadName(const line_words_t& words);
  void ReadUnits(const line_words_t& words);
  void BeginTable(const line_words_t& words);
  void ReadAttribute(table_t& table, const std::string& word) const;
  // Each returns false for a value that the attribute does not have.
  static bool ReadBase(table_t& table, const std::string& value);
  static bool ReadCounterweight(table_t& table, const std::string& value);
  static bool ReadHook(table_t& table, const std::string& value);
  static bool ReadArc(table_t& table, const std::string& value);
  void ReadLengths(const line_words_t& words);
  void ReadRow(const line_words_t& words);
  void CheckRowSize(const table_t& table, const line_words_t& words) const;
  void CheckTable() const;

  LoadChart& chart_;
  const std::string& file_;
  std::size_t line_ = 0;
  double metres_ = 0;  // in one unit of length of the file; 0: not set yet
  double kilograms_ = 0;
};

double ChartParser::ParsePositive(const std::string& word) const {
  double value = 0;
  const auto [stop, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  constexpr double MOST = 1e6;
  if (error != std::errc() || stop != word.data() + word.size() || !(value > 0 && value <= MOST)) {
    Refuse("\"" + word + "\" is not a number from above 0 to 1000000");
  }
  return value;
}

void ChartParser::ReadName(const line_words_t& words) {
  for (std::size_t i = 1; i < words.size(); ++i) chart_.name_ += (i > 1 ? " " : "") + words[i];
  constexpr std::size_t MOST = 20;  // fits beside its label on a line of the display
  if (chart_.name_.empty() || chart_.name_.size() > MOST) Refuse("a name has 1 to 20 characters");
}

void ChartParser::ReadUnits(const line_words_t& words) {
  const bool imperial = words.size() == 2 && words[1] == "imperial";
  if (!imperial && (words.size() != 2 || words[1] != "metric")) Refuse("units must be metric or imperial");
  metres_ = imperial ? METRES_PER_FOOT : 1;
  kilograms_ = imperial ? KILOGRAMS_PER_POUND : 1;
}

bool ChartParser::ReadBase(table_t& table, const std::string& value) {
  const auto base = FindName(BASE_NAMES, value);
  if (base) table.base = static_cast<base_t>(*base);
  return base.has_value();
}

bool ChartParser::ReadCounterweight(table_t& table, const std::string& value) {
  table.counterweight = value == "on";
  return value == "on" || value == "off";
}

bool ChartParser::ReadHook(table_t& table, const std::string& value) {
  table.anyHook = false;
  const auto jib = FindName(JIB_NAMES, value);
  if (jib && IsErected(static_cast<jib_t>(*jib))) table.jib = static_cast<jib_t>(*jib);
  return table.jib || value == "boom";
}

bool ChartParser::ReadArc(table_t& table, const std::string& value) {
  table.frontOnly = true;
  return value == "front";
}

void ChartParser::ReadAttribute(table_t& table, const std::string& word) const {
  struct attribute_t {
    std::string_view name;
    bool (*read)(table_t& table, const std::string& value);
  };
  static constexpr attribute_t ATTRIBUTES[] = {
      {"base", ReadBase}, {"counterweight", ReadCounterweight}, {"hook", ReadHook}, {"arc", ReadArc}};
  const std::size_t equals = word.find('=');
  const std::string value = equals == std::string::npos ? "" : word.substr(equals + 1);
  const auto* found = std::ranges::find(ATTRIBUTES, word.substr(0, equals), &attribute_t::name);
  if (found != std::end(ATTRIBUTES) && found->read(table, value)) return;
  Refuse("\"" + word +
         "\" is not an attribute; use base=tires|retracted|half|extended, counterweight=on|off, "
         "hook=boom|long-0|short-0|..., arc=front");
}

void ChartParser::BeginTable(const line_words_t& words) {
  if (metres_ == 0) Refuse("units metric or units imperial must stand before the first configuration");
  CheckTable();
  if (chart_.tables_.size() == MOST_TABLES) Refuse("a chart has at most 100 configurations");
  table_t table;
  table.line = line_;
  for (std::size_t i = 1; i < words.size(); ++i) ReadAttribute(table, words[i]);
  chart_.tables_.push_back(std::move(table));
}

void ChartParser::ReadLengths(const line_words_t& words) {
  if (chart_.tables_.empty()) Refuse("lengths must follow a configuration");
  table_t& table = chart_.tables_.back();
  if (!table.lengths.empty()) Refuse("this configuration has its lengths already");
  if (words.size() < 2) Refuse("lengths needs at least one boom length");
  for (std::size_t i = 1; i < words.size(); ++i) {
    const double length = ParsePositive(words[i]) * metres_;
    if (!table.lengths.empty() && length <= table.lengths.back()) Refuse("the lengths must increase");
    table.lengths.push_back(length);
  }
}

void ChartParser::ReadRow(const line_words_t& words) {
  if (chart_.tables_.empty() || chart_.tables_.back().lengths.empty()) {
    Refuse(
        "\"" + words[0] +
        "\" is not expected here; write name, units, configuration, lengths, and then the rows, each a radius "
        "and its capacities");
  }
  table_t& table = chart_.tables_.back();
  const double radius = ParsePositive(words[0]) * metres_;
  if (!table.radii.empty() && radius <= table.radii.back()) Refuse("the radii must increase");
  CheckRowSize(table, words);
  table.radii.push_back(radius);
  for (std::size_t i = 1; i < words.size(); ++i) {
    table.capacities.push_back(words[i] == "-" ? 0 : ParsePositive(words[i]) * kilograms_);
  }
}

void ChartParser::CheckRowSize(const table_t& table, const line_words_t& words) const {
  if (words.size() != table.lengths.size() + 1) {
    Refuse("a row has a radius and " + std::to_string(table.lengths.size()) + " capacities, this one has " +
           std::to_string(words.size() - 1));
  }
  if (table.capacities.size() + words.size() > MOST_CELLS)
    Refuse("a configuration has at most 10000 capacities");
}

void ChartParser::CheckTable() const {
  if (chart_.tables_.empty()) return;
  const table_t& last = chart_.tables_.back();
  if (last.radii.empty()) Refuse(last.line, "this configuration has no capacities");
}

void ChartParser::ReadLine(const std::string& line) {
  ++line_;
  const line_words_t words = SplitChartLine(line);
  if (words.empty()) return;
  if (words[0] == "name") return ReadName(words);
  if (words[0] == "units") return ReadUnits(words);
  if (words[0] == "configuration") return BeginTable(words);
  if (words[0] == "lengths") return ReadLengths(words);
  ReadRow(words);
}

void ChartParser::Finish() {
  if (chart_.tables_.empty()) Refuse("the file holds no configuration");
  CheckTable();
}

LoadChart LoadChart::Parse(std::istream& in, const std::string& file) {
  LoadChart chart;
  ChartParser parser(chart, file);
  for (std::string line; std::getline(in, line);) parser.ReadLine(line);
  parser.Finish();
  return chart;
}

const LoadChart::table_t* LoadChart::Find(const conditions_t& conditions) const {
  const bool front = conditions.area == area_t::FRONT || conditions.area == area_t::FRONT_ARC;
  const auto found = std::ranges::find_if(tables_, [&](const table_t& table) {
    return (!table.base || *table.base == conditions.base) &&
           (!table.counterweight || *table.counterweight == conditions.counterweight) &&
           (table.anyHook || table.jib == conditions.jib) && (!table.frontOnly || front);
  });
  return found == tables_.end() ? nullptr : &*found;
}

double LoadChart::Capacity(const conditions_t& conditions, double radius, double length) const {
  const table_t* table = Find(conditions);
  if (table == nullptr) return 0;
  const auto row = Locate(table->radii, radius);
  const auto column = Locate(table->lengths, length);
  if (!row || !column) return 0;
  // The four cells around the place, each weighted by its nearness. A cell with no weight may lie outside.
  double capacity = 0;
  for (const unsigned corner : {0U, 1U, 2U, 3U}) {
    const unsigned down = corner / 2;
    const unsigned right = corner % 2;
    const double weight =
        (down == 1 ? row->part : 1 - row->part) * (right == 1 ? column->part : 1 - column->part);
    if (weight == 0) continue;
    const double cell = table->capacities[(row->low + down) * table->lengths.size() + column->low + right];
    if (cell == 0) return 0;
    capacity += weight * cell;
  }
  return capacity;
}

}  // namespace crane
