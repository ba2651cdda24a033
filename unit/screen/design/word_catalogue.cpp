#include "unit/screen/design/word_catalogue.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include <pugixml.hpp>

#include "unit/screen/design/page_parts.h"

namespace unit {
namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, WORD_LANGUAGES> NAMES{"English", "Spanish", "Portuguese",
                                                        "Chinese", "Russian", "French"};

// A page may show a word in many places.
constexpr std::size_t MOST_WORD_BYTES = 1000;

void ReadWordFile(const fs::path& file, word_catalogue_t& catalogue) {
  pugi::xml_document document;
  LoadDesignFile(document, file);
  const pugi::xml_node root = document.child("words");
  const int language = root.attribute("language").as_int(-1);
  if (language < 0 || language >= static_cast<int>(WORD_LANGUAGES)) {
    throw std::runtime_error("<words> needs language, 0 to 5");
  }
  words_t& words = catalogue.languages.at(static_cast<std::size_t>(language));
  if (!words.empty()) throw std::runtime_error("another file has the same language");
  for (const pugi::xml_node& word : root.children("word")) {
    const std::string key = word.attribute("key").value();
    const std::string text = word.text().get();
    if (key.empty() || text.empty()) throw std::runtime_error("a word needs key and text");
    if (text.size() > MOST_WORD_BYTES) {
      throw std::runtime_error("the word " + key + " has more than " + std::to_string(MOST_WORD_BYTES) +
                               " bytes");
    }
    if (!words.emplace(key, text).second) throw std::runtime_error("the word " + key + " stands twice");
  }
}

bool HasPrefix(const std::string& key, const std::set<std::string>& prefixes) {
  return std::any_of(prefixes.begin(), prefixes.end(),
                     [&](const std::string& prefix) { return key.starts_with(prefix); });
}

}  // namespace

const words_t& word_catalogue_t::Of(const variable_value_t& language) const {
  const bool known = language && *language >= 0 && *language < static_cast<double>(WORD_LANGUAGES);
  return languages.at(known ? static_cast<std::size_t>(*language) : 0);
}

word_catalogue_t ReadWords(const fs::path& folder, std::vector<std::string>& problems) {
  word_catalogue_t catalogue;
  std::set<fs::path> files;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.path().extension() == ".xml") files.insert(entry.path());
  }
  if (error) problems.push_back(folder.string() + ": " + error.message());
  for (const fs::path& file : files) {
    try {
      ReadWordFile(file, catalogue);
    } catch (const std::runtime_error& refused) {
      problems.push_back(file.string() + ": " + refused.what());
    }
  }
  return catalogue;
}

std::vector<std::string> CheckWords(const word_catalogue_t& catalogue, const std::set<std::string>& used,
                                    const std::set<std::string>& prefixes) {
  std::set<std::string> keys = used;
  for (const words_t& words : catalogue.languages) {
    for (const auto& [key, text] : words) keys.insert(key);
  }
  std::vector<std::string> problems;
  for (const std::string& key : keys) {
    for (std::size_t i = 0; i < WORD_LANGUAGES; ++i) {
      if (catalogue.languages.at(i).contains(key)) continue;
      problems.push_back(std::string("words: ") + NAMES.at(i) + " lacks " + key);
    }
    if (!used.contains(key) && !HasPrefix(key, prefixes)) problems.push_back("words: nothing uses " + key);
  }
  return problems;
}

}  // namespace unit
