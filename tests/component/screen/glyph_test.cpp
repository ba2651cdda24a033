// Every character that the product can put on the screen has a glyph in the fonts that the design names.
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <fontconfig/fontconfig.h>
#include <gtest/gtest.h>
#include <utf8.h>

namespace unit {
namespace {

namespace fs = std::filesystem;

using pattern_t = std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)>;

pattern_t FindFont(const char* family) {
  FcPattern* wanted = FcPatternBuild(nullptr, FC_FAMILY, FcTypeString, family, nullptr);
  FcConfigSubstitute(nullptr, wanted, FcMatchPattern);
  FcDefaultSubstitute(wanted);
  FcResult result{};
  pattern_t found(FcFontMatch(nullptr, wanted, &result), FcPatternDestroy);
  FcPatternDestroy(wanted);
  return found;
}

bool HasFamily(const pattern_t& font, const std::string& family) {
  FcChar8* name = nullptr;
  for (int i = 0; FcPatternGetString(font.get(), FC_FAMILY, i, &name) == FcResultMatch; ++i) {
    if (family == reinterpret_cast<const char*>(name)) return true;
  }
  return false;
}

bool HasGlyph(const pattern_t& font, char32_t c) {
  FcCharSet* characters = nullptr;
  return FcPatternGetCharSet(font.get(), FC_CHARSET, 0, &characters) == FcResultMatch &&
         FcCharSetHasChar(characters, c) == FcTrue;
}

// Collects all characters of the files that hold the product's texts, comments included.
void Collect(const fs::path& folder, std::set<char32_t>& characters) {
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream stream(entry.path());
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (!utf8::is_valid(text.begin(), text.end())) continue;
    for (auto it = text.begin(); it != text.end();) {
      const char32_t c = utf8::unchecked::next(it);
      if (c > ' ') characters.insert(c);
    }
  }
}

std::set<char32_t> Characters() {
  std::set<char32_t> characters{0x2026, 0xFF1F, 0xFFFD};
  for (const char* folder : {"src", "host", "tools", "config"}) {
    Collect(fs::path(SOURCE_FOLDER) / folder, characters);
  }
  // The host may also send Latin and Cyrillic letters, and the full-width forms of ASCII.
  for (char32_t c = 0xA1; c <= 0xFF; ++c) characters.insert(c);
  for (char32_t c = 0x410; c <= 0x44F; ++c) characters.insert(c);
  for (char32_t c = 0xFF01; c <= 0xFF5E; ++c) characters.insert(c);
  characters.erase(0xAD);  // the soft hyphen is not drawn
  return characters;
}

TEST(FontsTest, HaveAGlyphForEveryCharacterOfTheProduct) {
  const std::set<char32_t> characters = Characters();
  ASSERT_TRUE(characters.contains(U'Я') && characters.contains(U'信')) << "the texts were not found";
  const std::array<std::vector<const char*>, 2> families{
      {{"B612", "DejaVu Sans", "Noto Sans CJK SC"},
       {"B612 Mono", "DejaVu Sans Mono", "Noto Sans Mono CJK SC"}}};
  for (const auto& chain : families) {
    std::vector<pattern_t> fonts;
    for (const char* family : chain) {
      fonts.push_back(FindFont(family));
      EXPECT_TRUE(HasFamily(fonts.back(), family)) << family << " is not installed; see tools/install-packages";
    }
    for (const char32_t c : characters) {
      const bool found =
          std::any_of(fonts.begin(), fonts.end(), [c](const auto& font) { return HasGlyph(font, c); });
      EXPECT_TRUE(found) << "no glyph for U+" << std::hex << static_cast<unsigned>(c) << " in "
                         << chain.front();
    }
  }
}

}  // namespace
}  // namespace unit
