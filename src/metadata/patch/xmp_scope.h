// The namespaces at one place of an XMP packet, for what is to be put there.
#pragma once

#include <string>
#include <string_view>

#include "metadata/read/xmp_node.h"

namespace vantor {

// False for an rdf:RDF in another one: its properties would be descriptions.
[[nodiscard]] inline bool TakesXmpProperties(const XmpNode& description) {
    return !description.Is(XmpSpace::Rdf, "RDF");
}

class XmpScope {
  public:
    explicit XmpScope(const XmpNode& node) : node_(node) {}

    // One that is in use there; the usual one when there is none.
    [[nodiscard]] std::string_view Prefix(XmpSpace space) const;
    // The attributes that an element of that space needs when its prefix, or that of RDF, is not in use.
    [[nodiscard]] std::string Declarations(XmpSpace space) const;

  private:
    [[nodiscard]] std::string_view UsedPrefix(XmpSpace space) const;

    const XmpNode& node_;
};

}  // namespace vantor
