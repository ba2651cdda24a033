#include "unit/database/database_commands.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <map>
#include <optional>

#include <nlohmann/json.hpp>

#include "base/exit_status.h"
#include "base/json_text.h"
#include "base/nearest_word.h"
#include "src/services/dbshm.h"
#include "unit/database/attach.h"
#include "unit/database/database_owner.h"

namespace unit {
namespace {

using nlohmann::json;

constexpr int ATTACH_TIMEOUT_MS = 500;
constexpr std::chrono::milliseconds WATCH_PERIOD{50};
constexpr unsigned OWNER_CHECK = 10;  // the owner is checked in every tenth period
constexpr std::size_t MOST_CANDIDATES = 20;

void ShowCandidates(const std::string& name, std::span<const std::string_view> candidates) {
  std::cerr << "unit db: \"" << name << "\" may be any of these; write more of it:\n";
  for (std::size_t i = 0; i < candidates.size() && i < MOST_CANDIDATES; ++i)
    std::cerr << "  " << candidates[i] << '\n';
  if (candidates.size() > MOST_CANDIDATES)
    std::cerr << "  and " << candidates.size() - MOST_CANDIDATES << " more\n";
}

bool Attach() {
  if (AttachDatabase(ATTACH_TIMEOUT_MS)) return true;
  std::cerr << "unit db: there is no parameter database here. Start one with \"unit run\", or set "
               "ORVIK_RUNTIME_DIR to the folder of the running unit.\n";
  return false;
}

std::string FormatParameter(unsigned handle) {
  const std::optional<double> value = ReadParameterValue(handle);
  if (!value) return "-";
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), *value).ptr;
  return {text.data(), end};
}

json DescribeParameter(const named_t& named) {
  const std::optional<double> value = ReadParameterValue(named.handle);
  // JSON has no infinities.
  const json number = value && std::isfinite(*value) ? json(*value) : json(nullptr);
  return {{"name", named.name}, {"handle", named.handle}, {"value", number}};
}

void PrintAsJson(std::span<const named_t> parameters) {
  json all = json::array();
  for (const named_t& named : parameters) all.push_back(DescribeParameter(named));
  std::cout << base::DumpJson(all) << '\n';
}

// The parameter that has this name or, alone, begins with it; prints an error when there is none or more than
// one.
std::optional<named_t> CompleteParameter(std::span<const named_t> table, const std::string& name) {
  std::vector<std::string> names;
  for (const named_t& named : table) names.push_back(named.name);
  const std::vector<std::string_view> candidates = FindCandidates(names, name);
  if (candidates.size() == 1) {
    return *std::ranges::find(table, candidates[0], [](const named_t& n) { return std::string_view(n.name); });
  }
  if (candidates.empty()) {
    std::cerr << "unit db: no parameter begins with \"" << name << '"' << base::Suggest(name, names)
              << "; \"unit db list\" shows all.\n";
    return std::nullopt;
  }
  ShowCandidates(name, candidates);
  return std::nullopt;
}

std::optional<double> ParseFinite(const std::string& text) {
  double number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::optional<std::vector<named_t>> CompleteAll(std::span<const std::string> names) {
  std::vector<named_t> table = ReadNameTable();
  if (names.empty()) return table;
  std::vector<named_t> found;
  for (const std::string& name : names) {
    const std::optional<named_t> named = CompleteParameter(table, name);
    if (!named) return std::nullopt;
    found.push_back(*named);
  }
  return found;
}

// `printed` has the line that was printed last for each handle.
void PrintChanges(std::span<const named_t> parameters, bool asJson, std::map<unsigned, std::string>& printed) {
  for (const named_t& named : parameters) {
    std::string line =
        asJson ? base::DumpJson(DescribeParameter(named)) : named.name + ' ' + FormatParameter(named.handle);
    std::string& last = printed[named.handle];
    if (line == last) continue;
    std::cout << line << std::endl;
    last = std::move(line);
  }
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

int GetParameters(std::span<const std::string> names, bool asJson) {
  if (!Attach()) return base::EXIT_FAILED;
  const auto found = CompleteAll(names);
  if (!found) return base::EXIT_CALLED_WRONGLY;
  if (asJson) {
    PrintAsJson(*found);
    return base::EXIT_DONE;
  }
  for (const named_t& named : *found) std::cout << named.name << ' ' << FormatParameter(named.handle) << '\n';
  return base::EXIT_DONE;
}

int SetParameter(const std::string& name, const std::string& value) {
  const std::optional<double> number = ParseFinite(value);
  if (value != "-" && !number) {
    std::cerr << "unit db: \"" << value
              << "\" is not a number. Give one, or - to make the parameter not valid.\n";
    return base::EXIT_CALLED_WRONGLY;
  }
  if (!Attach()) return base::EXIT_FAILED;
  const std::vector<named_t> table = ReadNameTable();
  const std::optional<named_t> named = CompleteParameter(table, name);
  if (!named) return base::EXIT_CALLED_WRONGLY;
  if (number) {
    DBSHM::Write(named->handle, *number);
    if (!ReadParameterValue(named->handle)) {
      std::cerr << "unit db: " << named->name
                << " is not written: a process keeps the database's lock. Continue or end that process.\n";
      return base::EXIT_FAILED;
    }
  } else {
    DBSHM::Write(named->handle, 0.0, 0, false);
  }
  std::cout << named->name << ' ' << FormatParameter(named->handle) << '\n';
  return base::EXIT_DONE;
}

int ListParameters(const std::string& prefix, bool asJson) {
  if (!Attach()) return base::EXIT_FAILED;
  std::vector<named_t> table = ReadNameTable();
  std::erase_if(table, [&prefix](const named_t& named) { return !named.name.starts_with(prefix); });
  if (table.empty()) {
    std::cerr << "unit db: no parameter begins with \"" << prefix << "\"; \"unit db list\" shows all.\n";
    return base::EXIT_CALLED_WRONGLY;
  }
  if (asJson) {
    PrintAsJson(table);
    return base::EXIT_DONE;
  }
  std::size_t width = 0;
  for (const named_t& named : table) width = std::max(width, named.name.size());
  for (const named_t& named : table) {
    std::printf("%-*s %5u  %s\n", static_cast<int>(width), named.name.c_str(), named.handle,
                FormatParameter(named.handle).c_str());
  }
  return base::EXIT_DONE;
}

int WatchParameters(std::span<const std::string> names, bool asJson,
                    const std::function<bool(std::chrono::milliseconds)>& pause) {
  if (!Attach()) return base::EXIT_FAILED;
  const auto found = CompleteAll(names);
  if (!found) return base::EXIT_CALLED_WRONGLY;
  const unsigned database = DatabaseView().Number();
  std::map<unsigned, std::string> printed;
  unsigned turn = 0;
  do {
    PrintChanges(*found, asJson, printed);
    if (++turn % OWNER_CHECK != 0) continue;
    if (LookAtDatabase() != database_state_t::COMPLETE || DatabaseView().Number() != database) {
      std::cerr << "unit db: the database's owner has ended.\n";
      return base::EXIT_FAILED;
    }
  } while (pause(WATCH_PERIOD));
  return base::EXIT_DONE;
}

}  // namespace unit
