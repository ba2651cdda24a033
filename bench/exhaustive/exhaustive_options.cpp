#include "bench/exhaustive/exhaustive_options.h"

#include <cstdio>
#include <exception>
#include <stdexcept>

#include <CLI/CLI.hpp>

namespace exhaustive {
namespace {

std::uint64_t Run(const proof_options_t& options,
                  const std::function<std::vector<check_t>(const proof_options_t&)>& makeChecks) {
  std::vector<check_t> checks = makeChecks(options);
  if (!options.only.empty())
    std::erase_if(checks, [&](const check_t& each) { return each.name != options.only; });
  if (checks.empty()) throw std::runtime_error("there is no check of the name " + options.only);
  return RunChecks(checks, options.run);
}

}  // namespace

int RunProof(int argc, char** argv, const std::string& about,
             const std::function<std::vector<check_t>(const proof_options_t&)>& makeChecks) {
  proof_options_t options;
  options.configDirectory = ORVIK_CONFIG_DIRECTORY;
  bool quiet = false;
  CLI::App app(about);
  app.add_option("--sample", options.sample,
                 "That many random numbers and all boundaries, instead of everything");
  app.add_option("--seed", options.seed, "Of the sample")->capture_default_str();
  app.add_option("--only", options.only, "One check alone, by its name");
  app.add_option("--state", options.run.stateFile,
                 "Note finished parts in this file, and pass over those that it names already");
  app.add_option("--workers", options.run.workers, "Processes; 0 is one for each core")->capture_default_str();
  app.add_option("--config", options.configDirectory, "The configuration's folder");
  app.add_flag("--quiet", quiet, "Show no progress");
  try {
    app.parse(argc, argv);
    options.run.progress = !quiet;
    const std::uint64_t differences = Run(options, makeChecks);
    std::printf("differences: %llu\n", static_cast<unsigned long long>(differences));
    return differences == 0 ? 0 : 1;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  } catch (const std::exception& error) {
    static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
    return 2;
  }
}

}  // namespace exhaustive
