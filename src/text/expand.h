// Conversion of repaired host text into the code points of a field, with the full-width expansion of ASCII.
//
// ASCII is expanded when the record's expandFullWidth is 1. Any thread; no lock. Warnings about legal host text
// go to standard output, reports of faults to standard error.
#pragma once

#include <string>
#include <vector>

#include "src/core/orvik_data.h"

// Results of ProcessSingleOctet and ProcessExpandable.
enum octet_class_t : int { OCTET_NOT_EXPANDED = 1, OCTET_EXPANDED = 3 };

// Appends one code point for each UTF-8 sequence of `text`. When ASCII is expanded, each one-byte sequence goes
// through ProcessSingleOctet. FixUTF8String must have repaired the text: at an ill-formed sequence this
// function reports an error and stops.
void ExpandSubCommand(orvikData_t* data, const std::string& text, std::vector<unsigned>& codepoints);

// Classifies one octet and sets `codePoint`: validNonPrintableChar for a control character,
// invalidNonPrintableChar for an octet above 0x7F, the full-width form for an octet that has one. Any other
// octet leaves `codePoint` unchanged.
int ProcessSingleOctet(orvikData_t* data, unsigned char octet, unsigned* codePoint);
// Sets `codePoint` to the octet's full-width form; reports an octet that has none.
int ProcessExpandable(orvikData_t* data, unsigned char octet, unsigned* codePoint);
// Report one octet, and set `codePoint` to its substitute where there is one.
void ProcessUnexpandable(orvikData_t* data, unsigned char octet, unsigned* codePoint);
void ProcessValidNonPrintable(orvikData_t* data, unsigned char octet, unsigned* codePoint);
void ProcessInvalidNonPrintable(orvikData_t* data, unsigned char octet, unsigned* codePoint);
