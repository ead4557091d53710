// Parses files that a test has made in memory.
#pragma once

#include <memory>
#include <string>

#include "formats/audio_format.h"
#include "tests/support/byte_writer.h"
#include "tests/support/temp_file.h"

namespace vantor::test {

// One staged block: the smallest reader there is, so that seeks within a file are real ones.
inline constexpr ReadParameters smallReader{.mode = 0, .blockBytes = 8192, .blockCount = 1};

struct ParsedFile {
    int result = -1;
    AudioFormat format;

    [[nodiscard]] std::string Message() const { return format.errorMessage.value_or(""); }
    [[nodiscard]] std::string Value(std::string_view key) const {
        return std::string(format.metadata.Value(key));
    }
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

}  // namespace vantor::test
