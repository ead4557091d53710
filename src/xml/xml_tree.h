// The memory of one XML tree: elements, attributes and their texts in pools that are freed as a whole.
#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <set>
#include <string_view>
#include <vector>

#include "xml/xml_parser.h"

namespace vantor {

class XmlTree {
  public:
    // Elements and attributes take many times the memory of their bytes in a document; no metadata has near
    // as many. A full tree takes no more of them.
    [[nodiscard]] bool IsFull() const { return elements_.size() + attributes_.size() >= mostNodes; }
    XmlElement& NewElement(std::string_view name);
    // A copy of the text that lives as long as the tree.
    std::string_view Keep(std::string_view text);
    XmlAttribute& NewAttribute(std::string_view keptName, std::string_view value);

  private:
    static constexpr size_t mostNodes = size_t{1} << 20;

    std::deque<XmlElement> elements_;
    std::deque<XmlAttribute> attributes_;
    std::vector<std::unique_ptr<char[]>> blocks_;
    char* free_ = nullptr;
    size_t freeBytes_ = 0;
};

// The attributes of one element while its tag is read: appends in order, refuses a name that is there.
class XmlAttributeList {
  public:
    XmlAttributeList(XmlTree& tree, XmlElement& element) : tree_(tree), element_(element) {}
    [[nodiscard]] bool Add(std::string_view keptName, std::string_view value);
    [[nodiscard]] const XmlAttribute* Last() const { return last_; }

  private:
    bool Insert(std::string_view keptName);

    XmlTree& tree_;
    XmlElement& element_;
    XmlAttribute* last_ = nullptr;
    size_t count_ = 0;
    // Used from the first dozen on. Ordered, not hashed: a file could bring names whose hashes are equal.
    std::set<std::string_view> names_;
};

}  // namespace vantor
