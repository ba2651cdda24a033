#include "src/text/expand.h"

#include <utf8.h>

#include "src/core/console.h"
#include "src/text/full_width.h"

namespace {

constexpr unsigned FIRST_PRINTABLE = 0x20;
constexpr unsigned FIRST_NON_ASCII = 0x80;

unsigned ExpandedOctet(orvikData_t* data, unsigned char octet) {
  unsigned codePoint = octet;
  if (data->expandFullWidth == 1) ProcessSingleOctet(data, octet, &codePoint);
  return codePoint;
}

}  // namespace

void ExpandSubCommand(orvikData_t* data, const std::string& text, std::vector<unsigned>& codepoints) {
  codepoints.reserve(codepoints.size() + text.size());
  const char* at = text.data();
  const char* const end = at + text.size();
  try {
    while (at != end) {
      const auto octet = static_cast<unsigned char>(*at);
      codepoints.push_back(octet < FIRST_NON_ASCII ? ExpandedOctet(data, octet) : utf8::next(at, end));
      if (octet < FIRST_NON_ASCII) ++at;
    }
  } catch (const utf8::exception&) {
    PrintErr("***** PROGRAM LOGIC ERROR!  Text was not repaired before its expansion");
  }
}

int ProcessSingleOctet(orvikData_t* data, unsigned char octet, unsigned* codePoint) {
  if (octet < FIRST_PRINTABLE) {
    ProcessValidNonPrintable(data, octet, codePoint);
    return OCTET_NOT_EXPANDED;
  }
  if (octet >= FIRST_NON_ASCII) {
    ProcessInvalidNonPrintable(data, octet, codePoint);
    return OCTET_NOT_EXPANDED;
  }
  return ProcessExpandable(data, octet, codePoint);
}

int ProcessExpandable(orvikData_t* data, unsigned char octet, unsigned* codePoint) {
  const full_width_char_t* entry = FindFullWidthChar(octet);
  if (entry == nullptr) {
    ProcessUnexpandable(data, octet, codePoint);
    return OCTET_NOT_EXPANDED;
  }
  *codePoint = entry->codePoint;
  return OCTET_EXPANDED;
}

void ProcessUnexpandable(orvikData_t* /*data*/, unsigned char octet, unsigned* /*codePoint*/) {
  PrintOut("WARNING.  Unexpandable 0x" + HexText(octet));
}

void ProcessValidNonPrintable(orvikData_t* data, unsigned char octet, unsigned* codePoint) {
  PrintOut("WARNING.  Valid NON_PRINTABLE 0x" + HexText(octet));
  *codePoint = data->validNonPrintableChar;
}

void ProcessInvalidNonPrintable(orvikData_t* data, unsigned char octet, unsigned* codePoint) {
  PrintErr("***** PROGRAM LOGIC ERROR!  Invalid non printable 0x" + HexText(octet));
  *codePoint = data->invalidNonPrintableChar;
}
