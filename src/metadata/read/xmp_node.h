// An element of an XMP packet seen through its namespaces ("Namespaces in XML 1.0"): which prefix stands for
// which is the document's to choose, on any ancestor.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "xml/xml_parser.h"

namespace vantor {

enum class XmpSpace { Other, Xml, Rdf, DublinCore, DynamicMedia };

// Of RDF, Dublin Core and Dynamic Media.
[[nodiscard]] std::string_view UriOfXmpSpace(XmpSpace space);
[[nodiscard]] std::string_view UsualXmpPrefix(XmpSpace space);

struct XmpName {
    XmpSpace space = XmpSpace::Other;
    std::string_view local;
    bool operator==(const XmpName&) const = default;
};

// Where a text stands: in an element, or in an attribute.
struct XmpText {
    std::string text;  // always UTF-8
    const XmlElement* element = nullptr;
    const XmlAttribute* attribute = nullptr;
};

// Lives no longer than the node it was reached from; the nodes of a walk are as deep as the walk goes.
class XmpNode {
  public:
    explicit XmpNode(const XmlElement& element, const XmpNode* outer = nullptr);

    [[nodiscard]] const XmlElement& Element() const { return element_; }
    // From the root down to the element.
    [[nodiscard]] std::vector<const XmlElement*> Path() const;
    [[nodiscard]] XmpName Name() const { return NameOf(element_.name, true); }
    [[nodiscard]] bool Is(XmpSpace space, std::string_view local) const {
        return Name() == XmpName{space, local};
    }
    // Null when absent.
    [[nodiscard]] const XmlAttribute* Attribute(XmpSpace space, std::string_view local) const;
    // Character data: of rdf:value where a property carries qualifiers, an rdf:resource's address where it
    // refers to one. Without any, the element is where it would stand.
    [[nodiscard]] XmpText Text() const;
    // A prefix that stands for the space here; empty when there is none.
    [[nodiscard]] std::string_view PrefixOf(XmpSpace space) const;

    // visit(XmpName, const XmlAttribute&)
    template <typename Visit>
    void ForEachAttribute(Visit visit) const {
        for (auto* attribute = element_.firstAttribute; attribute != nullptr; attribute = attribute->next)
            visit(NameOf(attribute->name, false), *attribute);
    }
    // visit(const XmpNode&)
    template <typename Visit>
    void ForEachChild(Visit visit) const {
        for (auto* child = element_.firstChild; child != nullptr; child = child->nextSibling)
            visit(XmpNode(*child, this));
    }
    // The elements of a structure: its children, or those of the rdf:Description in it.
    template <typename Visit>
    void ForEachField(Visit visit) const {
        ForEachChild([&](const XmpNode& child) {
            visit(child);
            if (child.Is(XmpSpace::Rdf, "Description")) child.ForEachChild(visit);
        });
    }
    // The items of the rdf:Bag, rdf:Seq or rdf:Alt in it.
    template <typename Visit>
    void ForEachItem(Visit visit) const {
        ForEachChild([&](const XmpNode& container) {
            if (!container.IsContainer()) return;
            container.ForEachChild([&](const XmpNode& item) {
                if (item.Is(XmpSpace::Rdf, "li")) visit(item);
            });
        });
    }
    // A Dynamic Media field of a structure, written as an attribute or an element; empty when absent.
    [[nodiscard]] XmpText Field(std::string_view local) const;
    [[nodiscard]] bool IsContainer() const;  // an rdf:Bag, rdf:Seq or rdf:Alt

  private:
    [[nodiscard]] XmpName NameOf(std::string_view qualified, bool isElement) const;
    [[nodiscard]] XmpSpace SpaceOf(std::string_view prefix) const;

    const XmlElement& element_;
    const XmpNode* outer_;
    std::map<std::string_view, XmpSpace> declared_;
};

}  // namespace vantor
