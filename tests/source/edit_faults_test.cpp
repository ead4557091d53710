// Every write, seek, cut, open and read of an edit fails in turn, through the source: the call says so, what
// it calls done is done, and the audio of the source is intact each time.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/source/edit_support.h"
#include "tests/support/scripted_file_system.h"

namespace vantor::test {
namespace {

struct FaultOrder {
    const char* name;
    Operation operation;
    Fault fault;
    bool andLater;
};
const FaultOrder faultOrders[] = {
    {"write fails", Operation::write, Fault::failure, false},
    {"write stops half way", Operation::write, Fault::partial, false},
    {"disk full", Operation::write, Fault::diskFull, true},
    {"writes fail from here", Operation::write, Fault::failure, true},
    {"seek fails", Operation::seek, Fault::failure, false},
    {"seeks fail from here", Operation::seek, Fault::failure, true},
    {"cut fails", Operation::cut, Fault::failure, false},
    {"open fails", Operation::open, Fault::failure, false},
    {"opens fail from here", Operation::open, Fault::failure, true},
    {"file is being written", Operation::open, Fault::sharingViolation, false},
    {"read fails", Operation::read, Fault::failure, false},
    {"read stops half way", Operation::read, Fault::partial, false},
    {"reads fail from here", Operation::read, Fault::failure, true},
};

struct Kind {
    const char* name;
    Bytes file;
    Fields fields;
    intptr_t flags;
};
const Kind kinds[] = {
    {"shrinking", TaggedFile(), {{"TITLE", "New"}, {"ID3:APIC", ""}}, mergeTags},
    {"growing", TaggedFile("RF64"), {{"TITLE", "New"}, {"COMMENT", std::string(9000, 'c')}}, mergeTags},
    {"first tags", MonoFile(Ramp(editedFrames)), {{"TITLE", "New"}}, mergeTags},
    {"all removed", TaggedFile(), {{"TITLE", "New"}}, replaceAll},
    {"copied", TaggedFile("BW64"), {{"TITLE", "New"}}, mergeTags | neverInPlace},
};

void ExpectAudioIntact(const Kind& kind, const std::string& path, const std::string& what) {
    auto kept = KeptChunks(kind.file), now = KeptChunks(ReadWholeFile(path));
    // The zeros of a file that was growing; the size that an edit corrects.
    std::erase_if(now, [](const ListedChunk& chunk) { return chunk.id == std::string(4, '\0'); });
    for (auto* chunks : {&kept, &now})
        std::erase_if(*chunks, [](const ListedChunk& chunk) { return chunk.id == "ds64"; });
    EXPECT_EQ(now, kept) << what;
    const auto source = OpenSource(path);
    EXPECT_EQ(ReadInts(*source, 0, editedFrames + 1), Numbers(0, editedFrames)) << what;
}

void ExpectDone(const Kind& kind, const std::string& path, const std::string& what) {
    auto tags = TagsOf(path);
    EXPECT_EQ(tags["ID3:TIT2"], "New") << what;
    EXPECT_EQ(tags["INFO:INAM"], "New") << what;
    if (!(kind.flags & mergeTags) || !Find(kind.file, "axml")) return;
    EXPECT_EQ(tags["ID3:TPE1"], "Old artist") << what;
    EXPECT_EQ(tags["AXML:ISRC"], "OLDCODE") << what;
    EXPECT_EQ(tags["BWF:Originator"], "Maker") << what;
    EXPECT_EQ(tags["ID3:PRIV:owner"], "[Binary data]") << what;
}

// Edits with the fault at the index-th operation. False when there were not as many.
bool EditWithFault(const Kind& kind, const FaultOrder& order, int64_t index) {
    const std::string what = std::string(kind.name) + ", " + order.name + " at " + std::to_string(index);
    FakeHost host;
    TempFolder folder;
    const auto path = folder.Write("edited.wav", kind.file);
    const auto target = folder.Path("target.wav");
    const auto source = OpenSource(path);
    ReadInts(*source, 0, 10);
    ScriptedFileSystem files;
    intptr_t result = 0;
    {
        const platform::ScopedFileSystem scope(files);
        files.FailAt(order.operation, index, order.fault, order.andLater);
        result = RequestWrite(*source, target, kind.fields, kind.flags);
    }
    const bool wasMet = files.Count(order.operation) > index;
    if (result == 2) ExpectDone(kind, path, what);
    if (result == 1) {
        ExpectDone(kind, target, what);
        ExpectAudioIntact(kind, target, what);
    }
    // A file that grew and could not be cut back has zeros at its end, which the copy takes for chunks.
    const bool cannotBeCutBack = order.operation == Operation::seek && order.andLater;
    if (result != 0 && !cannotBeCutBack)
        ExpectOnlyTagsDiffer(kind.file, ReadWholeFile(result == 2 ? path : target), what);
    if (!wasMet) {
        EXPECT_EQ(result, kind.flags & neverInPlace ? 1 : 2) << what;
    }
    const bool writesAreLost = order.operation == Operation::write && order.andLater;
    if (wasMet && writesAreLost) {
        EXPECT_EQ(result, 0) << what;
    }
    ExpectAudioIntact(kind, path, what);
    EXPECT_EQ(ReadInts(*source, 0, editedFrames), Numbers(0, editedFrames)) << what << ", the open source";
    return wasMet;
}

TEST(EditFaults, AreToldAndLeaveTheAudio) {
    for (const auto& kind : kinds)
        for (const auto& order : faultOrders) {
            int64_t index = 0;
            while (EditWithFault(kind, order, index))
                ++index;
            // Not every edit cuts, and a copy does not seek.
            const bool mayBeMissing = order.operation == Operation::cut || (kind.flags & neverInPlace);
            EXPECT_TRUE(index > 0 || mayBeMissing) << kind.name << ", " << order.name;
            if (::testing::Test::HasFailure()) return;
        }
}

// The disk fills up at every byte count in turn.
TEST(EditFaults, AFullDiskLosesNothing) {
    const Kind& kind = kinds[1];
    for (int64_t freeBytes = 0; freeBytes < 12000; freeBytes += 997) {
        FakeHost host;
        TempFolder folder;
        const auto path = folder.Write("edited.wav", kind.file);
        ScriptedFileSystem files;
        intptr_t result = 0;
        {
            const auto source = OpenSource(path);
            const platform::ScopedFileSystem scope(files);
            files.SetFreeBytes(freeBytes);
            result = RequestWrite(*source, folder.Path("target.wav"), kind.fields, kind.flags);
        }
        EXPECT_EQ(result, 0) << freeBytes;
        ExpectAudioIntact(kind, path, std::to_string(freeBytes));
    }
}

}  // namespace
}  // namespace vantor::test
