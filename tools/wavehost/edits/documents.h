// Documents that stand whole in a file, and pictures.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "wavehost/facts/source_facts.h"

namespace vantor::wavehost {

struct DocumentKind {
    std::string_view name;                       // as it is given on the command line
    const char* scheme;                          // as the module's calls name it
    std::span<const std::string_view> prefixes;  // of the keys that are read from it
};
// "iXML", "axml", "XMP" or "picture", in any case; null for others.
const DocumentKind* DocumentKindNamed(std::string_view name);

// The first document of that kind, or the picture; empty when there is none. Zeros that fill the chunk behind
// a text are left out. Throws Failure.
std::string DocumentIn(PCM_source& source, const DocumentKind& kind);

}  // namespace vantor::wavehost
