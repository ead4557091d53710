#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "decode/deliver_frames.h"
#include "decode/rate_conversion.h"
#include "decode/reader_context.h"
#include "formats/adpcm_shape.h"
#include "formats/audio_format.h"
#include "formats/frame_count.h"
#include "host/host_services.h"

namespace vantor {

namespace {

constexpr int64_t jitterFrames = 8;  // a start this near to the expected one is a continuation

bool CanServe(const TransferBlock& block, const AudioFormat& format) {
    return block.samples && block.channels >= 1 && block.frames >= 1 && block.sampleRate > 0 &&
           std::isfinite(block.sampleRate) && std::isfinite(block.startSeconds) && format.channels >= 1 &&
           format.bitsPerSample >= 1 && std::isfinite(format.sampleRate);
}

void RefreshLength(ReaderContext& context, AudioFormat& format) {
    if (format.lengthCutWhileGrowing) format.lengthFrames = FramesPresent(format, context.reader->SizeNow());
}

void ForgetContinuity(const TransferBlock& block, ReaderContext& context, const void* source) {
    if (context.lastServed != source || block.absoluteSeconds == notContinuation)
        context.expectedByte = context.expectedFrame = noPosition;
    context.lastServed = source;
}

int64_t SliceStart(const AudioFormat& format, int32_t sliceIndex) {
    const auto index = static_cast<size_t>(sliceIndex);  // of no slice, -1, beyond all
    return index < format.slicePoints.size() ? format.slicePoints[index] : 0;
}

// The frame at a time, held between the first frame and a bound beyond any file, so that positions in bytes
// cannot overflow.
int64_t FrameAt(double seconds, double rounding, const AudioFormat& format, int64_t sliceStart) {
    const int64_t bound = std::numeric_limits<int64_t>::max() / 4 / StoredFrameStride(format);
    const double frame = std::floor(seconds * format.sampleRate + rounding);
    if (!(frame < static_cast<double>(bound))) return bound;
    if (frame < -static_cast<double>(bound)) return 0;
    return std::clamp<int64_t>(static_cast<int64_t>(frame) + std::clamp<int64_t>(sliceStart, 0, bound), 0,
                               bound);
}

void PositionAdpcm(const TransferBlock& block, ReaderContext& context, const AudioFormat& format,
                   int64_t sliceStart, RatePlan& rates) {
    const int64_t frame = FrameAt(block.startSeconds + rates.latencySeconds, 0.5, format, sliceStart);
    if (std::abs(context.expectedFrame - frame) <= jitterFrames) return;
    JumpRates(rates, context);
    StartAdpcmAt(context, format, FrameAt(block.startSeconds, 0.5, format, sliceStart));
}

void PositionStored(const TransferBlock& block, ReaderContext& context, const AudioFormat& format,
                    int64_t sliceStart, RatePlan& rates) {
    const int64_t stride = StoredFrameStride(format);
    const int64_t frame = FrameAt(block.startSeconds + rates.latencySeconds, 0.5, format, sliceStart);
    const int64_t wanted = format.dataStart + frame * stride;
    if (context.expectedByte != noPosition &&
        std::abs(context.expectedByte - wanted) <= jitterFrames * stride)
        return;
    JumpRates(rates, context);
    const double rounding = rates.use == RateUse::converting ? 0.0 : 0.5;
    context.expectedByte =
        format.dataStart + FrameAt(block.startSeconds, rounding, format, sliceStart) * stride;
}

}  // namespace

int64_t FramesPresent(const AudioFormat& format, int64_t fileSize) {
    const int64_t frameBytes = int64_t{format.channels} * WholeBytes(format.bitsPerSample);
    const int64_t bytes = std::max<int64_t>(0, fileSize - format.dataStart);
    if (IsAdpcm(format.encoding)) return std::max<int64_t>(format.lengthFrames, AdpcmFrames(format, bytes));
    return frameBytes < 1 ? format.lengthFrames.load() : bytes / frameBytes;
}

void ReadFrames(TransferBlock& block, ReaderContext& context, AudioFormat& format, const ReadScope& scope) {
    block.framesProduced = 0;
    if (!CanServe(block, format) || !PrepareDecoding(context, format)) return;
    RefreshLength(context, format);
    ForgetContinuity(block, context, scope.source);
    RatePlan rates = PlanRates(block, context, format.sampleRate, scope.resampleMode);
    if (rates.use == RateUse::impossible) return;

    context.bytesRead = 0;
    const int64_t sliceStart = SliceStart(format, scope.sliceIndex);
    const auto position = context.decoder ? PositionAdpcm : PositionStored;
    position(block, context, format, sliceStart, rates);
    block.framesProduced = rates.use == RateUse::direct
                               ? static_cast<int32_t>(DeliverFrames(context, format, block.samples,
                                                                    block.channels, block.frames))
                               : ResampleFrames(block, context, format);
    if (context.bytesRead > 0) ReportDiskRead(context.bytesRead);
}

}  // namespace vantor
