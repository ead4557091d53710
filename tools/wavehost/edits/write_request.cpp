#include "wavehost/edits/write_request.h"

#include <cstdint>

namespace vantor::wavehost {

namespace {

std::vector<ChunkMark> PlannedChunks(PCM_source& source) {
    std::vector<ChunkMark> marks;
    const char* id = nullptr;
    DocumentRecord chunk{};
    for (intptr_t i = 0; source.ExtendedCall(callPlannedChunk, Number(i), &id, &chunk) == 1; ++i)
        marks.push_back(
            MarkOfTags(id, chunk.scheme,
                       {static_cast<const uint8_t*>(chunk.bytes), static_cast<size_t>(chunk.byteCount)}));
    return marks;
}

std::vector<std::string> RebuiltSchemes(PCM_source& source) {
    std::vector<std::string> schemes;
    const char* scheme = nullptr;
    for (intptr_t i = 0; source.ExtendedCall(callRebuiltScheme, Number(i), &scheme, nullptr) == 1; ++i)
        schemes.emplace_back(scheme);
    return schemes;
}

WriteReport Ask(PCM_source& source, ExtendedCode call, const fs::path& target, const void* what,
                int32_t flags) {
    std::string name = TextOf(target);
    const auto answer = source.ExtendedCall(call, name.data(), const_cast<void*>(what), Number(flags));
    return {static_cast<WriteAnswer>(answer), RebuiltSchemes(source), PlannedMetadataOf(source),
            PlannedChunks(source)};
}

}  // namespace

WriteReport WriteTags(PCM_source& source, const Assignments& wishes, const fs::path& target, int32_t flags) {
    std::vector<MetadataPair> pairs;
    for (const Assignment& wish : wishes)
        pairs.push_back({wish.key.c_str(), wish.value.c_str()});
    pairs.push_back({nullptr, nullptr});
    return Ask(source, callWriteMetadata, target, pairs.data(), flags);
}

WriteReport WriteDocument(PCM_source& source, const DocumentKind& kind, const std::string& document,
                          const fs::path& target, int32_t flags) {
    const DocumentRecord record{kind.scheme, document.data(), std::ssize(document)};
    return Ask(source, callWriteDocument, target, &record, flags);
}

}  // namespace vantor::wavehost
