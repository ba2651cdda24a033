#include "host/log_check/film_difference.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <limits>
#include <map>
#include <unordered_map>

#include <nlohmann/json.hpp>

#include "host/log_check/shown_film.h"

namespace host::log_check {
namespace {

using nlohmann::json;

constexpr std::size_t SIDES = 2;  // before and now

struct sides_t {
  std::array<std::optional<std::string>, SIDES> values;
  bool Differ() const { return values[0] != values[1]; }
};

// One film, a record ahead.
class FilmSide {
 public:
  explicit FilmSide(FilmResultReader& reader) : reader_(reader) { Read(); }
  // The next record's time; the greatest number at the end.
  std::int64_t Time_ms() const { return time_ms_; }
  void Step(const ShownFilm::on_change_t& onChange) {
    film_.Accept(record_, onChange);
    Read();
  }

 private:
  void Read() {
    const auto line = reader_.Next();
    time_ms_ = std::numeric_limits<std::int64_t>::max();
    if (!line) return;
    record_ = json::parse(*line);
    time_ms_ = record_.at("t").get<std::int64_t>();
  }

  FilmResultReader& reader_;
  ShownFilm film_;
  json record_;
  std::int64_t time_ms_ = 0;
};

class FilmComparison {
 public:
  FilmComparison(FilmResultReader& before, FilmResultReader& now) : sides_{FilmSide(before), FilmSide(now)} {}

  film_difference_t Run() {
    for (;;) {
      const std::size_t side = sides_[0].Time_ms() <= sides_[1].Time_ms() ? 0 : 1;
      const std::int64_t time_ms = sides_[side].Time_ms();
      if (HasLasting(time_ms)) break;
      if (time_ms == std::numeric_limits<std::int64_t>::max()) break;
      sides_[side].Step(
          [this, side, time_ms](const std::string& name, const std::optional<std::string>& value) {
            Note(side, time_ms, name, value);
          });
    }
    return std::move(found_);
  }

 private:
  void Note(std::size_t side, std::int64_t time_ms, const std::string& name,
            const std::optional<std::string>& value) {
    sides_t& both = shown_[name];
    both.values.at(side) = value;
    if (!both.Differ()) {
      differing_.erase(name);
    } else {
      differing_.try_emplace(name, time_ms);
    }
  }
  bool HasLasting(std::int64_t time_ms);
  void Tell(std::int64_t first_ms);

  std::array<FilmSide, SIDES> sides_;
  std::unordered_map<std::string, sides_t> shown_;
  std::map<std::string, std::int64_t> differing_;  // since when
  film_difference_t found_;
};

// Fills found_ once something has differed for long enough.
bool FilmComparison::HasLasting(std::int64_t time_ms) {
  std::int64_t first_ms = std::numeric_limits<std::int64_t>::max();
  for (auto at = differing_.begin(); at != differing_.end();) {
    const auto& [name, since_ms] = *at;
    const bool isLasting = since_ms < time_ms - TOLERANCE_MS;
    if (isLasting && name.ends_with(DRAWING)) {
      found_.redrawn.insert(name.substr(0, name.rfind(':')));
      at = differing_.erase(at);
      continue;
    }
    if (isLasting) first_ms = std::min(first_ms, since_ms);
    ++at;
  }
  if (first_ms == std::numeric_limits<std::int64_t>::max()) return false;
  Tell(first_ms);
  return true;
}

// Texts come before attributes: whoever reads the first line knows the most.
void FilmComparison::Tell(std::int64_t first_ms) {
  found_.time_ms = first_ms;
  std::vector<std::string> names;
  for (const auto& [name, since_ms] : differing_) {
    if (since_ms <= first_ms + TOLERANCE_MS) names.push_back(name);
  }
  std::stable_partition(names.begin(), names.end(),
                        [](const std::string& name) { return name.find(", ") == std::string::npos; });
  found_.more = names.size() - std::min(names.size(), film_difference_t::MOST_CHANGES);
  names.resize(names.size() - found_.more);
  for (const std::string& name : names) {
    const auto& [before, now] = shown_.at(name).values;
    shown_change_t change{name, WordsOf(before), WordsOf(now)};
    // Where the words are the same, the marks in them differ: each letter's place, for instance.
    if (change.before == change.now) change = {name, before.value_or("nothing"), now.value_or("nothing")};
    found_.changes.push_back(std::move(change));
  }
}

std::string FormatTime(std::int64_t time_ms) {
  constexpr std::int64_t MINUTE = 60'000;
  std::array<char, 48> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), "%lld:%06.3f",
                                  static_cast<long long>(time_ms / MINUTE),
                                  static_cast<double>(time_ms % MINUTE) / 1000));
  return text.data();
}

}  // namespace

film_difference_t CompareFilms(FilmResultReader& before, FilmResultReader& now) {
  return FilmComparison(before, now).Run();
}

std::string DescribeDifference(const film_difference_t& difference) {
  std::string text;
  for (const std::string& page : difference.redrawn) text += "  " + page + " is drawn differently\n";
  if (!difference.time_ms) return text;
  text += "  from " + FormatTime(*difference.time_ms) + " on:\n";
  for (const auto& [name, before, now] : difference.changes)
    text.append("    ")
        .append(name)
        .append(": ")
        .append(before)
        .append(" before, ")
        .append(now)
        .append(" now\n");
  if (difference.more > 0) text += "    and " + std::to_string(difference.more) + " more\n";
  return text;
}

}  // namespace host::log_check
