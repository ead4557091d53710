#include "edit/picture.h"

#include <algorithm>

#include "metadata/read/id3_entries.h"
#include "metadata/read/id3_picture.h"

namespace vantor {

namespace {

using namespace std::string_view_literals;

constexpr int frontCover = 3;

struct PictureFormat {
    std::string_view start;
    size_t nameOffset;  // of what else tells it
    std::string_view name;
    const char* mime;
};
constexpr PictureFormat formats[] = {
    {"\xFF\xD8\xFF"sv, 0, "", "image/jpeg"}, {"\x89PNG\r\n\x1A\n"sv, 0, "", "image/png"},
    {"GIF8"sv, 0, "", "image/gif"},          {"RIFF"sv, 8, "WEBP"sv, "image/webp"},
    {"II*\0"sv, 0, "", "image/tiff"},        {"MM\0*"sv, 0, "", "image/tiff"},
    {"BM"sv, 6, "\0\0\0\0"sv, "image/bmp"},
};

bool HasAt(std::span<const uint8_t> bytes, size_t offset, std::string_view text) {
    if (bytes.size() < offset + text.size()) return false;
    return std::ranges::equal(bytes.subspan(offset, text.size()), text, {}, {},
                              [](char letter) { return static_cast<uint8_t>(letter); });
}

// Null for what begins like no picture.
const char* MimeOf(std::span<const uint8_t> picture) {
    const auto* found = std::ranges::find_if(formats, [&](const PictureFormat& format) {
        return HasAt(picture, 0, format.start) && HasAt(picture, format.nameOffset, format.name);
    });
    return found == std::end(formats) ? nullptr : found->mime;
}

std::optional<PictureDescriptor> DescriptorIn(std::span<const uint8_t> tag) {
    MetadataStore store;
    if (!ReadMetadataChunk(tag, "ID3", store, 0)) return std::nullopt;
    return ParseDescriptor(store.Value(std::string(pictureScheme)));
}

// The tag that counts: the last one with a picture, else the last one. Null when there is none.
const TagChunk* TagFor(const TagChunks& old) {
    const TagChunk* chosen = nullptr;
    bool hasPicture = false;
    for (const auto& chunk : old.list) {
        if (!chunk.Is("ID3") || chunk.isRefused) continue;
        const bool hasOne = DescriptorIn(chunk.body).has_value();
        if (hasPicture && !hasOne) continue;
        chosen = &chunk;
        hasPicture = hasOne;
    }
    return chosen;
}

Patched WithPicture(const ChunkBody& tag, std::span<const uint8_t> picture, const char* mime) {
    PictureDescriptor descriptor = DescriptorIn(tag).value_or(PictureDescriptor{{}, {}, frontCover});
    descriptor.mime = mime;
    descriptor.offset = 0;
    descriptor.length = picture.size();
    MetadataStore change;
    change.Set(std::string(pictureScheme), DescriptorText(descriptor));
    auto patched = PatchId3({.body = tag, .change = change, .newPicture = picture});
    const auto held = patched ? FirstPictureIn(*patched) : std::nullopt;
    if (!held || !std::ranges::equal(*held, picture)) return std::nullopt;
    return patched;
}

}  // namespace

std::optional<std::vector<uint8_t>> FirstPictureIn(std::span<const uint8_t> tag) {
    if (!DescriptorIn(tag)) return std::nullopt;
    Id3EntryWalk walk(tag, 1);  // a picture at the very start of a file has no descriptor
    Id3Frame frame;
    Id3Entry entry;
    while (walk.Next(frame, entry)) {
        if (entry.key != pictureScheme) continue;
        const auto picture = ReadPicture(walk.Frames(), frame);
        if (!picture) return std::nullopt;
        return std::vector<uint8_t>(picture->bytes.begin(), picture->bytes.end());
    }
    return std::nullopt;
}

std::optional<ChunkImages> ImagesWithPicture(const TagChunks& old, std::span<const uint8_t> picture) {
    const char* mime = MimeOf(picture);
    if (!mime) return std::nullopt;
    const TagChunk* chosen = TagFor(old);
    const auto patched = WithPicture(chosen ? chosen->body : BlankId3(), picture, mime);
    if (!patched) return std::nullopt;
    ChunkImages images;
    images.replaced = {paddingScheme, "ID3"};
    for (const auto& chunk : old.list) {
        const ChunkBody& body = &chunk == chosen ? *patched : chunk.body;
        if (chunk.Is("ID3")) AppendChunk(images.main, chunk.id, body.data(), body.size());
    }
    if (!chosen) AppendChunk(images.main, "id3 ", patched->data(), patched->size());
    return images;
}

}  // namespace vantor
