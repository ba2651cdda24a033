// Host text as bytes: the repair that makes it well-formed UTF-8 (RFC 3629), and the marks used for it.
#pragma once

#include <string>
#include <string_view>

// The UTF-8 bytes of single characters.
constexpr std::string_view SPACE_OCTET = "\x20";
constexpr std::string_view LOW_LINE_OCTET = "\x5F";
constexpr std::string_view LEFT_CURLY_BRACKET_OCTET = "\x7B";
constexpr std::string_view RIGHT_CURLY_BRACKET_OCTET = "\x7D";
constexpr std::string_view NO_BREAK_SPACE_OCTET = "\xC2\xA0";
constexpr std::string_view IDEOGRAPHIC_SPACE_OCTET = "\xE3\x80\x80";
constexpr std::string_view FULLWIDTH_QUESTION_MARK_OCTET = "\xEF\xBC\x9F";
constexpr std::string_view FULLWIDTH_LOW_LINE_OCTET = "\xEF\xBC\xBF";
constexpr std::string_view FULLWIDTH_LEFT_CURLY_BRACKET_OCTET = "\xEF\xBD\x9B";
constexpr std::string_view FULLWIDTH_RIGHT_CURLY_BRACKET_OCTET = "\xEF\xBD\x9D";

// Replaces every ill-formed sequence of `s` by U+FF1F, so that a checked decoder accepts all of it afterwards;
// well-formed text is left as it is. One pass; reports nothing. What is cut off by the end of the text gives
// two marks, and each of its continuation bytes one more. U+FFFE and U+FFFF count as ill-formed.
void FixUTF8String(std::string& s);

// Removes blanks (0x20) and tabs (0x09) from both ends.
void TrimSpaces(std::string& s);
