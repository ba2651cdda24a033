// The words of the screen, the window and the front panel in the operator's languages: config/words/*.xml.
//
// One file a language:
//   <words language="1" name="Español"><word key="load">CARGA</word> ... </words>
// `language` is the value of OrvikLanguage. Texts that the host sends are not in it.
#pragma once

#include <array>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "unit/screen/design/value_rule.h"

namespace unit {

constexpr std::size_t WORD_LANGUAGES = 6;  // English, Spanish, Portuguese, Chinese, Russian, French

using words_t = std::map<std::string, std::string>;  // by key

struct word_catalogue_t {
  std::array<words_t, WORD_LANGUAGES> languages;

  // English for a language that is not known or does not exist.
  const words_t& Of(const variable_value_t& language) const;
};

// Reads every *.xml of the folder. What cannot be read, has an unknown or a second language, or names a key
// twice is reported through `problems`, one line each.
word_catalogue_t ReadWords(const std::filesystem::path& folder, std::vector<std::string>& problems);

// One line for each key that a language lacks, though another has it or it is among `used`, and for each key
// that no user has: neither `used` nor under one of the `prefixes` ("panel.", "window.") of other users.
std::vector<std::string> CheckWords(const word_catalogue_t& catalogue, const std::set<std::string>& used,
                                    const std::set<std::string>& prefixes);

}  // namespace unit
