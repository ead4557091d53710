#include "wavehost/tables/results.h"

#include "wavehost/facts/messages.h"
#include "wavehost/os/terminal_text.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

Results::~Results() {
    if (form_ == ResultForm::jsonArray) std::fputs(first_ ? "[]\n" : "\n]\n", stream_);
}

void Results::Add(const std::string& object) {
    if (form_ == ResultForm::jsonArray) std::fputs(first_ ? "[\n" : ",\n", stream_);
    PutAll(stream_, object);
    if (form_ == ResultForm::jsonLines) std::fputc('\n', stream_);
    first_ = false;
}

void Results::Failed(const std::string& file, const std::string& message) {
    ReportFailure(file, message);
    if (IsJson()) Add(FailureJson(file, message));
}

}  // namespace vantor::wavehost
