// Files as recorders, stations and editors leave them, before and after an edit that changes nothing but what
// was asked for, chunk by chunk.
#pragma once

#include <gtest/gtest.h>

#include <map>

#include "fileio/byte_order.h"
#include "metadata/tag_schemes.h"
#include "tests/metadata/recorder_chunks.h"
#include "tests/metadata/store_entries.h"
#include "tests/source/source_support.h"
#include "tests/support/chunk_list.h"
#include "text/text.h"

namespace vantor::test {

inline constexpr intptr_t lossless = 5;  // with mergeTags

struct NamedFile {
    std::string name;
    Bytes bytes;
};

inline Bytes Utf16(const std::string& text) {
    return ByteWriter().Add({0xFF, 0xFE}).Add(Utf8ToUtf16(text, false));
}

// With its size in `ds64` alone, as the long recordings have it.
inline Bytes LongFile(const Bytes& plain, const char* kind) {
    const size_t audio = TextOf(plain).find("data\xE8\3\0\0"s);
    const uint32_t audioBytes = ReadLe32(&plain[audio + 4]);
    const auto chunks = std::span(plain).subspan(12, audio - 12), rest = std::span(plain).subspan(audio + 8);
    Bytes file = RiffFile(ByteWriter()
                              .Chunk("ds64", ByteWriter().Zeros(8).Le64(audioBytes).Zeros(12))
                              .Add({chunks.begin(), chunks.end()})
                              .Text("data")
                              .Le32(0xFFFFFFFF)
                              .Add({rest.begin(), rest.end()}),
                          kind);
    WriteLe32(&file[4], 0xFFFFFFFF);
    WriteLe64(&file[20], file.size() - 8);
    return file;
}

inline Bytes RecorderFile(int tagVersion) {
    const Bytes adm = BytesOf("<ebu><coreMetadata><audioFormatExtended/>\xC3\xA9</coreMetadata></ebu>"s);
    const Bytes front = ByteWriter()
                            .Chunk("FLLR", BytesOf("not zeros!"))
                            .Chunk("bext", RecorderBext())
                            .Chunk("iXML", BytesOf(recordersIxml))
                            .Chunk("chna", ByteWriter().Le16(1).Le16(1).Zeros(40))
                            .Chunk("axml", adm);
    const Bytes behind = ByteWriter()
                             .Chunk("cart", StationCart())
                             .Chunk("_PMX", tagVersion == 4 ? Utf16(editorsXmp) : BytesOf(editorsXmp))
                             .Chunk("LIST", OddInfo())
                             .Chunk("id3 ", RecorderTag(tagVersion, tagVersion == 3 ? 0x80 : 0))
                             .Chunk("own ", BytesOf("kept"));
    return MonoFile(Ramp(500), front, behind);
}

inline std::vector<NamedFile> Files() {
    std::vector<NamedFile> files;
    for (const std::string name : {"tagged", "pcm16", "markers", "sliced-loop", "extensible-5.1"})
        files.push_back({name, SampleFile(name + ".wav")});
    for (const int version : {2, 3, 4})
        files.push_back({"recorder " + std::to_string(version), RecorderFile(version)});
    for (const auto* kind : {"RF64", "BW64"})
        files.push_back({kind, LongFile(RecorderFile(3), kind)});
    const auto document = BytesOf("IXML\0<BWFXML><SCENE>7</SCENE><NOTE>n</NOTE></BWFXML>"s);
    const auto tag = Id3TagWriter(3).Text("TIT2", "x").Frame("PRIV", document).Text("TRCK", "1").Tag();
    files.push_back({"document in a tag", MonoFile(Ramp(500), {}, ByteWriter().Chunk("ID3 ", tag))});
    return files;
}

// Of a file of any kind; the size of the whole, which is checked, is left out of `ds64`.
inline std::vector<ListedChunk> Chunks(Bytes file) {
    if (TextOf(file).starts_with("RIFF")) return ChunkList(file);
    EXPECT_EQ(ReadLe64(&file[20]), file.size() - 8);
    WriteLe64(&file[20], 0);
    WriteLe32(&file[TextOf(file).find("data\xFF\xFF\xFF\xFF") + 4], ReadLe32(&file[28]));
    return ChunkList(file);
}

// The tag chunks of a scheme become one text; all other chunks by their place.
inline std::map<std::string, std::string> ChunksByScheme(const Bytes& file) {
    std::map<std::string, std::string> chunks;
    for (const auto& chunk : Chunks(file)) {
        const bool isKeptList = chunk.id == "LIST" && TextOf(chunk.body).substr(0, 4) != "INFO";
        const auto* scheme = isKeptList ? nullptr : SchemeOfChunkId(chunk.id);
        if (scheme && scheme->replaced == Replaced::asRoom) continue;
        chunks[scheme ? scheme->name : "kept"] += chunk.id + TextOf(chunk.body);
    }
    return chunks;
}

}  // namespace vantor::test
