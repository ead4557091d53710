// Starts the reference host as a person does, and the files that it is given.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/byte_writer.h"
#include "tests/support/temp_file.h"

namespace vantor::test {

#if defined(_WIN32)
inline constexpr bool onWindows = true;
#else
inline constexpr bool onWindows = false;
#endif

struct HostRun {
    int exitCode;
    std::string out;  // standard output, byte for byte
    std::string err;
};
// `before`: words of the shell in front of the program, such as "setpriv --reuid nobody".
HostRun RunWavehost(const std::vector<std::string>& arguments, const std::string& before = {});

// 16-bit samples that differ in every frame and channel.
int16_t PatternSample(int64_t frame, int channel);
// A WAV file of those samples; `chunks` stand behind the data.
Bytes PatternWav(int frames, int channels, const Bytes& chunks = {});
// A LIST chunk of type INFO with one item.
Bytes InfoChunk(std::string_view id, std::string_view text);

class Wavehost : public ::testing::Test {
  protected:
    static int ExitCode(const std::vector<std::string>& arguments) { return RunWavehost(arguments).exitCode; }
    [[nodiscard]] size_t FilesInFolder() const {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder.Path("")), {}));
    }

    TempFolder folder;
};

}  // namespace vantor::test
