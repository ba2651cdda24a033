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
constexpr int COLUMNS = static_cast<int>(LOOKS * WORD_LANGUAGES);
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

constexpr std::string_view BASE64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string EncodeBase64(const std::string& bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = group << 8 | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += i + k > bytes.size() ? '=' : BASE64[group >> (18 - 6 * k) & 63];
    }
  }
  return text;
}

}  // namespace

std::string DrawSheet(ScreenModel& model, const sheet_options_t& options,
                      const std::function<void(const std::string&)>& step) {
  const sheet_grid_t grid{options.width};
  pixels_t sheet = MakeSheet(grid, static_cast<int>(options.pages.size() * SheetScenes().size()));
  int row = 0;
  for (const std::string& page : options.pages) {
    step(page);
    model.ShowPage(page);
    for (const design_scene_t& scene : SheetScenes()) {
      Write(sheet, page, 2, grid.Down(row) + 40, LEFT - 4);
      Write(sheet, scene.name, 2, grid.Down(row) + 58, LEFT - 4);
      for (int column = 0; column < COLUMNS; ++column) {
        ShowScene(model, scene, ColumnLanguage(column), LookOf(column));
        Place(sheet, RenderPixels(model.Svg(), grid.width, grid.Height()), grid.Across(column), grid.Down(row));
      }
      ++row;
    }
  }
  return WritePng(sheet);
}

std::string WriteSheetPage(const sheet_options_t& options, const std::string& png) {
  const sheet_grid_t grid{options.width};
  std::ostringstream html;
  html << "<!doctype html>\n<html lang=\"en\">\n<meta charset=\"utf-8\">\n<title>Screen "
          "design</title>\n<style>\n"
          "body{background:#30363d;color:#fff;font:14px sans-serif}\n"
          "td,th{padding:2px;text-align:left;font-weight:normal}thead "
          "th{position:sticky;top:0;background:#30363d}\n"
          "i{display:block;width:"
       << grid.width << "px;height:" << grid.Height() << "px;background-image:url(data:image/png;base64,"
       << EncodeBase64(png)
       << ")}\ni:hover{transform:scale(2);position:relative;z-index:1}\n</style>\n<table><thead><tr><th>";
  for (int column = 0; column < COLUMNS; ++column) html << "<th>" << ColumnName(column);
  html << "</thead>\n";
  int row = 0;
  for (const std::string& page : options.pages) {
    for (const design_scene_t& scene : SheetScenes()) {
      html << "<tr><th>" << page << "<br>" << scene.name;
      for (int column = 0; column < COLUMNS; ++column) {
        html << "<td><i style=\"background-position:-" << grid.Across(column) << "px -" << grid.Down(row)
             << "px\" title=\"" << page << ", " << scene.name << ", " << ColumnName(column) << "\"></i>";
      }
      html << "\n";
      ++row;
    }
  }
  html << "</table>\n";
  return html.str();
}

}  // namespace unit
