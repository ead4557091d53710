#include "formats/containers.h"

namespace vantor {

namespace {

using namespace std::string_view_literals;

constexpr auto riffGuid = "riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB\x04\xC1\0\0"sv;
constexpr auto waveGuid = "wave\xF3\xAC\xD3\x11\x8C\xD1\0\xC0\x4F\x8E\xDB\x8A"sv;
constexpr size_t smallestHeader = 12;
constexpr size_t largestHeader = 40;

constexpr Container containers[] = {
    {kindIff, "FORM", 8, "AIFF", 12, WalkAiff},  {kindIff, "FORM", 8, "AIFC", 12, WalkAifc},
    {kindIff, "FORM", 8, "8SVX", 12, Walk8svx},  {kindWave64, riffGuid, 24, waveGuid, 40, WalkWave64},
    {kindWave, "RIFF", 8, "WAVE", 12, WalkRiff}, {kindRf64, "RF64", 8, "WAVE", 12, WalkRf64},
    {kindBw64, "BW64", 8, "WAVE", 12, WalkRf64}, {kindCaf, "caff\0\1"sv, 8, "", 8, WalkCaf},
};

}  // namespace

const Container* RecogniseContainer(FileReader& reader) {
    uint8_t bytes[largestHeader];
    (void)reader.Seek(0);
    const int64_t count = reader.Read(bytes, sizeof bytes);
    const std::string_view header(reinterpret_cast<const char*>(bytes), static_cast<size_t>(count));
    if (header.size() < smallestHeader) return nullptr;
    for (const auto& container : containers)
        if (header.starts_with(container.id) && header.size() >= container.formOffset &&
            header.substr(container.formOffset).starts_with(container.form))
            return &container;
    return nullptr;
}

}  // namespace vantor
