#include "wavehost/care/findings_text.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace vantor::wavehost {

std::string FindingLine(const Finding& finding) {
    const FindingKind& kind = KindOf(finding.id);
    std::string line = std::string(SeverityName(kind.severity)) + " " + kind.name;
    if (!finding.chunk.empty()) line += " (" + finding.chunk + " at " + std::to_string(finding.offset) + ")";
    return line + ": " + finding.text;
}

std::string FindingsJson(const std::string& file, const Findings& findings) {
    auto list = nlohmann::ordered_json::array();
    for (const Finding& finding : findings) {
        const FindingKind& kind = KindOf(finding.id);
        list.push_back({{"name", kind.name},
                        {"severity", SeverityName(kind.severity)},
                        {"chunk", finding.chunk},
                        {"offset", finding.offset},
                        {"text", finding.text},
                        {"mendable", finding.mending == Mending::certain}});
    }
    const nlohmann::ordered_json object = {{"file", file}, {"findings", std::move(list)}};
    return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace vantor::wavehost
