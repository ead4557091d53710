// Builds test files in memory: numbers in either byte order, texts, and chunks whose sizes it fills in.
#pragma once

#include <bit>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace vantor::test {

using Bytes = std::vector<uint8_t>;

// Appends to itself in file order; every function returns *this for chaining.
class ByteWriter {
  public:
    ByteWriter& U8(uint8_t value) { return Put(value, 1, false); }
    ByteWriter& Le16(uint16_t value) { return Put(value, 2, false); }
    ByteWriter& Le24(uint32_t value) { return Put(value, 3, false); }
    ByteWriter& Le32(uint32_t value) { return Put(value, 4, false); }
    ByteWriter& Le64(uint64_t value) { return Put(value, 8, false); }
    ByteWriter& LeFloat(float value) { return Le32(std::bit_cast<uint32_t>(value)); }
    ByteWriter& LeDouble(double value) { return Le64(std::bit_cast<uint64_t>(value)); }
    ByteWriter& Be16(uint16_t value) { return Put(value, 2, true); }
    ByteWriter& Be24(uint32_t value) { return Put(value, 3, true); }
    ByteWriter& Be32(uint32_t value) { return Put(value, 4, true); }
    ByteWriter& Be64(uint64_t value) { return Put(value, 8, true); }
    ByteWriter& BeFloat(float value) { return Be32(std::bit_cast<uint32_t>(value)); }
    ByteWriter& BeDouble(double value) { return Be64(std::bit_cast<uint64_t>(value)); }
    ByteWriter& Text(std::string_view text) {
        bytes_.insert(bytes_.end(), text.begin(), text.end());
        return *this;
    }
    // The text in a field of `width` bytes, zeros behind it.
    ByteWriter& Field(std::string_view text, size_t width) {
        Text(text.substr(0, width));
        return Zeros(width > text.size() ? width - text.size() : 0);
    }
    ByteWriter& Zeros(size_t count) { return Fill(count, 0); }
    ByteWriter& Fill(size_t count, uint8_t value) {
        bytes_.insert(bytes_.end(), count, value);
        return *this;
    }
    ByteWriter& Add(const Bytes& bytes) {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
        return *this;
    }

    // RIFF chunk: id, little-endian 32-bit size, body, pad byte.
    ByteWriter& Chunk(std::string_view id, const Bytes& body) {
        Text(id).Le32(static_cast<uint32_t>(body.size())).Add(body);
        return Zeros(body.size() & 1);
    }
    // IFF chunk: the same with a big-endian size.
    ByteWriter& IffChunk(std::string_view id, const Bytes& body) {
        Text(id).Be32(static_cast<uint32_t>(body.size())).Add(body);
        return Zeros(body.size() & 1);
    }
    // CAF chunk: id, big-endian 64-bit size, body, no padding.
    ByteWriter& CafChunk(std::string_view id, const Bytes& body) {
        return Text(id).Be64(body.size()).Add(body);
    }
    // Wave64 chunk of a RIFF id: GUID, size with its header, body, padded to 8.
    ByteWriter& Wave64Chunk(std::string_view id, const Bytes& body) {
        Text(id).Add({0xF3, 0xAC, 0xD3, 0x11, 0x8C, 0xD1, 0x00, 0xC0, 0x4F, 0x8E, 0xDB, 0x8A});
        Le64(body.size() + 24).Add(body);
        return Zeros((8 - body.size() % 8) % 8);
    }

    [[nodiscard]] const Bytes& Done() const { return bytes_; }
    [[nodiscard]] size_t Size() const { return bytes_.size(); }
    operator const Bytes&() const { return bytes_; }  // NOLINT: a writer is its bytes

  private:
    ByteWriter& Put(uint64_t value, int width, bool big) {
        for (int i = 0; i < width; ++i)
            bytes_.push_back(static_cast<uint8_t>(value >> (8 * (big ? width - 1 - i : i))));
        return *this;
    }

    Bytes bytes_;
};

// A 16-byte `fmt ` body.
inline Bytes FmtBody(uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits, uint16_t blockAlign = 0) {
    if (blockAlign == 0) blockAlign = static_cast<uint16_t>(channels * ((bits + 7) / 8));
    return ByteWriter()
        .Le16(tag)
        .Le16(channels)
        .Le32(rate)
        .Le32(rate * blockAlign)
        .Le16(blockAlign)
        .Le16(bits);
}

inline Bytes Joined(std::initializer_list<Bytes> pieces) {
    ByteWriter all;
    for (const Bytes& piece : pieces)
        all.Add(piece);
    return all;
}

// A chunk of padding that takes so many bytes, its header among them.
inline Bytes Padding(size_t bytes) {
    return ByteWriter().Chunk("JUNK", Bytes(bytes - 8));
}

// A whole RIFF file of form WAVE ("RIFF", "RF64" or "BW64") around its chunks.
inline Bytes RiffFile(const Bytes& chunks, std::string_view id = "RIFF") {
    const auto size = id == "RIFF" ? static_cast<uint32_t>(chunks.size() + 4) : 0xFFFFFFFFu;
    return ByteWriter().Text(id).Le32(size).Text("WAVE").Add(chunks);
}

// A whole IFF file of a form ("AIFF", "AIFC", "8SVX").
inline Bytes IffFile(std::string_view form, const Bytes& chunks) {
    return ByteWriter().Text("FORM").Be32(static_cast<uint32_t>(chunks.size() + 4)).Text(form).Add(chunks);
}

inline Bytes CafFile(const Bytes& chunks) {
    return ByteWriter().Text("caff").Be16(1).Be16(0).Add(chunks);
}

inline Bytes Wave64File(const Bytes& chunks) {
    const Bytes riffTail{0x2E, 0x91, 0xCF, 0x11, 0xA5, 0xD6, 0x28, 0xDB, 0x04, 0xC1, 0x00, 0x00};
    const Bytes waveTail{0xF3, 0xAC, 0xD3, 0x11, 0x8C, 0xD1, 0x00, 0xC0, 0x4F, 0x8E, 0xDB, 0x8A};
    ByteWriter file;
    file.Text("riff").Add(riffTail).Le64(chunks.size() + 40);
    return file.Text("wave").Add(waveTail).Add(chunks);
}

}  // namespace vantor::test
