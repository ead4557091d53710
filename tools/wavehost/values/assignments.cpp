#include "wavehost/values/assignments.h"

#include <utility>

#include "wavehost/files/whole_file.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/system.h"

namespace vantor::wavehost {

namespace {

Assignment Split(const std::string& text) {
    const size_t equals = text.find('=');
    if (equals == text.npos || equals == 0) throw Failure("'" + text + "' is not KEY=VALUE");
    return {text.substr(0, equals), text.substr(equals + 1)};
}

}  // namespace

Assignment AssignmentOf(const std::string& text) {
    std::error_code failed;
    if (fs::exists(PathOf(text), failed))
        throw Failure("'" + text + "' is a file, and KEY=VALUE was expected; name values with --set");
    return Split(text);
}

Assignment AssignmentFromFile(const std::string& text) {
    Assignment assignment = Split(text);
    std::string value = ReadWhole(assignment.value);
    if (value.ends_with('\n')) value.pop_back();
    if (value.ends_with('\r')) value.pop_back();
    assignment.value = std::move(value);
    return assignment;
}

}  // namespace vantor::wavehost
