#include "wavehost/commands/commands.h"
#include "wavehost/facts/report.h"
#include "wavehost/os/failure.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

namespace {

// What is known about a file of which no source can be made.
SourceFacts Unopened(const std::string& file, const std::string& status) {
    SourceFacts facts{};
    facts.file = file;
    facts.infoText = status;
    return facts;
}

SourceFacts Look(const Module& module, const std::string& file) {
    try {
        const HostPtr<PCM_source> source = CreateSource(module, file);
        return FactsOf(*source.Get(), file);
    } catch (const std::exception& failure) {
        return Unopened(file, failure.what());
    }
}

std::string FirstLine(const std::string& text) {
    return text.substr(0, text.find_first_of("\r\n"));
}

}  // namespace

int RunInfo(const Module& module, const InfoOptions& options) {
    int status = exitDone;
    std::vector<SourceFacts> all;
    for (const std::string& file : options.files) {
        SourceFacts facts = Look(module, file);
        if (!facts.online) {
            ReportFailure(file, FirstLine(facts.infoText));
            status = exitFailed;
        } else if (!options.json) {
            PrintFacts(facts);
        }
        if (options.json) all.push_back(std::move(facts));
    }
    if (options.json) std::puts(FactsJson(all, all.size() > 1).c_str());
    if (options.stats) ReportStatistics();
    return status;
}

}  // namespace vantor::wavehost
