// Repair of host text into well-formed UTF-8 (RFC 3629), and UTF-8 constants of single characters.
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

// Replaces every ill-formed sequence of `s` by U+FF1F; a checked decoder then accepts the whole text.
// Well-formed text is not changed. A sequence that the end of the text cuts off becomes two marks, and one more
// for each of its continuation bytes. U+FFFE and U+FFFF count as ill-formed. Reports nothing.
void FixUTF8String(std::string& s);

// Removes blanks (0x20) and tabs (0x09) from both ends.
void TrimSpaces(std::string& s);
