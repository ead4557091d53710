// Sources opened on files that a test has made.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "source/state_tables.h"
#include "source/wave_source.h"
#include "tests/support/byte_writer.h"
#include "tests/support/fake_host.h"
#include "tests/support/temp_file.h"
#include "tests/support/tree.h"

namespace vantor::test {

using SourcePtr = std::unique_ptr<PCM_source_wavefile>;

inline SourcePtr OpenSource(const std::string& path, int32_t purpose = purposePlayback) {
    auto source = std::make_unique<PCM_source_wavefile>();
    source->Open(path.c_str(), purpose);
    return source;
}

// Mono 16-bit samples base, base + 1, ...
inline Bytes Ramp(int frames, int base = 0) {
    ByteWriter bytes;
    for (int i = 0; i < frames; ++i)
        bytes.Le16(static_cast<uint16_t>(base + i));
    return bytes;
}

inline Bytes MonoFile(const Bytes& samples, const Bytes& chunksBefore = {}, const Bytes& chunksBehind = {}) {
    return RiffFile(ByteWriter()
                        .Chunk("fmt ", FmtBody(1, 1, 1000, 16))
                        .Add(chunksBefore)
                        .Chunk("data", samples)
                        .Add(chunksBehind));
}

// An `acid` body.
struct AcidBody {
    uint32_t flags = 0;
    uint16_t rootNote = 0;
    uint32_t beats = 0;
    float tempo = 0;

    operator Bytes() const {
        return ByteWriter().Le32(flags).Le16(rootNote).Zeros(6).Le32(beats).Le16(4).Le16(4).LeFloat(tempo);
    }
};

// A `strc` body with slices at these frames.
inline Bytes SlicesBody(const std::vector<uint64_t>& frames) {
    ByteWriter body;
    body.Zeros(28);
    for (const uint64_t frame : frames)
        body.Zeros(8).Le64(frame).Zeros(16);
    return body;
}

// Samples from a frame on, as whole 16-bit numbers; as many as were produced.
inline std::vector<int> ReadInts(PCM_source& source, int64_t frame, int32_t frames) {
    std::vector<double> samples(static_cast<size_t>(frames), -2.0);
    TransferBlock block{};
    block.sampleRate = source.SampleRate();
    block.startSeconds = block.sampleRate > 0 ? static_cast<double>(frame) / block.sampleRate : 0;
    block.channels = 1;
    block.frames = frames;
    block.samples = samples.data();
    block.framesProduced = -1;
    source.ReadSamples(&block);
    std::vector<int> whole;
    for (int32_t i = 0; i < block.framesProduced; ++i)
        whole.push_back(static_cast<int>(samples[static_cast<size_t>(i)] * 32768));
    return whole;
}

inline std::vector<int> Numbers(int first, int count) {
    std::vector<int> numbers(static_cast<size_t>(count));
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

// A number in a pointer, as extended calls take it.
inline void* Number(intptr_t number) {
    return reinterpret_cast<void*>(number);
}

// The value that extended call 0x10007 gives for a key.
inline std::string ValueOf(PCM_source& source, std::string key) {
    char value[256] = "unchanged";
    source.ExtendedCall(0x10007, key.data(), value, Number(sizeof value));
    return value;
}

// Every key and value, by enumeration.
using Tags = std::map<std::string, std::string>;

inline Tags TagsOf(PCM_source& source) {
    Tags tags;
    const char *key = nullptr, *value = nullptr;
    for (intptr_t i = 0; source.ExtendedCall(0x10013, Number(i), &key, &value); ++i)
        tags[key] = value;
    return tags;
}

inline Tags TagsOf(const std::string& path) {
    return TagsOf(*OpenSource(path));
}

inline constexpr intptr_t replaceAll = 0;
inline constexpr intptr_t mergeTags = 1;
inline constexpr intptr_t neverInPlace = 2;

using Fields = std::vector<std::string>;  // "KEY=value"

// Extended call 0x20008.
inline intptr_t RequestWrite(PCM_source& source, std::string target, Fields fields, intptr_t flags) {
    std::vector<MetadataPair> pairs;
    for (auto& field : fields) {
        const size_t equals = field.find('=');
        field[equals] = '\0';
        pairs.push_back({field.c_str(), &field[equals + 1]});
    }
    pairs.push_back({nullptr, nullptr});
    return source.ExtendedCall(0x20008, target.data(), pairs.data(), Number(flags));
}

inline void Reopen(PCM_source& source) {
    source.SetOnline(false);
    source.SetOnline(true);
}

// The text of extended call 0x10014.
inline std::string InfoText(PCM_source& source) {
    char text[4096] = "";
    source.ExtendedCall(0x10014, text, Number(sizeof text), nullptr);
    return text;
}

// A file of the samples that stand beside the source.
inline Bytes SampleFile(const std::string& name) {
    return ReadWholeFile(SourceTree() + "/samples/" + name);
}

inline size_t IdleReaderCount(const std::string& path, int32_t purpose = purposePlayback) {
    const auto state = FindState(path.c_str(), purpose);
    return state ? state->idle.size() : 0;
}

}  // namespace vantor::test
