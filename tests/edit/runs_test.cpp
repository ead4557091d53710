// The runs of chunks that an edit replaces.

#include "edit/runs.h"

#include <gtest/gtest.h>

#include "tests/support/chunk_list.h"
#include "tests/support/memory_file_system.h"

namespace vantor::test {
namespace {

// Padding of several chunks becomes one before an edit writes into it; what is one chunk is left alone.
TEST(Runs, KnowPaddingThatIsSeveralChunks) {
    const Bytes fmt = ByteWriter().Chunk("fmt ", FmtBody(1, 1, 48000, 16)),
                cue = ByteWriter().Chunk("cue ", {});
    const Bytes tag = ByteWriter().Chunk("bext", Bytes(52)), one = Padding(50);
    const Bytes three = Joined({Padding(20), ByteWriter().Chunk("FLLR", Bytes(7)), Padding(14)});
    using Stretches = std::vector<std::pair<int64_t, int64_t>>;
    const std::pair<Bytes, Stretches> cases[] = {
        {Joined({one, tag, one, cue, tag, one, cue, one}), {}},
        {Joined({three, tag, three, cue, three, cue, tag, three}),
         {{36, 50}, {146, 50}, {204, 50}, {322, 50}}},
    };
    for (const auto& [chunks, split] : cases) {
        MemoryFileSystem files;
        const platform::ScopedFileSystem scope(files);
        files.Put("a.wav", RiffFile(Joined({fmt, chunks})));
        FileReader reader("a.wav", {});
        const auto runs = FindRuns(reader, false, tagSchemes);
        ASSERT_TRUE(runs);
        Stretches found;
        for (const auto& stretch : runs->split)
            found.emplace_back(stretch.start, stretch.length);
        EXPECT_EQ(found, split);
    }
}

}  // namespace
}  // namespace vantor::test
