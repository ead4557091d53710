#include "wavehost/commands/meta.h"

namespace vantor::wavehost {

void AddMeta(CommandLine& line) {
    CLI::App* meta = line.app.add_subcommand("meta", "Read and write metadata");
    meta->require_subcommand(1);
    AddMetaList(line, *meta);
    AddMetaGet(line, *meta);
    AddMetaSet(line, *meta);
}

}  // namespace vantor::wavehost
