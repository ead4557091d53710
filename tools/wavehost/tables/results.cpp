#include "wavehost/tables/results.h"

#include <cstdio>

#include "wavehost/facts/messages.h"
#include "wavehost/os/terminal_text.h"
#include "wavehost/tables/json_output.h"

namespace vantor::wavehost {

Results::~Results() {
    if (form_ == ResultForm::jsonArray) std::puts(first_ ? "[]" : "\n]");
}

void Results::Add(const std::string& object) {
    if (form_ == ResultForm::jsonArray) std::fputs(first_ ? "[\n" : ",\n", stdout);
    PutOut(object);
    if (form_ == ResultForm::jsonLines) std::putchar('\n');
    first_ = false;
}

void Results::Failed(const std::string& file, const std::string& message) {
    ReportFailure(file, message);
    if (IsJson()) Add(FailureJson(file, message));
}

}  // namespace vantor::wavehost
