// Measures reading the generic configuration and a document of 10 MB. For comparison: a library that builds a
// tree (pugixml) and one that reports elements as it reads them (Expat). All read the name attribute of every
// element.
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

#include <benchmark/benchmark.h>
#include <expat.h>
#include <malloc.h>
#include <unistd.h>

#include <pugixml.hpp>

#include "src/services/preference_reader.h"

namespace {

constexpr std::size_t LARGE_SIZE = 10'000'000;

// Bytes that `new` has allocated and `delete` has not freed.
std::size_t liveBytes = 0;

std::string LoadDocument() {
  std::ifstream file(ORVIK_CONFIG_DIRECTORY "/generic.xml");
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// The sections of the generic configuration again and again, in a file that is removed at the end.
class LargeFile {
 public:
  LargeFile() : path_(std::filesystem::temp_directory_path() / ("orvik-bench-" + std::to_string(getpid()))) {
    const std::string document = LoadDocument();
    const std::size_t first = document.find("  <Actions");
    const std::string_view sections(&document[first], document.rfind("</orvik-generic>") - first);
    std::ofstream file(path_);
    file << "<orvik-generic>\n";
    for (std::size_t size = 0; size < LARGE_SIZE; size += sections.size()) file << sections;
    file << "</orvik-generic>\n";
  }
  ~LargeFile() { std::filesystem::remove(path_); }
  LargeFile(const LargeFile&) = delete;
  LargeFile& operator=(const LargeFile&) = delete;
  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path path_;
};

std::size_t ReadWithReader(std::istream& stream, PREF::Reader& reader) {
  std::size_t elements = 0;
  if (!stream) std::abort();
  reader.beginParsing();
  for (auto* section = reader.getFirstChild(); section != nullptr; section = reader.getNextSibling()) {
    for (auto* item = reader.getFirstChild(); item != nullptr; item = reader.getNextSibling()) {
      benchmark::DoNotOptimize(item->getAttributeString("name"));
      ++elements;
    }
  }
  return elements;
}

// Expat calls it for every start of an element; `elements` counts those with a name.
void CountNamed(void* elements, const XML_Char* /*element*/, const XML_Char** attributes) {
  for (; *attributes != nullptr; attributes += 2) {
    if (std::string_view(attributes[0]) != "name") continue;
    benchmark::DoNotOptimize(attributes[1]);
    ++*static_cast<std::size_t*>(elements);
  }
}

std::size_t ReadWithExpat(std::istream& stream) {
  std::size_t elements = 0;
  XML_Parser parser = XML_ParserCreate(nullptr);
  XML_SetUserData(parser, &elements);
  XML_SetElementHandler(parser, CountNamed, nullptr);
  std::array<char, 4096> block{};
  do {
    stream.read(block.data(), block.size());
    if (XML_Parse(parser, block.data(), static_cast<int>(stream.gcount()), stream ? 0 : 1) == 0) std::abort();
  } while (stream);
  XML_ParserFree(parser);
  return elements;
}

void BmPreferenceReader(benchmark::State& state) {
  const std::string document = LoadDocument();
  std::size_t elements = 0;
  for (auto _ : state) {
    std::istringstream stream(document);
    PREF::Reader reader(stream);
    elements += ReadWithReader(stream, reader);
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

void BmExpat(benchmark::State& state) {
  const std::string document = LoadDocument();
  std::size_t elements = 0;
  for (auto _ : state) {
    std::istringstream stream(document);
    elements += ReadWithExpat(stream);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(elements));
}
BENCHMARK(BmExpat);

// "held": the bytes that the reader has allocated when it has read the whole document. Its block comes in
// addition.
void BmPreferenceReaderLarge(benchmark::State& state) {
  const LargeFile file;
  for (auto _ : state) {
    std::ifstream stream(file.Path());
    const std::size_t before = liveBytes;
    PREF::Reader reader(stream);
    benchmark::DoNotOptimize(ReadWithReader(stream, reader));
    state.counters["held"] = static_cast<double>(liveBytes - before);
  }
}
BENCHMARK(BmPreferenceReaderLarge)->Unit(benchmark::kMillisecond);

void BmExpatLarge(benchmark::State& state) {
  const LargeFile file;
  for (auto _ : state) {
    std::ifstream stream(file.Path());
    benchmark::DoNotOptimize(ReadWithExpat(stream));
  }
}
BENCHMARK(BmExpatLarge)->Unit(benchmark::kMillisecond);

}  // namespace

void* operator new(std::size_t size) {
  void* const memory = std::malloc(size);
  if (memory == nullptr) std::abort();
  liveBytes += malloc_usable_size(memory);
  return memory;
}
void operator delete(void* memory) noexcept {
  liveBytes -= malloc_usable_size(memory);
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}

BENCHMARK_MAIN();
