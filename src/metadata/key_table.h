// The common fields (title, artist, ...) and the keys under which each scheme keeps them.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "metadata/metadata_store.h"

namespace vantor {

inline constexpr size_t schemeKeyBytes = 256;  // longest scheme key with its terminator

using FieldPair = std::pair<std::string, std::string>;  // name, value

// The index-th scheme key of a field into `out`, cut to outBytes - 1. False past the row's end or for a bad
// argument.
bool SchemeKeyFor(const char* field, int index, char* out, size_t outBytes);
// Name of common field 0 to 10 (null otherwise); *label receives what the host shows.
const char* CommonField(int index, const char** label = nullptr);
// Reads a common field, or a raw key (with a colon), into `out`, cut to outBytes - 1.
bool LookupField(const char* name, char* out, size_t outBytes, const MetadataStore* store);
// Writes fields into a store under all their scheme keys; an empty value removes them.
void ApplyFields(std::span<const FieldPair> fields, MetadataStore& store, int sampleRate);
void SetTimeReference(MetadataStore& store, double seconds, double sampleRate);
// Seconds, -1.0 when there is none.
double ReadTimeReference(const MetadataStore* store, double sampleRate);
// True when one of the keys that ReadTimeReference looks at is among them.
bool NamesTimeReference(const MetadataStore& store);
// True when it is an iXML document that says the time reference.
bool HoldsPositionInDocument(const MetadataStore& store);
bool IsPictureKey(std::string_view key);
void RemovePictureKeys(MetadataStore& store);
// The schemes written for a file type ("wav", ".bwf", ...), by index from 0; null past the end.
const char* SchemeForType(std::string_view fileType, int index);
// True when some key begins with the scheme's name, ignoring case, at its place in key order.
bool StoreHasScheme(std::string_view scheme, const MetadataStore& store);
// True when the key begins with one of the schemes' prefixes ("INFO:", "BWF:", ...).
bool HasSchemePrefix(std::string_view key);

// Copies at most outBytes - 1 characters and terminates. Does nothing when outBytes is 0.
void CopyText(char* out, size_t outBytes, std::string_view text);

}  // namespace vantor
