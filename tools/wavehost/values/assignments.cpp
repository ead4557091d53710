#include "wavehost/values/assignments.h"

#include <fstream>
#include <sstream>

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
    const fs::path path = PathOf(assignment.value);
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream held;
    if (stream.peek() != std::ifstream::traits_type::eof()) held << stream.rdbuf();
    if (!stream.is_open() || stream.bad()) throw Failure(assignment.value + " cannot be read");
    std::string value = std::move(held).str();
    if (value.ends_with('\n')) value.pop_back();
    if (value.ends_with('\r')) value.pop_back();
    assignment.value = std::move(value);
    return assignment;
}

}  // namespace vantor::wavehost
