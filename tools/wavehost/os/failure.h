// What went wrong with one file or one step: the line that the person reads.
#pragma once

#include <stdexcept>

namespace vantor::wavehost {

struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace vantor::wavehost
