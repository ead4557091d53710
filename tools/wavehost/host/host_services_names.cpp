#include "wavehost/host/host_services.h"

namespace vantor::wavehost {

// A name that cannot be turned is handed on as it is: the module then opens, or saves, that.
void ResolveFileName(const char* in, char* out, int32_t outBytes) {
    if (!in) return CopyText("", out, outBytes);
    try {
        const fs::path name = PathOf(in);
        if (name.empty() || name.is_absolute()) return CopyText(in, out, outBytes);
        CopyText(TextOf(fs::absolute(Host().stateFolder / name).lexically_normal()), out, outBytes);
    } catch (const std::exception&) {
        CopyText(in, out, outBytes);
    }
}

void RelativeFileName(const char* in, char* out, int32_t outBytes) {
    if (!in) return CopyText("", out, outBytes);
    try {
        const fs::path name = fs::absolute(PathOf(in)).lexically_normal();
        if (Host().stateFolder.empty()) return CopyText(TextOf(name), out, outBytes);
        // Empty between two drives: no relative name leads from one to the other.
        const fs::path relative =
            name.lexically_relative(fs::absolute(Host().stateFolder).lexically_normal());
        CopyText(TextOf(relative.empty() ? name : relative), out, outBytes);
    } catch (const std::exception&) {
        CopyText(in, out, outBytes);
    }
}

}  // namespace vantor::wavehost
