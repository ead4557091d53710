// Rendered samples as a WAV file, which becomes an RF64 file (EBU Tech 3306) beyond 4 GiB, or as bare
// samples.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "wavehost/files/output_file.h"

namespace vantor::wavehost {

enum class SampleFormat { f64, f32, s24, s16 };

struct WavLayout {
    SampleFormat format = SampleFormat::f64;
    int32_t channels = 1;
    double sampleRate = 48000;  // Hz
    bool raw = false;           // no header
};

int32_t BytesPerSample(SampleFormat format);

// Throws Failure when a write fails, and when a WAV header has no room for the layout: 16 bits for the bytes
// of a frame, 32 for those of a second.
class WavWriter {
  public:
    // `target` "-": standard output, whose header cannot be mended later and so is made for `expectedFrames`.
    WavWriter(const std::string& target, const WavLayout& layout, int64_t expectedFrames);

    // Interleaved samples; integers are rounded and clipped at full scale.
    void Write(const double* samples, int64_t frames);
    // Completes the header.
    void Finish();
    // Puts the finished file in its place.
    void TakePlace();
    // Where the file stands until then; not for standard output.
    [[nodiscard]] const fs::path& WrittenTo() const { return file_->WriteTo(); }

  private:
    void Put(const void* bytes, size_t count);
    void PutHeader(int64_t frames);
    [[nodiscard]] int64_t DataBytes(int64_t frames) const;

    WavLayout layout_;
    std::unique_ptr<OutputFile> file_;  // null: standard output
    Stream stream_;
    int64_t frames_ = 0;
    std::vector<uint8_t> encoded_;
};

}  // namespace vantor::wavehost
