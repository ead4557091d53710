#include "formats/ds64.h"

#include <algorithm>

#include "fileio/byte_order.h"
#include "formats/chunk_cursor.h"

namespace vantor {

namespace {

constexpr uint32_t entryBytes = 12;

bool ReadTable(FileReader& reader, uint32_t entries, std::vector<Ds64::Entry>& table) {
    std::vector<uint8_t> bytes;
    if (!ReadBody(reader, uint64_t{entryBytes} * entries, bytes)) return false;
    table.reserve(entries);
    for (const uint8_t* at = bytes.data(); table.size() < entries; at += entryBytes)
        table.push_back({{at[0], at[1], at[2], at[3]}, ReadLe64(at + 4)});
    // Sorted, so that a long table costs a chunk no long search.
    std::ranges::stable_sort(table, {}, &Ds64::Entry::id);
    return true;
}

}  // namespace

Ds64Result ReadDs64(FileReader& reader, uint32_t bodySize, uint32_t smallestBody, Ds64& ds64) {
    if (bodySize < smallestBody) return Ds64Result::tooSmall;
    uint8_t fixed[ds64FixedBytes] = {};
    const uint32_t fixedRead = std::min(bodySize, ds64FixedBytes);
    if (!reader.ReadExactly(fixed, fixedRead)) return Ds64Result::shortRead;
    ds64 = {ReadLe64(fixed), ReadLe64(fixed + 8), ReadLe64(fixed + 16), {}};
    if (fixedRead < ds64FixedBytes) return Ds64Result::ok;
    const uint32_t entries = ReadLe32(fixed + 24);
    if (entries > (bodySize - ds64FixedBytes) / entryBytes) return Ds64Result::ok;
    return ReadTable(reader, entries, ds64.table) ? Ds64Result::ok : Ds64Result::shortRead;
}

uint64_t SizeFromTable(const Ds64& ds64, std::string_view id, uint32_t size) {
    if (size != sizeInDs64) return size;
    std::array<uint8_t, 4> wanted{};
    std::copy_n(id.begin(), wanted.size(), wanted.begin());
    const auto entry = std::ranges::lower_bound(ds64.table, wanted, {}, &Ds64::Entry::id);
    return entry != ds64.table.end() && entry->id == wanted ? entry->size : size;
}

}  // namespace vantor
