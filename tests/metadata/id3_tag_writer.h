// Builds ID3v2 tags of all versions.
#pragma once

#include <cstddef>
#include <string_view>
#include <utility>

#include "tests/support/byte_writer.h"

namespace vantor::test {

inline uint32_t Syncsafe(uint32_t value) {
    return (value & 0x7F) | (value & 0x3F80) << 1 | (value & 0x1FC000) << 2 | (value & 0xFE00000) << 3;
}

// A zero after every byte 255 that a zero or a byte from 224 on follows.
inline Bytes Unsynchronise(const Bytes& plain) {
    Bytes stored;
    for (size_t i = 0; i < plain.size(); ++i) {
        stored.push_back(plain[i]);
        const bool isLast = i + 1 == plain.size();
        if (plain[i] == 0xFF && (isLast || plain[i + 1] == 0 || plain[i + 1] >= 0xE0)) stored.push_back(0);
    }
    return stored;
}

class Id3TagWriter {
  public:
    explicit Id3TagWriter(int version) : version_(version) {}

    Id3TagWriter& Frame(std::string_view id, const Bytes& data, uint16_t flags = 0) {
        body_.Text(id);
        const auto size = static_cast<uint32_t>(data.size());
        if (version_ == 2) body_.Be24(size);
        if (version_ == 3) body_.Be32(size).Be16(flags);
        if (version_ == 4) body_.Be32(Syncsafe(size)).Be16(flags);
        body_.Add(data);
        return *this;
    }
    // A frame of one Latin-1 text.
    Id3TagWriter& Text(std::string_view id, std::string_view text) {
        return Frame(id, ByteWriter().U8(0).Text(text));
    }
    Id3TagWriter& Add(const Bytes& bytes) {
        body_.Add(bytes);
        return *this;
    }
    [[nodiscard]] const Bytes& Body() const { return body_.Done(); }
    [[nodiscard]] Bytes Tag(uint8_t flags = 0) const {
        const Bytes stored = flags & 0x80 ? Unsynchronise(body_) : body_.Done();
        return ByteWriter()
            .Text("ID3")
            .U8(static_cast<uint8_t>(version_))
            .U8(0)
            .U8(flags)
            .Be32(Syncsafe(static_cast<uint32_t>(stored.size())))
            .Add(stored);
    }

  private:
    int version_;
    ByteWriter body_;
};

}  // namespace vantor::test
