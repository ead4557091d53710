// iXML (http://www.gallery.co.uk/ixml): an XML document "BWFXML" whose elements with text become entries,
// keyed by their path. Reading a path twice numbers the later ones: "IXML:TRACK_LIST:TRACK:NAME:2".
#include "metadata/read/ixml_walk.h"
#include "metadata/read/read_metadata.h"
#include "text/text.h"

namespace vantor {

bool ReadIxml(std::span<const uint8_t> document, MetadataStore& store) {
    const auto text = FindIxmlDocument({reinterpret_cast<const char*>(document.data()), document.size()});
    if (text.empty()) return false;
    XmlMemoryParser parser(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    if (parser.Parse() != nullptr || parser.Root() == nullptr) return false;
    IxmlNumbering numbering(store);
    for (IxmlWalk walk(*parser.Root()); walk.Next();) {
        const auto value = walk.Element().Value();
        // The root's own text belongs to no field.
        if (value.empty() || walk.Path() == ixmlScheme) continue;
        numbering.Store(IxmlKeyOfPath(walk.Path()), Utf8OrLatin1(value));
    }
    return true;
}

}  // namespace vantor
