// A small, strict, streaming XML parser that builds an element tree. It works on bytes; text stays in the
// document's own encoding, except that character references are written as UTF-8. References are the five
// predefined entities and decimal character references; there is no other entity, so nothing expands.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vantor {

// Names and values lie in the parser's memory and live as long as it does.
struct XmlAttribute {
    std::string_view name;
    std::string_view value;
    const XmlAttribute* next = nullptr;  // in document order; names are unique within an element
};

// A node of the tree, kept small: a hostile document is millions of empty elements. The parser owns all nodes
// in one pool, so a tree of any depth is freed without recursion.
struct XmlElement {
    std::string_view name;
    const XmlAttribute* firstAttribute = nullptr;
    XmlElement* firstChild = nullptr;
    XmlElement* nextSibling = nullptr;
    std::unique_ptr<std::string> text;  // null when there is none

    // Character data with references decoded, CDATA sections as they stand. Whitespace alone before, between
    // and after child elements is dropped; an element without children keeps all its text.
    [[nodiscard]] std::string_view Value() const { return text ? std::string_view(*text) : ""; }
    // Null when absent.
    [[nodiscard]] const XmlAttribute* Attribute(std::string_view attributeName) const;
};

// Bytes of the input, counted from its start.
struct XmlSpan {
    size_t begin = 0;
    size_t end = 0;
};

struct XmlElementPlace {
    XmlSpan startTag;  // "<" to ">"
    XmlSpan endTag;    // the same; empty, behind the start tag, for an element like "<NOTE/>"
};

struct XmlAttributePlace {
    XmlSpan whole;  // its name to its closing quote
    XmlSpan value;  // between the quotes
};

// Where everything stands, for those who change a document without rewriting it.
struct XmlPlaces {
    std::unordered_map<const XmlElement*, XmlElementPlace> elements;
    std::unordered_map<const XmlAttribute*, XmlAttributePlace> attributes;
};

// NOLINTNEXTLINE(readability-identifier-naming): the name that hosts know
class qrv_xml_parser {
  public:
    qrv_xml_parser();
    virtual ~qrv_xml_parser();
    // Sets *data to further input and returns its length; 0 or less at the end of input.
    virtual int64_t MoreData(const uint8_t** data) = 0;

    // Before the parse: note the places of all elements and attributes there; end behind the root's end tag,
    // whatever follows it.
    void NotePlaces(XmlPlaces& places);
    void EndBehindRoot();

    // Reads the whole input. Null on success, else what is wrong; the text belongs to the parser.
    const char* Parse();
    [[nodiscard]] const XmlElement* Root() const;
    [[nodiscard]] const XmlElement* Declaration() const;  // <?xml ...?>
    [[nodiscard]] const std::vector<const XmlElement*>& ProcessingInstructions() const;
    [[nodiscard]] std::string_view DocType() const;
    // Where a failed parse stopped; for the messages that begin with "unterminated", the "<" of the construct
    // that is not terminated. Lines count from 1; a column is the number of bytes read since the line feed,
    // the byte that the parser looks at included.
    [[nodiscard]] int ErrorLine() const;
    [[nodiscard]] int ErrorColumn() const;

  private:
    struct State;
    std::unique_ptr<State> state_;
};

// Parses a document held in memory.
class XmlMemoryParser : public qrv_xml_parser {
  public:
    XmlMemoryParser(const uint8_t* data, size_t bytes) : data_(data), bytes_(bytes) {}
    int64_t MoreData(const uint8_t** data) override;

  private:
    const uint8_t* data_;
    size_t bytes_;
};

}  // namespace vantor
