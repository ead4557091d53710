// One file of samples/.
#pragma once

#include <string>
#include <vector>

#include "tests/support/byte_writer.h"

namespace vantor::samples {

struct Sample {
    std::string name;
    test::Bytes bytes;
};

// A file for every fault that `wavehost check` finds and that a small file can have.
std::vector<Sample> MakeBrokenSamples();

}  // namespace vantor::samples
