#include "xml/xml_tree.h"

#include <algorithm>
#include <utility>

namespace vantor {

namespace {

constexpr size_t blockBytes = 16384;
// Up to here a walk along the list is quicker than a set.
constexpr size_t fewAttributes = 12;

}  // namespace

const XmlAttribute* XmlElement::Attribute(std::string_view attributeName) const {
    const XmlAttribute* attribute = firstAttribute;
    while (attribute != nullptr && attribute->name != attributeName)
        attribute = attribute->next;
    return attribute;
}

XmlElement& XmlTree::NewElement(std::string_view name) {
    XmlElement& element = elements_.emplace_back();
    element.name = Keep(name);
    return element;
}

XmlAttribute& XmlTree::NewAttribute(std::string_view keptName, std::string_view value) {
    XmlAttribute& attribute = attributes_.emplace_back();
    attribute.name = keptName;
    attribute.value = Keep(value);
    return attribute;
}

std::string_view XmlTree::Keep(std::string_view text) {
    if (text.empty()) return {};
    if (text.size() > freeBytes_) {
        // A long text has a block of its own; what is left of the last one still serves short ones.
        const bool isLong = text.size() > blockBytes / 8;
        auto block = std::make_unique_for_overwrite<char[]>(isLong ? text.size() : blockBytes);
        blocks_.push_back(std::move(block));
        char* start = blocks_.back().get();
        if (isLong) {
            std::copy(text.begin(), text.end(), start);
            return {start, text.size()};
        }
        free_ = start;
        freeBytes_ = blockBytes;
    }
    char* place = free_;
    std::copy(text.begin(), text.end(), place);
    free_ += text.size();
    freeBytes_ -= text.size();
    return {place, text.size()};
}

bool XmlAttributeList::Add(std::string_view keptName, std::string_view value) {
    if (!Insert(keptName)) return false;
    XmlAttribute& attribute = tree_.NewAttribute(keptName, value);
    if (last_ == nullptr)
        element_.firstAttribute = &attribute;
    else
        last_->next = &attribute;
    last_ = &attribute;
    ++count_;
    return true;
}

bool XmlAttributeList::Insert(std::string_view keptName) {
    if (count_ < fewAttributes) return element_.Attribute(keptName) == nullptr;
    if (names_.empty())
        for (auto* known = element_.firstAttribute; known != nullptr; known = known->next)
            names_.insert(known->name);
    return names_.insert(keptName).second;
}

}  // namespace vantor
