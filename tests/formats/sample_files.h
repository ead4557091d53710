// One file of every container with every chunk that its walk knows: for reading, cutting and damaging.
#pragma once

#include <string>
#include <vector>

#include "tests/support/byte_writer.h"

namespace vantor::test {

struct SampleFile {
    std::string name;
    Bytes bytes;
    std::string record;  // what is found in it, as RecordText
};

std::vector<SampleFile> SampleFiles();

}  // namespace vantor::test
