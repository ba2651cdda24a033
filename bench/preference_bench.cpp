// Measures reading the generic configuration. For comparison: a library that builds a tree of it. Both read the
// name attribute of every element.
#include <fstream>
#include <sstream>
#include <string>

#include <benchmark/benchmark.h>

#include <pugixml.hpp>

#include "src/services/preference_reader.h"

namespace {

std::string LoadDocument() {
  std::ifstream file(ORVIK_CONFIG_DIRECTORY "/generic.xml");
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void BmPreferenceReader(benchmark::State& state) {
  const std::string document = LoadDocument();
  std::size_t elements = 0;
  for (auto _ : state) {
    std::istringstream stream(document);
    PREF::Reader reader(stream);
    reader.beginParsing();
    for (auto* section = reader.getFirstChild(); section != nullptr; section = reader.getNextSibling()) {
      for (auto* item = reader.getFirstChild(); item != nullptr; item = reader.getNextSibling()) {
        benchmark::DoNotOptimize(item->getAttributeString("name"));
        ++elements;
      }
    }
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(elements));
}
BENCHMARK(BmPreferenceReader);

void BmPugixml(benchmark::State& state) {
  const std::string document = LoadDocument();
  std::size_t elements = 0;
  for (auto _ : state) {
    pugi::xml_document tree;
    tree.load_buffer(document.data(), document.size());
    for (const auto section : tree.document_element()) {
      for (const auto item : section) {
        benchmark::DoNotOptimize(item.attribute("name").value());
        ++elements;
      }
    }
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(elements));
}
BENCHMARK(BmPugixml);

}  // namespace

BENCHMARK_MAIN();
