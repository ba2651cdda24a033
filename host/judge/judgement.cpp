#include "host/judge/judgement.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "host/protocol/value_text.h"

namespace judge {

std::string DescribeFailure(const judgement_t& judgement) {
  std::ostringstream text;
  if (!judgement.place.file.empty()) {
    text << std::filesystem::path(judgement.place.file).filename().string() << ":" << judgement.place.line
         << ": ";
  }
  text << "expected " << judgement.words << " within " << judgement.within_s << " s: " << judgement.stood;
  return text.str();
}

std::string FormatJudgement(const judgement_t& judgement) {
  const nlohmann::json json = {{"file", judgement.place.file},     {"line", judgement.place.line},
                               {"expected", judgement.words},      {"within", judgement.within_s},
                               {"fulfilled", judgement.fulfilled}, {"crane", judgement.crane_s},
                               {"stood", judgement.stood}};
  return base::DumpJson(json) + "\n";
}

std::vector<judgement_t> ReadJudgements(const std::string& file) {
  std::vector<judgement_t> judgements;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    const nlohmann::json json = nlohmann::json::parse(line, nullptr, false);
    if (!json.is_object()) continue;
    judgements.push_back({{json.value("file", ""), json.value("line", std::size_t{0})},
                          json.value("expected", ""),
                          json.value("within", 0.0),
                          json.value("fulfilled", false),
                          json.value("crane", 0.0),
                          json.value("stood", "")});
  }
  return judgements;
}

}  // namespace judge
