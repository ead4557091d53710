#include <exception>
#include <string>

#include "wavehost/host/host_services.h"

namespace vantor::wavehost {

namespace {

// For comparing names alone: without the prefix that long ones are opened with.
std::u8string AsUtf8(const std::string& text) {
    return {text.begin(), text.end()};
}

}  // namespace

// A name that cannot be turned is handed on as it is: the module then opens, or saves, that.
void ResolveFileName(const char* in, char* out, int32_t outBytes) {
    if (!in) return CopyText("", out, outBytes);
    try {
        const fs::path name = PathOf(in);
        if (name.empty() || name.has_root_directory()) return CopyText(in, out, outBytes);
        CopyText(TextOf(PlainPath(Host().stateFolder / name)), out, outBytes);
    } catch (const std::exception&) {
        CopyText(in, out, outBytes);
    }
}

void RelativeFileName(const char* in, char* out, int32_t outBytes) {
    if (!in) return CopyText("", out, outBytes);
    try {
        const std::string name = TextOf(PlainPath(PathOf(in)));
        // No relative name leads from one share to another.
        if (Host().stateFolder.empty() || name.starts_with("\\\\")) return CopyText(name, out, outBytes);
        const std::string folder = TextOf(PlainPath(Host().stateFolder));
        // Empty between two drives, which the same holds for.
        const fs::path relative = fs::path(AsUtf8(name)).lexically_relative(AsUtf8(folder));
        CopyText(relative.empty() ? name : TextOf(relative), out, outBytes);
    } catch (const std::exception&) {
        CopyText(in, out, outBytes);
    }
}

}  // namespace vantor::wavehost
