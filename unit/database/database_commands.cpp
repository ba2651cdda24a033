#include "unit/database/database_commands.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <map>
#include <optional>

#include "src/services/dbshm.h"
#include "unit/database/attach.h"
#include "unit/database/database_owner.h"

namespace unit {
namespace {

constexpr int ATTACH_TIMEOUT_MS = 500;
constexpr std::chrono::milliseconds WATCH_PERIOD{50};
constexpr unsigned OWNER_CHECK = 10;  // turns of the watch between two looks at the owner
constexpr std::size_t MOST_CANDIDATES = 20;

bool Attach() {
  if (AttachDatabase(ATTACH_TIMEOUT_MS)) return true;
  std::cerr << "unit db: nobody owns a parameter database here. Start one with \"unit run\", or set "
               "ORVIK_RUNTIME_DIR to the folder of the running unit.\n";
  return false;
}

std::string FormatValue(unsigned handle) {
  const std::optional<double> value = ReadParameterValue(handle);
  if (!value) return "-";
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), *value).ptr;
  return {text.data(), end};
}

// The one parameter that a (shortened) name means; says so when there is none or more than one.
std::optional<named_t> Complete(std::span<const named_t> table, const std::string& name) {
  std::vector<std::string> names;
  for (const named_t& named : table) names.push_back(named.name);
  const std::vector<std::string_view> candidates = FindCandidates(names, name);
  if (candidates.size() == 1) {
    return *std::ranges::find(table, candidates[0], [](const named_t& n) { return std::string_view(n.name); });
  }
  if (candidates.empty()) {
    std::cerr << "unit db: no parameter begins with \"" << name << "\"; \"unit db list\" shows all.\n";
    return std::nullopt;
  }
  std::cerr << "unit db: \"" << name << "\" may be any of these; write more of it:\n";
  for (std::size_t i = 0; i < candidates.size() && i < MOST_CANDIDATES; ++i)
    std::cerr << "  " << candidates[i] << '\n';
  if (candidates.size() > MOST_CANDIDATES)
    std::cerr << "  and " << candidates.size() - MOST_CANDIDATES << " more\n";
  return std::nullopt;
}

std::optional<std::vector<named_t>> CompleteAll(std::span<const std::string> names) {
  std::vector<named_t> table = ReadNameTable();
  if (names.empty()) return table;
  std::vector<named_t> found;
  for (const std::string& name : names) {
    const std::optional<named_t> named = Complete(table, name);
    if (!named) return std::nullopt;
    found.push_back(*named);
  }
  return found;
}

}  // namespace

std::vector<std::string_view> FindCandidates(std::span<const std::string> names, std::string_view prefix) {
  std::vector<std::string_view> candidates;
  for (const std::string& name : names) {
    if (name == prefix) return {name};
    if (name.starts_with(prefix)) candidates.push_back(name);
  }
  return candidates;
}

int GetParameters(std::span<const std::string> names) {
  if (!Attach()) return 1;
  const auto found = CompleteAll(names);
  if (!found) return 1;
  for (const named_t& named : *found) std::cout << named.name << ' ' << FormatValue(named.handle) << '\n';
  return 0;
}

int SetParameter(const std::string& name, const std::string& value) {
  double number = 0;
  const char* end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, number);
  if (value != "-" && (error != std::errc() || stop != end || !std::isfinite(number))) {
    std::cerr << "unit db: \"" << value
              << "\" is not a number. Give one, or - to make the parameter not valid.\n";
    return 2;
  }
  if (!Attach()) return 1;
  const std::vector<named_t> table = ReadNameTable();
  const std::optional<named_t> named = Complete(table, name);
  if (!named) return 1;
  if (value == "-") {
    DBSHM::Write(named->handle, 0.0, 0, false);
  } else {
    DBSHM::Write(named->handle, number);
  }
  std::cout << named->name << ' ' << FormatValue(named->handle) << '\n';
  return 0;
}

int ListParameters(const std::string& prefix) {
  if (!Attach()) return 1;
  std::vector<named_t> table = ReadNameTable();
  std::erase_if(table, [&prefix](const named_t& named) { return !named.name.starts_with(prefix); });
  if (table.empty()) {
    std::cerr << "unit db: no parameter begins with \"" << prefix << "\"; \"unit db list\" shows all.\n";
    return 1;
  }
  std::size_t width = 0;
  for (const named_t& named : table) width = std::max(width, named.name.size());
  for (const named_t& named : table) {
    std::printf("%-*s %5u  %s\n", static_cast<int>(width), named.name.c_str(), named.handle,
                FormatValue(named.handle).c_str());
  }
  return 0;
}

int WatchParameters(std::span<const std::string> names,
                    const std::function<bool(std::chrono::milliseconds)>& pause) {
  if (!Attach()) return 1;
  const auto found = CompleteAll(names);
  if (!found) return 1;
  const unsigned database = DatabaseView().Number();
  std::map<unsigned, std::string> shown;
  unsigned turn = 0;
  do {
    for (const named_t& named : *found) {
      std::string value = FormatValue(named.handle);
      std::string& last = shown[named.handle];
      if (value == last) continue;
      std::cout << named.name << ' ' << value << std::endl;
      last = std::move(value);
    }
    if (++turn % OWNER_CHECK != 0) continue;
    if (LookAtDatabase() != database_state_t::COMPLETE || DatabaseView().Number() != database) {
      std::cerr << "unit db: the database's owner has ended.\n";
      return 1;
    }
  } while (pause(WATCH_PERIOD));
  return 0;
}

}  // namespace unit
