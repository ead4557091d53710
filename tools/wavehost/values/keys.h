// The keys of tags that schemes define, so that a slip of the pen does not become a tag.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vantor::wavehost {

// The position in milliseconds, a field of an edit that no file gives back.
inline constexpr std::string_view positionField = "PREFPOS";

// TITLE, ARTIST ..., DATE, DB_CUSTOM, PREFPOS: written under the keys of several schemes at once.
bool IsCommonField(std::string_view key);
std::span<const std::string> CommonFields();  // those that can be read, DATE as YEAR
// The keys under which a field is kept, the one that wins first; the key itself when it is none.
std::vector<std::string> AllSchemeKeysOf(const std::string& key);
// Those of them that a WAV file carries.
std::vector<std::string> SchemeKeysOf(const std::string& key);

// Whether WAV, RF64 and BW64 files carry the key's scheme at all.
bool IsCarried(std::string_view key);
// A picture, chapter or block of private data: listed with a note of where it is, but not made from a text.
bool IsDescriptionOnly(std::string_view key);

// Whether it is a common field or a key that its scheme defines, be it numbered (":2") or of a part in which
// names are free.
bool IsKnown(std::string_view key);
// Why a key that is not known or not carried cannot be set, with the nearest known one; empty when it can.
std::string KeyObjection(std::string_view key);

}  // namespace vantor::wavehost
