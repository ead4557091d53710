// libFuzzer's entry to the one target that this executable is for.
#include "fuzz/targets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t bytes) {
    static const auto* const target = [] {
        for (const auto& candidate : vantor::fuzz::targets)
            if (candidate.name == VANTOR_FUZZ_TARGET) return &candidate;
        __builtin_trap();
    }();
    target->run({data, bytes});
    return 0;
}
