#include "formats/riff_data_size.h"

#include <algorithm>

#include "formats/frame_count.h"

namespace vantor {

namespace {

constexpr int64_t fourGiB = int64_t{1} << 32;

}  // namespace

int64_t RiffDataBytes(uint32_t sizeField, const Ds64* ds64, bool formatAccepted, int64_t bodyStart,
                      int64_t fileSize) {
    if (ds64 && sizeField == sizeInDs64) {
        const auto longest = static_cast<uint64_t>(INT64_MAX);
        return ds64->dataSize ? static_cast<int64_t>(std::min(ds64->dataSize, longest)) : int64_t{sizeInDs64};
    }
    const int64_t toTheEnd = std::max<int64_t>(fileSize - bodyStart, 0);
    if (sizeField == 0 && formatAccepted) return toTheEnd;
    return int64_t{sizeField} + (ds64 ? 0 : toTheEnd / fourGiB * fourGiB);
}

int64_t PlayedRiffBytes(int64_t dataBytes, int64_t dataStart, int64_t fileSize) {
    return std::min(dataBytes + LostSizeBits(fileSize), fileSize - dataStart);
}

}  // namespace vantor
