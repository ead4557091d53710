#include "xml/xml_parser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/failing_allocation.h"
#include "xml/xml_tokenizer.h"

namespace vantor {
namespace {

// Hands its document over in blocks; each block lies alone in memory, so that a read past one is seen.
class BlockParser : public qrv_xml_parser {
  public:
    BlockParser(std::string_view document, size_t blockBytes) : left_(document), blockBytes_(blockBytes) {}

    int64_t MoreData(const uint8_t** data) override {
        const auto block = left_.substr(0, blockBytes_);
        left_.remove_prefix(block.size());
        block_ = std::vector<uint8_t>(block.begin(), block.end());
        *data = block_.data();
        return static_cast<int64_t>(block_.size());
    }

  private:
    std::string_view left_;
    size_t blockBytes_;
    std::vector<uint8_t> block_;
};

constexpr size_t blockSizes[] = {1, 7, 1'000'000'000};

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

TEST(XmlParser, FailsWithMessageLineAndColumn) {
    struct Case {
        std::string document;
        const char* message;
        int line;
        int column;
    };
    const Case cases[] = {
        {" \n ", "unexpected end of file", 2, 1},
        {"\xEF\xBB\xBF<a/>", "expected < tag", 1, 1},
        {"<", "expected token after <", 1, 1},
        {"< a/>", "expected token after <: unexpected whitespace", 1, 2},
        {"<a/>\n<b/>", "multiple top level elements", 2, 3},
        {"<a>\n<b>\n", "unterminated block", 2, 1},
        {"<!", "expected token following <!", 1, 2},
        {"<!ELEMENT a>", "unknown token following <!", 1, 10},
        {"<!-a-->", "unknown token following <!-", 1, 7},
        {"<a>\n <!-- x\n", "unterminated comment", 2, 2},
        {"<!--->", "unterminated comment", 1, 1},
        {"<!-- a --->", "-- not allowed in comment", 1, 10},
        {"<a><!DOCTYPE a></a>", "<!DOCTYPE must be at top level", 1, 13},
        {"<!DOCTYPE a><!DOCTYPE b><a/>", "<!DOCTYPE already specified", 1, 22},
        {"<!DOCTYPE >", "expected document type token following <!DOCTYPE", 1, 11},
        {"\n<!DOCTYPE a", "unterminated <!DOCTYPE", 2, 1},
        {"<![CDATA[x]]>", "<![ not allowed at document level", 1, 4},
        {"<a><![IGNORE[x]]></a>", "unknown token beginning <![", 1, 13},
        {"<a><![CDATA x]]></a>",
         "unknown token beginning <![CDATA but without trailing [: unexpected whitespace", 1, 12},
        {"<a>\n<![CDATA[x] ]>]]</a>", "unterminated <![CDATA[", 2, 1},
        {"<!-- c --><?xml version=\"1.0\"?><a/>", "<?xml must begin document", 1, 16},
        {"<?xml version='1.0'><a/>", "<?xml not terminated", 1, 21},
        {"<?x?<a/>", "<? element not terminated", 1, 6},
        {"\n\n  <?x a='1'", "unterminated <? block", 3, 3},
        {"</a>", "unexpected </ at root level", 1, 3},
        {"<a><b></a>", "mismatched </ tag name", 1, 10},
        {"<a></A>", "mismatched </ tag name", 1, 7},
        {"<a></a", "expected > following </tag", 1, 6},
        {"<1a/>", "element name must not begin with .- or number", 1, 4},
        {"<0/>", "element name must not begin with .- or number", 1, 3},
        {"<9/>", "element name must not begin with .- or number", 1, 3},
        {"<./>", "element name must not begin with .- or number", 1, 3},
        // Behind a root that is whole.
        {"<a/><!", "expected token following <!", 1, 6},
        {"<a/><!DOCTYPE a", "unterminated <!DOCTYPE", 1, 5},
        {"<a/><?", "expected token following <?", 1, 6},
        {"<a/><?x b='1'", "unterminated <? block", 1, 5},
        {std::string("<a/>\0", 5), "expected < tag", 1, 5},
        {"<a><></a>", "unknown token in element", 1, 6},
        {"<a><b ,></a>", "unknown token in element", 1, 8},
        {"<a b=c/>", "attribute value must be quoted string", 1, 7},
        {"<!DOCTYPE", "expected document type token following <!DOCTYPE", 1, 9},
        // Other tokens where a name or a sign is wanted.
        {"<!\"DOCTYPE\" a><a/>", "unknown token following <!", 1, 12},
        {"<a><![\"CDATA\"[x]]></a>", "unknown token beginning <![", 1, 14},
        {"<a><![CDATA(x]]></a>", "unknown token beginning <![CDATA but without trailing [", 1, 13},
        {"<?\"x\"?><a/>", "expected token following <?", 1, 6},
        {"<a></\"a\">", "mismatched </ tag name", 1, 9},
        {"<a></a b>", "expected > following </tag", 1, 9},
        {"<a b/'1'/>", "attribute name must be followed by '='", 1, 6},
        {"<>", "unknown token in element", 1, 2},
        {"<a /b>", "expected > following / to end element", 1, 6},
        {"<x>\n<a\n b='1'\n", "unterminated element", 2, 1},
        {"<a -b='x'/>", "attribute must not begin with .- or number", 1, 6},
        {"<a b", "attribute name must be followed by '='", 1, 4},
        {"<a b=", "attribute value must be quoted string", 1, 5},
        {"<a b='x\"/>", "attribute value missing trailing quote", 1, 10},
        {"<a b='1' c='2' b='3'/>", "attribute specified more than once", 1, 21},
        {"<a b='x<y'/>", "illegal '<' character in quoted string", 1, 8},
        {"<a b='x &amp'/>", "unknown entity in quoted string", 1, 13},
        {"<a>&#x41;</a>", "unknown entity in element body", 1, 10},
        {"<a>&#0;</a>", "unknown entity in element body", 1, 8},
        {"<a>&#;</a>", "unknown entity in element body", 1, 7},
        {"<a>&#-5;</a>", "unknown entity in element body", 1, 9},
        {"<a>&x65;</a>", "unknown entity in element body", 1, 9},
        {std::string("<a>&\0;</a>", 10), "unknown entity in element body", 1, 7},
        {"<a>&#" + std::string(30, '0') + "65;</a>", "unknown entity in element body", 1, 36},
    };
    for (const size_t blockBytes : blockSizes)
        for (const auto& [document, message, line, column] : cases) {
            BlockParser parser(document, blockBytes);
            EXPECT_STREQ(parser.Parse(), message) << document;
            EXPECT_EQ(parser.ErrorLine(), line) << document;
            EXPECT_EQ(parser.ErrorColumn(), column) << document;
        }
}

TEST(XmlParser, BuildsTheTree) {
    const std::pair<std::string, const char*> cases[] = {
        {" <a b = '1'c=\"2>'\"></a > \n", "a b='1' c='2>''"},
        {"<a b='&lt;&#65;&quot;\"\n'/>", "a b='<A\"\"\n'"},
        {"<x:a-1._\u00E9 y:b='1'/>", "x:a-1._\u00E9 y:b='1'"},
        {"<a>&lt;&gt;&amp;&apos;&quot;&#65;</a>", "a=<>&'\"A"},
        // The number ends where its digits end; 31 characters are the longest reference.
        {"<a>&#66x;&#" + std::string(28, '0') + "65;</a>", "a=BA"},
        {"<a>&#233;&#8364;&#128512;&#1114111;&#9;</a>", "a=\u00E9\u20AC\U0001F600\U0010FFFF\t"},
        {"<\x01/>", "\x01"},
        {"<a>&#55296;&#57343;&#1114112;&#99999999999999999999;</a>", "a=____"},
        {"<a>x<![CDATA[<&]]]>y]></a>", "a=x<&]y]>"},
        {"<a><![CDATA[]]]]]><![CDATA[ ]]><![CDATA[]x]]></a>", "a=]]] ]x"},
        {"<a>x<!-- - -> <b> --> y<?p?>z</a>", "a=x yz"},
        // Whitespace alone is an element's text only where it has no children.
        {"<a>\n <b> </b>\n <c/>x <d/> y\n</a>", "a=x  y\n(b=  c d)"},
        {"<a>&#32;<b/><![CDATA[]]> </a>", "a=  (b)"},
        {"<a><a><a>1</a></a><b>2</b></a>", "a(a(a=1) b=2)"},
    };
    for (const size_t blockBytes : blockSizes)
        for (const auto& [document, outline] : cases) {
            BlockParser parser(document, blockBytes);
            ASSERT_STREQ(parser.Parse(), nullptr) << document;
            EXPECT_EQ(Outline(*parser.Root()), outline);
        }
}

TEST(XmlParser, TakesAZeroForAnyOtherByte) {
    const auto withZeros = [](std::string text) {
        std::ranges::replace(text, '@', '\0');
        return text;
    };
    const std::string document = withZeros("<!-- @ --><!DOCTYPE @b@><a@b c='@x@'>@y@<![CDATA[@]]></a@b>");
    for (const size_t blockBytes : blockSizes) {
        BlockParser parser(document, blockBytes);
        ASSERT_STREQ(parser.Parse(), nullptr);
        EXPECT_EQ(parser.DocType(), withZeros("@b@"));
        EXPECT_EQ(Outline(*parser.Root()), withZeros("a@b c='@x@'=@y@@"));
    }
}

TEST(XmlParser, TellsDelimitersAndWhitespace) {
    for (int byte = -1; byte < 256; ++byte) {
        const bool isIn = byte > 0 && byte < 128;
        const std::string_view delimiters = "!\"#$%&'()*+,/;<=>?@[\\]^`{|}~";
        EXPECT_EQ(IsXmlDelimiter(byte), isIn && delimiters.find(static_cast<char>(byte)) != delimiters.npos)
            << byte;
        EXPECT_EQ(IsXmlWhitespace(byte), byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r') << byte;
    }
}

TEST(XmlParser, NotesWhereEverythingStands) {
    const std::string document = "<?xml version='1.0'?>\n<a b = \"1\" c='&lt;'><d/>x</a > <rest";
    const auto text = [&](const XmlSpan& span) { return document.substr(span.begin, span.end - span.begin); };
    for (const size_t blockBytes : blockSizes) {
        XmlPlaces places;
        BlockParser parser(document, blockBytes);
        parser.NotePlaces(places);
        parser.EndBehindRoot();
        ASSERT_STREQ(parser.Parse(), nullptr);
        const auto* root = parser.Root();
        EXPECT_EQ(text(places.elements.at(root).startTag), "<a b = \"1\" c='&lt;'>");
        EXPECT_EQ(text(places.elements.at(root).endTag), "</a >");
        EXPECT_EQ(text(places.elements.at(root->firstChild).startTag), "<d/>");
        EXPECT_EQ(places.elements.at(root->firstChild).endTag.begin, document.find('x', 30));
        EXPECT_EQ(text(places.elements.at(root->firstChild).endTag), "");
        EXPECT_EQ(text(places.attributes.at(root->Attribute("b")).whole), "b = \"1\"");
        EXPECT_EQ(text(places.attributes.at(root->Attribute("c")).value), "&lt;");
    }
}

// Tokens and texts longer than the memory that they start with.
TEST(XmlParser, FailsWhereThereIsNoMemory) {
    const std::string longText(300, 'x'), longer(3000, 'y'), longest(20000, 'z');
    const std::string document = "<!DOCTYPE " + longText + "><" + longText + " a='" + longText + "&lt;' b='" +
                                 longer + "' c='" + longest + "'>" + longText + longText + "&lt;<![CDATA[" +
                                 longer + "]" + longest + "]]></" + longText + ">";
    bool hasFailed = true;
    for (int allowed = 0; hasFailed; ++allowed) {
        XmlMemoryParser parser(reinterpret_cast<const uint8_t*>(document.data()), document.size());
        const char* message = nullptr;
        {
            const test::FailingAllocation failing(allowed);
            message = parser.Parse();
            hasFailed = failing.HasFailed();
        }
        ASSERT_EQ(message != nullptr, hasFailed) << allowed;
        if (hasFailed) {
            EXPECT_TRUE(std::string_view(message).ends_with("malloc fail")) << message;
            continue;
        }
        EXPECT_EQ(Outline(*parser.Root()), longText + " a='" + longText + "<' b='" + longer + "' c='" +
                                               longest + "'=" + longText + longText + "<" + longer + "]" +
                                               longest);
    }
}

// However the end of the input is told, that is it.
class EndingInput : public qrv_xml_parser {
  public:
    EndingInput(const uint8_t* end, int64_t bytes) : end_(end), bytes_(bytes) {}
    int64_t MoreData(const uint8_t** data) override {
        *data = begun_ ? end_ : document_;
        return std::exchange(begun_, true) ? bytes_ : sizeof document_;
    }

  private:
    const uint8_t document_[4] = {'<', 'a', '/', '>'};
    const uint8_t* end_;
    int64_t bytes_;
    bool begun_ = false;
};

TEST(XmlParser, EndsWithItsInput) {
    constexpr uint8_t more[] = "x";
    for (const auto& [end, bytes] :
         {std::pair<const uint8_t*, int64_t>{more, 0}, {more, -1}, {nullptr, 0}, {nullptr, 1}})
        EXPECT_STREQ(EndingInput(end, bytes).Parse(), nullptr) << bytes;
}

TEST(XmlParser, KeepsDeclarationInstructionsAndDocumentTypeApart) {
    const std::string_view document =
        "<?xml version='1.0'?><!-- x --><!DOCTYPE note SYSTEM 'a.dtd'><?p q='1'?>"
        "<a><?r?></a><?s t='2'?>";
    BlockParser parser(document, 7);
    ASSERT_STREQ(parser.Parse(), nullptr);
    EXPECT_EQ(Outline(*parser.Declaration()), "xml version='1.0'");
    EXPECT_EQ(parser.DocType(), "note SYSTEM 'a.dtd'");
    ASSERT_EQ(parser.ProcessingInstructions().size(), 3u);
    EXPECT_EQ(Outline(*parser.ProcessingInstructions()[2]), "s t='2'");
    EXPECT_EQ(Outline(*parser.Root()), "a");
    for (size_t bytes = 0; bytes < document.find("</a>") + 4; ++bytes) {
        BlockParser truncated(document.substr(0, bytes), 1000);
        EXPECT_STRNE(truncated.Parse(), nullptr) << bytes;
    }
}

std::string Repeated(int times, std::string_view piece) {
    std::string text;
    for (int i = 0; i < times; ++i)
        text += piece;
    return text;
}

TEST(XmlParser, TakesADocumentOfAnyDepthAndWidth) {
    constexpr int count = 300'000;
    const auto deep = Repeated(count, "<a>");
    BlockParser unterminated(deep, 65536);
    EXPECT_STREQ(unterminated.Parse(), "unterminated block");
    EXPECT_EQ(unterminated.ErrorColumn(), 3 * count - 2);

    const auto whole = deep + Repeated(count, "x<b/>") + Repeated(count, "</a>");
    BlockParser parser(whole, 65536);
    ASSERT_STREQ(parser.Parse(), nullptr);
    int depth = 1;
    const XmlElement* innermost = parser.Root();
    for (; innermost->firstChild->firstChild != nullptr; innermost = innermost->firstChild)
        ++depth;
    EXPECT_EQ(depth, count);
    EXPECT_EQ(innermost->Value(), Repeated(count, "x"));
}

TEST(XmlParser, TakesManyAttributesAndFindsTheOneThatRepeats) {
    std::string tag = "<a";
    for (int i = 0; i < 200'000; ++i)
        tag += " n" + std::to_string(i) + "=''";
    const std::string whole = tag + "/>";
    BlockParser parser(whole, 65536);
    ASSERT_STREQ(parser.Parse(), nullptr);
    EXPECT_NE(parser.Root()->Attribute("n199999"), nullptr);
    EXPECT_EQ(parser.Root()->Attribute("N1"), nullptr);
    for (const char* again : {" n0=''/>", " n11=''/>", " n12=''/>", " n199999=''/>"}) {
        const std::string repeating = tag + again;
        BlockParser refused(repeating, 65536);
        EXPECT_STREQ(refused.Parse(), "attribute specified more than once");
    }
}

TEST(XmlParser, RefusesMoreElementsOrAttributesThanAnyMetadataHas) {
    constexpr int count = 600'000;
    const auto elements = "<a>" + Repeated(2 * count, "<b/>") + "</a>";
    BlockParser wide(elements, 65536);
    EXPECT_STREQ(wide.Parse(), "too many elements");
    const auto attributes = "<a>" + Repeated(count, "<b c=''/>") + "</a>";
    BlockParser both(attributes, 65536);
    EXPECT_STREQ(both.Parse(), "too many attributes");
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
