// Writes a line a test: its name, its milliseconds and the mutants that it reached.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "platform/mutants.h"

namespace mutants {

namespace {

class ReachedByTest : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        for (auto& mutant : reached)
            mutant.store(false, std::memory_order_relaxed);
    }
    void OnTestEnd(const testing::TestInfo& test) override {
        std::FILE* const file = std::fopen(std::getenv("VANTOR_REACHED"), "a");
        std::fprintf(file, "%s.%s %lld", test.test_suite_name(), test.name(),
                     static_cast<long long>(test.result()->elapsed_time()));
        for (int id = 0; id < mostMutants; ++id)
            if (reached[id].load(std::memory_order_relaxed)) std::fprintf(file, " %d", id);
        std::fputc('\n', file);
        std::fclose(file);
    }
};

[[maybe_unused]] const bool isListening = [] {
    if (std::getenv("VANTOR_REACHED"))
        testing::UnitTest::GetInstance()->listeners().Append(new ReachedByTest);
    return true;
}();

}  // namespace

}  // namespace mutants
