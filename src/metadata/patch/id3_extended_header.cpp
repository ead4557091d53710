// Offsets within the tag, zeros of unsynchronisation left out (ID3v2.3.0 and ID3v2.4.0, section 3.2):
//
// | 2.3: 10 | 4 | size behind this field       | 2.4: 10 | 4 | size, syncsafe, this field included      |
// |      14 | 2 | flags: 0x8000 check sum      |      14 | 1 | number of flag bytes, 1                  |
// |      16 | 4 | bytes of padding             |      15 | 1 | flags: 0x40 update, 0x20 check sum       |
// |      20 | 4 | CRC-32 of the plain frames   |      16 |   | of each flag in order: length (1), data; |
// |         |   |                              |         |   | CRC-32 of frames and padding: 5 syncsafe |
#include "metadata/patch/id3_extended_header.h"

#include <algorithm>
#include <array>
#include <utility>

#include "fileio/byte_order.h"
#include "metadata/read/id3_frames.h"

namespace vantor {

namespace {

using Bytes = std::span<const uint8_t>;

constexpr size_t versionOffset = 3;
constexpr size_t paddingOffset23 = 16, sumOffset23 = 20;
constexpr size_t extendedFlagsOffset24 = 15, firstDataOffset24 = 16;
constexpr uint8_t sumFlag23 = 0x80, updateFlag24 = 0x40, sumFlag24 = 0x20;
constexpr size_t sumBytes24 = 5;

constexpr auto crcTable = [] {
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < table.size(); ++i) {
        table[i] = i;
        for (int bit = 0; bit < 8; ++bit)
            table[i] = table[i] >> 1 ^ (table[i] & 1 ? 0xEDB88320u : 0u);
    }
    return table;
}();

// ISO 3309, as zlib has it; `sum` continues one.
uint32_t Crc32(Bytes bytes, uint32_t sum = 0) {
    sum = ~sum;
    for (const uint8_t byte : bytes)
        sum = sum >> 8 ^ crcTable[(sum ^ byte) & 0xFF];
    return ~sum;
}

std::vector<uint8_t> Plain(Bytes stored, bool isUnsynchronised) {
    std::vector<uint8_t> plain(stored.begin(), stored.end());
    uint8_t before = 0;
    if (isUnsynchronised)
        std::erase_if(plain, [&](uint8_t byte) { return std::exchange(before, byte) == 0xFF && byte == 0; });
    return plain;
}

std::array<uint8_t, sumBytes24> SumField24(const Id3TagParts& tag) {
    const uint32_t sum = Crc32(tag.rest, Crc32(tag.frames));
    std::array<uint8_t, sumBytes24> field{};
    for (size_t i = 0; i < field.size(); ++i)
        field[i] = static_cast<uint8_t>(uint64_t{sum} >> (7 * (field.size() - 1 - i)) & 0x7F);
    return field;
}

std::array<uint8_t, 4> SumField23(const Id3TagParts& tag, bool isUnsynchronised) {
    std::array<uint8_t, 4> field{};
    WriteBe32(field.data(), Crc32(Plain(tag.frames, isUnsynchronised)));
    return field;
}

std::array<uint8_t, 4> PaddingField23(const Id3TagParts& tag) {
    std::array<uint8_t, 4> field{};
    WriteBe32(field.data(), static_cast<uint32_t>(tag.rest.size()));
    return field;
}

// What was wrong stays.
template <typename Field>
void Renew(std::vector<uint8_t>& head, size_t offset, const Field& old, const Field& now) {
    if (head.size() < offset + old.size()) return;
    const auto place = head.begin() + static_cast<std::ptrdiff_t>(offset);
    if (std::equal(old.begin(), old.end(), place)) std::ranges::copy(now, place);
}

void Renew23(std::vector<uint8_t>& head, const Id3TagParts& now, const Id3TagParts& old, bool isUnsynced) {
    const bool hasSum = head.size() > sumOffset23 && (head[14] & sumFlag23);
    Renew(head, paddingOffset23, PaddingField23(old), PaddingField23(now));
    if (hasSum) Renew(head, sumOffset23, SumField23(old, isUnsynced), SumField23(now, isUnsynced));
}

void Renew24(std::vector<uint8_t>& head, const Id3TagParts& now, const Id3TagParts& old) {
    if (head.size() <= firstDataOffset24 || !(head[extendedFlagsOffset24] & sumFlag24)) return;
    size_t place = firstDataOffset24;
    if (head[extendedFlagsOffset24] & updateFlag24) place += size_t{1} + head[place];
    if (place < head.size() && head[place] == sumBytes24)
        Renew(head, place + 1, SumField24(old), SumField24(now));
}

}  // namespace

std::vector<uint8_t> Id3HeadFor(const Id3TagParts& now, const Id3TagParts& old) {
    std::vector<uint8_t> head(old.head.begin(), old.head.end());
    const int version = head[versionOffset];
    const bool isUnsynchronised = IsUnsynchronised(head);
    std::vector<uint8_t> before(head.begin(), head.begin() + id3HeaderBytes);
    const auto extended = Plain(Bytes(head).subspan(id3HeaderBytes), isUnsynchronised);
    before.insert(before.end(), extended.begin(), extended.end());
    auto plain = before;
    if (version == 3)
        Renew23(plain, now, old, isUnsynchronised);
    else
        Renew24(plain, now, old);
    if (plain == before) return head;
    head.resize(id3HeaderBytes);
    const Bytes renewed = Bytes(plain).subspan(id3HeaderBytes);
    if (isUnsynchronised)
        AppendUnsynchronised(head, renewed);
    else
        head.insert(head.end(), renewed.begin(), renewed.end());
    return head;
}

void AppendUnsynchronised(std::vector<uint8_t>& to, Bytes plain) {
    for (size_t i = 0; i < plain.size(); ++i) {
        to.push_back(plain[i]);
        if (plain[i] != 0xFF) continue;
        if (i + 1 == plain.size() || plain[i + 1] == 0 || plain[i + 1] >= 0xE0) to.push_back(0);
    }
}

}  // namespace vantor
