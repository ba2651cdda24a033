#include "unit/design/contact_sheet.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <sstream>
#include <vector>

#include "unit/design/design_scenes.h"
#include "unit/screen/render/renderer.h"

namespace unit {
namespace {

constexpr int GAP = 4;
constexpr int LEFT = 120, TOP = 24;
// All languages by day, then the first by night: its colours are those of all.
constexpr int COLUMNS = static_cast<int>(WORD_LANGUAGES) + 1;
constexpr std::uint32_t PAPER = 0x30363D;

// Where the pictures of a sheet stand.
struct sheet_grid_t {
  int width = 0;  // of a picture

  int Height() const { return width * 3 / 4; }
  int Across(int column) const { return LEFT + column * (width + GAP); }
  int Down(int row) const { return TOP + row * (Height() + GAP); }
};

look_t LookOf(int column) {
  return column < static_cast<int>(WORD_LANGUAGES) ? LOOK_DAY : LOOK_NIGHT;
}
int ColumnLanguage(int column) {
  return column % static_cast<int>(WORD_LANGUAGES);
}
std::string ColumnName(int column) {
  return std::string(LanguageName(ColumnLanguage(column))) + (LookOf(column) == LOOK_DAY ? ", day" : ", night");
}

void Place(pixels_t& sheet, const pixels_t& cell, int left, int top) {
  for (int y = 0; y < cell.height; ++y) {
    const auto* row = &cell.values[static_cast<std::size_t>(y) * static_cast<std::size_t>(cell.width)];
    std::copy_n(row, cell.width,
                &sheet.values[static_cast<std::size_t>(top + y) * static_cast<std::size_t>(sheet.width) +
                              static_cast<std::size_t>(left)]);
  }
}

// A word of the sheet itself.
void Write(pixels_t& sheet, const std::string& text, int left, int top, int width) {
  std::ostringstream svg;
  svg << R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 )" << width
      << R"( 18"><rect width="100%" height="100%" fill="#30363d"/><text x="2" y="13" font-family="B612, sans-serif" )"
      << R"(font-size="12" fill="#ffffff">)" << text << "</text></svg>";
  Place(sheet, RenderPixels(svg.str(), width, 18), left, top);
}

pixels_t MakeSheet(const sheet_grid_t& grid, int rows) {
  pixels_t sheet{grid.Across(COLUMNS), grid.Down(rows), {}};
  sheet.values.assign(static_cast<std::size_t>(sheet.width) * static_cast<std::size_t>(sheet.height), PAPER);
  for (int column = 0; column < COLUMNS; ++column) {
    Write(sheet, ColumnName(column), grid.Across(column), 2, grid.width);
  }
  return sheet;
}

struct sheet_row_t {
  std::string page;
  const design_scene_t& scene;
};

// A page that the screen service leaves when the link is lost is never seen in that state.
std::vector<sheet_row_t> ListRows(const design_t& design, const std::vector<std::string>& pages) {
  std::vector<sheet_row_t> rows;
  for (const std::string& page : pages) {
    for (const design_scene_t& scene : SheetScenes()) {
      if (scene.state == DATA_LINK_LOST && !design.at(page).lostLinkPage.empty()) continue;
      rows.push_back({page, scene});
    }
  }
  return rows;
}

void DrawRow(pixels_t& sheet, const sheet_grid_t& grid, int row, ScreenModel& model, const sheet_row_t& shown) {
  Write(sheet, shown.page, 2, grid.Down(row) + 40, LEFT - 4);
  Write(sheet, shown.scene.name, 2, grid.Down(row) + 58, LEFT - 4);
  for (int column = 0; column < COLUMNS; ++column) {
    ShowScene(model, shown.scene, ColumnLanguage(column), LookOf(column));
    Place(sheet, RenderPixels(model.Svg(), grid.width, grid.Height()), grid.Across(column), grid.Down(row));
  }
}

void WriteRow(std::ostream& html, const sheet_grid_t& grid, int row, const sheet_row_t& shown) {
  html << "<tr><th>" << shown.page << "<br>" << shown.scene.name;
  for (int column = 0; column < COLUMNS; ++column) {
    html << "<td><i style=\"background-position:-" << grid.Across(column) << "px -" << grid.Down(row)
         << "px\" title=\"" << shown.page << ", " << shown.scene.name << ", " << ColumnName(column)
         << "\"></i>";
  }
  html << "\n";
}

}  // namespace

std::string DrawSheet(ScreenModel& model, const sheet_options_t& options,
                      const std::function<void(const std::string&)>& step) {
  const sheet_grid_t grid{options.width};
  const std::vector<sheet_row_t> rows = ListRows(model.Design(), options.pages);
  pixels_t sheet = MakeSheet(grid, static_cast<int>(rows.size()));
  for (std::size_t row = 0; row < rows.size(); ++row) {
    if (row == 0 || rows[row].page != rows[row - 1].page) {
      step(rows[row].page);
      model.ShowPage(rows[row].page);
    }
    DrawRow(sheet, grid, static_cast<int>(row), model, rows[row]);
  }
  return WritePng(sheet);
}

std::string WriteSheetPage(const design_t& design, const sheet_options_t& options, const std::string& picture) {
  const sheet_grid_t grid{options.width};
  std::ostringstream html;
  html << "<!doctype html>\n<html lang=\"en\">\n<meta charset=\"utf-8\">\n<title>Screen "
          "design</title>\n<style>\n"
          "body{background:#30363d;color:#fff;font:14px sans-serif}\n"
          "td,th{padding:2px;text-align:left;font-weight:normal}thead "
          "th{position:sticky;top:0;background:#30363d}\n"
          "i{display:block;width:"
       << grid.width << "px;height:" << grid.Height() << "px;background-image:url(" << picture
       << ")}\ni:hover{transform:scale(2);position:relative;z-index:1}\n</style>\n<table><thead><tr><th>";
  for (int column = 0; column < COLUMNS; ++column) html << "<th>" << ColumnName(column);
  html << "</thead>\n";
  int row = 0;
  for (const sheet_row_t& shown : ListRows(design, options.pages)) WriteRow(html, grid, row++, shown);
  html << "</table>\n";
  return html.str();
}

}  // namespace unit
