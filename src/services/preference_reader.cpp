#include "src/services/preference_reader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace PREF {

namespace {

constexpr unsigned char FIRST_VISIBLE = 33;  // everything below is white space

// Stands after the characters of the block and ends every run. Only the end of a run is therefore compared with
// the end of the block.
constexpr char END_OF_BLOCK = '&';
static_assert(std::endian::native == std::endian::little, "FindEither takes the first byte as the lowest");

// Kinds of characters; one character can be of several kinds. None of them has END_OF_BLOCK.
enum character_kind_t : std::uint8_t {
  IDENTIFIER = 1,
  VISIBLE_TEXT = 2,
  WHITE_SPACE = 4,
};

constexpr bool IsIdentifierCharacter(std::size_t c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

constexpr std::array<std::uint8_t, 256> KINDS_OF = [] {
  std::array<std::uint8_t, 256> kinds{};
  for (std::size_t c = 0; c < kinds.size(); ++c) {
    const auto add = [&](bool isOfKind, character_kind_t kind) { kinds.at(c) |= isOfKind ? kind : 0; };
    add(IsIdentifierCharacter(c), IDENTIFIER);
    add(c != '<' && c != '&' && c >= FIRST_VISIBLE, VISIBLE_TEXT);
    add(c < FIRST_VISIBLE, WHITE_SPACE);
  }
  return kinds;
}();

template <character_kind_t KIND>
bool IsOf(char c) {
  return (KINDS_OF[static_cast<unsigned char>(c)] & KIND) != 0;
}

// The first `one` or `other` from `at` on. There must be one; up to seven bytes after it are read. Eight bytes
// at a time: the lengths of names and values vary, and a loop of single bytes costs a wrong branch at each end.
const char* FindEither(const char* at, char one, char other) {
  constexpr std::uint64_t ONES = 0x0101'0101'0101'0101U;
  const auto markZeros = [](std::uint64_t bytes) { return (bytes - ONES) & ~bytes & (ONES << 7U); };
  const std::uint64_t ones = ONES * static_cast<unsigned char>(one);
  const std::uint64_t others = ONES * static_cast<unsigned char>(other);
  for (;; at += sizeof ones) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, at, sizeof bytes);
    const std::uint64_t marks = markZeros(bytes ^ ones) | markZeros(bytes ^ others);
    if (marks != 0) return at + std::countr_zero(marks) / CHAR_BIT;  // the lowest mark is exact
  }
}

struct entity_t {
  std::string_view name;
  char character;
};
constexpr std::array<entity_t, 5> ENTITIES = {
    {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}}};
constexpr std::size_t LONGEST_ENTITY = 4;

}  // namespace

// --- Attributes

const std::string& Reader::Node::getAttributeString(const std::string& name) const {
  for (std::size_t i = attributeCount_; i-- > 0;) {  // of two equal names the last one counts
    const attribute_t& attribute = attributes_[i];
    if (tag_.substr(attribute.name.at, attribute.name.size) != name) continue;
    attribute.value.clear();
    return attribute.value.append(tag_.substr(attribute.raw.at, attribute.raw.size));
  }
  throw AttributeNotFoundException(name);
}

int Reader::Node::getAttributeInt(const std::string& name) const {
  // As atoi, but defined for a number that an int cannot hold.
  return static_cast<int>(getAttributeLong(name));
}

bool Reader::Node::getAttributeBool(const std::string& name) const {
  return getAttributeInt(name) != 0;
}

long Reader::Node::getAttributeLong(const std::string& name) const {
  return std::strtol(getAttributeString(name).c_str(), nullptr, 10);
}

std::uint32_t Reader::Node::getAttributeUint32(const std::string& name) const {
  return static_cast<std::uint32_t>(std::strtoul(getAttributeString(name).c_str(), nullptr, 10));
}

std::uint16_t Reader::Node::getAttributeUint16(const std::string& name) const {
  return static_cast<std::uint16_t>(getAttributeUint32(name));
}

std::uint8_t Reader::Node::getAttributeUint8(const std::string& name) const {
  return static_cast<std::uint8_t>(getAttributeUint32(name));
}

float Reader::Node::getAttributeFloat(const std::string& name) const {
  return static_cast<float>(getAttributeDouble(name));
}

double Reader::Node::getAttributeDouble(const std::string& name) const {
  return std::strtod(getAttributeString(name).c_str(), nullptr);
}

char Reader::Node::getAttributeChar(const std::string& name) const {
  return getAttributeString(name).at(0);
}

inline void Reader::Node::Clear() {
  joined_.clear();
  text_.clear();
  attributeCount_ = 0;
}

inline Reader::Node::attribute_t& Reader::Node::AddAttribute() {
  if (attributeCount_ == attributes_.size()) attributes_.emplace_back();
  return attributes_[attributeCount_++];
}

// --- Characters and words

// What the block holds of the tag.
inline std::string_view Reader::TagInBlock() const {
  return {kept_, static_cast<std::size_t>(at_ - kept_)};
}

// Copies the node's tag out of the block, which is about to be overwritten.
void Reader::SaveTag() {
  if (kept_ != nullptr) {
    node_.joined_.append(TagInBlock());
  } else if (node_.joined_.empty()) {
    node_.tag_ = node_.joined_.assign(node_.tag_);
  }
}

// Keeps the current character and reads the next ones. Returns whether there are any.
bool Reader::FillBlock() {
  SaveTag();
  block_[0] = *at_;
  stream_.read(&block_[1], BLOCK_SIZE - 1);
  at_ = block_.data();
  end_ = at_ + 1 + stream_.gcount();
  *end_ = END_OF_BLOCK;
  if (kept_ != nullptr) kept_ = at_;
  return end_ != at_ + 1;
}

// at_ has reached the end of the block.
void Reader::EnterNextBlock() {
  --at_;
  if (!FillBlock()) throw EOFFoundException();
  ++at_;
}

inline void Reader::getNextChar() {
  if (++at_ == end_) EnterNextBlock();
}

// Passes the current character and those after it while they are of the kind.
template <std::uint8_t KIND>
inline void Reader::PassRun() {
  while (IsOf<character_kind_t{KIND}>(*at_)) {
    char* at = at_ + 1;
    while (IsOf<character_kind_t{KIND}>(*at)) ++at;
    at_ = at;
    if (at != end_) return;
    EnterNextBlock();
  }
}

// Passes the white space after the current character. Returns whether another character follows it.
bool Reader::PassWhiteSpaceAhead() {
  for (;; ++at_) {
    if (at_ + 1 == end_ && !FillBlock()) return false;
    if (!IsOf<WHITE_SPACE>(at_[1])) return true;
  }
}

// Goes on to the first `end` or "&", eight characters at a time. Returns whether it is `end`.
inline bool Reader::PassTo(char end) {
  for (;;) {
    const char* const found = FindEither(at_, end, END_OF_BLOCK);
    at_ += found - at_;
    if (at_ != end_) return *at_ == end;
    EnterNextBlock();
  }
}

inline void Reader::getNextCharSkipWhitespace() {
  getNextChar();
  PassRun<WHITE_SPACE>();
}

// The tag is what is passed over from BeginTag to EndTag.
inline void Reader::BeginTag() {
  kept_ = at_;
}
inline void Reader::EndTag() {
  const bool isInBlock = node_.joined_.empty();
  node_.tag_ = isInBlock ? TagInBlock() : node_.joined_.append(TagInBlock());
  kept_ = nullptr;
}

// The place of the current character in the node's tag.
inline std::size_t Reader::PlaceInTag() const {
  return node_.joined_.size() + static_cast<std::size_t>(at_ - kept_);
}

inline Reader::Node::part_t Reader::getIdentifier() {
  const std::size_t at = PlaceInTag();
  PassRun<IDENTIFIER>();
  return {at, PlaceInTag() - at};
}

inline void Reader::getAttributePair() {
  Node::attribute_t& attribute = node_.AddAttribute();
  attribute.name = getIdentifier();
  PassRun<WHITE_SPACE>();
  if (attribute.name.size == 0 || *at_ != '=') throw BadParseException();
  getNextCharSkipWhitespace();
  attribute.raw = getQuotedString();
}

inline Reader::Node::part_t Reader::getQuotedString() {
  const char quote = *at_;
  if (quote != '"' && quote != '\'') throw BadParseException();
  getNextChar();
  const std::size_t at = PlaceInTag();
  while (!PassTo(quote)) KeepEscapedChar();
  const std::size_t size = PlaceInTag() - at;
  getNextCharSkipWhitespace();
  return {at, size};
}

// The entity's character takes its place in the node's tag.
void Reader::KeepEscapedChar() {
  node_.joined_.append(TagInBlock());
  kept_ = nullptr;
  node_.joined_.push_back(getEscapedChar());
  getNextChar();
  kept_ = at_;
}

char Reader::getEscapedChar() {
  std::string name;
  for (getNextChar(); *at_ != ';'; getNextChar()) {
    if (IsOf<WHITE_SPACE>(*at_) || name.size() == LONGEST_ENTITY) throw BadParseException();
    name.push_back(*at_);
  }
  const auto* entity =
      std::find_if(ENTITIES.begin(), ENTITIES.end(), [&](const entity_t& e) { return e.name == name; });
  if (entity == ENTITIES.end()) throw BadParseException();
  return entity->character;
}

void Reader::getData(std::string& text) {
  for (;; getNextChar()) {
    for (; IsOf<VISIBLE_TEXT>(*at_); getNextChar()) text.push_back(*at_);
    if (*at_ == '<') {
      if (!SkipRemark()) return;
    } else if (*at_ == '&') {
      text.push_back(getEscapedChar());
    } else if (!text.empty() && text.back() != ' ') {
      text.push_back(' ');
    }
  }
}

// --- Comments and processing instructions

inline void Reader::SkipToTag() {
  while (!PassTo('<') || SkipRemark()) getNextChar();
}

// Skips a comment or processing instruction that starts here; the current character is then its last one.
// Returns whether there was one.
bool Reader::SkipRemark() {
  if (*at_ != '<') return false;
  if (at_ + 1 == end_ && !FillBlock()) return false;
  if (at_[1] == '?') {
    SkipPast('?', 1);
    return true;
  }
  if (at_[1] != '!') return false;
  getNextChar();
  for (int dash = 0; dash < 2; ++dash) {
    getNextChar();
    if (*at_ != '-') throw BadParseException();
  }
  SkipPast('-', 2);
  return true;
}

// Skips past the first ">" that follows at least `count` characters `mark`.
void Reader::SkipPast(char mark, int count) {
  int marks = 0;
  for (getNextChar(); *at_ != '>' || marks < count; getNextChar()) marks = *at_ == mark ? marks + 1 : 0;
}

// --- The parser's steps

void Reader::advanceParser() {
  switch (state_) {
    case parser_state_t::START:
      return parseStart();
    case parser_state_t::FOUND_NODE:
      return parseFoundNode();
    case parser_state_t::FOUND_NODE_START:
      return parseFoundNodeStart();
    case parser_state_t::FOUND_NODE_CLOSE:
      return parseFoundNodeClose();
    case parser_state_t::FOUND_DOUBLE_NODE_CLOSE:
      return parseFoundDoubleNodeClose();
    case parser_state_t::EOF_STATE:
      return parseEOFState();
  }
}

inline void Reader::parseStart() {
  if (*at_ != '<') throw BadParseException();
  getNextChar();
  state_ = *at_ == '/' ? parser_state_t::FOUND_DOUBLE_NODE_CLOSE : parser_state_t::FOUND_NODE_START;
}

inline void Reader::parseFoundNode() {
  if (*at_ == '/') {
    state_ = parser_state_t::FOUND_NODE_CLOSE;
  } else if (*at_ == '<') {
    parseStart();
    // A closing tag right after the element's start closes the element itself.
    if (state_ == parser_state_t::FOUND_DOUBLE_NODE_CLOSE) state_ = parser_state_t::FOUND_NODE_CLOSE;
  } else {
    throw BadParseException();
  }
}

inline void Reader::parseFoundNodeStart() {
  node_.Clear();
  BeginTag();
  node_.nameSize_ = getIdentifier().size;
  if (node_.nameSize_ == 0) throw BadParseException();
  PassRun<WHITE_SPACE>();
  while (*at_ != '>' && *at_ != '/') getAttributePair();
  EndTag();
  if (*at_ == '>') {
    getNextCharSkipWhitespace();
    getData(node_.text_);
  }
  ++openElements_;
  state_ = parser_state_t::FOUND_NODE;
}

void Reader::parseFoundNodeClose() {
  CloseElement();
}

void Reader::parseFoundDoubleNodeClose() {
  if (openElements_ == 0) throw BadParseException();
  CloseElement();
}

// Reads from the "/" of a closing tag or an empty element to the "<" of the next tag.
inline void Reader::CloseElement() {
  --openElements_;
  state_ = parser_state_t::START;
  while (*at_ != '>' && *at_ != '<') getNextChar();
  if (openElements_ > 0) return SkipToTag();
  // The document may end after the root element. The usual end costs no exception.
  if (*at_ == '>' && !PassWhiteSpaceAhead()) {
    state_ = parser_state_t::EOF_STATE;
    return;
  }
  try {
    SkipToTag();
  } catch (const EOFFoundException&) {
    state_ = parser_state_t::EOF_STATE;
  }
}

// --- From element to element

Reader::Node* Reader::beginParsing() {
  getNextCharSkipWhitespace();
  while (SkipRemark()) getNextCharSkipWhitespace();
  state_ = parser_state_t::START;
  advanceParser();
  if (state_ != parser_state_t::FOUND_NODE_START) throw BadParseException();
  advanceParser();
  return &node_;
}

Reader::Node* Reader::getFirstChild() {
  return state_ == parser_state_t::FOUND_NODE ? TakeTag() : nullptr;
}

Reader::Node* Reader::getNextSibling() {
  SkipContent();
  return state_ == parser_state_t::EOF_STATE ? nullptr : TakeTag();
}

// Reads the next tag: returns the element that it starts, or null when it closes the current level.
Reader::Node* Reader::TakeTag() {
  advanceParser();
  const bool starts = state_ == parser_state_t::FOUND_NODE_START;
  advanceParser();
  return starts ? &node_ : nullptr;
}

void Reader::skipSiblings() {
  SkipContent();
  const std::size_t level = openElements_;
  while (openElements_ >= level && state_ != parser_state_t::EOF_STATE) advanceParser();
}

// Skips the content of the current element and its closing tag. Without recursion, so that deep nesting costs
// no stack.
void Reader::SkipContent() {
  if (state_ != parser_state_t::FOUND_NODE) return;
  const std::size_t level = openElements_;
  while (openElements_ >= level) advanceParser();
}

}  // namespace PREF
