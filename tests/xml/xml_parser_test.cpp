#include "xml/xml_parser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace vantor {
namespace {

// Hands its document over in blocks; each block lies alone in memory, so that a read past one is seen.
class BlockParser : public qrv_xml_parser {
  public:
    BlockParser(std::string document, size_t blockBytes)
        : document_(std::move(document)), blockBytes_(blockBytes) {}

    int64_t MoreData(const uint8_t** data) override {
        const size_t bytes = std::min(blockBytes_, document_.size() - taken_);
        block_.assign(document_.begin() + static_cast<ptrdiff_t>(taken_),
                      document_.begin() + static_cast<ptrdiff_t>(taken_ + bytes));
        block_.shrink_to_fit();
        taken_ += bytes;
        *data = block_.data();
        return static_cast<int64_t>(bytes);
    }

  private:
    std::string document_;
    size_t blockBytes_;
    size_t taken_ = 0;
    std::vector<uint8_t> block_;
};

constexpr size_t kBlockSizes[] = {1, 7, 1'000'000'000};

// One line of the tree: name, attributes, value, children.
std::string Outline(const XmlElement& element) {
    std::string line(element.name);
    for (auto* attribute = element.firstAttribute; attribute != nullptr; attribute = attribute->next)
        line.append(" ").append(attribute->name).append("='").append(attribute->value).append("'");
    if (!element.Value().empty()) line.append("=").append(element.Value());
    if (element.firstChild == nullptr) return line;
    line += "(";
    for (auto* child = element.firstChild; child != nullptr; child = child->nextSibling)
        line.append(Outline(*child)).append(child->nextSibling != nullptr ? " " : ")");
    return line;
}

struct Failure {
    std::string document;
    const char* message;
    int line;
    int column;
};

void PrintTo(const Failure& failure, std::ostream* out) {
    *out << failure.document;
}

class XmlFailures : public testing::TestWithParam<Failure> {};

TEST_P(XmlFailures, MessageLineAndColumnInBlocksOfAnySize) {
    for (const size_t blockBytes : kBlockSizes) {
        BlockParser parser(GetParam().document, blockBytes);
        const char* message = parser.Parse();
        ASSERT_NE(message, nullptr) << GetParam().document;
        EXPECT_STREQ(message, GetParam().message) << GetParam().document;
        EXPECT_EQ(parser.ErrorLine(), GetParam().line) << GetParam().document;
        EXPECT_EQ(parser.ErrorColumn(), GetParam().column) << GetParam().document;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Document, XmlFailures,
    testing::Values(Failure{"", "unexpected end of file", 1, 0},
                    Failure{" \n ", "unexpected end of file", 2, 1},
                    Failure{"<!-- no root -->", "unexpected end of file", 1, 16},
                    Failure{"\n x", "expected < tag", 2, 2}, Failure{"<a/>x", "expected < tag", 1, 5},
                    Failure{"\xEF\xBB\xBF<a/>", "expected < tag", 1, 1},
                    Failure{"<", "expected token after <", 1, 1},
                    Failure{"< a/>", "expected token after <: unexpected whitespace", 1, 2},
                    Failure{"<a/>\n<b/>", "multiple top level elements", 2, 3},
                    Failure{"<a>\n<b>\n", "unterminated block", 2, 1},
                    Failure{"<a><b></b>x", "unterminated block", 1, 1}));

INSTANTIATE_TEST_SUITE_P(
    Markup, XmlFailures,
    testing::Values(
        Failure{"<!", "expected token following <!", 1, 2},
        Failure{"<! -", "expected token following <!: unexpected whitespace", 1, 3},
        Failure{"<!ELEMENT a>", "unknown token following <!", 1, 10},
        Failure{"<!doctype a>", "unknown token following <!", 1, 10},
        Failure{"<!-", "expected token following <!-", 1, 3},
        Failure{"<!- ->", "expected token following <!-: unexpected whitespace", 1, 4},
        Failure{"<!-a-->", "unknown token following <!-", 1, 7},
        Failure{"<a>\n <!-- x\n", "unterminated comment", 2, 2},
        Failure{"<!--->", "unterminated comment", 1, 1},
        Failure{"<!-- a -- b -->", "-- not allowed in comment", 1, 10},
        Failure{"<!-- a --->", "-- not allowed in comment", 1, 10},
        Failure{"<a><!DOCTYPE a></a>", "<!DOCTYPE must be at top level", 1, 13},
        Failure{"<!DOCTYPE a><!DOCTYPE b><a/>", "<!DOCTYPE already specified", 1, 22},
        Failure{"<!DOCTYPE", "expected document type token following <!DOCTYPE", 1, 9},
        Failure{"<!DOCTYPE >", "expected document type token following <!DOCTYPE", 1, 11},
        Failure{"\n<!DOCTYPE a", "unterminated <!DOCTYPE", 2, 1},
        Failure{"<![CDATA[x]]>", "<![ not allowed at document level", 1, 4},
        Failure{"<a><![IGNORE[x]]></a>", "unknown token beginning <![", 1, 13},
        Failure{"<a><![ CDATA[x]]></a>", "unknown token beginning <![: unexpected whitespace", 1, 7},
        Failure{"<a><![", "unknown token beginning <![", 1, 6},
        Failure{"<a><![CDATA", "unknown token beginning <![CDATA but without trailing [", 1, 11},
        Failure{"<a><![CDATA x]]></a>",
                "unknown token beginning <![CDATA but without trailing [: unexpected whitespace", 1, 12},
        Failure{"<a>\n<![CDATA[x] ]>]]</a>", "unterminated <![CDATA[", 2, 1}));

INSTANTIATE_TEST_SUITE_P(
    Instructions, XmlFailures,
    testing::Values(Failure{"<?", "expected token following <?", 1, 2},
                    Failure{"<? x?>", "expected token following <?: unexpected whitespace", 1, 3},
                    Failure{"<!-- c --><?xml version=\"1.0\"?><a/>", "<?xml must begin document", 1, 16},
                    Failure{"<?xml?><?xml?><a/>", "<?xml must begin document", 1, 13},
                    Failure{"<a><?xml?></a>", "<?xml must begin document", 1, 9},
                    Failure{"<?xml version='1.0'><a/>", "<?xml not terminated", 1, 21},
                    Failure{"<?xml ? ><a/>", "<?xml not terminated: unexpected whitespace", 1, 8},
                    Failure{"<?x?<a/>", "<? element not terminated", 1, 6},
                    Failure{"<?x a='1' /><a/>", "<? element not terminated", 1, 12},
                    Failure{"\n\n  <?x a='1'", "unterminated <? block", 3, 3}));

INSTANTIATE_TEST_SUITE_P(
    Tags, XmlFailures,
    testing::Values(Failure{"</a>", "unexpected </ at root level", 1, 3},
                    Failure{"<a></b>", "mismatched </ tag name", 1, 7},
                    Failure{"<a><b></a>", "mismatched </ tag name", 1, 10},
                    Failure{"<a></A>", "mismatched </ tag name", 1, 7},
                    Failure{"<a></'a'>", "mismatched </ tag name", 1, 9},
                    Failure{"<a></ a>", "mismatched </ tag name: unexpected whitespace", 1, 6},
                    Failure{"<a></a", "expected > following </tag", 1, 6},
                    Failure{"<a></a b>", "expected > following </tag", 1, 9},
                    Failure{"<1a/>", "element name must not begin with .- or number", 1, 4},
                    Failure{"<-a/>", "element name must not begin with .- or number", 1, 4},
                    Failure{"<.a/>", "element name must not begin with .- or number", 1, 4},
                    Failure{"<>", "unknown token in element", 1, 2},
                    Failure{"<a =>", "unknown token in element", 1, 5},
                    Failure{"<a \"x\">", "unknown token in element", 1, 7},
                    Failure{"<a / >", "expected > following / to end element: unexpected whitespace", 1, 5},
                    Failure{"<a /b>", "expected > following / to end element", 1, 6},
                    Failure{"<x>\n<a\n b='1'\n", "unterminated element", 2, 1}));

INSTANTIATE_TEST_SUITE_P(
    Attributes, XmlFailures,
    testing::Values(Failure{"<a 1b='x'/>", "attribute must not begin with .- or number", 1, 6},
                    Failure{"<a -b='x'/>", "attribute must not begin with .- or number", 1, 6},
                    Failure{"<a b/>", "attribute name must be followed by '='", 1, 6},
                    Failure{"<a b", "attribute name must be followed by '='", 1, 4},
                    Failure{"<a b=c/>", "attribute value must be quoted string", 1, 7},
                    Failure{"<a b=", "attribute value must be quoted string", 1, 5},
                    Failure{"<a b='x\"/>", "attribute value missing trailing quote", 1, 10},
                    Failure{"<a b='1' c='2' b='3'/>", "attribute specified more than once", 1, 21},
                    Failure{"<a b='x<y'/>", "illegal '<' character in quoted string", 1, 8},
                    Failure{"<a b='x &amp'/>", "unknown entity in quoted string", 1, 13},
                    Failure{"<a b='&nbsp;'/>", "unknown entity in quoted string", 1, 13}));

INSTANTIATE_TEST_SUITE_P(References, XmlFailures,
                         testing::Values(Failure{"<a>&#x41;</a>", "unknown entity in element body", 1, 10},
                                         Failure{"<a>&unknown;</a>", "unknown entity in element body", 1, 13},
                                         Failure{"<a>&#0;</a>", "unknown entity in element body", 1, 8},
                                         Failure{"<a>&#;</a>", "unknown entity in element body", 1, 7},
                                         Failure{"<a>&;</a>", "unknown entity in element body", 1, 6},
                                         Failure{"<a>&lt</a>", "unknown entity in element body", 1, 7},
                                         Failure{"<a>&lt", "unknown entity in element body", 1, 6},
                                         Failure{"<a>&#" + std::string(30, '0') + "65;</a>",
                                                 "unknown entity in element body", 1, 36}));

struct Document {
    std::string document;
    const char* outline;
};

void PrintTo(const Document& document, std::ostream* out) {
    *out << document.document;
}

class XmlDocuments : public testing::TestWithParam<Document> {};

TEST_P(XmlDocuments, TreeInBlocksOfAnySize) {
    for (const size_t blockBytes : kBlockSizes) {
        BlockParser parser(GetParam().document, blockBytes);
        ASSERT_STREQ(parser.Parse(), nullptr) << GetParam().document;
        EXPECT_EQ(Outline(*parser.Root()), GetParam().outline);
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, XmlDocuments,
    testing::Values(Document{" <a/> \n", "a"}, Document{"<a></a >", "a"},
                    Document{"<a b = '1'c=\"2>'\"/>", "a b='1' c='2>''"},
                    Document{"<a b='&lt;&#65;&quot;\"\n'/>", "a b='<A\"\"\n'"},
                    Document{"<x:a-1._\xC3\xA9 y:b='1'/>", "x:a-1._\xC3\xA9 y:b='1'"},
                    Document{"<a>&lt;&gt;&amp;&apos;&quot;&#65;</a>", "a=<>&'\"A"},
                    // The number ends where its digits end; 31 characters are the longest reference.
                    Document{"<a>&#66x;&#" + std::string(28, '0') + "65;</a>", "a=BA"},
                    Document{"<a>&#233;&#8364;&#128512;</a>", "a=\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
                    Document{"<a>&#55296;&#57343;&#1114112;&#99999999999999999999;</a>", "a=____"},
                    Document{"<a>x<![CDATA[<&]]]>y]></a>", "a=x<&]y]>"},
                    Document{"<a><![CDATA[]]]]]><![CDATA[ ]]><![CDATA[]x]]></a>", "a=]]] ]x"},
                    Document{"<a>x<!-- - -> <b> --> y<?p?>z</a>", "a=x yz"},
                    // Whitespace alone is an element's text only where it has no children.
                    Document{"<a>\n <b> </b>\n <c/>x <d/> y\n</a>", "a=x  y\n(b=  c d)"},
                    Document{"<a>&#32;<b/><![CDATA[]]> </a>", "a=  (b)"},
                    Document{"<a><a><a>1</a></a><b>2</b></a>", "a(a(a=1) b=2)"}));

TEST(XmlParser, KeepsDeclarationInstructionsAndDocumentTypeApart) {
    BlockParser parser(
        "<?xml version='1.0'?><!-- x --><!DOCTYPE note SYSTEM 'a.dtd'><?p q='1'?>"
        "<a><?r?></a><?s t='2'?>",
        7);
    ASSERT_STREQ(parser.Parse(), nullptr);
    ASSERT_NE(parser.Declaration(), nullptr);
    EXPECT_EQ(Outline(*parser.Declaration()), "xml version='1.0'");
    EXPECT_EQ(parser.DocType(), "note SYSTEM 'a.dtd'");
    ASSERT_EQ(parser.ProcessingInstructions().size(), 3u);
    EXPECT_EQ(Outline(*parser.ProcessingInstructions()[2]), "s t='2'");
    EXPECT_EQ(Outline(*parser.Root()), "a");
}

TEST(XmlParser, LooksAttributesUpByName) {
    BlockParser parser("<a b='1' c=''/>", 7);
    ASSERT_STREQ(parser.Parse(), nullptr);
    ASSERT_NE(parser.Root()->Attribute("c"), nullptr);
    EXPECT_EQ(parser.Root()->Attribute("c")->value, "");
    EXPECT_EQ(parser.Root()->Attribute("B"), nullptr);
}

TEST(XmlParser, ParsesAndFreesADocumentOfAnyDepth) {
    constexpr size_t depth = 300'000;
    std::string document;
    for (size_t level = 0; level < depth; ++level)
        document += "<a>";
    BlockParser unterminated(document, 65536);
    EXPECT_STREQ(unterminated.Parse(), "unterminated block");
    EXPECT_EQ(unterminated.ErrorColumn(), static_cast<int>(3 * depth - 2));

    for (size_t level = 0; level < depth; ++level)
        document += "</a>";
    BlockParser parser(document, 65536);
    ASSERT_STREQ(parser.Parse(), nullptr);
    size_t found = 0;
    for (auto* element = parser.Root(); element != nullptr; element = element->firstChild)
        ++found;
    EXPECT_EQ(found, depth);
}

TEST(XmlParser, TakesManyAttributesAndFindsTheOneThatRepeats) {
    std::string tag = "<a";
    for (int i = 0; i < 200'000; ++i)
        tag += " n" + std::to_string(i) + "=''";
    BlockParser parser(tag + "/>", 65536);
    ASSERT_STREQ(parser.Parse(), nullptr);
    EXPECT_NE(parser.Root()->Attribute("n199999"), nullptr);
    for (const char* again : {" n0=''/>", " n11=''/>", " n12=''/>", " n199999=''/>"}) {
        BlockParser refused(tag + again, 65536);
        EXPECT_STREQ(refused.Parse(), "attribute specified more than once");
    }
}

TEST(XmlParser, GathersAValueFromManyPieces) {
    std::string document = "<a>";
    for (int i = 0; i < 200'000; ++i)
        document += "x<b/>";
    BlockParser parser(document + "</a>", 65536);
    ASSERT_STREQ(parser.Parse(), nullptr);
    EXPECT_EQ(parser.Root()->Value(), std::string(200'000, 'x'));
}

TEST(XmlParser, AnyTruncationFails) {
    const std::string document =
        "<?xml version='1.0'?><!DOCTYPE a><!-- c --><a b='&amp;'>t&#65;<![CDATA[d]]><e/><?p?></a>";
    for (size_t bytes = 0; bytes < document.size(); ++bytes) {
        BlockParser parser(document.substr(0, bytes), 1000);
        EXPECT_STRNE(parser.Parse(), nullptr) << bytes;
    }
}

// "<", then a name without an end.
class EndlessName : public qrv_xml_parser {
  public:
    int64_t MoreData(const uint8_t** data) override {
        *data = begun_ ? name_.data() : &less_;
        return std::exchange(begun_, true) ? static_cast<int64_t>(name_.size()) : 1;
    }

  private:
    bool begun_ = false;
    uint8_t less_ = '<';
    std::vector<uint8_t> name_ = std::vector<uint8_t>(1 << 20, 'a');
};

TEST(XmlParser, RefusesATokenOfHundredsOfMegabytes) {
    EndlessName parser;
    EXPECT_STREQ(parser.Parse(),
                 "expected token after <: token buffer tried to malloc() more than 512MB, probably unsafe "
                 "and invalid XML");
    // 256 bytes, grown by 2 1/4 seventeen times: the next step would pass the limit.
    EXPECT_EQ(parser.ErrorColumn(), 248'498'588 + 2);
}

}  // namespace
}  // namespace vantor
