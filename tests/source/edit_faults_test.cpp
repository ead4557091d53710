// Every write, seek, cut, open and read of an edit fails in turn, through the source: the call says so, what
// it calls done is done, and the audio of the source is intact each time.

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace vantor::test
