#include "wavehost/files/wav_writer.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "wavehost/os/failure.h"

namespace vantor::wavehost {

namespace {

constexpr int64_t largestRiff = 0xFFFFFFFF;
constexpr uint16_t tagInteger = 1, tagFloat = 3, tagExtensible = 0xFFFE;

bool IsFloat(SampleFormat format) {
    return format == SampleFormat::f64 || format == SampleFormat::f32;
}

class Header {
  public:
    Header& Id(std::string_view id) {
        bytes_.insert(bytes_.end(), id.begin(), id.end());
        return *this;
    }
    Header& Number(int64_t value, int width) {
        for (int i = 0; i < width; ++i)
            bytes_.push_back(static_cast<uint8_t>(value >> (8 * i)));
        return *this;
    }
    [[nodiscard]] const std::vector<uint8_t>& Bytes() const { return bytes_; }

  private:
    std::vector<uint8_t> bytes_;
};

int64_t FrameBytes(const WavLayout& layout) {
    return int64_t{BytesPerSample(layout.format)} * layout.channels;
}

void CheckLayout(const WavLayout& layout) {
    if (layout.raw) return;
    const auto frameBytes = static_cast<double>(FrameBytes(layout));
    if (frameBytes > UINT16_MAX) throw Failure("a WAV file cannot hold that many channels in this format");
    if (!(std::round(layout.sampleRate) * frameBytes <= UINT32_MAX))
        throw Failure("a WAV file cannot hold that sample rate with these channels in this format");
}

void AddFormat(Header& header, const WavLayout& layout) {
    const int32_t sampleBytes = BytesPerSample(layout.format);
    const int64_t frameBytes = FrameBytes(layout);
    const int64_t sampleRate = std::llround(layout.sampleRate);
    const uint16_t tag = IsFloat(layout.format) ? tagFloat : tagInteger;
    const bool extensible = layout.channels > 2;
    header.Id("fmt ").Number(extensible ? 40 : 18, 4).Number(extensible ? tagExtensible : tag, 2);
    header.Number(layout.channels, 2).Number(sampleRate, 4);
    header.Number(sampleRate * frameBytes, 4).Number(frameBytes, 2);
    header.Number(sampleBytes * 8, 2).Number(extensible ? 22 : 0, 2);
    // Valid bits, no speaker positions, and the sub-format's GUID.
    if (extensible)
        header.Number(sampleBytes * 8, 2)
            .Number(0, 4)
            .Number(tag, 4)
            .Number(0x00100000, 4)
            .Number(0xAA000080, 4)
            .Number(0x719B3800, 4);
}

// The same size for a RIFF and an RF64 file: room for the ds64 chunk is kept as a JUNK chunk.
std::vector<uint8_t> FileHeader(const WavLayout& layout, int64_t frames, int64_t dataBytes) {
    Header format;
    AddFormat(format, layout);
    const int64_t riffBytes =
        4 + 36 + static_cast<int64_t>(format.Bytes().size()) + 12 + 8 + dataBytes + dataBytes % 2;
    const bool rf64 = riffBytes > largestRiff;
    Header header;
    header.Id(rf64 ? "RF64" : "RIFF").Number(rf64 ? largestRiff : riffBytes, 4).Id("WAVE");
    header.Id(rf64 ? "ds64" : "JUNK").Number(28, 4);
    header.Number(rf64 ? riffBytes : 0, 8)
        .Number(rf64 ? dataBytes : 0, 8)
        .Number(rf64 ? frames : 0, 8)
        .Number(0, 4);
    AddFormat(header, layout);
    header.Id("fact").Number(4, 4).Number(std::min(frames, largestRiff), 4);
    header.Id("data").Number(rf64 ? largestRiff : dataBytes, 4);
    return header.Bytes();
}

int32_t ToInteger(double sample, double scale) {
    const double scaled = std::nearbyint(sample * scale);
    // A sample that is no number is silence.
    return std::isnan(scaled) ? 0 : static_cast<int32_t>(std::clamp(scaled, -scale, scale - 1));
}

template <typename Word>
void PutWord(uint8_t* out, Word word, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out[i] = static_cast<uint8_t>(word >> (8 * i));
}

void Encode(SampleFormat format, const double* samples, size_t count, uint8_t* out) {
    switch (format) {
        case SampleFormat::f64:
            for (size_t i = 0; i < count; ++i)
                PutWord(out + 8 * i, std::bit_cast<uint64_t>(samples[i]), 8);
            break;
        case SampleFormat::f32:
            for (size_t i = 0; i < count; ++i)
                PutWord(out + 4 * i, std::bit_cast<uint32_t>(static_cast<float>(samples[i])), 4);
            break;
        case SampleFormat::s24:
            for (size_t i = 0; i < count; ++i)
                PutWord(out + 3 * i, ToInteger(samples[i], 8388608), 3);
            break;
        case SampleFormat::s16:
            for (size_t i = 0; i < count; ++i)
                PutWord(out + 2 * i, ToInteger(samples[i], 32768), 2);
            break;
    }
}

}  // namespace

int32_t BytesPerSample(SampleFormat format) {
    constexpr int32_t bytes[] = {8, 4, 3, 2};
    return bytes[static_cast<size_t>(format)];
}

WavWriter::WavWriter(const std::string& target, const WavLayout& layout, int64_t expectedFrames)
    : layout_(layout) {
    CheckLayout(layout);
    if (target == "-") {
        MakeBinary(stdout);
    } else {
        file_ = std::make_unique<OutputFile>(PathOf(target));
        stream_ = file_->Create();
    }
    PutHeader(expectedFrames);
}

void WavWriter::Write(const double* samples, int64_t frames) {
    const size_t count = static_cast<size_t>(frames) * static_cast<size_t>(layout_.channels);
    const size_t bytes = count * static_cast<size_t>(BytesPerSample(layout_.format));
    frames_ += frames;
    if (layout_.format == SampleFormat::f64 && std::endian::native == std::endian::little)
        return Put(samples, bytes);
    if (encoded_.size() < bytes) encoded_.resize(bytes);
    Encode(layout_.format, samples, count, encoded_.data());
    Put(encoded_.data(), bytes);
}

void WavWriter::Finish() {
    if (!layout_.raw && DataBytes(frames_) % 2 != 0) Put("", 1);
    if (file_ && !layout_.raw && SeekStream(stream_.get(), 0)) PutHeader(frames_);
    std::FILE* out = file_ ? stream_.get() : stdout;
    if (std::fflush(out) != 0 || std::ferror(out)) throw Failure("cannot be written: " + LastReason());
    stream_.reset();
}

void WavWriter::TakePlace() {
    if (file_) file_->TakePlace();
}

void WavWriter::Put(const void* bytes, size_t count) {
    if (std::fwrite(bytes, 1, count, file_ ? stream_.get() : stdout) != count)
        throw Failure("cannot be written: " + LastReason());
}

void WavWriter::PutHeader(int64_t frames) {
    if (layout_.raw) return;
    const std::vector<uint8_t> header = FileHeader(layout_, frames, DataBytes(frames));
    Put(header.data(), header.size());
}

int64_t WavWriter::DataBytes(int64_t frames) const {
    return frames * FrameBytes(layout_);
}

}  // namespace vantor::wavehost
