#include "tests/support/chunk_list.h"

#include <algorithm>

#include "fileio/byte_order.h"

namespace vantor::test {

std::vector<ListedChunk> ChunkList(const Bytes& file) {
    std::vector<ListedChunk> chunks;
    size_t at = 12;
    while (at + 8 <= file.size()) {
        const size_t size = ReadLe32(&file[at + 4]);
        if (size > file.size() - at - 8) break;
        const auto body = file.begin() + static_cast<int64_t>(at + 8);
        chunks.push_back(
            {std::string(FourCharacters(&file[at])), Bytes(body, body + static_cast<int64_t>(size))});
        at += 8 + size + (size & 1);
    }
    return chunks;
}

std::string Ids(const Bytes& file) {
    std::string ids;
    for (const auto& chunk : ChunkList(file))
        ids += chunk.id;
    return ids;
}

std::optional<ListedChunk> Find(const Bytes& file, std::string_view id) {
    for (auto& chunk : ChunkList(file))
        if (chunk.id == id) return chunk;
    return std::nullopt;
}

std::vector<ListedChunk> KeptChunks(const Bytes& file) {
    auto chunks = ChunkList(file);
    std::erase_if(chunks, [](const ListedChunk& chunk) {
        static const std::string_view dropped[] = {"JUNK", "PAD_", "bext", "iXML",
                                                   "_PMX", "axml", "cart", "id3 "};
        const bool isInfo =
            chunk.id == "LIST" && chunk.body.size() >= 4 && FourCharacters(chunk.body.data()) == "INFO";
        return isInfo || std::ranges::find(dropped, chunk.id) != std::end(dropped);
    });
    return chunks;
}

uint32_t RiffSizeField(const Bytes& file) {
    return ReadLe32(&file[4]);
}

}  // namespace vantor::test
