// Files of independent programs and libraries, and whole files decoded to doubles. On Linux only.
#pragma once

#include <gtest/gtest.h>
#include <sndfile.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "tests/source/source_support.h"

namespace vantor::test {

// Runs a command line in which %s is the file to write.
inline void Generate(const std::string& path, std::string command) {
    command.replace(command.find("%s"), 2, "'" + path + "'");
    EXPECT_EQ(std::system((command + " >/dev/null 2>&1").c_str()), 0) << command;
}

inline std::string OutputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    for (int character = 0; pipe && (character = std::fgetc(pipe.get())) != EOF;)
        output += static_cast<char>(character);
    return output;
}

using SoundFile = std::unique_ptr<SNDFILE, decltype(&sf_close)>;

inline SoundFile OpenWithLibsndfile(const std::string& path, int mode, SF_INFO& info) {
    return {sf_open(path.c_str(), mode, &info), &sf_close};
}

struct DecodedFile {
    int channels = 0;  // none: not opened
    double sampleRate = 0;
    std::vector<double> samples;  // interleaved
};

inline DecodedFile DecodeByModule(const std::string& path) {
    constexpr int32_t blockFrames = 4096;
    const auto source = OpenSource(path);
    DecodedFile file{source->ChannelCount(), source->SampleRate(), {}};
    std::vector<double> samples(static_cast<size_t>(blockFrames * file.channels));
    TransferBlock block{};
    block.sampleRate = file.sampleRate;
    block.channels = file.channels;
    block.frames = block.framesProduced = blockFrames;
    block.samples = samples.data();
    for (int frame = 0; source->IsOnline() && block.framesProduced == blockFrames; frame += blockFrames) {
        block.startSeconds = frame / file.sampleRate;
        source->ReadSamples(&block);
        file.samples.insert(file.samples.end(), samples.begin(),
                            samples.begin() + block.framesProduced * file.channels);
    }
    return file;
}

inline DecodedFile DecodeByLibsndfile(const std::string& path) {
    SF_INFO info{};
    const auto handle = OpenWithLibsndfile(path, SFM_READ, info);
    if (!handle) return {};
    DecodedFile file{info.channels, static_cast<double>(info.samplerate), {}};
    file.samples.resize(static_cast<size_t>(info.frames * info.channels));
    const auto frames = sf_readf_double(handle.get(), file.samples.data(), info.frames);
    file.samples.resize(static_cast<size_t>(frames * info.channels));
    return file;
}

}  // namespace vantor::test
