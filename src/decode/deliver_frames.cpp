#include "decode/deliver_frames.h"

#include <algorithm>
#include <memory>

#include "decode/adpcm_decoder.h"
#include "decode/channel_map.h"
#include "formats/adpcm_shape.h"
#include "formats/audio_format.h"

namespace vantor {

namespace {

constexpr int64_t pieceBytes = 65536;   // read at a time: stays in the second-level cache
constexpr int64_t pieceSamples = 2048;  // converted at a time before they are mapped: first-level cache

int64_t SamplesBytes(const AudioFormat& format) {
    return int64_t{format.channels} * WholeBytes(format.bitsPerSample);
}

int64_t FramesLeft(const ReaderContext& context, const AudioFormat& format) {
    const int64_t length = format.lengthFrames;
    if (context.decoder) return length - context.expectedFrame;
    return length - (context.expectedByte - format.dataStart) / StoredFrameStride(format);
}

// Moves the reader when it is not at `position`, then borrows up to `count` bytes.
int64_t BorrowAt(ReaderContext& context, int64_t position, int64_t count, const uint8_t** bytes) {
    FileReader& reader = *context.reader;
    if (reader.Tell() != position && !reader.Seek(position)) return 0;
    const int64_t borrowed = reader.Borrow(bytes, count, context.storedBytes);
    context.bytesRead += borrowed;
    return borrowed;
}

// Frames with bytes between them are converted one by one.
void ConvertFrames(const ReaderContext& context, const AudioFormat& format, const uint8_t* stored,
                   double* samples, int64_t frames) {
    const int64_t stride = StoredFrameStride(format);
    const int32_t channels = format.channels;
    if (stride == SamplesBytes(format)) return context.converter(stored, samples, frames * channels);
    for (int64_t i = 0; i < frames; ++i)
        context.converter(stored + i * stride, samples + i * channels, channels);
}

// Frames whose stored bytes are the samples go from the file to where they are wanted.
int64_t DeliverUnconverted(ReaderContext& context, const AudioFormat& format, double* samples,
                           int64_t frames) {
    FileReader& reader = *context.reader;
    const int64_t stride = StoredFrameStride(format);
    if (reader.Tell() != context.expectedByte && !reader.Seek(context.expectedByte)) return 0;
    frames = std::min(frames, reader.Remaining() / stride);  // no part of a frame is written
    const int64_t got = reader.Read(samples, frames * stride);
    context.bytesRead += got;
    context.expectedByte += got / stride * stride;
    return got / stride;
}

int64_t DeliverStored(ReaderContext& context, const AudioFormat& format, double* samples, int64_t frames) {
    const int64_t stride = StoredFrameStride(format);
    if (NeedsNoConversion(context.converterCoding) && stride == SamplesBytes(format))
        return DeliverUnconverted(context, format, samples, frames);
    const int64_t pieceFrames = std::max<int64_t>(1, pieceBytes / stride);
    // What lies between frames that are far apart is not read, but must be there.
    const int64_t gapBytes = stride > pieceBytes ? stride - SamplesBytes(format) : 0;
    if (gapBytes > 0)
        frames = std::clamp<int64_t>((context.reader->Size() - context.expectedByte) / stride, 0, frames);
    int64_t done = 0;
    while (done < frames) {
        const int64_t wanted = std::min(pieceFrames, frames - done);
        const uint8_t* stored = nullptr;
        const int64_t borrowed = BorrowAt(context, context.expectedByte, wanted * stride - gapBytes, &stored);
        const int64_t got = (borrowed + gapBytes) / stride;
        ConvertFrames(context, format, stored, samples + done * format.channels, got);
        done += got;
        context.expectedByte += got * stride;
        if (got < wanted) break;
    }
    return done;
}

// The block that holds the expected frame and those behind it, up to `wanted`. A partial block at the end of
// the data is not decoded, not even when the chunks behind it would fill it up; while the file grows its data
// ends with it.
bool TakeBlocks(ReaderContext& context, const AudioFormat& format, int64_t wanted) {
    const AdpcmCoding& coding = context.decoder->Coding();
    const int64_t index = context.expectedFrame / coding.framesPerBlock;
    if (format.blockCodedBytes > 0 && !format.lengthCutWhileGrowing)
        wanted = std::min(wanted, format.blockCodedBytes / coding.blockAlign - index);
    if (wanted < 1) return false;
    const uint8_t* blocks = nullptr;
    const int64_t got =
        BorrowAt(context, format.dataStart + index * coding.blockAlign, wanted * coding.blockAlign, &blocks);
    if (got < coding.blockAlign) return false;
    context.decoder->TakeBlocks(blocks, got / coding.blockAlign);
    return true;
}

int64_t DeliverDecoded(ReaderContext& context, const AudioFormat& format, double* samples, int64_t frames) {
    int64_t done = 0;
    while (done < frames) {
        AdpcmDecoder& decoder = *context.decoder;
        if (decoder.Remaining() == 0 && !TakeBlocks(context, format, decoder.PreferredBlocks())) break;
        const int64_t got = decoder.Deliver(samples + done * format.channels, frames - done);
        done += got;
        context.expectedFrame += got;
    }
    return done;
}

// Frames with the file's own channels.
int64_t DeliverNative(ReaderContext& context, const AudioFormat& format, double* samples, int64_t frames) {
    return context.decoder ? DeliverDecoded(context, format, samples, frames)
                           : DeliverStored(context, format, samples, frames);
}

int64_t DeliverMapped(ReaderContext& context, const AudioFormat& format, double* samples, int32_t channels,
                      int64_t frames) {
    const int64_t pieceFrames = std::max<int64_t>(1, pieceSamples / format.channels);
    context.convertedSamples.resize(static_cast<size_t>(pieceFrames * format.channels));
    double* const piece = context.convertedSamples.data();
    int64_t done = 0;
    while (done < frames) {
        const int64_t wanted = std::min(pieceFrames, frames - done);
        const int64_t got = DeliverNative(context, format, piece, wanted);
        MapChannels(piece, format.channels, samples + done * channels, channels, got);
        done += got;
        if (got < wanted) break;
    }
    return done;
}

bool PrepareDecoder(ReaderContext& context, const AudioFormat& format) {
    if (!context.decoder) {
        context.decoder = std::make_unique<AdpcmDecoder>();
        context.expectedFrame = noPosition;
    }
    if (context.decoder->Configure(format)) context.expectedFrame = noPosition;
    return context.decoder->CanDecode();
}

}  // namespace

bool PrepareDecoding(ReaderContext& context, const AudioFormat& format) {
    if (IsAdpcm(format.encoding)) return PrepareDecoder(context, format);
    context.decoder.reset();
    const StoredCoding coding = StoredCodingOf(format);
    if (coding != context.converterCoding) {
        context.converter = ConverterFor(coding);
        context.converterCoding = coding;
    }
    return context.converter != nullptr;
}

int64_t StoredFrameStride(const AudioFormat& format) {
    return std::max<int64_t>(format.blockAlign, SamplesBytes(format));
}

void StartAdpcmAt(ReaderContext& context, const AudioFormat& format, int64_t frame) {
    AdpcmDecoder& decoder = *context.decoder;
    decoder.Reset();
    const int64_t skip = frame % decoder.Coding().framesPerBlock;
    context.expectedFrame = frame - skip;
    if (frame < format.lengthFrames && TakeBlocks(context, format, 1))
        context.expectedFrame += decoder.Skip(skip);
    else
        context.expectedFrame = noPosition;
}

int64_t DeliverFrames(ReaderContext& context, const AudioFormat& format, double* samples, int32_t channels,
                      int64_t frames) {
    if (context.decoder && context.expectedFrame == noPosition) return 0;
    const int64_t available = std::min(frames, FramesLeft(context, format));
    if (available <= 0) return 0;
    if (channels == format.channels) return DeliverNative(context, format, samples, available);
    return DeliverMapped(context, format, samples, channels, available);
}

}  // namespace vantor
