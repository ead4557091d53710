#include "wavehost/commands/write_result.h"

#include "wavehost/commands/commands.h"
#include "wavehost/facts/messages.h"
#include "wavehost/files/output_file.h"

namespace vantor::wavehost {

std::string OutputName(const std::string& output) {
    return output == "-" ? "standard output" : output;
}

int WriteResult(const std::string& output, std::string_view content) {
    return ForFile(OutputName(output), [&] {
        WriteOutput(output, content);
        return exitDone;
    });
}

}  // namespace vantor::wavehost
