#include "wavehost/care/fields.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace vantor::wavehost {

Step NumberStep(const Survey& survey, int64_t offset, uint64_t value, int width) {
    Step step{.offset = offset, .bytes = std::vector<uint8_t>(static_cast<size_t>(width))};
    for (int i = 0; i < width; ++i) {
        const int place = survey.rules->framing.bigEndian ? width - 1 - i : i;
        step.bytes[static_cast<size_t>(place)] = static_cast<uint8_t>(value >> (8 * i));
    }
    return step;
}

Step ChunkSizeStep(const Survey& survey, const SurveyedChunk& chunk, uint64_t bodyBytes) {
    const ChunkFraming& framing = survey.rules->framing;
    const auto header = static_cast<uint64_t>(survey.rules->HeaderBytes());
    const uint64_t field = bodyBytes + (framing.sizeCountsHeader ? header : 0);
    return NumberStep(survey, chunk.start + framing.idBytes, field, framing.sizeBytes);
}

Step TextStep(int64_t offset, std::string_view text) {
    return {.offset = offset, .bytes = {text.begin(), text.end()}};
}

// | container      | offset    | width | counts                                |
// | RIFF, FORM     | 4         |     4 | all behind the field                  |
// | RF64, BW64     | in `ds64` |     8 | the same; the field at 4 is all ones  |
// | Wave64         | 16        |     8 | the whole file                        |
ContainerSize ContainerSizeFor(const Survey& survey, int64_t end) {
    const auto bytes = static_cast<uint64_t>(end);
    switch (survey.format.fileKind) {
        case kindCaf:
            return {0, 0, 0};
        case kindWave64:
            return {16, 8, bytes};
        case kindWave:
        case kindIff:
            return {4, 4, bytes - 8};
        default:
            return survey.ds64 ? ContainerSize{survey.chunks.front().bodyStart, 8, bytes - 8}
                               : ContainerSize{0, 0, 0};
    }
}

int64_t PaddedEnd(const Survey& survey) {
    if (survey.chunks.empty()) return survey.end;
    const SurveyedChunk& last = survey.chunks.back();
    if (!last.lacksPad && !last.isCutOff) return survey.end;
    const int64_t mask = survey.rules->framing.alignment - 1;
    return last.bodyStart + ((last.bodyBytes + mask) & ~mask);
}

std::string Count(uint64_t number, std::string_view what) {
    return std::to_string(number) + " " + std::string(what) + (number == 1 ? "" : "s");
}

std::string SecondsText(const Survey& survey, int64_t frames) {
    const double rate = survey.format.sampleRate;
    char text[64];
    std::snprintf(text, sizeof text, "%lld frames (%.3f s)", static_cast<long long>(frames),
                  rate > 0 ? static_cast<double>(frames) / rate : 0.0);
    return text;
}

}  // namespace vantor::wavehost
