#include "metadata/write/id3_entry_writer.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "metadata/key_table.h"
#include "metadata/read/id3_entries.h"

namespace vantor {

namespace {

std::optional<std::vector<uint8_t>> ReadRange(FileReader* file, uint64_t offset, uint64_t length) {
    if (!file || !file->IsOpen() || length > maxId3FrameBytes) return std::nullopt;
    const auto fileBytes = static_cast<uint64_t>(file->Size());
    if (offset > fileBytes || length > fileBytes - offset) return std::nullopt;
    std::vector<uint8_t> bytes(static_cast<size_t>(length));
    if (!file->Seek(static_cast<int64_t>(offset))) return std::nullopt;
    if (!file->ReadExactly(bytes.data(), static_cast<int64_t>(length))) return std::nullopt;
    return bytes;
}

// Takes the zeros out that unsynchronisation put behind bytes of 255.
void Synchronise(std::vector<uint8_t>& bytes) {
    uint8_t before = 0;
    std::erase_if(bytes, [&](uint8_t byte) { return std::exchange(before, byte) == 0xFF && byte == 0; });
}

bool AppendPicture(Id3Frames& frames, const Id3EntryWriter& writer, std::string_view value) {
    const auto descriptor = ParseDescriptor(value);
    if (!descriptor) return false;
    if (descriptor->offset == 0 && !writer.newPicture.empty())
        return AppendPictureFrame(frames, writer.version, *descriptor, writer.newPicture);
    auto picture = ReadRange(writer.file, descriptor->offset, descriptor->length);
    if (!picture) return false;
    const auto tag = std::ranges::upper_bound(writer.unsynchronised, descriptor->offset, {}, &FileRange::end);
    if (tag != writer.unsynchronised.end() && descriptor->offset >= tag->start) Synchronise(*picture);
    return AppendPictureFrame(frames, writer.version, *descriptor, *picture);
}

}  // namespace

bool Id3EntryWriter::Append(Id3Frames& frames, std::string_view base, std::string_view value,
                            const Id3Frame* old) const {
    if (IsPictureKey(base)) return AppendPicture(frames, *this, value);
    const auto [id, qualifier] = SplitId3Key(base);
    const bool hasLanguage = old && (old->id == "COMM" || old->id == "USLT");
    const auto language = hasLanguage ? LanguageOfFrame(*old) : std::nullopt;
    if (language) return AppendLanguageFrame(frames, version, id, *language, value);
    return AppendValueFrame(frames, version, id, qualifier, value);
}

}  // namespace vantor
