#include <algorithm>
#include <array>
#include <iterator>

#include "metadata/key_table.h"
#include "metadata/tag_schemes.h"
#include "text/text.h"

namespace vantor {

namespace {

using Schemes = std::span<const char* const>;

constexpr bool IsWavScheme(const TagScheme& scheme) {
    return scheme.replaced == Replaced::withTags || !scheme.document.empty();
}
constexpr auto WavSchemes() {
    std::array<const char*, std::ranges::count_if(tagTable, IsWavScheme)> names{};
    auto* name = names.begin();
    for (const auto& scheme : tagTable)
        if (IsWavScheme(scheme)) *name++ = scheme.name;
    return names;
}
constexpr auto wavSchemes = WavSchemes();  // in the order in which they are built
constexpr const char* mp3Schemes[] = {"ID3", "APE", "IXML", "ASWG", "XMP"};
constexpr const char* flacSchemes[] = {"VORBIS", "BWF", "IXML", "ASWG", "XMP"};
constexpr const char* oggSchemes[] = {"VORBIS"};
constexpr const char* wvSchemes[] = {"BWF", "APE"};
constexpr const char* aifSchemes[] = {"IFF", "XMP", "ID3"};
constexpr const char* cafSchemes[] = {"CAFINFO"};
constexpr const char* rexSchemes[] = {"REX"};

struct FileType {
    std::string_view extension;
    Schemes schemes;
};
constexpr FileType fileTypes[] = {
    {"wav", wavSchemes},  {"bwf", wavSchemes},  {"mp3", mp3Schemes},  {"flac", flacSchemes},
    {"ogg", oggSchemes},  {"opus", oggSchemes}, {"wv", wvSchemes},    {"aif", aifSchemes},
    {"aiff", aifSchemes}, {"caf", cafSchemes},  {"caff", cafSchemes}, {"rx2", rexSchemes},
};

}  // namespace

const char* SchemeForType(std::string_view fileType, int index) {
    if (fileType.starts_with('.')) fileType.remove_prefix(1);
    const auto* type = std::ranges::find_if(fileTypes, [&](const FileType& candidate) {
        return EqualIgnoringCase(candidate.extension, fileType);
    });
    if (type == std::end(fileTypes) || index < 0) return nullptr;
    const auto place = static_cast<size_t>(index);
    return place < type->schemes.size() ? type->schemes[place] : nullptr;
}

}  // namespace vantor
