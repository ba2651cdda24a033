#include "base/command_line/command_line.h"

#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "base/command_line/command_description.h"
#include "base/command_line/version.h"
#include "base/exit_status.h"
#include "base/nearest_word.h"

namespace base {
namespace {

std::vector<const CLI::App*> CommandsOf(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

std::string FullName(const CLI::App& app) {
  const CLI::App* const parent = app.get_parent();
  return parent == nullptr ? app.get_name() : FullName(*parent) + " " + app.get_name();
}

// Null where the line has no such command here.
const CLI::App* FindCommand(const CLI::App& app, const std::string& word) {
  for (const CLI::App* command : CommandsOf(app)) {
    if (command->get_name() == word) return command;
  }
  return nullptr;
}

std::string RefuseCommand(const CLI::App& app, const std::string& word) {
  std::vector<std::string> names;
  for (const CLI::App* command : CommandsOf(app)) names.push_back(command->get_name());
  return FullName(app) + ": no command \"" + word + "\"" + Suggest(word, names);
}

// Empty where the command has the option.
std::string RefuseOption(const CLI::App& app, const std::string& word) {
  const std::string name = word.substr(0, word.find('='));
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& known : option->get_lnames()) names.push_back("--" + known);
  }
  for (const std::string& known : names) {
    if (known == name) return {};
  }
  return FullName(app) + ": no option " + name + Suggest(name, names);
}

// How many words after this one are values of the option.
std::size_t CountValues(const CLI::App& app, const std::string& word) {
  const CLI::Option* const option = app.get_option_no_throw(word);
  return option == nullptr ? 0 : static_cast<std::size_t>(option->get_items_expected_min());
}

// Names the first word of the line that is no command and no option; empty where all are.
std::string FindMistyped(const CLI::App& top, std::span<char*> words) {
  const CLI::App* app = &top;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string word = words[i];
    if (word == "--") return {};
    if (word.starts_with("--")) {
      if (std::string problem = RefuseOption(*app, word); !problem.empty()) return problem;
      i += CountValues(*app, word);
    } else if (!CommandsOf(*app).empty() && !word.starts_with('-')) {
      const CLI::App* const command = FindCommand(*app, word);
      if (command == nullptr) return RefuseCommand(*app, word);
      app = command;
    }
  }
  return {};
}

}  // namespace

int RunCommandLine(CLI::App& app, int argc, char** argv, const int& result) {
  app.set_version_flag("--version", DescribeVersion(app.get_name()));
  if (argc == 2 && std::string_view(argv[1]) == "--describe-commands") {
    std::cout << DescribeCommands(app) << '\n';
    return EXIT_DONE;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    const std::string mistyped = FindMistyped(app, std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
    if (mistyped.empty()) {
      app.exit(error);
    } else {
      std::cerr << mistyped << "\nRun with --help for more information.\n";
    }
    return EXIT_CALLED_WRONGLY;
  }
  return result;
}

}  // namespace base
