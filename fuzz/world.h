// What a target stands in: one file in memory, a host, and a few numbers taken from the input.
#pragma once

#include <stdexcept>

#include "fuzz/targets.h"
#include "source/wave_source.h"
#include "tests/support/fake_host.h"
#include "tests/support/memory_file_system.h"

namespace vantor::fuzz {

inline constexpr const char* fileName = "memory.wav";

// Choices that steer a target. They come from the end of the input, so that an audio file stays one.
class Choices {
  public:
    explicit Choices(Input input) : left_(input) {}
    // 0 to 255; 0 when the input is used up.
    [[nodiscard]] uint8_t Byte();
    // One of 0 to count - 1.
    [[nodiscard]] int32_t OneOf(int32_t count) { return Byte() % count; }

  private:
    Input left_;
};

inline void Require(bool kept, const char* promise) {
    if (!kept) throw std::logic_error(promise);
}

// The input as a file behind the seam, and a host that reads it in a mode of the input's choice.
class World {
  public:
    World(Input input, Choices& choices);
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    test::MemoryFileSystem files;
    test::FakeHost host;

  private:
    platform::ScopedFileSystem scope_;
};

// A source on the file that leaves nothing behind in the module's tables.
class OpenedSource {
  public:
    OpenedSource() { source_.Open(fileName, purposePlayback); }
    ~OpenedSource() { source_.Open("", purposePlayback); }
    OpenedSource(const OpenedSource&) = delete;
    OpenedSource& operator=(const OpenedSource&) = delete;

    PCM_source_wavefile* operator->() { return &source_; }
    PCM_source_wavefile& operator*() { return source_; }

  private:
    PCM_source_wavefile source_;
};

// Frames from `frame` on, as the source gives them; interleaved, only those produced.
std::vector<double> ReadFramesAt(PCM_source& source, double frame, int32_t frames, int32_t channels,
                                 int32_t blockFrames);

}  // namespace vantor::fuzz
