// Pictures in ID3v2 tags. The store holds where a picture lies in its file, never its bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "metadata/read/id3_frames.h"

namespace vantor {

// What the store keeps of a picture, as the text "mime:… desc:… type:… offset:… length:…".
struct PictureDescriptor {
    std::string mime;         // "image/jpeg"; left out when empty, "desc:" too
    std::string description;  // UTF-8
    int type = 0;             // ID3v2 picture type: 3 front cover; 0 to 127
    uint64_t offset = 0;      // of the picture in the file
    uint64_t length = 0;      // bytes there; with the zeros put in where the tag is unsynchronised
};

[[nodiscard]] std::string DescriptorText(const PictureDescriptor& descriptor);
// Nothing when one of the three numbers is missing or malformed.
[[nodiscard]] std::optional<PictureDescriptor> ParseDescriptor(std::string_view text);

struct Id3Picture {
    PictureDescriptor descriptor;    // its offset is the place in the tag
    std::span<const uint8_t> bytes;  // the picture
};

// Three characters in place of a MIME type: "PNG" for "image/png"; "JPG" when there is none such.
[[nodiscard]] std::string PictureFormat22(std::string_view mime);

// The picture in an "APIC" (2.2: "PIC") frame. Nothing when the frame is malformed or the type is above 127.
//
// APIC: encoding (1 byte), MIME type and its zero, picture type (1), description and its zero, picture. PIC
// has three characters in place of the MIME type.
[[nodiscard]] std::optional<Id3Picture> ReadPicture(const Id3FrameWalk& walk, const Id3Frame& frame);

}  // namespace vantor
