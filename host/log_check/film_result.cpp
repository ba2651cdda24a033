#include "host/log_check/film_result.h"

#include <array>
#include <filesystem>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/log_forms/new_file.h"
#include "host/log_forms/packing.h"
#include "host/log_forms/unpacking.h"

namespace host::log_check {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

constexpr int FORM = 1;
constexpr std::array<const char*, 6> SHOWN = {"page", "look", "title", "svg", "elements", "sound"};

std::string Dumped(const json& value) {
  return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

}  // namespace

FilmResultWriter::FilmResultWriter(const std::string& file, film_result_t result) : result_(std::move(result)) {
  std::error_code error;
  fs::create_directories(fs::path(file).parent_path(), error);
  file_ = std::make_unique<NewFile>(file);
  packing_ = std::make_unique<PackingBuffer>(packing_t::ZSTD, file_->Out());
  WriteLine(Dumped({{"form", FORM},
                    {"size", result_.log.size},
                    {"modified_us", result_.log.modified_us},
                    {"digest", result_.log.digest},
                    {"display", result_.display},
                    {"page", result_.page}}));
}

FilmResultWriter::~FilmResultWriter() = default;

void FilmResultWriter::WriteLine(const std::string& line) {
  packing_->sputn(line.data(), static_cast<std::streamsize>(line.size()));
  packing_->sputc('\n');
}

void FilmResultWriter::Add(std::string_view record) {
  const json all = json::parse(record, nullptr, false);
  if (!all.is_object()) return;
  json shown;
  for (const char* member : SHOWN) {
    if (all.contains(member)) shown[member] = all[member];
  }
  if (shown.empty()) return;
  shown["t"] = all.value("t", std::int64_t{0});
  const std::string line = Dumped(shown);
  digest_.Add(line);
  WriteLine(line);
  ++result_.records;
}

film_result_t FilmResultWriter::Finish(const std::string& problem) {
  result_.films = digest_.Text();
  result_.problem = problem;
  WriteLine(Dumped(
      {{"end", {{"records", result_.records}, {"digest", result_.films}, {"problem", result_.problem}}}}));
  packing_->Finish();
  file_->Keep();
  return result_;
}

FilmResultReader::FilmResultReader(const std::string& file)
    : file_(file, std::ios::binary),
      unpacking_(std::make_unique<UnpackingBuffer>(file_)),
      lines_(unpacking_.get()) {
  ReadFirst();
}

FilmResultReader::~FilmResultReader() = default;

void FilmResultReader::ReadFirst() {
  std::string line;
  std::getline(lines_, line);
  const json first = json::parse(line, nullptr, false);
  if (!first.is_object() || first.value("form", 0) != FORM) {
    lines_.setstate(std::ios::failbit);
    return;
  }
  result_.log = {first.value("size", std::uint64_t{0}), first.value("modified_us", std::int64_t{0}),
                 first.value("digest", "")};
  result_.display = first.value("display", "");
  result_.page = first.value("page", "");
}

void FilmResultReader::ReadLast(const std::string& line) {
  const json last = json::parse(line, nullptr, false);
  if (!last.is_object() || !last.contains("end")) return;
  const json& end = last["end"];
  result_.films = end.value("digest", "");
  result_.problem = end.value("problem", "");
  if (result_.films == digest_.Text()) whole_ = result_;
}

std::optional<std::string> FilmResultReader::Next() {
  std::string line;
  if (!std::getline(lines_, line)) return std::nullopt;
  if (line.starts_with("{\"end\"")) {
    ReadLast(line);
    return std::nullopt;
  }
  digest_.Add(line);
  ++result_.records;
  return line;
}

std::optional<film_result_t> ReadFilmResult(const std::string& file) {
  FilmResultReader reader(file);
  try {
    while (reader.Next()) {
    }
  } catch (const json::exception&) {
    return std::nullopt;
  }
  return reader.Result();
}

}  // namespace host::log_check
