#include "metadata/patch/xmp_scope.h"

#include "metadata/write/escape_xml.h"

namespace vantor {

// Of a prefix that begins with a digit nobody makes a name.
std::string_view XmpScope::UsedPrefix(XmpSpace space) const {
    const auto used = node_.PrefixOf(space);
    return IsXmlName(used) ? used : std::string_view();
}

std::string_view XmpScope::Prefix(XmpSpace space) const {
    const auto used = UsedPrefix(space);
    return used.empty() ? UsualXmpPrefix(space) : used;
}

std::string XmpScope::Declarations(XmpSpace space) const {
    std::string declarations;
    for (const XmpSpace needed : {space, XmpSpace::Rdf})
        if (UsedPrefix(needed).empty())
            declarations.append(" xmlns:")
                .append(UsualXmpPrefix(needed))
                .append("=\"")
                .append(UriOfXmpSpace(needed))
                .append("\"");
    return declarations;
}

}  // namespace vantor
