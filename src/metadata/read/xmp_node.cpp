#include "metadata/read/xmp_node.h"

#include <array>

#include "text/text.h"

namespace vantor {

namespace {

struct KnownSpace {
    std::string_view uri;
    XmpSpace space;
};
constexpr std::array<KnownSpace, 3> knownSpaces = {
    {{"http://www.w3.org/1999/02/22-rdf-syntax-ns#", XmpSpace::Rdf},
     {"http://purl.org/dc/elements/1.1/", XmpSpace::DublinCore},
     {"http://ns.adobe.com/xmp/1.0/DynamicMedia/", XmpSpace::DynamicMedia}}};

XmpSpace SpaceWithUri(std::string_view uri) {
    for (const KnownSpace& known : knownSpaces)
        if (known.uri == uri) return known.space;
    return XmpSpace::Other;
}

}  // namespace

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

XmpSpace XmpNode::SpaceOf(std::string_view prefix) const {
    if (prefix == "xml") return XmpSpace::Xml;
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

std::optional<std::string_view> XmpNode::Attribute(XmpSpace space, std::string_view local) const {
    std::optional<std::string_view> found;
    ForEachAttribute([&](XmpName name, std::string_view value) {
        if (name == XmpName{space, local}) found = value;
    });
    return found;
}

std::string XmpNode::Text() const {
    std::string text = Utf8OrLatin1(element_.Value());
    if (!text.empty()) return text;
    ForEachField([&](const XmpNode& field) {
        if (field.Is(XmpSpace::Rdf, "value")) text = Utf8OrLatin1(field.element_.Value());
    });
    return text.empty() ? Utf8OrLatin1(Attribute(XmpSpace::Rdf, "resource").value_or("")) : text;
}

std::string XmpNode::Field(std::string_view local) const {
    std::string text = Utf8OrLatin1(Attribute(XmpSpace::DynamicMedia, local).value_or(""));
    ForEachField([&](const XmpNode& field) {
        if (!text.empty()) return;
        if (field.Is(XmpSpace::DynamicMedia, local)) text = field.Text();
        if (field.Is(XmpSpace::Rdf, "Description"))
            text = Utf8OrLatin1(field.Attribute(XmpSpace::DynamicMedia, local).value_or(""));
    });
    return text;
}

}  // namespace vantor
