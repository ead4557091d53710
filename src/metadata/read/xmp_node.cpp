#include "metadata/read/xmp_node.h"

#include <algorithm>
#include <array>

#include "text/text.h"

namespace vantor {

namespace {

struct KnownSpace {
    std::string_view uri;
    XmpSpace space;
    std::string_view prefix;
};
constexpr std::array<KnownSpace, 3> knownSpaces = {
    {{"http://www.w3.org/1999/02/22-rdf-syntax-ns#", XmpSpace::Rdf, "rdf"},
     {"http://purl.org/dc/elements/1.1/", XmpSpace::DublinCore, "dc"},
     {"http://ns.adobe.com/xmp/1.0/DynamicMedia/", XmpSpace::DynamicMedia, "xmpDM"}}};

XmpSpace SpaceWithUri(std::string_view uri) {
    const auto* known = std::ranges::find(knownSpaces, uri, &KnownSpace::uri);
    return known == knownSpaces.end() ? XmpSpace::Other : known->space;
}

}  // namespace

std::string_view UriOfXmpSpace(XmpSpace space) {
    return std::ranges::find(knownSpaces, space, &KnownSpace::space)->uri;
}

std::string_view UsualXmpPrefix(XmpSpace space) {
    return std::ranges::find(knownSpaces, space, &KnownSpace::space)->prefix;
}

XmpNode::XmpNode(const XmlElement& element, const XmpNode* outer) : element_(element), outer_(outer) {
    constexpr std::string_view declaration = "xmlns";
    for (auto* attribute = element.firstAttribute; attribute != nullptr; attribute = attribute->next) {
        std::string_view name = attribute->name;
        if (!name.starts_with(declaration)) continue;
        name.remove_prefix(declaration.size());
        if (name.starts_with(':'))
            declared_[name.substr(1)] = SpaceWithUri(attribute->value);
        else if (name.empty())
            declared_[""] = SpaceWithUri(attribute->value);
    }
}

std::vector<const XmlElement*> XmpNode::Path() const {
    std::vector<const XmlElement*> path;
    for (const XmpNode* node = this; node != nullptr; node = node->outer_)
        path.push_back(&node->element_);
    std::ranges::reverse(path);
    return path;
}

XmpSpace XmpNode::SpaceOf(std::string_view prefix) const {
    if (prefix == "xml") return XmpSpace::Xml;
    if (prefix == "xmlns") return XmpSpace::Other;  // which nothing can be bound to
    for (const XmpNode* node = this; node != nullptr; node = node->outer_)
        if (const auto found = node->declared_.find(prefix); found != node->declared_.end())
            return found->second;
    return XmpSpace::Other;
}

XmpName XmpNode::NameOf(std::string_view qualified, bool isElement) const {
    const size_t colon = qualified.find(':');
    if (colon != qualified.npos) return {SpaceOf(qualified.substr(0, colon)), qualified.substr(colon + 1)};
    // The default namespace holds for elements alone.
    return {isElement ? SpaceOf("") : XmpSpace::Other, qualified};
}

bool XmpNode::IsContainer() const {
    const XmpName name = Name();
    return name.space == XmpSpace::Rdf && (name.local == "Bag" || name.local == "Seq" || name.local == "Alt");
}

const XmlAttribute* XmpNode::Attribute(XmpSpace space, std::string_view local) const {
    const XmlAttribute* found = nullptr;
    ForEachAttribute([&](XmpName name, const XmlAttribute& attribute) {
        if (name == XmpName{space, local}) found = &attribute;
    });
    return found;
}

std::string_view XmpNode::PrefixOf(XmpSpace space) const {
    for (const XmpNode* node = this; node != nullptr; node = node->outer_)
        for (const auto& [prefix, declared] : node->declared_)
            if (declared == space && !prefix.empty() && SpaceOf(prefix) == space) return prefix;
    return {};
}

XmpText XmpNode::Text() const {
    const auto in = [](const XmlElement& element) {
        return XmpText{Utf8OrLatin1(element.Value()), &element, nullptr};
    };
    XmpText text = in(element_);
    const auto take = [&](const XmlAttribute* attribute) {
        if (text.text.empty() && attribute != nullptr && !attribute->value.empty())
            text = {Utf8OrLatin1(attribute->value), nullptr, attribute};
    };
    if (!text.text.empty()) return text;
    ForEachField([&](const XmpNode& field) {
        if (field.Is(XmpSpace::Rdf, "value") && !field.element_.Value().empty()) text = in(field.element_);
    });
    take(Attribute(XmpSpace::Rdf, "value"));
    ForEachField([&](const XmpNode& field) {
        if (field.Is(XmpSpace::Rdf, "Description")) take(field.Attribute(XmpSpace::Rdf, "value"));
    });
    take(Attribute(XmpSpace::Rdf, "resource"));
    return text;
}

XmpText XmpNode::Field(std::string_view local) const {
    XmpText text;
    const auto take = [&](const XmlAttribute* attribute) {
        if (attribute != nullptr) text = {Utf8OrLatin1(attribute->value), nullptr, attribute};
    };
    take(Attribute(XmpSpace::DynamicMedia, local));
    ForEachField([&](const XmpNode& field) {
        if (!text.text.empty()) return;
        if (field.Is(XmpSpace::DynamicMedia, local)) text = field.Text();
        if (field.Is(XmpSpace::Rdf, "Description")) take(field.Attribute(XmpSpace::DynamicMedia, local));
    });
    return text;
}

}  // namespace vantor
