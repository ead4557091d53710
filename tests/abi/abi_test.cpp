// The Windows module driven by a host of the MSVC ABI, whose virtual destructors take one slot.

#include <gtest/gtest.h>

#include "tests/support/byte_writer.h"
#include "tests/support/temp_file.h"

#if defined(_WIN32)
#include <windows.h>

#include <cstdlib>

#include "tests/abi/abi_report.h"

extern "C" void* AbiAllocate(unsigned long long bytes) {
    return std::malloc(bytes);
}
extern "C" void AbiFree(void* memory) {
    std::free(memory);
}
#endif

namespace vantor::test {
namespace {

TEST(MsvcAbi, HostOfTheOtherCompilerDrivesTheModule) {
#if !defined(_WIN32)
    GTEST_SKIP() << "Windows only: needs an object file of the MSVC ABI and the DLL";
#else
    TempFolder folder;
    const Bytes samples = ByteWriter().Le16(0x4000).Le16(0x8000).Le16(0x2000).Le16(0xC000);
    const Bytes cue = ByteWriter().Le32(1).Le32(9).Zeros(16).Le32(1);
    const auto path = folder.Write(
        "abi.wav",
        RiffFile(ByteWriter().Chunk("fmt ", FmtBody(1, 2, 2, 16)).Chunk("data", samples).Chunk("cue ", cue)));
    const auto module = LoadLibraryA(VANTOR_MODULE_NAME);
    ASSERT_NE(module, nullptr);
    const auto entry =
        reinterpret_cast<EntryFunction>(reinterpret_cast<void*>(GetProcAddress(module, "VantorPluginEntry")));
    ASSERT_NE(entry, nullptr);
    const char* const fault = DriveModule(entry, path.c_str());
    EXPECT_EQ(fault, nullptr) << fault;
    FreeLibrary(module);
#endif
}

}  // namespace
}  // namespace vantor::test
