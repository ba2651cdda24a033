// Reads preference documents (elements, quoted attributes, text, entities) one element at a time.
//
// The reader holds one element at a time, not a tree. It does not check the names of closing tags, and skips
// comments
// (<!-- -->) and processing instructions (<? ?>). Example:
//
//   Reader reader(stream);
//   Reader::Node* section = reader.beginParsing();
//   for (section = reader.getFirstChild(); section; section = reader.getNextSibling()) {
//     for (Reader::Node* item = reader.getFirstChild(); item; item = reader.getNextSibling()) { ... }
//   }
//
// Children that the caller does not read are skipped. Null marks the end of a level; the next call of
// getNextSibling then continues with the siblings of the parent.
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

// One thread uses an object. The functions that read elements throw EOFFoundException when the document ends
// too early and BadParseException at a character that is not allowed there. The reader cannot be used after an
// exception.
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

  // The current element.
  class Node {
   public:
    class AttributeNotFoundException : public std::runtime_error {
     public:
      explicit AttributeNotFoundException(const std::string& name)
          : std::runtime_error("Can't find attribute: " + name) {}
    };

    const std::string& GetName() const { return name_; }
    // The text up to the first child or the closing tag. Leading white space is removed and each run of white
    // space is one blank.
    const std::string& GetText() const { return text_; }

    // Throw AttributeNotFoundException when the element does not have the attribute. A value that is not a
    // number is read as 0.
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

  // Returns the root element. All functions return the same Node object; the next call overwrites it.
  Node* beginParsing();
  // Returns the first child of the current element; null when it has none or they were already read.
  Node* getFirstChild();
  // Returns the next element of the current level; null at its end.
  Node* getNextSibling();
  // Skips the rest of the current level, as calls of getNextSibling until null would.
  void skipSiblings();

 private:
  // The position of the parser: current_ is the character named here.
  enum class parser_state_t {
    START,             // the "<" of a tag
    FOUND_NODE,        // after an element's start: the "/" of an empty element, or the "<" after the text
    FOUND_NODE_START,  // the first character of an element's name
    FOUND_NODE_CLOSE,  // the "/" that closes the current element
    FOUND_DOUBLE_NODE_CLOSE,  // the "/" that closes the parent of the current level
    EOF_STATE,                // the end of the document
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
  parser_state_t state_ = parser_state_t::START;
  std::size_t openElements_ = 0;
  Node node_;
};

}  // namespace PREF
