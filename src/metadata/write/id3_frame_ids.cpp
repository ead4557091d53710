#include "metadata/write/id3_frame_ids.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vantor {

namespace {

// In the order of the older ids. "CRM" (encrypted) and "LNK" (holds an old id) have no successor of the same
// body, "PIC" is converted.
constexpr std::pair<std::string_view, std::string_view> successors[] = {
    {"BUF", "RBUF"}, {"CNT", "PCNT"}, {"COM", "COMM"}, {"CRA", "AENC"}, {"EQU", "EQUA"}, {"ETC", "ETCO"},
    {"GEO", "GEOB"}, {"IPL", "IPLS"}, {"MCI", "MCDI"}, {"MLL", "MLLT"}, {"POP", "POPM"}, {"REV", "RVRB"},
    {"RVA", "RVAD"}, {"SLT", "SYLT"}, {"STC", "SYTC"}, {"TAL", "TALB"}, {"TBP", "TBPM"}, {"TCM", "TCOM"},
    {"TCO", "TCON"}, {"TCP", "TCMP"}, {"TCR", "TCOP"}, {"TDA", "TDAT"}, {"TDY", "TDLY"}, {"TEN", "TENC"},
    {"TFT", "TFLT"}, {"TIM", "TIME"}, {"TKE", "TKEY"}, {"TLA", "TLAN"}, {"TLE", "TLEN"}, {"TMT", "TMED"},
    {"TOA", "TOPE"}, {"TOF", "TOFN"}, {"TOL", "TOLY"}, {"TOR", "TORY"}, {"TOT", "TOAL"}, {"TP1", "TPE1"},
    {"TP2", "TPE2"}, {"TP3", "TPE3"}, {"TP4", "TPE4"}, {"TPA", "TPOS"}, {"TPB", "TPUB"}, {"TRC", "TSRC"},
    {"TRD", "TRDA"}, {"TRK", "TRCK"}, {"TS2", "TSO2"}, {"TSA", "TSOA"}, {"TSC", "TSOC"}, {"TSI", "TSIZ"},
    {"TSP", "TSOP"}, {"TSS", "TSSE"}, {"TST", "TSOT"}, {"TT1", "TIT1"}, {"TT2", "TIT2"}, {"TT3", "TIT3"},
    {"TXT", "TEXT"}, {"TXX", "TXXX"}, {"TYE", "TYER"}, {"UFI", "UFID"}, {"ULT", "USLT"}, {"WAF", "WOAF"},
    {"WAR", "WOAR"}, {"WAS", "WOAS"}, {"WCM", "WCOM"}, {"WCP", "WCOP"}, {"WPB", "WPUB"}, {"WXX", "WXXX"},
};

}  // namespace

std::string_view FrameId24(std::string_view id) {
    if (id.size() == 4) return id;
    const auto* const found = std::find_if(std::begin(successors), std::end(successors),
                                           [&](const auto& pair) { return pair.first == id; });
    return found == std::end(successors) ? std::string_view{} : found->second;
}

std::string_view FrameId22(std::string_view id) {
    if (id.size() == 3) return id;
    if (id == "APIC") return "PIC";
    const auto* const found = std::find_if(std::begin(successors), std::end(successors),
                                           [&](const auto& pair) { return pair.second == id; });
    return found == std::end(successors) ? std::string_view{} : found->first;
}

}  // namespace vantor
