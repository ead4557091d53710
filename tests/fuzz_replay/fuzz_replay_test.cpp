// Runs every fuzz target over its corpus and over the inputs that once broke something.
#include <gtest/gtest.h>

#include <filesystem>

#include "fuzz/targets.h"
#include "tests/support/temp_file.h"
#include "tests/support/tree.h"

namespace vantor::fuzz {

namespace {

class FuzzReplay : public testing::TestWithParam<Target> {};
INSTANTIATE_TEST_SUITE_P(Targets, FuzzReplay, testing::ValuesIn(targets),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(FuzzReplay, EveryInput) {
    int64_t inputs = 0;
    for (const char* folder : {"corpus", "crashes"}) {
        const auto path = std::filesystem::path(SourceTree()) / "fuzz" / folder / GetParam().name;
        if (!std::filesystem::exists(path)) continue;
        for (const auto& input : std::filesystem::directory_iterator(path)) {
            const auto bytes = test::ReadWholeFile(input.path().string());
            EXPECT_NO_THROW(GetParam().run(bytes)) << input.path();
            ++inputs;
        }
    }
    EXPECT_GT(inputs, 0);
    EXPECT_NO_THROW(GetParam().run({}));
}

}  // namespace

}  // namespace vantor::fuzz
