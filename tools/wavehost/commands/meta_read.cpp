#include "wavehost/commands/commands.h"
#include "wavehost/facts/report.h"
#include "wavehost/os/failure.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

int RunMetaList(const Module& module, const FileOptions& options) {
    return ForFile(options.file, [&] {
        const Metadata metadata = MetadataOf(*OpenSource(module, options.file).Get());
        if (options.json) std::puts(MetadataJson(metadata).c_str());
        for (const auto& [key, value] : metadata)
            if (!options.json) PrintLine(key + "=" + value);
        return exitDone;
    });
}

int RunMetaGet(const Module& module, const std::string& file, const std::string& key) {
    return ForFile(file, [&] {
        const std::string value = ValueOf(*OpenSource(module, file).Get(), key);
        if (value.empty()) throw Failure("has no " + key);
        std::puts(value.c_str());
        return exitDone;
    });
}

}  // namespace vantor::wavehost
