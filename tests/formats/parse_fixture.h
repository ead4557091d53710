// Parses files that a test has made in memory.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "formats/audio_format.h"
#include "tests/formats/container_files.h"
#include "tests/formats/record_text.h"
#include "tests/support/temp_file.h"

namespace vantor::test {

// One staged block: the smallest reader there is, so that seeks within a file are real ones.
inline constexpr ReadParameters smallReader{.mode = 0, .blockBytes = 8192, .blockCount = 1};

struct ParsedFile {
    int result = -1;
    AudioFormat format;

    [[nodiscard]] std::string Message() const { return format.errorMessage.value_or(""); }
};

inline std::unique_ptr<ParsedFile> ParsePath(const std::string& path) {
    auto parsed = std::make_unique<ParsedFile>();
    FileReader reader(path, smallReader);
    parsed->result = ParseAudioFormat(parsed->format, reader);
    return parsed;
}

inline std::unique_ptr<ParsedFile> ParseBytes(const Bytes& bytes) {
    const TempFolder folder;
    return ParsePath(folder.Write("file", bytes));
}

// A file that must play.
inline std::unique_ptr<ParsedFile> ParsePlayable(const Bytes& bytes) {
    auto parsed = ParseBytes(bytes);
    EXPECT_EQ(parsed->Message(), "");
    EXPECT_EQ(parsed->result, 0);
    return parsed;
}

// What is wrong with a file.
struct Refusal {
    const char* message;
    Bytes file;
};

// Each file is refused with its message, and nothing of its audio is kept.
inline void ExpectRefusals(const std::vector<Refusal>& refusals) {
    for (const auto& refusal : refusals) {
        const auto parsed = ParseBytes(refusal.file);
        EXPECT_EQ(parsed->result, 1) << refusal.message;
        EXPECT_EQ(parsed->Message(), refusal.message) << "file " << &refusal - refusals.data();
        EXPECT_EQ(parsed->format.channels + parsed->format.bitsPerSample, 0) << refusal.message;
    }
}

}  // namespace vantor::test
