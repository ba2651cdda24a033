// From repaired host text to the code points that a field holds, with the full-width expansion of ASCII.
//
// The record's expandFullWidth decides; any thread, no lock. Diagnostics: what the host may well send goes to
// standard output, what it must not to standard error.
#pragma once

#include <string>
#include <vector>

#include "src/core/orvik_data.h"

// What a classifier made of an octet.
enum octet_class_t : int { OCTET_NOT_EXPANDED = 1, OCTET_EXPANDED = 3 };

// Appends one code point for each UTF-8 sequence of `text`, which FixUTF8String has repaired. Where ASCII is
// expanded, each octet goes through ProcessSingleOctet; elsewhere every character is appended as decoded. Text
// that was not repaired is reported and appended up to its first ill-formed sequence.
void ExpandSubCommand(orvikData_t* data, const std::string& text, std::vector<unsigned>& codepoints);

// Classifies one octet: a control character becomes validNonPrintableChar, an octet above 0x7F
// invalidNonPrintableChar, one with a full-width form that form; any other leaves the code point as it is.
int ProcessSingleOctet(orvikData_t* data, unsigned char octet, unsigned* codePoint);
// The look-up of the full-width form alone.
int ProcessExpandable(orvikData_t* data, unsigned char octet, unsigned* codePoint);
void ProcessUnexpandable(orvikData_t* data, unsigned char octet, unsigned* codePoint);
void ProcessValidNonPrintable(orvikData_t* data, unsigned char octet, unsigned* codePoint);
void ProcessInvalidNonPrintable(orvikData_t* data, unsigned char octet, unsigned* codePoint);
