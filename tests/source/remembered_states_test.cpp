// What is known of files that nobody has open any more.
#include "source/remembered_states.h"

#include <gtest/gtest.h>

#include "fileio/file_name.h"
#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

class ClosedFiles : public ::testing::Test {
  protected:
    FakeHost host;
    TempFolder folder;
};

TEST_F(ClosedFiles, AreRememberedInBoundedNumber) {
    const auto path = folder.Write("again.wav", MonoFile(Ramp(100)));
    auto source = OpenSource(path);
    std::weak_ptr<AudioFormat> format = source->Attachment().format;
    source = OpenSource(path);
    EXPECT_EQ(source->Attachment().format, format.lock());
    source.reset();
    source = OpenSource(path);
    EXPECT_EQ(source->Attachment().format, format.lock()) << "closed, but not forgotten";
    source->Open(path.c_str(), purposePlayback);
    EXPECT_EQ(source->Attachment().format, format.lock()) << "nor by a new open of the same";
    source.reset();
    for (size_t i = 0; i <= mostRemembered; ++i) {
        EXPECT_FALSE(format.expired() && i < mostRemembered);
        OpenSource(folder.Path("missing" + std::to_string(i)));
    }
    EXPECT_TRUE(format.expired());
    EXPECT_EQ(RememberedStateCount(purposePlayback), mostRemembered);
    EXPECT_EQ(ReadInts(*OpenSource(path), 0, 10), Numbers(0, 10));
}

TEST_F(ClosedFiles, AndOpenOnesAreParsedAnewOnceForgotten) {
    const auto path = folder.Write("forgotten.wav", MonoFile(Ramp(100)));
    for (const int32_t purpose : {purposePlayback, purposePeakBuild, purposePeakRead}) {
        const auto source = OpenSource(path, purpose);
        const auto format = source->Attachment().format;
        ForgetFile(path.c_str());
        EXPECT_EQ(IdleReaderCount(path, purpose), 0u);
        Reopen(*source);
        EXPECT_NE(source->Attachment().format, format);
        source->SetOnline(false);
        const size_t before = RememberedStateCount(purposePlayback);
        ForgetFile(path.c_str());
        EXPECT_EQ(RememberedStateCount(purposePlayback), before - 1);
    }
}

TEST_F(ClosedFiles, AreForgottenByASourceThatTakesAnotherName) {
    const auto first = folder.Write("first.wav", MonoFile(Ramp(100))),
               second = folder.Write("second.wav", MonoFile(Ramp(100)));
    const auto source = OpenSource(first);
    source->Open(second.c_str(), purposePlayback);
    EXPECT_EQ(FindState(first.c_str(), purposePlayback), nullptr);
    EXPECT_NE(FindState(second.c_str(), purposePlayback), nullptr);
}

TEST(RememberedStates, TwoNamesOfOneHashAreTwoFiles) {
    const std::string names[] = {"take oneadadaaaa", "7866su7kmyz8jnrc"};
    ASSERT_EQ(HashOfFileName(names[0]), HashOfFileName(names[1]));
    RememberedStates states;
    for (const auto& name : names)
        EXPECT_EQ(states.Keep(std::make_shared<SharedFileState>(name, purposePlayback)), nullptr);
    for (const auto& name : names)
        EXPECT_EQ(states.Take(name)->fileName, name);
}

}  // namespace
}  // namespace vantor::test
