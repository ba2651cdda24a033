// Measures the native picture of the operating page at 640 by 480: whole by librsvg, and by the retained
// picture after a page change, after one changed number and with nothing changed; and writing the picture as
// PNG.
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "unit/design/design_scenes.h"
#include "unit/screen/design/screen_model.h"
#include "unit/screen/design/word_catalogue.h"
#include "unit/screen/render/retained_picture.h"

namespace {

using namespace unit;

constexpr int WIDTH = 640, HEIGHT = 480;

ScreenModel MakeModel() {
  const std::filesystem::path config = ORVIK_CONFIG_DIRECTORY;
  std::vector<std::string> problems;
  const screen_names_t names = ReadScreenNames((config / "generic.xml").string());
  ScreenModel model(names, ReadDesign(config / "screen", WidgetNames(names), problems),
                    ReadWords(config / "words", problems));
  if (!problems.empty()) throw std::runtime_error(problems.front());
  return model;
}

// A page in the everyday state of the contact sheet.
std::string DocumentOf(ScreenModel& model, const std::string& page) {
  model.ShowPage(page);
  ShowScene(model, SheetScenes().front(), 0, LOOK_DAY);
  return model.Svg();
}

// The operating page with another number of parts of line.
std::string DocumentWithNumber(ScreenModel& model, int number) {
  model.SetVariable("OrvikPartsOfLine", number);
  return model.Svg();
}

void BmWholePicture(benchmark::State& state) {
  ScreenModel model = MakeModel();
  const std::string svg = DocumentOf(model, "Main");
  for (auto _ : state) benchmark::DoNotOptimize(RenderPixels(svg, WIDTH, HEIGHT));
}
BENCHMARK(BmWholePicture)->Unit(benchmark::kMillisecond);

// A page that was not shown before: nothing of it is kept.
void BmFirstPage(benchmark::State& state) {
  ScreenModel model = MakeModel();
  const std::string svg = DocumentOf(model, "Main");
  for (auto _ : state) {
    RetainedPicture picture;
    benchmark::DoNotOptimize(picture.Update(svg, WIDTH, HEIGHT));
  }
}
BENCHMARK(BmFirstPage)->Unit(benchmark::kMillisecond);

// Between two pages that were shown before; a number has changed in the meantime.
void BmPageChange(benchmark::State& state) {
  ScreenModel model = MakeModel();
  const std::string config = DocumentOf(model, "Config");
  DocumentOf(model, "Main");
  RetainedPicture picture;
  int number = 0;
  for (auto _ : state) {
    state.PauseTiming();
    const std::string svg = DocumentWithNumber(model, number++);
    picture.Update(config, WIDTH, HEIGHT);
    state.ResumeTiming();
    benchmark::DoNotOptimize(picture.Update(svg, WIDTH, HEIGHT));
  }
}
BENCHMARK(BmPageChange)->Unit(benchmark::kMillisecond);

// Each number is one that was not shown before, so that its text is laid out and drawn. With the copy of the
// pixels that the window's thread gets.
void BmOneNumber(benchmark::State& state) {
  ScreenModel model = MakeModel();
  RetainedPicture picture;
  picture.Update(DocumentOf(model, "Main"), WIDTH, HEIGHT);
  int number = 0;
  for (auto _ : state) {
    state.PauseTiming();
    const std::string svg = DocumentWithNumber(model, number++ % 10000);
    state.ResumeTiming();
    picture.Update(svg, WIDTH, HEIGHT);
    benchmark::DoNotOptimize(std::make_shared<pixels_t>(picture.Pixels()));
  }
}
BENCHMARK(BmOneNumber)->Unit(benchmark::kMillisecond);

// The same document again.
void BmNothingChanged(benchmark::State& state) {
  ScreenModel model = MakeModel();
  const std::string svg = DocumentOf(model, "Main");
  RetainedPicture picture;
  picture.Update(svg, WIDTH, HEIGHT);
  for (auto _ : state) benchmark::DoNotOptimize(picture.Update(svg, WIDTH, HEIGHT));
}
BENCHMARK(BmNothingChanged)->Unit(benchmark::kMillisecond);

void BmWritePng(benchmark::State& state) {
  ScreenModel model = MakeModel();
  const pixels_t pixels = RenderPixels(DocumentOf(model, "Main"), WIDTH, HEIGHT);
  for (auto _ : state) benchmark::DoNotOptimize(WritePng(pixels));
}
BENCHMARK(BmWritePng)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
