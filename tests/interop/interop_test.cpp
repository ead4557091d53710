// Says on systems without the independent tools that the interop groups are not run there.

#include <gtest/gtest.h>

namespace vantor::test {
namespace {

#if defined(_WIN32)
TEST(Interop, RunsOnLinuxOnly) {
    GTEST_SKIP() << "libsndfile, SoX, FFmpeg and ExifTool run natively only";
}
#endif

}  // namespace
}  // namespace vantor::test
