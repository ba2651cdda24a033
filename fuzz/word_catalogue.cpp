// Fuzzes the files of words and the list of the database's parameters. A refusal names the file; words have
// keys and texts; an unknown language has the English words, and a language that lacks a word is reported;
// handles and names of parameters are unique and within their bounds.
#include "unit/screen/design/word_catalogue.h"

#include <filesystem>
#include <set>

#include "fuzz/fuzz_input.h"
#include "src/services/dbshm.h"
#include "tests/support/test_folder.h"
#include "unit/database/parameter_list.h"

namespace {

using fuzz::Require;

void CheckCatalogue(const unit::word_catalogue_t& catalogue) {
  std::size_t words = 0;
  for (const unit::words_t& language : catalogue.languages) {
    words += language.size();
    for (const auto& [key, text] : language) Require(!key.empty() && !text.empty());
  }
  Require(&catalogue.Of(-1) == catalogue.languages.data() && &catalogue.Of(6) == catalogue.languages.data());
  Require(unit::CheckWords(catalogue, {}, {""}).size() == words * (unit::WORD_LANGUAGES - 1));
}

void CheckParameters(std::string_view text) {
  try {
    std::set<std::string> names;
    std::set<unsigned> handles;
    for (const unit::parameter_t& parameter : unit::ReadParameters(text, "some.xml")) {
      Require(!parameter.name.empty() && parameter.name.size() < dbshm_layout::NAME_SIZE);
      Require(parameter.handle > 0 && parameter.handle < dbshm_layout::NAMED_HANDLES);
      Require(names.insert(parameter.name).second && handles.insert(parameter.handle).second);
    }
  } catch (const std::runtime_error& error) {
    Require(std::string_view(error.what()).starts_with("some.xml"));
  }
}

}  // namespace

void fuzz::RunInput(bytes_t input) {
  static const MemoryFile WORDS;
  static const TestFolder FOLDER;
  const std::filesystem::path link = FOLDER.Path() / "xx.xml";
  if (!std::filesystem::is_symlink(link)) std::filesystem::create_symlink(WORDS.Path(), link);
  WORDS.Write(TextOf(input));
  std::vector<std::string> problems;
  const unit::word_catalogue_t catalogue = unit::ReadWords(FOLDER.Path(), problems);
  Require(problems.size() <= 1 && (problems.empty() || problems[0].starts_with(link.string() + ": ")));
  if (problems.empty()) CheckCatalogue(catalogue);
  CheckParameters(TextOf(input));
}
