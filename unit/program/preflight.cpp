#include "unit/program/preflight.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/descriptor.h"
#include "base/exit_status.h"
#include "base/host_port.h"
#include "http/address.h"
#include "unit/database/parameter_list.h"
#include "unit/program/parts.h"
#include "unit/program/run_folder.h"
#include "unit/screen/design/design.h"
#include "unit/screen/design/screen_names.h"
#include "unit/screen/design/word_catalogue.h"

namespace unit {
namespace {

namespace fs = std::filesystem;

void CheckAddresses(const run_plan_t& plan) {
  const options_t& options = plan.options;
  if (plan.parts.contains(PANEL_PART)) http::ParseAddress(options.httpAddress);
  if (!plan.parts.contains(J1939_PART) || options.bus != "local") return;
  try {
    base::ParseHostPort(options.socketcandAddress);
  } catch (const std::runtime_error& error) {
    throw std::runtime_error("--socketcand " + options.socketcandAddress + ": " + error.what() +
                             "; use for example 127.0.0.1:29536");
  }
}

// As the services read it when they start, so that the run would end there.
void CheckConfiguration(const run_plan_t& plan) {
  const fs::path folder = plan.options.configDirectory;
  const screen_names_t names = ReadScreenNames(plan.options.genericFile);
  if (plan.parts.contains("database")) ReadParameterFile((folder / "parameters.xml").string());
  if (!plan.parts.contains("screen")) return;
  std::vector<std::string> problems;
  const design_t design = ReadDesign(folder / "screen", WidgetNames(names), problems);
  for (const std::string& problem : CheckDesign(design)) problems.push_back(problem);
  ReadWords(folder / "words", problems);
  if (!problems.empty()) throw std::runtime_error(problems.front());
}

struct answer_t {
  int status = 0;
  std::string errors;
};

std::string ReadAll(int descriptor) {
  std::string text;
  std::array<char, 4096> bytes;
  for (ssize_t got = 0; (got = read(descriptor, bytes.data(), bytes.size())) != 0;) {
    if (got > 0) text.append(bytes.data(), static_cast<std::size_t>(got));
    if (got < 0 && errno != EINTR) break;
  }
  return text;
}

// Runs a program to its end. It gets no blocked signal, so that Ctrl-C ends it.
answer_t RunToItsEnd(std::vector<std::string> arguments) {
  std::vector<char*> raw;
  for (std::string& argument : arguments) raw.push_back(argument.data());
  raw.push_back(nullptr);
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error(std::strerror(errno));
  const base::Descriptor reading(ends[0]);
  base::Descriptor writing(ends[1]);
  posix_spawn_file_actions_t files;
  posix_spawnattr_t attributes;
  sigset_t none;
  sigemptyset(&none);
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, writing.Get(), STDERR_FILENO);
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
  posix_spawnattr_setsigmask(&attributes, &none);
  pid_t process = -1;
  const int problem = posix_spawn(&process, raw[0], &files, &attributes, raw.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  posix_spawnattr_destroy(&attributes);
  writing = base::Descriptor();
  if (problem != 0) throw std::runtime_error(arguments[0] + ": " + std::strerror(problem));
  answer_t answer{0, ReadAll(reading.Get())};
  waitpid(process, &answer.status, 0);
  return answer;
}

// hx7 says what is wrong in its last line.
void CheckHost(const run_plan_t& plan) {
  if (!HasHost(plan)) return;
  std::vector<std::string> arguments = HostArguments(plan);
  arguments.emplace_back("--check");
  const answer_t answer = RunToItsEnd(arguments);
  if (answer.status == 0) return;
  std::string text = answer.errors;
  while (text.ends_with('\n')) text.pop_back();
  constexpr std::string_view NAME = "hx7: ";
  if (text.starts_with(NAME)) text.erase(0, NAME.size());
  throw std::runtime_error(text.empty() ? "hx7 cannot check its part of the run" : text);
}

}  // namespace

std::string FindMistake(const run_plan_t& plan) {
  try {
    CheckAddresses(plan);
    if (plan.parts.contains(ORVIK_PART)) FindProgram(ORVIK_PART);
    CheckConfiguration(plan);
    CheckHost(plan);
    return {};
  } catch (const std::exception& error) {
    return error.what();
  }
}

}  // namespace unit
