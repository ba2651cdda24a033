#include "unit/bundle/bundle_list.h"

#include <exception>
#include <iomanip>
#include <iostream>

#include <nlohmann/json.hpp>

#include "base/exit_status.h"
#include "base/json_text.h"
#include "unit/bundle/bundle.h"
#include "unit/bundle/foreign_archive.h"

namespace unit {
namespace {

using nlohmann::json;

constexpr int BYTES_WIDTH = 10;

void ListAsJson(const archive_t& bundle) {
  const auto about = bundle.find(BUNDLE_ABOUT);
  const json parsed = about == bundle.end() ? json() : json::parse(about->second, nullptr, false);
  json files = json::array();
  for (const auto& [name, content] : bundle) files.push_back({{"name", name}, {"bytes", content.size()}});
  std::cout << base::DumpJson({{"about", parsed.is_object() ? parsed : json()}, {"files", std::move(files)}})
            << '\n';
}

void ListAsText(const archive_t& bundle) {
  std::cout << DescribeBundle(bundle) << '\n';
  for (const auto& [name, content] : bundle)
    std::cout << std::setw(BYTES_WIDTH) << content.size() << "  " << name << '\n';
}

}  // namespace

int ListBundle(const std::string& file, bool asJson, const std::function<bool()>& goOn) {
  bool isStopped = false;
  try {
    const archive_t bundle = ReadForeignArchive(file, [&] { return !(isStopped = !goOn()); });
    asJson ? ListAsJson(bundle) : ListAsText(bundle);
    return base::EXIT_DONE;
  } catch (const std::exception& error) {
    std::cerr << "unit bundle: " << error.what() << '\n';
    return isStopped ? base::EXIT_INTERRUPTED : base::EXIT_CALLED_WRONGLY;
  }
}

}  // namespace unit
