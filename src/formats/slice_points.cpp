#include "formats/slice_points.h"

namespace vantor {

void AddSlicePoint(AudioFormat& format, int64_t frame) {
    if (frame < 0) return;
    auto& points = format.slicePoints;
    const auto distance = static_cast<int64_t>(format.sampleRate * 0.01);
    if (points.empty() && frame > distance) points.push_back(0);
    if (points.empty() || frame - points.back() >= distance) points.push_back(frame);
}

void ReadSlicePoints(ContainerWalk& walk, uint64_t bodyBytes, const SliceTable& table) {
    BodyReader body(walk.reader, bodyBytes);
    if (!body.Skip(table.headerBytes)) return;
    uint8_t entry[largestSliceEntry];
    while (body.Read(entry, table.entryBytes))
        AddSlicePoint(walk.format, table.position(entry));
}

}  // namespace vantor
