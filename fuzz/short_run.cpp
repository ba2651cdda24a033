// Runs a fuzz target without libFuzzer, for compilers that have none.
//
//   fuzz_NAME RUNS FOLDER   runs each file of FOLDER/seeds, then RUNS mutations of them, the same ones each
//   time fuzz_NAME FILE          runs one input
//
// FOLDER/words has one quoted token a line, in which \x22 stands for a double quote. The target's own output is
// dropped. Each input ends at a page that cannot be read. One that breaks the target is written to the file
// NAME.failed.
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include <fcntl.h>

#include "fuzz/fuzz_input.h"

namespace {

namespace fs = std::filesystem;
using input_t = std::vector<std::uint8_t>;
using inputs_t = std::vector<input_t>;

constexpr std::size_t MOST_BYTES = 65'536;  // of an input; a multiple of every page size

std::uint8_t* end = nullptr;  // of the input
std::size_t inputSize = 0;
int messages = STDERR_FILENO;  // the process's own standard error
std::string failedFile;

void RunGuarded(const input_t& input) {
  inputSize = std::min(input.size(), MOST_BYTES);
  std::copy_n(input.begin(), inputSize, end - inputSize);
  fuzz::RunInput({end - inputSize, inputSize});
}

void ReportFailure(int number) {
  const int file = open(failedFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const bool isWritten = write(file, end - inputSize, inputSize) == static_cast<ssize_t>(inputSize);
  dprintf(messages, "signal %d, broken rule in line %d; the input is in %s\n", number, fuzz::brokenLine,
          isWritten ? failedFile.c_str() : "no file: the folder cannot be written");
  _exit(1);
}

void PrepareRun() {
  void* const memory =
      mmap(nullptr, 2 * MOST_BYTES, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  end = static_cast<std::uint8_t*>(memory) + MOST_BYTES;
  if (memory == MAP_FAILED || mprotect(end, MOST_BYTES, PROT_NONE) != 0) std::abort();
  for (const int number : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) std::signal(number, ReportFailure);
  messages = dup(STDERR_FILENO);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
}

input_t ReadInput(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inputs_t ReadSeeds(const fs::path& folder) {
  std::vector<fs::path> files(fs::directory_iterator(folder), fs::directory_iterator{});
  std::ranges::sort(files);  // the same runs on every file system
  inputs_t seeds;
  std::ranges::transform(files, std::back_inserter(seeds), ReadInput);
  return seeds;
}

inputs_t ReadWords(const fs::path& path) {
  inputs_t words = {{0xFF}, {0xFF, 0xFF, 0xFF, 0x7F}, {0, 0, 0, 0x80}, {0, 0, 0, 0}};
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    for (std::size_t at = 0; (at = line.find("\\x22", at)) != std::string::npos;) line.replace(at, 4, "\"");
    words.emplace_back(line.begin() + 1, line.end() - 1);
  }
  return words;
}

std::mt19937 random1{1};

std::size_t Below(std::size_t bound) {
  return random1() % bound;
}

// Takes out some bytes at a place, and puts the part there.
void Replace(input_t& input, std::size_t erased, const input_t& part) {
  const auto at = input.begin() + static_cast<std::ptrdiff_t>(Below(input.size() + 1));
  const auto left = std::min<std::ptrdiff_t>(input.end() - at, static_cast<std::ptrdiff_t>(erased));
  input.insert(input.erase(at, at + left), part.begin(), part.end());
}

void Change(input_t& input, const input_t& seed, const input_t& word) {
  const std::size_t kind = Below(input.empty() ? 3 : 8);
  const auto byte = static_cast<std::uint8_t>(random1());
  if (kind == 0) return Replace(input, 0, {byte});
  if (kind == 1) return Replace(input, 0, word);
  if (kind == 2) return Replace(input, 0, seed);
  if (kind == 3) return Replace(input, 1 + Below(8), {});
  if (kind == 4) return Replace(input, word.size(), word);
  if (kind == 5) return input.resize(Below(input.size()));
  std::uint8_t& changed = input[Below(input.size())];
  // One more or less, where lengths and bounds stand.
  changed = kind == 6 ? byte : static_cast<std::uint8_t>(changed + (byte % 2 == 0 ? 1 : -1));
}

}  // namespace

int main(int argc, char** argv) {
  failedFile = fs::path(argv[0]).filename().string() + ".failed";
  PrepareRun();
  if (argc == 2) RunGuarded(ReadInput(argv[1]));
  if (argc != 3) return argc == 2 ? 0 : 2;
  const inputs_t seeds = ReadSeeds(fs::path(argv[2]) / "seeds");
  const inputs_t words = ReadWords(fs::path(argv[2]) / "words");
  std::ranges::for_each(seeds, RunGuarded);
  for (long runs = std::atol(argv[1]); runs > 0; --runs) {
    input_t input = seeds[Below(seeds.size())];
    for (std::size_t changes = 1 + Below(6); changes > 0; --changes) {
      Change(input, seeds[Below(seeds.size())], words[Below(words.size())]);
    }
    RunGuarded(input);
  }
  dprintf(messages, "%zu seeds, %s mutations\n", seeds.size(), argv[1]);
  return 0;
}
