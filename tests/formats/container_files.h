// Small files of every container, and the chunks that describe their audio.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/byte_writer.h"

namespace vantor::test {

inline const Bytes pcmFmt = FmtBody(1, 2, 44100, 16);
inline const Bytes tenFrames(40, 1);  // of pcmFmt

// Chunks around a `fmt ` body and ten frames of audio.
inline Bytes WaveFile(const Bytes& fmt = pcmFmt, const Bytes& between = {}) {
    return RiffFile(ByteWriter().Chunk("fmt ", fmt).Add(between).Chunk("data", tenFrames));
}

inline Bytes Rf64File(const Bytes& chunks) {
    return RiffFile(chunks, "RF64");
}

// The first half of a Wave64 chunk's header.
inline Bytes GuidOf(std::string_view id) {
    const ByteWriter chunk = ByteWriter().Wave64Chunk(id, {});
    return {chunk.Done().begin(), chunk.Done().begin() + 16};
}

inline Bytes Wave64AudioFile(const Bytes& fmt, const Bytes& between = {}) {
    return Wave64File(ByteWriter().Wave64Chunk("fmt ", fmt).Add(between).Wave64Chunk("data", tenFrames));
}

// WAVE_FORMAT_EXTENSIBLE of 6 channels: a sub-format code with the usual GUID tail.
inline Bytes ExtensibleFmt(uint32_t subFormat, uint16_t bits, uint32_t mask = 0, uint16_t extension = 22) {
    const Bytes tail{0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};
    const Bytes fmt = FmtBody(0xFFFE, 6, 48000, bits);
    return ByteWriter().Add(fmt).Le16(extension).Le16(bits).Le32(mask).Le32(subFormat).Add(tail);
}

inline Bytes Ds64Body(uint64_t dataBytes, uint64_t samples, const Bytes& table = {}) {
    const auto entries = static_cast<uint32_t>(table.size() / 12);
    return ByteWriter().Le64(0).Le64(dataBytes).Le64(samples).Le32(entries).Add(table);
}

struct ExtendedRate {
    uint16_t exponent = 0x400E;
    uint32_t mantissa = 0xAC440000;  // 44100 Hz
};

inline Bytes CommBody(uint16_t channels, uint32_t frames, uint16_t bits, std::string_view type = {},
                      ExtendedRate rate = {}) {
    ByteWriter comm;
    comm.Be16(channels).Be32(frames).Be16(bits).Be16(rate.exponent).Be32(rate.mantissa).Be32(0).Text(type);
    return type.empty() ? comm : comm.U8(0).U8(0);
}

inline Bytes SsndBody(size_t audioBytes, uint32_t offset = 0) {
    return ByteWriter().Be32(offset).Be32(0).Zeros(audioBytes);
}

inline Bytes AiffFile(std::string_view form, const Bytes& comm, const Bytes& between = {}) {
    return IffFile(form, ByteWriter().IffChunk("COMM", comm).Add(between).IffChunk("SSND", SsndBody(240)));
}

struct CafDescription {
    double rate = 48000;
    std::string_view format = "lpcm";
    uint32_t flags = 0;  // 1 float, 2 little-endian
    uint32_t packetBytes = 4;
    uint32_t packetFrames = 1;
    uint32_t channels = 2;
    uint32_t bits = 16;
};

inline Bytes DescBody(const CafDescription& d = {}) {
    ByteWriter body;
    body.BeDouble(d.rate).Text(d.format).Be32(d.flags).Be32(d.packetBytes).Be32(d.packetFrames);
    return body.Be32(d.channels).Be32(d.bits);
}

// `between` stands before 40 bytes of audio.
inline Bytes CafAudioFile(const CafDescription& d, const Bytes& between = {}) {
    return CafFile(ByteWriter().CafChunk("desc", DescBody(d)).Add(between).CafChunk("data", Bytes(44)));
}

inline Bytes CafMark(int64_t frame, uint32_t id) {
    return ByteWriter().Be32(0).Be64(static_cast<uint64_t>(frame)).Be32(id).Zeros(12);
}

// One file for every walk with every chunk that it knows, for reading and cutting off.
struct SampleFile {
    Bytes bytes;
    std::string record;    // what is found in it, as RecordText
    std::string refusals;  // why it is refused when it is cut off, and the first length for which it is that
};

std::vector<SampleFile> SampleFiles();

}  // namespace vantor::test
