// An edit in place stops at every change that it makes to the file: killed before it or in its middle, with
// the disk full once or for good, with the power gone. Whatever stands there then plays, has every tag, and
// takes the same edit again.

#include <gtest/gtest.h>

#include <random>

#include "tests/edit/interrupted_cases.h"

namespace vantor::test::interrupted {
namespace {

// Every key that old and new tags both have is there, with one of the two values; nothing else is.
void ExpectEveryTag(const Case& c, const Tags& tags) {
    const auto valueIn = [](const Tags& all, const std::string& key) {
        const auto found = all.find(key);
        return found == all.end() ? std::string() : found->second;
    };
    for (const auto& [key, value] : c.old.tags)
        if (c.changed.tags.contains(key)) {
            EXPECT_TRUE(tags.contains(key)) << key << " is lost";
        }
    for (const auto& [key, value] : tags)
        EXPECT_TRUE(value == valueIn(c.old.tags, key) || value == valueIn(c.changed.tags, key))
            << key << " is " << value;
}

void ExpectAudio(const Case& c, const Seen& seen, const Bytes& file) {
    EXPECT_EQ(seen.frames, c.old.frames);
    ASSERT_EQ(seen.audioStart, c.old.audioStart);
    const auto audioBytes = static_cast<int64_t>(c.layout.audioBytes);
    ASSERT_LE(seen.audioStart + audioBytes, std::ssize(file));
    EXPECT_TRUE(std::equal(file.begin() + seen.audioStart, file.begin() + seen.audioStart + audioBytes,
                           c.before.begin() + seen.audioStart));
}

void ExpectSound(const Case& c, const Bytes& file, bool mayMix) {
    const auto seen = Look(file);
    ExpectAudio(c, seen, file);
    if (!mayMix) {
        EXPECT_EQ(seen.kept, c.old.kept);
        EXPECT_TRUE(!c.layout.isOneRun || seen.tags == c.old.tags || seen.tags == c.changed.tags);
    }
    ExpectEveryTag(c, seen.tags);
    // A reader that believes the size in front finds them, too.
    const size_t believed = RiffSizeField(file) + 8;
    if (believed < file.size() && c.layout.garbage.empty())
        ExpectEveryTag(c, Look({file.begin(), file.begin() + static_cast<int64_t>(believed)}).tags);
}

void ExpectSameEditAgain(const Case& c, const Bytes& file) {
    MemoryFileSystem files;
    files.Put(name, file);
    EXPECT_EQ(RunEdit(files, c.edit), updatedInPlace);
    EXPECT_EQ(*files.Find(name), c.after);
}

// Once the new tags show, any edit finishes this one, even one that changes nothing.
void ExpectFinished(const Case& c, const Bytes& file) {
    const auto seen = Look(file);
    if (seen.tags == c.old.tags || seen.tags != c.changed.tags) return;
    const auto own = seen.tags.find("INFO:INAM");
    const Edit nothing{
        "nothing", {{"INFO:INAM", own == seen.tags.end() ? "" : own->second}}, writeMerge | writeLossless};
    MemoryFileSystem files;
    files.Put(name, file);
    std::vector<Change> trace;
    files.trace = &trace;
    EXPECT_NE(RunEdit(files, {"asked", nothing.pairs, nothing.flags | writeAnswerAlone}), writeFailed);
    EXPECT_TRUE(trace.empty());
    EXPECT_EQ(RunEdit(files, {"copied", nothing.pairs, nothing.flags | writeNeverInPlace}), writtenToTarget);
    EXPECT_EQ(*files.Find(name), file);
    EXPECT_EQ(RunEdit(files, nothing), updatedInPlace);
    EXPECT_EQ(*files.Find(name), c.after);
}

// Calls `test(case)` until it has failed.
template <typename Test>
void ForEachCase(Test test) {
    for (const auto& layout : Layouts())
        for (const auto& edit : edits) {
            SCOPED_TRACE(std::string(layout.what) + ", " + std::string(layout.id) + ", " + edit.what);
            test(CaseOf(layout, edit));
            if (testing::Test::HasFailure()) return;
        }
    // The new tags fill the place of the old ones, so that no padding beside them has a mark.
    const Layout exact{.what = "exact room",
                       .inFront = Joined({Bext(), Ixml(), Info()}),
                       .between = Padding(30000),
                       .behind = {},
                       .garbage = Bytes(8, 'x')};
    const Edit sameSize{"same size", {{"INFO:INAM", "New name"}}, writeMerge};
    SCOPED_TRACE(exact.what);
    test(CaseOf(exact, sameSize));
}

// A header is in the file or not, with the mark behind it: so few bytes are written at once.
TEST(InterruptedEdit, KilledAnywhereItLosesNothing) {
    ForEachCase([](const Case& c) {
        Bytes file = c.before;
        for (size_t i = 0; i < c.trace.size() && !testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE(i);
            ExpectSound(c, file, false);
            ExpectSameEditAgain(c, file);
            ExpectFinished(c, file);
            if (c.trace[i].bytes.size() > 16) {
                SCOPED_TRACE("half");
                Change half = c.trace[i];
                half.bytes.resize(half.bytes.size() / 2);
                Bytes torn = file;
                half.ApplyTo(torn);
                ExpectSound(c, torn, false);
                ExpectSameEditAgain(c, torn);
                ExpectFinished(c, torn);
            }
            c.trace[i].ApplyTo(file);
        }
        EXPECT_EQ(file, c.after);
    });
}

using Failing = MemoryFileSystem::Failing;

void ExpectFailureIsTold(const Case& c, Failing failing, int change, int then = -1) {
    SCOPED_TRACE(std::to_string(change) + ", " + std::to_string(static_cast<int>(failing)) + ", " +
                 std::to_string(then));
    MemoryFileSystem files;
    files.thenLeft = then;
    files.Put(name, c.before);
    files.changesLeft = change;
    files.failing = failing;
    const auto answer = RunEdit(files, c.edit);
    const Bytes file = *files.Find(name);
    ExpectSound(c, file, false);
    if (answer != writeFailed) {
        const auto& result = answer == updatedInPlace ? file : *files.Find("target.wav");
        EXPECT_EQ(Look(result).tags, c.changed.tags);
    }
    const bool isOld = answer != updatedInPlace && Look(file).tags == c.old.tags;
    const bool hasOldSizes = std::equal(file.begin(), file.begin() + 28, c.before.begin());
    EXPECT_TRUE(answer != writtenToTarget || (isOld && hasOldSizes));
    EXPECT_TRUE(answer != writtenToTarget || file.size() == c.before.size());
    // What refuses to be written can be cut.
    const bool isUntouched = isOld && c.layout.isOneRun && failing == Failing::writesForGood;
    EXPECT_TRUE(!isUntouched || file.size() == c.before.size());
    EXPECT_TRUE(failing != Failing::once || then >= 0 || answer != writeFailed);
    EXPECT_TRUE(failing != Failing::forGood || answer == writeFailed);
    ExpectSameEditAgain(c, file);
}

TEST(InterruptedEdit, AFailureIsToldAndLosesNothing) {
    ForEachCase([](const Case& c) {
        for (const auto failing : {Failing::once, Failing::forGood, Failing::writesForGood})
            for (int i = 0; i < static_cast<int>(c.trace.size()) && !testing::Test::HasFailure(); ++i)
                ExpectFailureIsTold(c, failing, i);
    });
}

// What goes wrong once more, soon after, may be what should have undone the first.
TEST(InterruptedEdit, TwoFailuresAreToldAndLoseNothing) {
    ForEachCase([](const Case& c) {
        if (c.layout.id == "BW64" || c.edit.pairs[0].second.size() < 3000) return;
        for (int i = 0; i < static_cast<int>(c.trace.size()) && !testing::Test::HasFailure(); ++i)
            for (int then = 0; then < 5; ++then)
                ExpectFailureIsTold(c, Failing::once, i, then);
    });
}

// From change `first` on it is killed behind each, and of what is not flushed each alone may be on the disk.
void ExpectSoundThroughout(const Case& c, const Bytes& start, const std::vector<Change>& trace,
                           size_t first) {
    Bytes file = start, flushed = start;
    for (size_t k = 0; k < trace.size() && !testing::Test::HasFailure(); ++k) {
        SCOPED_TRACE(k);
        trace[k].ApplyTo(file);
        Bytes alone = flushed;
        trace[k].ApplyTo(alone);
        if (trace[k].kind == Change::flush) flushed = file;
        if (k < first) continue;
        ExpectSound(c, file, false);
        ExpectSound(c, alone, true);
    }
}

// The computer that refused once is switched off, or one that was switched off is again.
TEST(InterruptedEdit, KilledAfterAFailureOrWhileItIsFinishedItLosesNothing) {
    ForEachCase([](const Case& c) {
        const std::string_view edit = c.edit.what;
        if (c.layout.id == "BW64" || (edit != "growth" && edit != "lossless, in its place")) return;
        Bytes killed = c.before;
        for (size_t i = 0; i < c.trace.size() && !testing::Test::HasFailure(); ++i) {
            SCOPED_TRACE(i);
            for (const bool fails : {true, false}) {
                const Bytes& start = fails ? c.before : killed;
                std::vector<Change> trace;
                MemoryFileSystem files;
                files.Put(name, start);
                files.changesLeft = fails ? static_cast<int>(i) : -1;
                files.trace = &trace;
                static_cast<void>(RunEdit(files, c.edit, name));  // nothing but the file is written
                ExpectSoundThroughout(c, start, trace, fails ? i : 0);
            }
            c.trace[i].ApplyTo(killed);
        }
    });
}

// There is no other place for the new tags than that of the old ones.
TEST(InterruptedEdit, WithoutRoomAFailureThatPassesLosesNothing) {
    const Layout layout{.what = "no room",
                        .inFront = Joined({Bext(), Info(), Ixml()}),
                        .between = {},
                        .behind = {},
                        .garbage = Bytes(77, 'x')};
    const Edit shrinking[] = {
        {"shorter", {{"IXML:NOTE", ""}, {"INFO:INAM", "x"}}, writeMerge},
        {"lossless, shorter", {{"INFO:INAM", ""}}, writeMerge | writeLossless},
        {"lossless, two shorter", {{"INFO:INAM", ""}, {"IXML:NOTE", ""}}, writeMerge | writeLossless},
    };
    for (const auto& edit : shrinking) {
        SCOPED_TRACE(edit.what);
        const auto c = CaseOf(layout, edit);
        for (int i = 0; i < static_cast<int>(c.trace.size()) && !HasFailure(); ++i)
            ExpectFailureIsTold(c, Failing::once, i);
        // The audio is where it was, whatever becomes of the tags.
        Bytes file = c.before, flushed = c.before;
        for (const auto& change : c.trace) {
            change.ApplyTo(file);
            Bytes alone = flushed;
            change.ApplyTo(alone);
            if (change.kind == Change::flush) flushed = file;
            for (const Bytes& left : {file, alone})
                ExpectAudio(c, Look(left), left);
        }
    }
    // Chunks that keep place and size are never gone.
    Layout inOrder = layout;
    inOrder.inFront = Joined({Bext(), Ixml(), Info()});
    const Edit sameSize{"same size", {{"INFO:INAM", "New name"}}, writeMerge};
    const auto c = CaseOf(inOrder, sameSize);
    Bytes file = c.before;
    for (const auto& change : c.trace) {
        change.ApplyTo(file);
        ExpectEveryTag(c, Look(file).tags);
    }
}

// Of what was written since the last flush any part may be on the disk.
TEST(InterruptedEdit, APowerCutLosesNothing) {
    std::mt19937 random(3);
    ForEachCase([&](const Case& c) {
        Bytes flushed = c.before;
        for (size_t start = 0, end = 0; start < c.trace.size(); start = end + 1) {
            for (end = start; end < c.trace.size() && c.trace[end].kind != Change::flush;)
                ++end;
            const size_t count = end - start;
            const uint32_t all = (1u << count) - 1;
            for (uint32_t i = 0; i <= std::min(all, 63u) && !testing::Test::HasFailure(); ++i) {
                const uint32_t written = all < 64 ? i : static_cast<uint32_t>(random()) & all;
                SCOPED_TRACE("behind change " + std::to_string(start) + ", of " + std::to_string(count) +
                             " " + std::to_string(written));
                Bytes file = flushed;
                for (size_t k = 0; k < count; ++k)
                    if (written >> k & 1) c.trace[start + k].ApplyTo(file);
                ExpectSound(c, file, true);
            }
            for (size_t k = 0; k < count; ++k)
                c.trace[start + k].ApplyTo(flushed);
        }
        EXPECT_EQ(flushed, c.after);
        EXPECT_TRUE(c.trace.empty() || c.trace.back().kind == Change::flush) << "the end is on the disk";
    });
}

}  // namespace
}  // namespace vantor::test::interrupted
