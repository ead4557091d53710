// An edit and what else happens to the file: other programs replace it, remove it, record it or edit it too.

#include "edit/edit_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "fileio/file_lock.h"
#include "tests/support/chunk_list.h"
#include "tests/support/fake_host.h"
#include "tests/support/scripted_file_system.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

const Bytes fmt = ByteWriter().Chunk("fmt ", FmtBody(1, 1, 48000, 16));
const Bytes audio = ByteWriter().Chunk("data", Bytes(3000, 0x5A));
const Bytes otherAudio = ByteWriter().Chunk("data", Bytes(5000, 0x33));

Bytes Info(std::string_view id, std::string_view text) {
    return ByteWriter().Chunk(
        "LIST", ByteWriter().Text("INFO").Chunk(id, ByteWriter().Text(text).Fill(1 + text.size() % 2, 0)));
}
Bytes File(const Bytes& data, const Bytes& tags) {
    return RiffFile(ByteWriter().Add(fmt).Add(data).Add(tags));
}

class EditsOfFiles : public testing::Test {
  protected:
    WriteAnswer Edit(int32_t flags = writeMerge) {
        MetadataStore changes;
        changes.Set("INFO:INAM", "New");
        return EditFile({.fileName = name,
                         .target = target,
                         .changes = changes,
                         .flags = flags,
                         .forget =
                             [this](const std::string&) {
                                 if (meanwhile) std::exchange(meanwhile, nullptr)();
                             }})
            .answer;
    }
    [[nodiscard]] MetadataStore Tags() const {
        FileReader reader(name, {});
        AudioFormat format;
        EXPECT_EQ(ParseAudioFormat(format, reader), 0);
        return format.metadata;
    }

    FakeHost host;
    TempFolder folder;
    const Bytes before = File(audio, Info("IART", "Old"));
    const std::string name = folder.Write("a.wav", before), target = folder.Path("b.wav");
    // Called once, between reading the file and opening it for writing.
    std::function<void()> meanwhile;
};

TEST_F(EditsOfFiles, StartAgainWhenTheFileIsReplaced) {
#if defined(_WIN32)
    GTEST_SKIP() << "nobody replaces a file that is open";
#endif
    meanwhile = [&] {
        std::filesystem::rename(folder.Write("c.wav", File(otherAudio, Info("IART", "Others"))), name);
    };
    EXPECT_EQ(Edit(), updatedInPlace);
    EXPECT_EQ(Tags().Value("INFO:IART"), "Others");
    EXPECT_EQ(Tags().Value("INFO:INAM"), "New");
    EXPECT_EQ(KeptChunks(ReadWholeFile(name)), KeptChunks(File(otherAudio, {})));
    // Rewritten where it is, with the size that it had.
    meanwhile = [&] { folder.Write("a.wav", File(otherAudio, ByteWriter().Chunk("JUNK", Bytes(38)))); };
    EXPECT_EQ(Edit(), updatedInPlace);
    EXPECT_EQ(KeptChunks(ReadWholeFile(name)), KeptChunks(File(otherAudio, {})));
    EXPECT_FALSE(Tags().Has("INFO:IART"));
    // What another edit left to do in the one is not done in the other.
    folder.Write("a.wav", File(audio, ByteWriter().Chunk("JUNK", ByteWriter().Text("VWCLEAN1"))));
    meanwhile = [&] { folder.Write("a.wav", File(otherAudio, {})); };
    EXPECT_EQ(Edit(), updatedInPlace);
    EXPECT_EQ(KeptChunks(ReadWholeFile(name)), KeptChunks(File(otherAudio, {})));

    meanwhile = [&] { std::filesystem::remove(name); };
    EXPECT_EQ(Edit(), writeFailed);
    EXPECT_FALSE(std::filesystem::exists(name));
}

TEST_F(EditsOfFiles, LeaveARecordingAlone) {
    {
        std::ofstream recorder(name, std::ios::binary | std::ios::app);
        for (const auto flags : {writeMerge, writeNeverInPlace, writeAnswerAlone})
            EXPECT_EQ(Edit(flags), writeFailed);
    }
    EXPECT_EQ(ReadWholeFile(name), before);
    EXPECT_FALSE(std::filesystem::exists(target));
    EXPECT_EQ(Edit(), updatedInPlace);
}

TEST_F(EditsOfFiles, WaitForOthers) {
    auto other = std::make_unique<FileLock>(name, std::chrono::seconds(0));
    ASSERT_TRUE(other->IsHeld());
    EXPECT_FALSE(FileLock(name, std::chrono::milliseconds(20)).IsHeld());
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(ReadWholeFile(name), before);
        other.reset();
    });
    EXPECT_EQ(Edit(), updatedInPlace);
    later.join();
}

TEST_F(EditsOfFiles, AnswerAloneWithNothingWritten) {
    const Bytes garbage = ByteWriter().Add(before).Fill(99, 'x');
    const Bytes pictures = File(audio, ByteWriter().Chunk("JUNK", Bytes(9000)));
    for (const Bytes& file : {before, garbage, pictures, RiffFile(fmt), RiffFile(audio), Bytes(60, 'z')})
        for (const int32_t flags :
             {0, int32_t{writeMerge}, int32_t{writeNeverInPlace}, writeMerge | writeNeverInPlace}) {
            folder.Write("a.wav", file);
            WriteAnswer answer{};
            {
                ScriptedFileSystem files;
                const platform::ScopedFileSystem scope(files);
                answer = Edit(flags | writeAnswerAlone);
                EXPECT_EQ(files.BytesWritten() + files.Count(Operation::cut), 0);
            }
            EXPECT_EQ(ReadWholeFile(name), file);
            EXPECT_FALSE(std::filesystem::exists(target));
            EXPECT_EQ(Edit(flags), answer);
            std::filesystem::remove(target);
        }
}

TEST_F(EditsOfFiles, TellTheHostWhatTheyReadAndWrite) {
    static int64_t read, written;
    Services().updateDiskCounters = [](int32_t more, int32_t put) {
        read += more;
        written += put;
    };
    for (const int32_t flags : {int32_t{writeMerge}, writeMerge | writeNeverInPlace}) {
        read = written = 0;
        EXPECT_NE(Edit(flags), writeFailed);
        EXPECT_GT(read, 100);
        EXPECT_GT(written, 50);
    }
}

// Handles are closed before a file is written and after it: one that was opened meanwhile shows the old tags.
TEST_F(EditsOfFiles, ForgetWhatTheyWrite) {
    std::vector<std::pair<std::string, bool>> forgotten;  // whether the file has the new tag
    const auto edit = [&](int32_t flags) {
        forgotten.clear();
        MetadataStore changes;
        changes.Set("INFO:INAM", "New");
        const auto forget = [&](const std::string& file) {
            const auto bytes = std::filesystem::exists(file) ? ReadWholeFile(file) : Bytes();
            const std::string_view tag = "INAM";
            forgotten.emplace_back(file, std::ranges::search(bytes, tag).begin() != bytes.end());
        };
        static_cast<void>(EditFile(
            {.fileName = name, .target = target, .changes = changes, .flags = flags, .forget = forget}));
        return forgotten;
    };
    using Forgotten = std::vector<std::pair<std::string, bool>>;
    EXPECT_EQ(edit(writeNeverInPlace), (Forgotten{{target, false}, {target, true}, {name, false}}));
    EXPECT_EQ(edit(writeMerge), (Forgotten{{name, false}, {name, true}}));
    // Nothing to change: the copy is the file as it is, whatever it holds.
    const Bytes silent = RiffFile(Info("INAM", "New"));
    folder.Write("a.wav", silent);
    const auto lossless = writeMerge | writeLossless | writeNeverInPlace;
    EXPECT_EQ(Edit(lossless | writeAnswerAlone), writtenToTarget);
    EXPECT_EQ(Edit(lossless), writtenToTarget);
    EXPECT_EQ(ReadWholeFile(target), silent);
    // Without merging, all tags that are not given go.
    folder.Write("a.wav", File(audio, ByteWriter().Add(Info("IART", "Old")).Chunk("bext", Bytes(602))));
    EXPECT_EQ(Edit(writeLossless), updatedInPlace);
    EXPECT_EQ(Ids(ReadWholeFile(name)), "fmt dataLIST");
    // A file of another form is left alone, and there is nothing to change in no file.
    Bytes form = RiffFile(Joined({ByteWriter().Chunk("ds64", Bytes(28)), fmt, audio}), "RF64");
    form[8] = 'C';
    folder.Write("a.wav", form);
    EXPECT_EQ(Edit(), writeFailed);
    EXPECT_EQ(Edit(0), writeFailed);
    std::filesystem::remove(name);
    EXPECT_EQ(Edit(writeMerge | writeLossless), writeFailed);
}

// Chunks that nobody finds, since the pad byte in front was left out, stay byte for byte.
TEST_F(EditsOfFiles, KeepWhatFollowsAMissingPadByte) {
    const Bytes behind =
        ByteWriter().Chunk("cue ", Bytes(4)).Add(Info("ICMT", "lost to readers, kept by us"));
    const Bytes odd = ByteWriter().Text("data").Le32(999).Fill(999, 0x5A);
    folder.Write("a.wav", File(odd, behind));
    EXPECT_EQ(Edit(), writtenToTarget);
    const auto copy = ReadWholeFile(target);
    EXPECT_TRUE(std::equal(behind.rbegin(), behind.rend(), copy.rbegin()));
    EXPECT_EQ(Find(copy, "data")->body, Bytes(999, 0x5A));
    EXPECT_FALSE(Find(copy, "cue ") && Find(copy, "cue ")->body.size() == 4) << "it came to light";
}

// A reader that looks for "bext" in front of the audio alone finds it there after a lossless edit.
TEST_F(EditsOfFiles, LeaveChunksInTheirPlaces) {
    const auto bext = ByteWriter().Chunk("bext", ByteWriter().Text("Old").Zeros(599));
    const auto document = ByteWriter().Chunk("iXML", ByteWriter().Text("<BWFXML><NOTE>a</NOTE></BWFXML>"));
    const auto edit = [&](const Bytes& front, const std::string& key, const std::string& text) {
        folder.Write("a.wav", RiffFile(ByteWriter().Add(fmt).Add(front).Add(audio).Add(Info("INAM", "Old"))));
        MetadataStore changes;
        changes.Set(key, text);
        changes.Set("INFO:INAM", "Longer than before");
        EXPECT_EQ(EditFile({.fileName = name,
                            .target = target,
                            .changes = changes,
                            .flags = writeMerge | writeLossless,
                            .forget = [](const std::string&) {}})
                      .answer,
                  updatedInPlace);
        EXPECT_EQ(Tags().Value(key), text);
        EXPECT_EQ(Tags().Value("INFO:INAM"), "Longer than before");
        return Ids(ReadWholeFile(name));
    };
    EXPECT_EQ(edit(bext, "BWF:Description", "New"), "fmt bextdataLIST");
    const auto padded = ByteWriter().Chunk("JUNK", Bytes(2000)).Chunk("cue ", Bytes(4)).Add(bext);
    EXPECT_EQ(edit(padded, "BWF:Description", "New"), "fmt JUNKcue bextdataLIST");
    // What outgrows its place, or has it behind all that is kept, goes where new chunks go.
    EXPECT_EQ(edit(ByteWriter().Chunk("JUNK", Bytes(2000)), "INFO:IART", "New"), "fmt LISTJUNKdata");
    const auto both = ByteWriter().Add(bext).Chunk("cue ", Bytes(4)).Add(document);
    EXPECT_EQ(edit(both, "IXML:NOTE", std::string(999, 'n')), "fmt bextcue JUNKdataiXMLLIST");
}

}  // namespace
}  // namespace vantor::test
