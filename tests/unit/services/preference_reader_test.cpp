// The preference documents that the reader accepts and refuses, and the nodes that it returns.
#include "src/services/preference_reader.h"

#include <sstream>
#include <string>
#include <utility>

#include <gmock/gmock.h>

namespace {

using PREF::Reader;
using Node = PREF::Reader::Node;

// The elements of a document as "name(children)", in the order of a full walk.
std::string DescribeChildren(Reader& reader) {
  std::string text;
  for (Node* child = reader.getFirstChild(); child != nullptr; child = reader.getNextSibling()) {
    if (!text.empty()) text += ',';
    text += child->GetName();
    const std::string below = DescribeChildren(reader);
    if (!below.empty()) text += '(' + below + ')';
  }
  return text;
}

std::string Describe(const std::string& document) {
  std::istringstream stream(document);
  Reader reader(stream);
  const std::string root = reader.beginParsing()->GetName();
  const std::string below = DescribeChildren(reader);
  EXPECT_EQ(reader.getNextSibling(), nullptr) << document;
  return below.empty() ? root : root + '(' + below + ')';
}

TEST(PreferenceReaderTest, WalksElementsInDocumentOrder) {
  const std::pair<const char*, const char*> walks[] = {
      {"<a/>", "a"},
      {"  \r\n<a>text</a>\n", "a"},
      {"<a><b><c><d/></c></b><e/></a>", "a(b(c(d)),e)"},
      {"<a>one<b/>two<c>three</c>four</a> five", "a(b,c)"},
      {"<a x='>' y=\"/\"><b z='<'/></a>", "a(b)"},
      {"<a-1_Z ><b ></b ></a-1_Z >", "a-1_Z(b)"},
      {"<?xml version=\"1.0\"?><!-- <x> -- --><a><!----><b/><!-- </a> --><?p >?><c/></a><!-- end -->",
       "a(b,c)"},
      {"<a><b/></x>", "a(b)"},  // names of closing tags are not compared
  };
  for (const auto& [document, elements] : walks) EXPECT_EQ(Describe(document), elements) << document;
}

TEST(PreferenceReaderTest, ReadsTheSameAcrossABlockBorder) {
  const std::string document = "<a x='1&quot;2' z='3'><!-- - --><b y=\"4\">t &lt;</b><?p?><c/></a>";
  for (std::size_t padding = 4096 - document.size(); padding <= 4096; ++padding) {
    SCOPED_TRACE(padding);
    EXPECT_EQ(Describe(std::string(padding, ' ') + document), "a(b,c)");
    std::istringstream stream(std::string(padding, ' ') + document);
    Reader reader(stream);
    const Node& node = *reader.beginParsing();
    EXPECT_EQ(node.getAttributeString("x") + node.getAttributeString("z"), "1\"23");
    reader.getFirstChild();
    EXPECT_EQ(node.GetName() + node.getAttributeString("y") + node.GetText(), "b4t <");
  }
}

TEST(PreferenceReaderTest, PassesOverWhatTheCallerDoesNotVisit) {
  std::istringstream stream("<r><a><a1><a2/></a1>text</a><b><b1/><b2/><b3><b4/></b3></b><c/><d/></r>");
  Reader reader(stream);
  reader.beginParsing();
  EXPECT_EQ(reader.getFirstChild()->GetName(), "a");
  EXPECT_EQ(reader.getNextSibling()->GetName(), "b");  // the caller did not visit the children of a
  EXPECT_EQ(reader.getFirstChild()->GetName(), "b1");
  EXPECT_EQ(reader.getFirstChild(), nullptr);
  EXPECT_EQ(reader.getFirstChild(), nullptr);
  reader.skipSiblings();
  EXPECT_EQ(reader.getNextSibling()->GetName(), "c");
  reader.skipSiblings();
  EXPECT_EQ(reader.getNextSibling(), nullptr);
}

TEST(PreferenceReaderTest, SkipsAnyDepthOfNesting) {
  constexpr int DEPTH = 200'000;
  std::string document = "<r>";
  for (int i = 0; i < DEPTH; ++i) document += "<e>";
  for (int i = 0; i < DEPTH; ++i) document += "</e>";
  std::istringstream stream(document + "<last/></r>");
  Reader reader(stream);
  reader.beginParsing();
  reader.getFirstChild();
  EXPECT_EQ(reader.getNextSibling()->GetName(), "last");
}

TEST(PreferenceReaderTest, KeepsTextWithSingleBlanksAndEntities) {
  const std::pair<const char*, const char*> texts[] = {
      {"<a>  one \n\t two</a>", "one two"},
      {"<a>one </a>", "one "},
      {"<a>&lt;&amp;&gt;</a>", "<&>"},
      {"<a>one<!-- - -> -->two<b/>three</a>", "onetwo"},
      {"<a>!one!</a>", "!one!"},
      {"<a> <!-- --> one</a>", "one"},
      {"<a>\xC3\xA9 \xE4\xB8\xAD</a>", "\xC3\xA9 \xE4\xB8\xAD"},
  };
  for (const auto& [document, text] : texts) {
    std::istringstream stream(document);
    Reader reader(stream);
    EXPECT_EQ(reader.beginParsing()->GetText(), text) << document;
  }
}

TEST(PreferenceReaderTest, ConvertsAttributes) {
  std::istringstream stream(
      "<a int='-12' big = '4294967295' wide='65537' byte=\"300\" yes='2' true='true' real='1.5e2x'\n"
      " quotes='say \"&apos;\"' char='xy' empty='' raw=' a  b '/>");
  Reader reader(stream);
  const Node& node = *reader.beginParsing();
  EXPECT_EQ(node.getAttributeInt("int"), -12);
  EXPECT_EQ(node.getAttributeUint32("big"), 4294967295U);
  EXPECT_EQ(node.getAttributeUint16("wide"), 1U);
  EXPECT_EQ(node.getAttributeUint8("byte"), 44U);
  EXPECT_TRUE(node.getAttributeBool("yes"));
  EXPECT_FALSE(node.getAttributeBool("true"));
  EXPECT_FLOAT_EQ(node.getAttributeFloat("real"), 150.0F);
  EXPECT_EQ(node.getAttributeString("quotes"), "say \"'\"");
  EXPECT_EQ(node.getAttributeString("raw"), " a  b ");
  EXPECT_EQ(node.getAttributeChar("char"), 'x');
  EXPECT_THROW(node.getAttributeChar("empty"), std::out_of_range);
  EXPECT_THAT([&] { node.getAttributeInt("absent"); },
              testing::ThrowsMessage<Node::AttributeNotFoundException>("Can't find attribute: absent"));
}

TEST(PreferenceReaderTest, ReportsWhatEndsTooEarlyAndWhatDoesNotBelong) {
  for (const char* document : {"", "  ", "<", "<a", "<a ", "<a x", "<a x=", "<a x='1", "<a x='&am", "<a>",
                               "<a>te", "<a><b/>", "<a><b></b>", "<a/", "<a></a", "<!-- <a/>", "<?xml"}) {
    EXPECT_THROW(Describe(document), Reader::EOFFoundException) << document;
  }
  for (const char* document :
       {"a", "</a>", "<>", "< a/>", "<a x/>", "<a x></a>", "<a x=1/>", "<a ='1'/>", "<a:b/>", "<a x='&nbsp;'/>",
        "<a x='&am p;'/>", "<a x='&amplifier;'/>", "<a>&#65;</a>", "<!DOCTYPE a><a/>", "<a><!-x--></a>"}) {
    EXPECT_THROW(Describe(document), Reader::BadParseException) << document;
  }
}

}  // namespace
