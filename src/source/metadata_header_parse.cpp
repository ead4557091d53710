#include "source/metadata_header_parse.h"

#include <array>
#include <cmath>

#include "fileio/byte_order.h"
#include "formats/chunk_cursor.h"
#include "source/metadata_header_pass.h"
#include "text/text.h"

namespace vantor {

using namespace std::string_view_literals;

int64_t NextHeader(FileReader& reader, std::span<const uint8_t> header, int64_t next) {
    return IsZeroHeader(header) && SkipZeroHeaders(reader, header.size()) ? reader.Tell() : next;
}

void CompleteTempo(MetadataHeader& header, std::string_view tempoKey, std::string_view beatsKey) {
    if (!header.metadata.Value(tempoKey).empty() || !(header.durationSeconds > 0)) return;
    const double beats = DecimalNumber(header.metadata.Value(beatsKey));
    if (!(beats > 0) || 32 * beats != std::floor(32 * beats)) return;
    header.metadata.Set(tempoKey, TrimNumber(FixedText(beats * 60 / header.durationSeconds, 6)));
}

bool ParseMetadataHeader(FileReader& reader, MetadataHeader& header) {
    MetadataHeaderPass pass{reader, header};
    std::array<uint8_t, 12> start{};
    if (!reader.Seek(0) || !reader.ReadExactly(start.data(), 8)) return false;
    const auto kind = FourCharacters(start.data());
    if (kind == "caff"sv) return ParseCafHeader(pass);
    const bool is64Bit = kind == "RF64"sv || kind == "BW64"sv;
    if (kind != "RIFF"sv && !is64Bit) return false;
    if (!reader.ReadExactly(&start[8], 4) || FourCharacters(&start[8]) != "WAVE"sv) return false;
    return ParseRiffHeader(pass, is64Bit);
}

}  // namespace vantor
