// The commands below `meta`.
#pragma once

#include "wavehost/commands/command_line.h"

namespace vantor::wavehost {

inline constexpr const char* keysHelp =
    "Common fields (TITLE) and scheme keys (IXML:SCENE), separated by commas";

inline constexpr const char* chunkHelp = "iXML, axml, XMP or picture";
// The check of such an option.
std::string CheckDocumentKind(const std::string& name);

void AddMetaList(CommandLine& line, CLI::App& meta);
void AddMetaGet(CommandLine& line, CLI::App& meta);
void AddMetaSet(CommandLine& line, CLI::App& meta);
void AddMetaCopy(CommandLine& line, CLI::App& meta);
void AddMetaExport(CommandLine& line, CLI::App& meta);
void AddMetaImport(CommandLine& line, CLI::App& meta);
void AddMetaExtract(CommandLine& line, CLI::App& meta);
void AddMetaEmbed(CommandLine& line, CLI::App& meta);

}  // namespace vantor::wavehost
