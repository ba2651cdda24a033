#include "unit/screen/live/fault_feed.h"

namespace unit {
namespace {

static_assert(FAULT_LAMP_VARIABLES.size() == FAULT_LAMPS);
static_assert(FAULT_LINES <= MAX_REPORTED_FAULTS);

fault_state_t StateOf(const fault_report_t& report) {
  if (!report.heard) return FAULTS_NOT_HEARD;
  return report.active == 0 ? FAULTS_NONE : FAULTS_ACTIVE;
}

}  // namespace

FaultFeed::FaultFeed(ScreenModel& model) : model_(model) {
  Show({});
}

void FaultFeed::Take(const fault_report_t& report, TimePoint now) {
  Show(report);
  last_ = now;
  reported_ = true;
}

void FaultFeed::Expire(TimePoint now) {
  if (!reported_ || now - last_ <= SILENCE) return;
  reported_ = false;
  Show({});
}

void FaultFeed::Show(const fault_report_t& report) {
  model_.SetVariable(FAULT_STATE_VARIABLE, StateOf(report));
  model_.SetVariable(FAULT_NUMBER_VARIABLE, report.active);
  for (std::size_t lamp = 0; lamp < FAULT_LAMPS; ++lamp) {
    model_.SetVariable(FAULT_LAMP_VARIABLES.at(lamp), report.lamps.at(lamp) ? 1 : 0);
  }
  for (std::size_t line = 0; line < FAULT_LINES; ++line) {
    const bool filled = line < report.first.size();
    const fault_t fault = filled ? report.first[line] : fault_t{};
    const auto set = [&](const char* part, variable_value_t value) {
      model_.SetVariable(FaultVariable(line, part), filled ? value : std::nullopt);
    };
    set(FAULT_SOURCE, fault.source);
    set(FAULT_SPN, fault.code.spn);
    set(FAULT_FMI, fault.code.fmi);
    set(FAULT_COUNT, fault.code.count == COUNT_UNKNOWN ? std::nullopt : variable_value_t(fault.code.count));
  }
}

}  // namespace unit
