// Frames of an ID3v2 tag, of the version that the tag has (2, 3 or 4): made from store entries.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "metadata/read/id3_picture.h"

namespace vantor {

using Id3Frames = std::vector<uint8_t>;  // one frame behind the other, at most maxId3FrameBytes

// What fits a tag, with room for one byte of padding.
inline constexpr size_t maxId3FrameBytes = (size_t{1} << 28) - 2;

// Appends a frame; false when its body is empty or it does not fit, or when version 2.2 has no such id.
// Version 2.2 has no flags.
bool AppendId3Frame(Id3Frames& frames, int version, std::string_view id, std::span<const uint8_t> body,
                    uint8_t status = 0, uint8_t format = 0);

// What a comment's key says: "" (English, the default), "deu", "deu:description"; anything else is taken as
// the description of a text in an unknown language.
struct LanguageQualifier {
    std::string language;
    std::string description;
};
[[nodiscard]] LanguageQualifier SplitLanguage(std::string_view qualifier);
// The language and description that a comment or lyrics frame has now.
[[nodiscard]] std::optional<LanguageQualifier> LanguageOfFrame(const Id3Frame& frame);

// Appends the frame behind a key: `id` is its frame id (of 2.2 to 2.4), `qualifier` what follows it in the
// key without a running number ("deu:description"). Texts are UTF-8 in version 2.4; before, Latin-1 or, where
// that has not all their characters, UTF-16. False for the frames that a value does not make up: pictures,
// chapters, private data, binary identifiers.
bool AppendValueFrame(Id3Frames& frames, int version, std::string_view id, std::string_view qualifier,
                      std::string_view value);
// "COMM" or "USLT".
bool AppendLanguageFrame(Id3Frames& frames, int version, std::string_view id,
                         const LanguageQualifier& language, std::string_view value);

// Appends an APIC frame; the descriptor's offset and length do not matter.
bool AppendPictureFrame(Id3Frames& frames, int version, const PictureDescriptor& descriptor,
                        std::span<const uint8_t> picture);

}  // namespace vantor
