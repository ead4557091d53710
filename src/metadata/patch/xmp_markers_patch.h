// The markers of an XMP packet: of one that is changed only the fields that differ are, a new one goes behind
// the last, into a track of its own when there is no track with markers.
#pragma once

#include "metadata/metadata_store.h"
#include "metadata/patch/xml_patch.h"

namespace vantor {

// Applies the "XMP:MARK000" keys of the change. False when the packet does not allow it.
[[nodiscard]] bool PatchXmpMarkers(XmlPatch& packet, const MetadataStore& change);

}  // namespace vantor
