// The window of `wavehost properties`, out of the module's own resources.
#include <windows.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

TEST(PropertiesWindowOfWavehost, EndsTheProgramWhenItIsClosed) {
    if (!std::getenv("VANTOR_SCREEN") && !std::getenv("DISPLAY")) GTEST_SKIP() << "there is no screen";
    const TempFolder folder;
    const std::string file = folder.Write("of-wavehost.wav", PatternWav(100, 1));
    HWND window = nullptr;
    std::jthread user([&] {
        for (int tries = 0; tries < 600 && !window; ++tries) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            window = FindWindowW(L"#32770", L"Properties: of-wavehost.wav");
        }
        PostMessageW(window, WM_CLOSE, 0, 0);
    });
    const auto run = RunWavehost({"properties", file});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    user.join();
    EXPECT_NE(window, nullptr);
}

}  // namespace
}  // namespace vantor::test
