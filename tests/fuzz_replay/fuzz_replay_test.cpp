// Runs every fuzz target over its corpus and over the inputs that once broke something.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "fuzz/targets.h"
#include "tests/support/temp_file.h"

namespace vantor::fuzz {

namespace {

std::vector<std::filesystem::path> InputsOf(std::string_view target) {
    std::vector<std::filesystem::path> inputs;
    for (const char* folder : {"corpus", "crashes"}) {
        const auto path = std::filesystem::path(VANTOR_SOURCE_DIR) / "fuzz" / folder / target;
        if (!std::filesystem::exists(path)) continue;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            inputs.push_back(entry.path());
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

class FuzzReplay : public testing::TestWithParam<Target> {};

TEST_P(FuzzReplay, EveryInput) {
    const auto inputs = InputsOf(GetParam().name);
    EXPECT_FALSE(inputs.empty());
    for (const auto& input : inputs) {
        const auto bytes = test::ReadWholeFile(input.string());
        EXPECT_NO_THROW(GetParam().run(bytes)) << input;
    }
    EXPECT_NO_THROW(GetParam().run({}));
}

INSTANTIATE_TEST_SUITE_P(Targets, FuzzReplay, testing::ValuesIn(targets),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace

}  // namespace vantor::fuzz
