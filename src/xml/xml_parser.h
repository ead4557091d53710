// A small, strict, streaming XML parser that builds an element tree. It works on bytes; text stays in the
// document's own encoding, except that character references are written as UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantor {

struct XmlAttribute {
    std::string name;
    std::string value;
};

// A node of the tree. Freed without recursion: depth is the document's to choose.
struct XmlElement {
    std::string name;
    std::vector<XmlAttribute> attributes;  // in order, names unique
    std::string value;  // character data, entities decoded; whitespace alone between children dropped
    std::vector<std::unique_ptr<XmlElement>> children;

    XmlElement() = default;
    ~XmlElement();
    // The attribute's value; null when absent.
    [[nodiscard]] const std::string* Attribute(std::string_view attributeName) const;
};

// NOLINTNEXTLINE(readability-identifier-naming): the class's given name
class qrv_xml_parser {
  public:
    qrv_xml_parser();
    virtual ~qrv_xml_parser();
    // Sets *data to further input and returns its length; 0 or less at the end of input.
    virtual int64_t MoreData(const uint8_t** data) = 0;

    // Reads the whole input. Null on success, else what is wrong; the text belongs to the parser.
    const char* Parse();
    [[nodiscard]] const XmlElement* Root() const;
    [[nodiscard]] const XmlElement* Declaration() const;  // <?xml ...?>
    [[nodiscard]] const std::vector<std::unique_ptr<XmlElement>>& ProcessingInstructions() const;
    [[nodiscard]] const std::string& DocType() const;
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
