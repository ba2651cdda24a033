#include "unit/design/design_command.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "base/exit_status.h"
#include "unit/design/contact_sheet.h"
#include "unit/design/design_findings.h"

namespace unit {
namespace {

namespace fs = std::filesystem;

void PrintStep(const std::string& what) {
  std::cerr << "unit design: " + what + "\n" << std::flush;
}

void WriteFile(const std::string& file, const std::string& bytes) {
  std::ofstream stream(file, std::ios::binary);
  stream << bytes;
  if (!stream.flush()) throw std::runtime_error(file + " cannot be written");
}

void WriteSheets(ScreenModel& model, const sheet_options_t& sheet, const std::vector<std::string>& files) {
  if (files.empty()) return;
  const std::string png =
      DrawSheet(model, sheet, [](const std::string& page) { PrintStep("drawing " + page); });
  for (const fs::path file : files) {
    const fs::path picture = fs::path(file).replace_extension(".png");
    WriteFile(picture, png);
    if (file.extension() == ".html")
      WriteFile(file, WriteSheetPage(model.Design(), sheet, picture.filename().string()));
  }
}

// The pages asked for, in the order in which they are numbered. Throws std::runtime_error with a name that no
// page has.
std::vector<std::string> ChoosePages(const design_t& design, std::vector<std::string> names) {
  if (names.empty()) {
    for (const auto& [name, page] : design) names.push_back(name);
  }
  for (const std::string& name : names) {
    if (!design.contains(name)) throw std::runtime_error("there is no page " + name);
  }
  std::sort(names.begin(), names.end(),
            [&](const auto& a, const auto& b) { return design.at(a).order < design.at(b).order; });
  return names;
}

void PrintExtremes(const text_extremes_t& extremes) {
  const auto text = [](double value) { return FormatPixels(value, 1); };
  std::cout << "smallest text " << text(extremes.size) << ", caption " << text(extremes.captionSize)
            << ", value " << text(extremes.valueSize) << " pixels; lowest contrast " << text(extremes.contrast)
            << " of a label, " << text(extremes.valueContrast) << " of a value\n";
}

int CheckAndDraw(const design_options_t& options) {
  const fs::path folder = fs::path(options.folder).lexically_normal();
  const fs::path config = (folder / ".").parent_path().parent_path();
  screen_names_t names = ReadScreenNames((config / "generic.xml").string());
  std::vector<std::string> findings;
  design_t design = ReadDesign(folder, WidgetNames(names), findings);
  if (design.empty()) throw std::runtime_error(folder.string() + ": the folder has no page (*.svg)");
  word_catalogue_t words = ReadWords(config / "words", findings);
  const auto add = [&](const std::vector<std::string>& more) {
    findings.insert(findings.end(), more.begin(), more.end());
  };
  add(CheckDesign(design));
  add(CheckWords(words, WordsUsed(design), {"panel.", "window."}));
  add(CheckNames(design, names));
  const sheet_options_t sheet{ChoosePages(design, options.pages), options.pictureWidth};
  ScreenModel model(std::move(names), std::move(design), std::move(words));
  const design_report_t report =
      CheckTexts(model, sheet.pages, [](const std::string& page) { PrintStep("checking " + page); });
  add(report.findings);
  for (const std::string& finding : findings) std::cout << finding << "\n";
  if (findings.empty()) PrintExtremes(report.extremes);
  WriteSheets(model, sheet, options.sheets);
  return findings.empty() ? base::EXIT_DONE : base::EXIT_FAILED;
}

}  // namespace

int CheckDesignFolder(const design_options_t& options) {
  try {
    return CheckAndDraw(options);
  } catch (const std::runtime_error& error) {
    std::cerr << "unit design: " << error.what() << "\n";
    return base::EXIT_CALLED_WRONGLY;
  }
}

}  // namespace unit
