// Saving a source into a project and restoring it.
//
// | line     | when                 | content                                     |
// | FILE %p~ | always               | the file name, relative when the host can   |
// | SLICE %d | for a slice          | the slice's index                           |
#include <array>

#include "host/host_services.h"
#include "source/guarded.h"
#include "source/project_tokens.h"
#include "source/wave_source.h"
#include "text/text.h"

namespace vantor {

namespace {

using FileNameService = void (*)(const char* in, char* out, int32_t outBytes);

// The name as the service gives it back; as it is when there is no service, or none that knows it.
template <size_t bufferBytes>
std::string Translated(FileNameService service, const std::string& name) {
    if (!service) return name;
    std::array<char, bufferBytes> text{};
    service(name.c_str(), text.data(), static_cast<int32_t>(text.size()));
    text.back() = '\0';
    return text[0] == '\0' ? name : text.data();
}

void RestoreFile(PCM_source_wavefile& source, const std::string& name) {
    if (source.IsOnline() && EqualIgnoringCase(name, source.Name())) return;
    source.Open(Translated<4096>(Services().resolveFileName, name).c_str(), purposePlayback);
}

void RestoreLine(PCM_source_wavefile& source, const std::vector<std::string>& tokens) {
    if (tokens.size() < 2) return;
    if (EqualIgnoringCase(tokens[0], "FILE")) RestoreFile(source, tokens[1]);
    if (EqualIgnoringCase(tokens[0], "SLICE")) source.SetSliceIndex(ProjectInteger(tokens[1]));
}

}  // namespace

int32_t PCM_source_wavefile::WriteState(ProjectContext* context) {
    return Guarded(-1, [&] {
        if (!context) return -1;
        const std::string name = Translated<2048>(Services().relativeFileName, Name());
        const int32_t written = context->AddLine("FILE %p~", name.c_str());
        return sliceIndex_ < 0 ? written : context->AddLine("SLICE %d", sliceIndex_.load());
    });
}

int32_t PCM_source_wavefile::ReadState(const char*, ProjectContext* context) {
    return Guarded(-1, [&] {
        if (!context) return -1;
        sliceIndex_ = -1;
        std::array<char, 4096> line{};
        for (int64_t depth = 1; context->NextLine(line.data(), static_cast<int32_t>(line.size())) >= 0;) {
            const auto tokens = ProjectTokens(line.data());
            if (tokens.empty()) continue;
            if (tokens[0] == ">") {
                if (--depth == 0) return 0;
            } else if (tokens[0].starts_with('<')) {
                ++depth;
            } else if (depth == 1) {
                RestoreLine(*this, tokens);
            }
        }
        return -1;
    });
}

}  // namespace vantor
