// The result of one log: what the display showed for it. One file, lines of JSON packed with zstd:
//
// | line  | members                                                                                      |
// |-------|----------------------------------------------------------------------------------------------|
// | first | form: 1; size, modified_us and digest of the log; display: the digest of the program film and of |
// |       | the configuration; page: the one that the film begins on                                     |
// | then  | the film's records with what can be seen and heard: t, page, look, title, svg, elements, sound |
// | last  | end: records, digest of all records, problem: why the log could not be read to its end       |
#pragma once

#include <cstdint>
#include <fstream>
#include <istream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/log_check/digest.h"

namespace host {
class NewFile;
class PackingBuffer;
class UnpackingBuffer;
}  // namespace host

namespace host::log_check {

struct log_stamp_t {
  std::uint64_t size = 0;
  std::int64_t modified_us = 0;
  std::string digest;
};

struct film_result_t {
  log_stamp_t log;
  std::string display;
  std::string page;
  std::uint64_t records = 0;
  std::string films = {};    // digest of the records
  std::string problem = {};  // empty: the log was read to its end
};

class FilmResultWriter {
 public:
  // Makes the folders of the file. `result` says what is known before the film. Throws Failure.
  FilmResultWriter(const std::string& file, film_result_t result);
  ~FilmResultWriter();  // a result without Finish leaves no file
  FilmResultWriter(const FilmResultWriter&) = delete;
  FilmResultWriter& operator=(const FilmResultWriter&) = delete;

  // Takes a record of `film`. Keeps of it what can be seen and heard.
  void Add(std::string_view record);
  film_result_t Finish(const std::string& problem);

 private:
  void WriteLine(const std::string& line);

  film_result_t result_;
  std::unique_ptr<NewFile> file_;
  std::unique_ptr<PackingBuffer> packing_;
  Digest digest_;
};

// Reads the records one by one.
class FilmResultReader {
 public:
  explicit FilmResultReader(const std::string& file);
  ~FilmResultReader();
  FilmResultReader(const FilmResultReader&) = delete;
  FilmResultReader& operator=(const FilmResultReader&) = delete;

  // The next record; empty at the end, and where the file is damaged.
  std::optional<std::string> Next();
  // What the file says of itself, after the last record; empty where it is not whole.
  const std::optional<film_result_t>& Result() const { return whole_; }

 private:
  void ReadFirst();
  void ReadLast(const std::string& line);

  std::ifstream file_;
  std::unique_ptr<UnpackingBuffer> unpacking_;
  std::istream lines_;
  film_result_t result_;
  Digest digest_;
  std::optional<film_result_t> whole_;
};

// Reads the whole file. Empty where there is none, or it is not whole.
std::optional<film_result_t> ReadFilmResult(const std::string& file);

}  // namespace host::log_check
