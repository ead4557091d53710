#include "entry/source_type_handler.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "source/source_entry.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr size_t shortestName = 6;

bool EndsWithIgnoringCase(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && EqualIgnoringCase(text.substr(text.size() - end.size()), end);
}

bool Qualifies(std::string_view fileName, int32_t priority) {
    constexpr std::array<std::string_view, 9> extensions = {".wav",  ".w64",  ".bwf", ".aif", ".caf",
                                                            ".aiff", ".caff", ".L",   ".R"};
    if (priority < ordinaryPriority || fileName.size() < shortestName) return false;
    const bool isOurs = std::any_of(extensions.begin(), extensions.end(), [&](std::string_view extension) {
        return EndsWithIgnoringCase(fileName, extension);
    });
    return isOurs || (priority == lastResortPriority && !EndsWithIgnoringCase(fileName, ".mid"));
}

// The host's own source for MPEG audio in a WAVE container; null when it has none that can play the file.
PCM_source* CreateMpegSource(const char* fileName) {
    if (!Services().createFromType) return nullptr;
    HostPtr<PCM_source> source(Services().createFromType("MP3"));
    if (!source) return nullptr;
    source->ChangeFile(fileName);
    source->SetOnline(true);
    return source->IsOnline() ? source.Release() : nullptr;
}

PCM_source* CreateByType(const char* typeName, int32_t priority) {
    if (priority < ordinaryPriority || !typeName) return nullptr;
    const std::string_view type = typeName;
    return type == "WAVE" || type == "WAVE_SLICE" ? CreateEmptyWaveSource() : nullptr;
}

PCM_source* CreateByFile(const char* fileName, int32_t priority) {
    if (!fileName || !Qualifies(fileName, priority)) return nullptr;
    bool isMpegInWave = false;
    HostPtr<PCM_source> source(CreateWaveSource(fileName, &isMpegInWave));
    if (!source) return nullptr;
    if (priority == lastResortPriority && isMpegInWave)
        if (PCM_source* mpeg = CreateMpegSource(fileName)) return mpeg;
    return source->IsOnline() || priority >= lastResortPriority ? source.Release() : nullptr;
}

// The extensions, separated by ";", and what the host calls such files.
const char* ExtensionList(int32_t index, const char** description) {
    struct Kind {
        const char* extensions;
        const char* description;
    };
    constexpr std::array<Kind, 3> kinds = {
        {{"WAV;W64;BWF", "WAV files"}, {"AIF;AIFF", "AIFF files"}, {"CAF;CAFF", "CAF files"}}};
    const bool known = index >= 0 && static_cast<size_t>(index) < kinds.size();
    if (description) *description = known ? Localize(kinds[static_cast<size_t>(index)].description) : nullptr;
    return known ? kinds[static_cast<size_t>(index)].extensions : nullptr;
}

}  // namespace

const SourceTypeHandler sourceTypeHandler = {CreateByType, CreateByFile, ExtensionList};

}  // namespace vantor
