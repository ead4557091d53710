#include "host/host_services.h"
#include "tests/formats/parse_fixture.h"
#include "tests/support/scripted_file_system.h"

namespace vantor::test {
namespace {

int Parse(AudioFormat& format, const std::string& path) {
    FileReader reader(path, smallReader);
    return ParseAudioFormat(format, reader);
}

TEST(ParseDriver, OnlyAFileThatHasChangedOrFailedIsReadAgain) {
    const TempFolder folder;
    const auto path = folder.Write("file", WaveFile());
    AudioFormat format;
    ASSERT_EQ(Parse(format, path), 0);
    format.metadata.Set("still", "here");
    format.errorMessage = "stale";
    EXPECT_EQ(Parse(format, path), 0);
    EXPECT_FALSE(format.errorMessage);
    const std::string unchanged = RecordText(format);
    folder.Write("file", ByteWriter().Add(WaveFile()).Zeros(8));
    EXPECT_EQ(Parse(format, path), 0);
    EXPECT_EQ(unchanged, RecordText(format) + "still=here\n");
    folder.Write("file", ByteWriter().Text("no audio here"));
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(Parse(format, path), 1);
        EXPECT_EQ(format.errorMessage, "Unknown file header");
        EXPECT_EQ(RecordText(format), "kind -1, int0 little, 0 ch, 0 Hz, 0 bytes, 0 frames at 0\n");
    }
}

TEST(ParseDriver, AFileBeingWrittenIsMarkedWhenItEndsEarly) {
    ScriptedFileSystem files;
    const platform::ScopedFileSystem scope(files);
    const TempFolder folder;
    const auto growing = [&](uint32_t sizeField) {
        const auto fmt = ByteWriter().Chunk("fmt ", pcmFmt);
        const Bytes file = RiffFile(ByteWriter().Add(fmt).Text("data").Le32(sizeField).Zeros(40));
        const auto path = folder.Write("file", file);
        files.FailAt(Operation::open, 0, Fault::sharingViolation);
        AudioFormat format;
        EXPECT_EQ(Parse(format, path), 0);
        EXPECT_EQ(format.lengthFrames, 10);
        return format.lengthCutWhileGrowing;
    };
    EXPECT_TRUE(growing(4000));
    EXPECT_TRUE(growing(0));
    EXPECT_FALSE(growing(40));
}

TEST(ParseDriver, MessagesAreLocalised) {
    const auto previous = Services().localize;
    Services().localize = [](const char* text, const char* section, int32_t flags) -> const char* {
        const bool asAgreed = text == std::string_view("Unknown file header") && flags == 0;
        return asAgreed && section == std::string_view("wave") ? "translated" : "wrong key";
    };
    EXPECT_EQ(ParseBytes({})->Message(), "translated");
    Services().localize = previous;
}

}  // namespace
}  // namespace vantor::test
