// film: what the display showed for a log, as JSON, one record on each line (display_film.h says which).
//
// Standard input has the lines of the log in the form of candump -L, and between them, where they are known,
// the front keys ("(1436509052.249713) key 3 down"). hx7 starts this program for its reports and comparisons.
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <ostream>
#include <string>

#include <CLI/CLI.hpp>

#include "base/command_line/command_line.h"
#include "base/exit_status.h"
#include "base/installation.h"
#include "bus/log_lines.h"
#include "film/display/display_film.h"
#include "unit/database/database_owner.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t SETTLE_MS = 500;

// The folder of the film's database, sockets and files of the unit, gone with the program.
class FilmFolder {
 public:
  FilmFolder() {
    std::string pattern = fs::temp_directory_path() / "orvik-film-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make a folder " + pattern);
    path_ = pattern;
    setenv("ORVIK_RUNTIME_DIR", path_.c_str(), 1);
    setenv("ORVIK_ROOT", path_.c_str(), 1);
  }
  ~FilmFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  FilmFolder(const FilmFolder&) = delete;
  FilmFolder& operator=(const FilmFolder&) = delete;

  void CopyUnitFiles(const fs::path& config) const {
    if (fs::is_directory(config / "root")) fs::copy(config / "root", path_, fs::copy_options::recursive);
  }

 private:
  fs::path path_;
};

void MakeFilm(const film::film_options_t& options, std::ostream& out) {
  const FilmFolder folder;
  folder.CopyUnitFiles(options.configFolder);
  film::DisplayFilm display(options, [&out](const std::string& record) { out << record << '\n'; });
  for (std::string line; std::getline(std::cin, line);) {
    if (const auto entry = bus::ParseLogLine(line)) {
      display.Take(entry->frame);
    } else if (const auto key = bus::ParseKeyLine(line)) {
      display.Take(*key);
    }
  }
  display.Finish(SETTLE_MS);
  unit::RemoveDatabase();
}

// Does not return: the application's tasks still wait and use objects of the process.
[[noreturn]] void RunFilm(film::film_options_t& options) {
  std::ostream records(std::cout.rdbuf(std::cerr.rdbuf()));  // standard output has records alone
  try {
    options.configFolder = base::FindConfigFolder(options.configFolder);
    MakeFilm(options, records);
  } catch (const std::exception& error) {
    std::cerr << "film: " << error.what() << '\n';
    std::quick_exit(base::EXIT_FAILED);
  }
  records.flush();
  std::quick_exit(records ? base::EXIT_DONE : base::EXIT_FAILED);
}

}  // namespace

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  CLI::App app("What the display showed for a log, as JSON, one record on each line", "film");
  film::film_options_t options;
  app.add_option("--config", options.configFolder, "The configuration's folder");
  app.add_option("--page", options.page,
                 "The page that the film begins on; without it, the display is switched on");
  app.footer(
      "Standard input has the lines of the log in the form of candump -L, and between them, where they are\n"
      "known, the front keys: (1436509052.249713) key 3 down. hx7 report and hx7 check --logs start film.");
  app.callback([&options] { RunFilm(options); });
  return base::RunCommandLine(app, argc, argv, base::EXIT_DONE);
}
