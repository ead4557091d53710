// The commands below `meta`.
#pragma once

#include "wavehost/commands/command_line.h"

namespace vantor::wavehost {

inline constexpr const char* keysHelp =
    "Common fields (TITLE) and scheme keys (IXML:SCENE), separated by commas";

inline constexpr const char* chunkHelp = "iXML, axml, XMP or picture";
// The check of such an option.
std::string CheckDocumentKind(const std::string& name);

void AddMetaList(CommandLine& line, Command& meta);
void AddMetaGet(CommandLine& line, Command& meta);
void AddMetaSet(CommandLine& line, Command& meta);
void AddMetaCopy(CommandLine& line, Command& meta);
void AddMetaExport(CommandLine& line, Command& meta);
void AddMetaImport(CommandLine& line, Command& meta);
void AddMetaExtract(CommandLine& line, Command& meta);
void AddMetaEmbed(CommandLine& line, Command& meta);

}  // namespace vantor::wavehost
