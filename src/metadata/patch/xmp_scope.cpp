#include "metadata/patch/xmp_scope.h"

namespace vantor {

std::string_view XmpScope::Prefix(XmpSpace space) const {
    const auto used = node_.PrefixOf(space);
    return used.empty() ? UsualXmpPrefix(space) : used;
}

std::string XmpScope::Declarations(XmpSpace space) const {
    std::string declarations;
    for (const XmpSpace needed : {space, XmpSpace::Rdf})
        if (node_.PrefixOf(needed).empty())
            declarations.append(" xmlns:")
                .append(UsualXmpPrefix(needed))
                .append("=\"")
                .append(UriOfXmpSpace(needed))
                .append("\"");
    return declarations;
}

}  // namespace vantor
