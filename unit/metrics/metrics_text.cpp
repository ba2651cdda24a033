#include "unit/metrics/metrics_text.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace unit {
namespace {

using nlohmann::json;

constexpr std::string_view COUNTER = "counter";
constexpr std::string_view GAUGE = "gauge";
constexpr std::string_view PROCESS = "process ";

// A counter that a service reports. Rows of one metric stand together.
struct counter_row_t {
  std::string_view metric, type, about;
  std::string_view service, counter;
  std::string_view label, value;  // empty: none
};
constexpr auto COUNTERS = std::to_array<counter_row_t>({
    {"orvik_bus_frames_total", COUNTER, "Frames that the unit received from the bus and sent to it", "j1939",
     "received", "direction", "received"},
    {"orvik_bus_frames_total", COUNTER, "", "j1939", "sent", "direction", "sent"},
    {"orvik_bus_dropped_frames_total", COUNTER, "Frames that were lost before the application", "j1939",
     "dropped", "", ""},
    {"orvik_bus_refused_frames_total", COUNTER, "Frames that the bus or the unit refused", "j1939", "refused",
     "", ""},
    {"orvik_bus_stations", GAUGE, "Stations that are connected to the local bus", "j1939", "stations", "", ""},
    {"orvik_messages_published_total", COUNTER, "Messages that programs gave to the notification manager",
     "notify", "published", "", ""},
    {"orvik_messages_delivered_total", COUNTER, "Messages that the notification manager gave to receivers",
     "notify", "delivered", "", ""},
    {"orvik_messages_lost_total", COUNTER, "Messages that a full queue dropped", "notify", "lost", "", ""},
    {"orvik_database_changes_total", COUNTER, "Changes of parameters that were published", "database",
     "published", "", ""},
    {"orvik_database_missed_changes_total", COUNTER, "Changes of parameters that were found late", "database",
     "missed", "", ""},
    {"orvik_screen_commands_total", COUNTER, "Commands of the application to the screen", "screen", "commands",
     "", ""},
    {"orvik_screen_page_changes_total", COUNTER, "Changes of the page", "screen", "pageChanges", "", ""},
    {"orvik_beeper_sounds_total", COUNTER, "How often the beeper began to sound", "board", "beeperPulses", "",
     ""},
    {"orvik_panel_requests_total", COUNTER, "Requests to the front panel", "panel", "requests", "", ""},
    {"orvik_panel_refused_requests_total", COUNTER, "Requests that came from elsewhere", "panel", "refused", "",
     ""},
});

using labels_t = std::vector<std::pair<std::string_view, std::string_view>>;

class MetricsWriter {
 public:
  // Both lines stand once, before the first sample.
  void Begin(std::string_view metric, std::string_view type, std::string_view about) {
    metric_ = metric;
    text_ << "# HELP " << metric << ' ' << about << "\n# TYPE " << metric << ' ' << type << '\n';
  }

  void Sample(const labels_t& labels, double value) {
    text_ << metric_;
    const char* separator = "{";
    for (const auto& [name, text] : labels) {
      text_ << std::exchange(separator, ",") << name << "=\"" << Escaped(text) << '"';
    }
    text_ << (labels.empty() ? " " : "} ") << json(value).dump() << '\n';
  }

  std::string Text() const { return text_.str(); }

 private:
  static std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
      if (c == '\\' || c == '"') escaped += '\\';
      escaped += c == '\n' ? std::string("\\n") : std::string(1, c);
    }
    return escaped;
  }

  std::string metric_;
  std::ostringstream text_;
};

json Member(const json& object, const char* name) {
  return object.is_object() ? object.value(name, json()) : json();
}

json ServicesIn(const std::string& health) {
  return Member(json::parse(health, nullptr, false), "services");
}

std::string NameOf(const json& service) {
  const json name = Member(service, "name");
  return name.is_string() ? name.get<std::string>() : std::string();
}

std::optional<double> CounterOf(const json& service, std::string_view counter) {
  const json value = Member(Member(service, "counters"), std::string(counter).c_str());
  return value.is_number() ? std::optional(value.get<double>()) : std::nullopt;
}

std::optional<double> CounterIn(const json& services, const counter_row_t& row) {
  const auto service = std::ranges::find_if(services, [&](const json& s) { return NameOf(s) == row.service; });
  return service == services.end() ? std::nullopt : CounterOf(*service, row.counter);
}

void WriteCounters(const json& services, MetricsWriter& writer) {
  std::string_view metric;
  for (const counter_row_t& row : COUNTERS) {
    const std::optional<double> value = CounterIn(services, row);
    if (!value) continue;
    if (std::exchange(metric, row.metric) != row.metric) writer.Begin(row.metric, row.type, row.about);
    writer.Sample(row.label.empty() ? labels_t{} : labels_t{{row.label, row.value}}, *value);
  }
}

void WriteStates(const json& services, MetricsWriter& writer) {
  writer.Begin("orvik_part_up", GAUGE, "1 while the service, worker or program is up");
  for (const json& service : services) {
    writer.Sample({{"part", NameOf(service)}}, Member(service, "up") == json(true) ? 1 : 0);
  }
  writer.Begin("orvik_restarts_total", COUNTER,
               "How often a program ended, or a service made its shared memory anew");
  for (const json& service : services) {
    const std::optional<double> ends = CounterOf(service, "ends"), made = CounterOf(service, "made");
    if (ends || made) writer.Sample({{"part", NameOf(service)}}, ends ? *ends : *made - 1);
  }
}

void WritePrograms(const std::map<std::string, process_load_t>& programs, MetricsWriter& writer) {
  writer.Begin("orvik_thread_cpu_seconds_total", COUNTER,
               "Processor time of the threads of one name that run now");
  for (const auto& [program, load] : programs) {
    for (const auto& [thread, seconds] : load.cpu_s)
      writer.Sample({{"program", program}, {"thread", thread}}, seconds);
  }
  writer.Begin("orvik_process_resident_memory_bytes", GAUGE, "Memory that the program occupies");
  for (const auto& [program, load] : programs)
    writer.Sample({{"program", program}}, static_cast<double>(load.residentBytes));
}

}  // namespace

std::string FormatMetrics(const metrics_input_t& input) {
  const json services = ServicesIn(input.health);
  MetricsWriter writer;
  WriteCounters(services, writer);
  WriteStates(services, writer);
  WritePrograms(input.programs, writer);
  if (input.hostValuesAge_s) {
    writer.Begin("orvik_host_values_age_seconds", GAUGE, "Time since the host last sent its operating values");
    writer.Sample({}, *input.hostValuesAge_s);
  }
  writer.Begin("orvik_panel_stream_viewers", GAUGE, "Open streams of the front panel");
  writer.Sample({}, static_cast<double>(input.viewers));
  return writer.Text();
}

std::map<std::string, pid_t> ProgramsIn(const std::string& health) {
  std::map<std::string, pid_t> programs;
  for (const json& service : ServicesIn(health)) {
    const json detail = Member(service, "detail");
    if (!detail.is_string()) continue;
    const auto text = detail.get<std::string>();
    if (!text.starts_with(PROCESS)) continue;
    if (const pid_t process = std::atoi(text.c_str() + PROCESS.size()); process > 0)
      programs[NameOf(service)] = process;
  }
  return programs;
}

}  // namespace unit
