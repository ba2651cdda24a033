// Reads a tag-and-attribute document (elements, quoted attributes, text, entities) one element at a time.
//
// The reader keeps one element and no tree. It does not compare the names of closing tags, and passes over
// comments (<!-- -->) and processing instructions (<? ?>). A walk:
//
//   Reader reader(stream);
//   Reader::Node* section = reader.beginParsing();
//   for (section = reader.getFirstChild(); section; section = reader.getNextSibling()) {
//     for (Reader::Node* item = reader.getFirstChild(); item; item = reader.getNextSibling()) { ... }
//   }
//
// Children that the caller did not ask for are passed over. A null ends the level: the next sibling is then one
// of the parent's.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <istream>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace PREF {

// One thread uses an object. The walk's functions throw EOFFoundException where the document ends too early and
// BadParseException at a character that does not belong where it stands; the reader is then of no further use.
class Reader {
 public:
  class EOFFoundException : public std::runtime_error {
   public:
    EOFFoundException() : std::runtime_error("End of file encountered") {}
  };
  class BadParseException : public std::runtime_error {
   public:
    BadParseException() : std::runtime_error("Bad parse encountered") {}
  };

  // The element that the reader has come to.
  class Node {
   public:
    class AttributeNotFoundException : public std::runtime_error {
     public:
      explicit AttributeNotFoundException(const std::string& name)
          : std::runtime_error("Can't find attribute: " + name) {}
    };

    const std::string& GetName() const { return name_; }
    // The text up to the first child or the closing tag, without leading white space and with each run of white
    // space as one blank.
    const std::string& GetText() const { return text_; }

    // Each throws AttributeNotFoundException where the element has no such attribute. A value that is not a
    // number reads as 0.
    const std::string& getAttributeString(const std::string& name) const;
    int getAttributeInt(const std::string& name) const;
    bool getAttributeBool(const std::string& name) const;  // true for a number other than 0; "true" is false
    long getAttributeLong(const std::string& name) const;
    std::uint32_t getAttributeUint32(const std::string& name) const;
    std::uint16_t getAttributeUint16(const std::string& name) const;  // the low 16 bits
    std::uint8_t getAttributeUint8(const std::string& name) const;    // the low 8 bits
    float getAttributeFloat(const std::string& name) const;
    double getAttributeDouble(const std::string& name) const;
    char getAttributeChar(const std::string& name) const;  // throws std::out_of_range for an empty value

   private:
    friend class Reader;
    std::string name_;
    std::map<std::string, std::string> attributes_;
    std::string text_;
  };

  // The stream must outlive the reader.
  explicit Reader(std::istream& stream) : stream_(stream) {}
  ~Reader() = default;
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  // The root element. All elements are handed out through the same Node: the next call overwrites it.
  Node* beginParsing();
  // The first child of the current element, null when it has none (or when its children were already read).
  Node* getFirstChild();
  // The next element of the current level, null at its end.
  Node* getNextSibling();
  // Passes over the rest of the current level, as if getNextSibling had been called until it gave null.
  void skipSiblings();

 private:
  // Where the parser stands; current_ is the character that the state's step begins at.
  enum class state_t {
    START,             // at the "<" of a tag
    FOUND_NODE,        // behind an element's start: at the "/" of an empty one, or at the "<" after its text
    FOUND_NODE_START,  // at the first character of an element's name
    FOUND_NODE_CLOSE,  // at the "/" that ends the current element
    FOUND_DOUBLE_NODE_CLOSE,  // at the "/" that ends the element around the level
    EOF_STATE,                // behind the root element
  };

  void advanceParser();
  void parseStart();
  void parseFoundNode();
  void parseFoundNodeStart();
  void parseFoundNodeClose();
  void parseFoundDoubleNodeClose();
  void parseEOFState() {}

  void getNextChar();
  void getNextCharSkipWhitespace();
  std::string getIdentifier();
  void getAttributePair();
  std::string getQuotedString();
  char getEscapedChar();
  std::string getData();

  Node* TakeTag();
  void SkipContent();
  void CloseElement();
  bool SkipRemark();
  void SkipPast(std::string_view end);
  void SkipToTag();
  bool FillBlock();

  static constexpr std::size_t BLOCK_SIZE = 4096;

  std::istream& stream_;
  std::array<char, BLOCK_SIZE> block_{};
  std::size_t filled_ = 0;
  std::size_t position_ = 0;
  unsigned char current_ = 0;
  state_t state_ = state_t::START;
  std::size_t openElements_ = 0;
  Node node_;
};

}  // namespace PREF
