#include "host/check/junit.h"

#include <algorithm>
#include <numeric>

#include <pugixml.hpp>

#include "host/protocol/errors.h"

namespace check {
namespace {

std::string JoinLines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

void AddCase(pugi::xml_node suite, const case_t& run, const case_result_t& result) {
  pugi::xml_node element = suite.append_child("testcase");
  element.append_attribute("classname") = run.name.c_str();
  element.append_attribute("name") = TitleOf(run).c_str();
  element.append_attribute("time") = result.seconds;
  element.append_attribute("assertions") = static_cast<unsigned long long>(result.expectations);
  if (result.failures.empty()) return;
  pugi::xml_node failure = element.append_child("failure");
  failure.append_attribute("message") = result.failures.front().c_str();
  const std::string text = JoinLines(result.failures) + "kept in " + result.kept + "\n";
  failure.append_child(pugi::node_pcdata).set_value(text.c_str());
}

}  // namespace

void WriteJunit(const std::string& file, const std::vector<finished_case_t>& cases) {
  const auto failed =
      std::ranges::count_if(cases, [](const auto& each) { return !each.second.failures.empty(); });
  const double seconds = std::accumulate(
      cases.begin(), cases.end(), 0.0, [](double sum, const auto& each) { return sum + each.second.seconds; });
  pugi::xml_document document;
  pugi::xml_node suite = document.append_child("testsuites").append_child("testsuite");
  suite.append_attribute("name") = "hx7 check";
  suite.append_attribute("tests") = static_cast<unsigned long long>(cases.size());
  suite.append_attribute("failures") = static_cast<long long>(failed);
  suite.append_attribute("time") = seconds;
  for (const auto& [run, result] : cases) AddCase(suite, run, result);
  if (!document.save_file(file.c_str(), "  ")) throw host::Failure("cannot write " + file);
}

}  // namespace check
