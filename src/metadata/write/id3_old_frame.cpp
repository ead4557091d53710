#include "metadata/write/id3_old_frame.h"

#include <optional>

#include "fileio/byte_order.h"
#include "metadata/read/id3_entries.h"
#include "metadata/read/id3_text.h"
#include "metadata/write/id3_frame_ids.h"

namespace vantor {

namespace {

constexpr uint8_t compressed23 = 0x80, encrypted23 = 0x40;
constexpr uint8_t compressed24 = 0x08, encrypted24 = 0x04, dataLength24 = 0x01;

struct Content24 {
    uint8_t format = 0;
    std::vector<uint8_t> body;
};

// Format flags and the fields they announce. 2.3: size before compression (4 bytes, big-endian), encryption
// method (1), group (1). 2.4: group (1), encryption method (1), size (4, syncsafe).
std::optional<Content24> ConvertFlags(const Id3Frame& frame) {
    const bool isCompressed = frame.format & compressed23;
    const bool isEncrypted = frame.format & encrypted23;
    const bool isGrouped = frame.format & groupingFlag23;
    if (frame.format & ~(compressed23 | encrypted23 | groupingFlag23)) return std::nullopt;
    Id3TextCursor cursor(frame.body);
    const auto size = cursor.TakeBytes(isCompressed ? 4 : 0);
    const auto method = cursor.TakeBytes(isEncrypted ? 1 : 0);
    const auto group = cursor.TakeBytes(isGrouped ? 1 : 0);
    if (!size || !method || !group) return std::nullopt;

    Content24 content;
    content.format = static_cast<uint8_t>((isGrouped ? groupingFlag24 : 0) | (isEncrypted ? encrypted24 : 0) |
                                          (isCompressed ? compressed24 | dataLength24 : 0));
    auto& body = content.body;
    body.insert(body.end(), group->begin(), group->end());
    body.insert(body.end(), method->begin(), method->end());
    if (isCompressed) {
        const uint32_t plainBytes = ReadBe32(size->data());
        if (plainBytes >= syncsafeLimit) return std::nullopt;
        body.resize(body.size() + 4);
        WriteSyncsafe(&body[body.size() - 4], plainBytes);
    }
    body.insert(body.end(), cursor.Rest().begin(), cursor.Rest().end());
    return content;
}

// Bytes of a chapter or table of contents before the frames inside it; nothing when it is malformed or not
// to be read.
std::optional<size_t> BytesBeforeInnerFrames(const Id3Frame& frame) {
    Id3TextCursor cursor(frame.data);
    if (!cursor.TakePlainText()) return std::nullopt;
    if (frame.id == "CHAP") {
        if (!cursor.TakeBytes(16)) return std::nullopt;
    } else {
        const auto flagsAndCount = cursor.TakeBytes(2);
        if (!flagsAndCount) return std::nullopt;
        for (int i = 0; i < (*flagsAndCount)[1]; ++i)
            if (!cursor.TakePlainText()) return std::nullopt;
    }
    return frame.body.size() - cursor.Rest().size();
}

bool Append23Frame(Id3Frames& frames, const Id3Frame& frame, bool isInner);

bool HoldsFrames(const Id3Frame& frame) {
    return frame.id == "CHAP" || frame.id == "CTOC";
}

// The same chapter with 2.4 frames inside.
std::optional<Content24> ConvertInnerFrames(const Id3Frame& frame) {
    const auto headBytes = BytesBeforeInnerFrames(frame);
    if (!headBytes) return std::nullopt;
    Content24 content;
    content.format = frame.format & groupingFlag23 ? groupingFlag24 : 0;
    content.body.assign(frame.body.begin(), frame.body.begin() + static_cast<ptrdiff_t>(*headBytes));
    Id3FrameWalk walk(frame.body.subspan(*headBytes), 3);
    for (Id3Frame inner; walk.Next(inner);)
        Append23Frame(content.body, inner, true);
    return content;
}

// Chapters do not hold chapters: such a frame inside one keeps its content as it is, and so does one whose
// inner frames cannot be found.
bool Append23Frame(Id3Frames& frames, const Id3Frame& frame, bool isInner) {
    if (!IsFrameId(frame.id)) return false;
    std::optional<Content24> content;
    if (!isInner && HoldsFrames(frame)) content = ConvertInnerFrames(frame);
    if (!content) content = ConvertFlags(frame);
    // The status flags lie one bit lower in 2.4.
    return content && AppendId3Frame(frames, 4, frame.id, content->body,
                                     static_cast<uint8_t>(frame.status >> 1), content->format);
}

bool Append22Frame(Id3Frames& frames, const Id3FrameWalk& walk, const Id3Frame& frame) {
    if (frame.id == "APIC") {
        const auto picture = ReadPicture(walk, frame);
        return picture && AppendPictureFrame(frames, 4, picture->descriptor, picture->bytes);
    }
    return AppendId3Frame(frames, 4, FrameId24(frame.id), frame.body);  // none without a successor
}

}  // namespace

bool AppendOldFrame(Id3Frames& frames, int version, const Id3FrameWalk& walk, const Id3Frame& frame) {
    if (walk.Version() == version)
        return AppendId3Frame(frames, version, frame.id, frame.body, frame.status, frame.format);
    if (!IsFrameId(frame.id)) return false;
    return walk.Version() == 2 ? Append22Frame(frames, walk, frame) : Append23Frame(frames, frame, false);
}

}  // namespace vantor
