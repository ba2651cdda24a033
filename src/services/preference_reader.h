// Reads preference documents (elements, quoted attributes, text, entities) one element at a time.
//
// The reader holds one block of the document and one element at a time, not a tree. It does not check the names
// of closing tags, and skips comments (<!-- -->) and processing instructions (<? ?>). Example:
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
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

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

    const std::string& GetName() const { return name_.assign(tag_.substr(0, nameSize_)); }
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
    // Characters of tag_.
    struct part_t {
      std::size_t at = 0;
      std::size_t size = 0;
    };
    struct attribute_t {
      part_t name;
      part_t raw;
      mutable std::string value;  // what getAttributeString has returned
    };
    void Clear();
    attribute_t& AddAttribute();

    // The name, the attributes, and what stands between them. It refers to the reader's block; to joined_ when
    // the tag has an entity or the block has been overwritten.
    std::string_view tag_;
    std::string joined_;
    std::size_t nameSize_ = 0;
    mutable std::string name_;             // what GetName has returned
    std::vector<attribute_t> attributes_;  // the first attributeCount_; the others keep their storage
    std::size_t attributeCount_ = 0;
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
  // The position of the parser: the current character is the one named here.
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
  Node::part_t getIdentifier();
  void getAttributePair();
  Node::part_t getQuotedString();
  char getEscapedChar();
  void getData(std::string& text);

  template <std::uint8_t KIND>
  void PassRun();
  bool PassTo(char end);
  bool PassWhiteSpaceAhead();
  void BeginTag();
  void EndTag();
  std::string_view TagInBlock() const;
  void SaveTag();
  void KeepEscapedChar();
  std::size_t PlaceInTag() const;
  Node* TakeTag();
  void SkipContent();
  void CloseElement();
  bool SkipRemark();
  void SkipPast(char mark, int count);
  void SkipToTag();
  bool FillBlock();
  void EnterNextBlock();

  static constexpr std::size_t BLOCK_SIZE = 4096;

  std::istream& stream_;
  std::array<char, BLOCK_SIZE + 8> block_{};
  char* at_ = block_.data();  // the current character
  char* end_ = at_ + 1;       // behind the last character of the block
  char* kept_ = nullptr;      // the first character of the block that belongs to the tag being read; null: none
  parser_state_t state_ = parser_state_t::START;
  std::size_t openElements_ = 0;
  Node node_;
};

}  // namespace PREF
