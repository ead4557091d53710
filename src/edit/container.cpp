#include "edit/container.h"

#include <algorithm>

#include "edit/chunk_walk.h"
#include "fileio/byte_order.h"
#include "formats/riff_data_size.h"

namespace vantor {

bool TakesTags(const AudioFormat& format) {
    return format.fileKind == kindWave || format.fileKind == kindRf64 || format.fileKind == kindBw64;
}

bool WouldPlayMore(const AudioPlace& now, int64_t sizeNow, const AudioPlace& then, int64_t sizeThen,
                   bool isRf64) {
    if (isRf64) return then.sizeField == 0 && sizeThen > then.start + now.bytes;
    const int64_t newBytes = RiffDataBytes(then.sizeField, nullptr, true, then.start, sizeThen);
    return PlayedRiffBytes(newBytes, then.start, sizeThen) > PlayedRiffBytes(now.bytes, now.start, sizeNow);
}

uint32_t RiffSizeField(int64_t end, bool isRf64) {
    const int64_t size = end - chunkHeaderBytes;
    return static_cast<uint32_t>(isRf64 ? std::min(size, int64_t{UINT32_MAX}) : size);
}

bool WriteContainerSize(ByteSink& file, int64_t end, bool isRf64) {
    uint8_t narrow[4], wide[8];
    WriteLe32(narrow, RiffSizeField(end, isRf64));
    WriteLe64(wide, static_cast<uint64_t>(end - chunkHeaderBytes));
    return WriteAt(file, riffSizeOffset, narrow, sizeof narrow) &&
           (!isRf64 || WriteAt(file, ds64RiffSizeOffset, wide, sizeof wide));
}

}  // namespace vantor
