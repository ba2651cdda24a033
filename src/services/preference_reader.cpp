#include "src/services/preference_reader.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace PREF {

namespace {

constexpr unsigned char FIRST_VISIBLE = 33;  // everything below is white space

struct entity_t {
  std::string_view name;
  char character;
};
constexpr std::array<entity_t, 5> ENTITIES = {
    {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}}};
constexpr std::size_t LONGEST_ENTITY = 4;

bool IsIdentifierCharacter(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

}  // namespace

// --- Attributes

const std::string& Reader::Node::getAttributeString(const std::string& name) const {
  const auto found = attributes_.find(name);
  if (found == attributes_.end()) throw AttributeNotFoundException(name);
  return found->second;
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

void Reader::parseStart() {
  if (current_ != '<') throw BadParseException();
  getNextChar();
  state_ = current_ == '/' ? parser_state_t::FOUND_DOUBLE_NODE_CLOSE : parser_state_t::FOUND_NODE_START;
}

void Reader::parseFoundNode() {
  if (current_ == '/') {
    state_ = parser_state_t::FOUND_NODE_CLOSE;
  } else if (current_ == '<') {
    parseStart();
    // A closing tag right after the element's start closes the element itself.
    if (state_ == parser_state_t::FOUND_DOUBLE_NODE_CLOSE) state_ = parser_state_t::FOUND_NODE_CLOSE;
  } else {
    throw BadParseException();
  }
}

void Reader::parseFoundNodeStart() {
  node_ = Node();
  node_.name_ = getIdentifier();
  if (node_.name_.empty()) throw BadParseException();
  if (current_ < FIRST_VISIBLE) getNextCharSkipWhitespace();
  while (current_ != '>' && current_ != '/') getAttributePair();
  if (current_ == '>') {
    getNextCharSkipWhitespace();
    node_.text_ = getData();
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
void Reader::CloseElement() {
  --openElements_;
  state_ = parser_state_t::START;
  while (current_ != '>' && current_ != '<') getNextChar();
  try {
    SkipToTag();
  } catch (const EOFFoundException&) {
    if (openElements_ != 0) throw;  // the document may end only after the root element
    state_ = parser_state_t::EOF_STATE;
  }
}

// --- Characters and words

bool Reader::FillBlock() {
  stream_.read(block_.data(), static_cast<std::streamsize>(block_.size()));
  filled_ = static_cast<std::size_t>(stream_.gcount());
  position_ = 0;
  return filled_ > 0;
}

void Reader::getNextChar() {
  if (position_ == filled_ && !FillBlock()) throw EOFFoundException();
  current_ = static_cast<unsigned char>(block_[position_++]);
}

void Reader::getNextCharSkipWhitespace() {
  do {
    getNextChar();
  } while (current_ < FIRST_VISIBLE);
}

std::string Reader::getIdentifier() {
  std::string name;
  for (; IsIdentifierCharacter(current_); getNextChar()) name.push_back(static_cast<char>(current_));
  return name;
}

void Reader::getAttributePair() {
  std::string name = getIdentifier();
  if (current_ < FIRST_VISIBLE) getNextCharSkipWhitespace();
  if (name.empty() || current_ != '=') throw BadParseException();
  getNextCharSkipWhitespace();
  node_.attributes_[std::move(name)] = getQuotedString();
}

std::string Reader::getQuotedString() {
  const unsigned char quote = current_;
  if (quote != '"' && quote != '\'') throw BadParseException();
  std::string value;
  for (getNextChar(); current_ != quote; getNextChar()) {
    value.push_back(current_ == '&' ? getEscapedChar() : static_cast<char>(current_));
  }
  getNextCharSkipWhitespace();
  return value;
}

char Reader::getEscapedChar() {
  std::string name;
  for (getNextChar(); current_ != ';'; getNextChar()) {
    if (current_ < FIRST_VISIBLE || name.size() == LONGEST_ENTITY) throw BadParseException();
    name.push_back(static_cast<char>(current_));
  }
  const auto* entity =
      std::find_if(ENTITIES.begin(), ENTITIES.end(), [&](const entity_t& e) { return e.name == name; });
  if (entity == ENTITIES.end()) throw BadParseException();
  return entity->character;
}

std::string Reader::getData() {
  std::string text;
  for (;; getNextChar()) {
    if (current_ == '<') {
      if (!SkipRemark()) return text;
    } else if (current_ == '&') {
      text.push_back(getEscapedChar());
    } else if (current_ >= FIRST_VISIBLE) {
      text.push_back(static_cast<char>(current_));
    } else if (!text.empty() && text.back() != ' ') {
      text.push_back(' ');
    }
  }
}

// --- Comments and processing instructions

void Reader::SkipToTag() {
  while (current_ != '<' || SkipRemark()) getNextChar();
}

// Skips a comment or processing instruction that starts here; current_ is then its last character. Returns
// whether there was one.
bool Reader::SkipRemark() {
  if (current_ != '<') return false;
  if (position_ == filled_ && !FillBlock()) return false;
  if (block_[position_] == '?') {
    SkipPast("?>");
    return true;
  }
  if (block_[position_] != '!') return false;
  getNextChar();
  for (int dash = 0; dash < 2; ++dash) {
    getNextChar();
    if (current_ != '-') throw BadParseException();
  }
  SkipPast("-->");
  return true;
}

void Reader::SkipPast(std::string_view end) {
  std::string last;
  while (last != end) {
    getNextChar();
    if (last.size() == end.size()) last.erase(0, 1);
    last.push_back(static_cast<char>(current_));
  }
}

}  // namespace PREF
