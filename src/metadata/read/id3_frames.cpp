#include "metadata/read/id3_frames.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "fileio/byte_order.h"

namespace vantor {

namespace {

constexpr uint8_t unsynchronisedTag = 0x80;
constexpr uint8_t extendedHeader = 0x40;

// The frames of version 2.2 that are read as something other than the text they hold.
constexpr std::pair<std::string_view, std::string_view> successors22[] = {
    {"TXX", "TXXX"}, {"TCO", "TCON"}, {"COM", "COMM"}, {"WXX", "WXXX"},
    {"ULT", "USLT"}, {"UFI", "UFID"}, {"PIC", "APIC"},
};

std::string_view IdInReader(std::string_view id) {
    for (const auto& [old, successor] : successors22)
        if (id == old) return successor;
    return id;
}

// A number that no tag can hold when a syncsafe byte has its top bit set.
size_t FrameSize(const uint8_t* bytes, int version) {
    if (version == 2) return size_t{bytes[0]} << 16 | size_t{bytes[1]} << 8 | bytes[2];
    if (version == 3) return ReadBe32(bytes);
    return ReadSyncsafe(bytes).value_or(0);
}

std::span<const uint8_t> ReadableData(const Id3Frame& frame, int version) {
    const uint8_t grouping = version == 3 ? groupingFlag23 : groupingFlag24;
    if (frame.format & ~grouping) return {};
    return frame.body.subspan(frame.format & grouping ? 1 : 0);
}

}  // namespace

std::optional<uint32_t> ReadSyncsafe(const uint8_t* bytes) {
    const uint32_t stored = ReadBe32(bytes);
    if (stored & 0x80808080u) return std::nullopt;
    return (stored & 0x7F) | (stored >> 1 & 0x3F80) | (stored >> 2 & 0x1FC000) | (stored >> 3 & 0xFE00000);
}

void WriteSyncsafe(uint8_t* bytes, uint32_t value) {
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(value >> (7 * (3 - i)) & 0x7F);
}

Id3FrameWalk::Id3FrameWalk(std::span<const uint8_t> tag) : tag_(tag), position_(id3HeaderBytes) {
    if (tag.size() < id3HeaderBytes || !std::equal(tag.begin(), tag.begin() + 3, "ID3")) return;
    if (tag[3] < 2 || tag[3] > 4) return;
    version_ = tag[3];
    unsynchronised_ = IsUnsynchronised(tag);
    if (version_ > 2 && (tag[5] & extendedHeader) && !SkipExtendedHeader()) version_ = 0;
}

Id3FrameWalk::Id3FrameWalk(std::span<const uint8_t> frames, int version) : tag_(frames), version_(version) {}

bool Id3FrameWalk::SkipExtendedHeader() {
    std::vector<uint8_t> sizeBytes;
    const auto behindSize = Advance(position_, 4, &sizeBytes);
    if (!behindSize) return false;
    // Version 2.3 counts what follows the size, version 2.4 the size too.
    const auto size = version_ == 3 ? ReadBe32(sizeBytes.data()) : ReadSyncsafe(sizeBytes.data());
    if (!size) return false;
    const auto end = Advance(version_ == 3 ? *behindSize : position_, *size, nullptr);
    position_ = end.value_or(tag_.size());
    return end.has_value();
}

std::optional<size_t> Id3FrameWalk::Advance(size_t position, size_t count,
                                            std::vector<uint8_t>* plain) const {
    if (count > tag_.size() - position) return std::nullopt;
    if (plain) plain->reserve(plain->size() + count);
    if (!unsynchronised_) {
        if (plain)
            plain->insert(plain->end(), tag_.begin() + static_cast<ptrdiff_t>(position),
                          tag_.begin() + static_cast<ptrdiff_t>(position + count));
        return position + count;
    }
    for (; count > 0; ++position) {
        if (position == tag_.size()) return std::nullopt;
        // The first byte walked lies behind the header's size, which holds no 255.
        if (tag_[position] == 0 && tag_[position - 1] == 0xFF) continue;
        if (plain) plain->push_back(tag_[position]);
        --count;
    }
    return position;
}

bool Id3FrameWalk::Next(Id3Frame& frame) {
    if (version_ == 0) return false;
    const size_t idBytes = version_ == 2 ? 3 : 4;
    header_.clear();
    const auto bodyStart = Advance(position_, version_ == 2 ? 6 : 10, &header_);
    if (!bodyStart || (header_[0] == 0 && header_[1] == 0 && header_[2] == 0)) return false;
    const std::string_view id(reinterpret_cast<const char*>(header_.data()), idBytes);
    frame.id = version_ == 2 ? IdInReader(id) : id;
    frame.status = version_ == 2 ? 0 : header_[8];
    frame.format = version_ == 2 ? 0 : header_[9];
    frame.bodyStart = *bodyStart;
    return TakeBody(frame, FrameSize(&header_[idBytes], version_));
}

bool Id3FrameWalk::TakeBody(Id3Frame& frame, size_t size) {
    if (size < 1 || size > tag_.size() - frame.bodyStart) return false;
    // A 2.4 frame that is unsynchronised on its own counts its bytes as stored.
    const bool asStored = version_ == 4 && (frame.format & unsynchronisedFlag24);
    plainBody_.clear();
    const bool copies = unsynchronised_ && !asStored;
    const auto end =
        copies ? Advance(frame.bodyStart, size, &plainBody_) : std::optional(frame.bodyStart + size);
    if (!end) return false;
    frame.bodyEnd = *end;
    frame.body = copies ? std::span<const uint8_t>(plainBody_) : tag_.subspan(frame.bodyStart, size);
    frame.data = ReadableData(frame, version_);
    position_ = *end;
    return true;
}

size_t Id3FrameWalk::StoredPosition(const Id3Frame& frame, size_t bodyOffset) const {
    return Advance(frame.bodyStart, bodyOffset, nullptr).value_or(frame.bodyEnd);
}

bool IsUnsynchronised(std::span<const uint8_t> tagHeader) {
    return tagHeader.size() >= id3HeaderBytes && (tagHeader[5] & unsynchronisedTag);
}

bool IsWalkedWhole(std::span<const uint8_t> tag) {
    constexpr std::string_view footer = "3DI";
    Id3FrameWalk walk(tag);
    if (walk.Version() == 0) return false;
    for (Id3Frame frame; walk.Next(frame);) {
    }
    const auto isZero = [](uint8_t byte) { return byte == 0; };
    const auto rest =
        std::find_if_not(tag.begin() + static_cast<ptrdiff_t>(walk.Position()), tag.end(), isZero);
    const auto restBytes = static_cast<size_t>(tag.end() - rest);
    const bool hasFooter = restBytes >= id3HeaderBytes && std::equal(footer.begin(), footer.end(), rest);
    return std::all_of(rest + static_cast<ptrdiff_t>(hasFooter ? id3HeaderBytes : 0), tag.end(), isZero);
}

}  // namespace vantor
