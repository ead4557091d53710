// Every write, seek, cut, open and read of an edit fails in turn, through the source: the call says so, what
// it calls done is done, and the audio of the source is intact each time.

#include <gtest/gtest.h>

#include "source/source_entry.h"
#include "tests/source/edit_support.h"
#include "tests/support/scripted_file_system.h"

namespace vantor::test {
namespace {

void ExpectAudioIntact(const Bytes& before, const std::string& path) {
    auto kept = KeptChunks(before), now = KeptChunks(ReadWholeFile(path));
    // The zeros of a file that was growing; what an edit corrects.
    for (auto* chunks : {&kept, &now})
        std::erase_if(*chunks, [](const ListedChunk& chunk) {
            return chunk.id == std::string(4, '\0') || chunk.id == "ds64" || chunk.id == "acid";
        });
    EXPECT_EQ(now, kept);
    ExpectEverySample(*OpenSource(path));
}

// False when the fault was not met.
bool EditWithFault(const EditCase& edit, const FaultOrder& order, int64_t index) {
    FakeHost host;
    TempFolder folder;
    const auto path = folder.Write("edited.wav", edit.file);
    const auto target = folder.Path("target.wav");
    const auto source = OpenSource(path);
    ReadInts(*source, 0, 10);
    ScriptedFileSystem files;
    intptr_t result = 0;
    {
        const platform::ScopedFileSystem scope(files);
        files.FailAt(order, index);
        result = RequestWrite(*source, target, edit.fields, edit.flags);
    }
    const bool wasMet = files.Count(order.operation) > index;
    if (!wasMet) {
        EXPECT_EQ(result, edit.flags & neverInPlace ? 1 : 2);
    } else if (order.operation == Operation::write && order.andLater) {
        EXPECT_EQ(result, 0);
    }
    const auto& written = result == 2 ? path : target;
    // A file that grew and could not be cut back has zeros at its end, which the copy takes for chunks.
    const bool cannotBeCutBack = order.operation == Operation::seek && order.andLater;
    if (result != 0) ExpectTags(edit.wanted, written);
    if (result != 0 && !cannotBeCutBack) ExpectOutcome(edit, written);
    ExpectAudioIntact(edit.file, path);
    ExpectEverySample(*source);
    return wasMet;
}

TEST(EditFaults, AreToldAndLeaveTheAudio) {
    auto edits = EditCases();
    edits.push_back(edits[0]);
    edits.back().flags |= neverInPlace;
    for (const auto& edit : edits)
        for (const auto& order : faultOrders) {
            int64_t index = 0;
            for (bool wasMet = true; wasMet; ++index) {
                SCOPED_TRACE(std::string(edit.name) + ", " + order.name + " at " + std::to_string(index));
                wasMet = EditWithFault(edit, order, index);
                if (HasFailure()) return;
            }
            // Not every edit cuts, and a copy does not seek.
            const bool mayBeMissing = order.operation == Operation::cut || (edit.flags & neverInPlace);
            EXPECT_TRUE(index > 1 || mayBeMissing) << edit.name << ", " << order.name;
        }
}

// A read that failed while the file was parsed, once: what was not found then is not taken for absent.
TEST(EditFaults, AParseThatMissedBytesLosesNoTags) {
    FakeHost host;
    bool wasMet = true;
    const auto edit = EditCases()[0];
    const auto tagsAfter = [&](const std::string& path) {
        auto tags = TagsOf(path);
        tags.erase("ID3:APIC");  // tells where in the file the picture lies
        return tags;
    };
    Services().preferredReadMode = [](int32_t* mode, int32_t*, int32_t* blockBytes) {
        *mode = 0;
        *blockBytes = 0;  // every read of the walk is one of the file
    };
    Tags wanted;
    int edited = 0;
    for (int64_t index = -1; index < 0 || wasMet; ++index) {
        SCOPED_TRACE(index);
        TempFolder folder;
        const auto path = folder.Write("edited.wav", edit.file);
        ScriptedFileSystem files;
        const platform::ScopedFileSystem scope(files);
        files.FailAt(Operation::read, index, Fault::failure);
        const auto source = OpenSource(path);
        wasMet = files.Count(Operation::read) > index;
        files.Reset();
        // Of a file whose kind was not found out nothing is edited.
        if (RequestWrite(*source, folder.Path("target.wav"), edit.fields, edit.flags) == 0) {
            EXPECT_EQ(ReadWholeFile(path), edit.file);
        } else {
            if (index < 0) wanted = tagsAfter(path);
            EXPECT_EQ(tagsAfter(path), wanted);
            ++edited;
        }
    }
    EXPECT_GT(edited, 1);
}

TEST(EditFaults, WhatAnotherProgramWroteMeanwhileIsMergedFrom) {
    FakeHost host;
    TempFolder folder;
    const auto path = folder.Write("edited.wav", MonoFile(Ramp(100)));
    const auto source = OpenSource(path);
    OpenFileReduce(2);  // lets other programs write the file on every system
    const auto info = ByteWriter().Chunk("LIST", ByteWriter().Text("INFOIART").Le32(6).Text("Others"));
    folder.Write("edited.wav", MonoFile(Ramp(100), {}, info));
    ASSERT_EQ(RequestWrite(*source, folder.Path("target.wav"), {"TITLE=x"}, mergeTags), 2);
    EXPECT_EQ(TagsOf(path)["INFO:IART"], "Others");
}

TEST(EditFaults, AFileThatIsNotOpenYetDoesNotGetTheTagsOfAnother) {
    FakeHost host;
    TempFolder folder;
    const auto path = folder.Write("edited.wav", TaggedFile());
    const auto source = OpenSource(path);
    const Bytes bare = MonoFile(Ramp(100));
    const auto other = folder.Write("other.wav", bare);
    source->ChangeFile(other.c_str());
    EXPECT_EQ(RequestWrite(*source, folder.Path("target.wav"), {"TITLE=x"}, mergeTags), 0);
    const DocumentRecord record{"IXML", "<BWFXML><NOTE>of the first</NOTE></BWFXML>", 42};
    EXPECT_EQ(source->ExtendedCall(callWriteDocument, folder.Path("target.wav").data(),
                                   const_cast<DocumentRecord*>(&record), Number(0)),
              0);
    EXPECT_EQ(ReadWholeFile(other), bare);
}

// The walk stops at a format that cannot be played; the tags behind it stay.
TEST(EditFaults, AParseThatStoppedEarlyIsNotMergedFrom) {
    FakeHost host;
    TempFolder folder;
    const auto info = ByteWriter().Chunk("LIST", ByteWriter().Text("INFOINAM").Le32(4).Text("kept"));
    const Bytes unplayable =
        RiffFile(ByteWriter().Chunk("fmt ", FmtBody(6, 1, 8000, 8)).Chunk("data", Bytes(100)).Add(info));
    const auto path = folder.Write("alaw.wav", unplayable);
    for (const auto flags : {mergeTags, mergeTags | neverInPlace})
        EXPECT_EQ(RequestWrite(*OpenSource(path), folder.Path("target.wav"), {"ARTIST=x"}, flags), 0);
    EXPECT_EQ(ReadWholeFile(path), unplayable);
    EXPECT_EQ(RequestWrite(*OpenSource(path), folder.Path("target.wav"), {"ARTIST=x"}, replaceAll), 2);
}

}  // namespace
}  // namespace vantor::test
