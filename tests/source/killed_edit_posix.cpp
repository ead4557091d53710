// The process is killed at every write of an edit, after it and in the middle of it. Whatever stands in the
// file then, every sample plays and no tag is anything but old or new.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "tests/source/edit_support.h"
#include "tests/support/scripted_file_system.h"

namespace vantor::test {
namespace {

struct Layout {
    const char* name;
    Bytes file;
    Fields fields;
    intptr_t flags = mergeTags;
};
const Bytes padding = ByteWriter().Chunk("JUNK", Bytes(12000));
const Fields shortFields = {{"TITLE", "New"}};
const Fields longFields = {{"TITLE", "New"}, {"COMMENT", std::string(9000, 'c')}};
const Fields emptyFields = {{"TITLE", "New"}, {"ID3:APIC", ""}, {"AXML:ISRC", ""}};
const Layout layouts[] = {
    {"tagged, shrinking", TaggedFile(), emptyFields},
    {"tagged, growing", TaggedFile(), longFields},
    {"tagged RF64, growing", TaggedFile("RF64"), longFields},
    {"bare", MonoFile(Ramp(editedFrames)), shortFields},
    {"padding in front", MonoFile(Ramp(editedFrames), padding), longFields},
    {"padding behind", MonoFile(Ramp(editedFrames), {}, padding), longFields},
    {"all tags replaced", TaggedFile("BW64"), shortFields, replaceAll},
};

enum class Moment { afterTheWrite, inTheMiddle };

// In a process of its own. False when the edit ended with or before the index-th write.
bool KillAt(const Layout& layout, const std::string& path, int64_t index, Moment moment) {
    const pid_t child = fork();
    if (child == 0) {
        FakeHost host;
        const auto source = OpenSource(path);
        ScriptedFileSystem files;
        const platform::ScopedFileSystem scope(files);
        if (moment == Moment::inTheMiddle) files.FailAt(Operation::write, index, Fault::partial);
        files.BeforeEach([&] {
            if (files.Count(Operation::write) > index) std::raise(SIGKILL);
        });
        RequestWrite(*source, path + ".target", layout.fields, layout.flags);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) || WIFEXITED(status));
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

using Tags = std::map<std::string, std::string>;

// A picture's place changes. Where old and new chunks stand together, their keys are numbered.
bool IsOldOrNew(std::string key, const std::string& value, const Tags& before, const Tags& after) {
    if (key.ends_with(":2")) key.resize(key.size() - 2);
    if (key == "ID3:APIC") return value.starts_with("mime:image/png desc:Front type:3 offset:");
    const auto old = before.find(key);
    const auto changed = after.find(key);
    return (old != before.end() && old->second == value) ||
           (changed != after.end() && changed->second == value);
}

void ExpectSound(const Layout& layout, const std::string& path, const Tags& after, const std::string& what) {
    FakeHost host;
    const auto source = OpenSource(path);
    ASSERT_TRUE(source->IsOnline()) << what;
    EXPECT_EQ(ReadInts(*source, 0, editedFrames + 1), Numbers(0, editedFrames)) << what;
    TempFolder folder;
    const Tags before = TagsOf(folder.Write("before.wav", layout.file));
    for (const auto& [key, value] : TagsOf(*source))
        if (key != std::string(4, '\0')) {
            EXPECT_TRUE(IsOldOrNew(key, value, before, after)) << what << ": " << key << " = " << value;
        }
    // And it can be edited again.
    EXPECT_NE(RequestWrite(*source, folder.Path("target.wav"), {{"TITLE", "After"}}, mergeTags), 0) << what;
}

Tags TagsAfter(const Layout& layout) {
    FakeHost host;
    TempFolder folder;
    const auto path = folder.Write("after.wav", layout.file);
    EXPECT_EQ(RequestWrite(*OpenSource(path), path + ".target", layout.fields, layout.flags), 2);
    return TagsOf(path);
}

TEST(KilledEdit, LeavesEverySampleAndNoGarbage) {
    for (const auto& layout : layouts) {
        const Tags after = TagsAfter(layout);
        for (const auto moment : {Moment::afterTheWrite, Moment::inTheMiddle})
            for (int64_t index = 0;; ++index) {
                TempFolder folder;
                const auto path = folder.Write("killed.wav", layout.file);
                const bool wasKilled = KillAt(layout, path, index, moment);
                const std::string what = std::string(layout.name) + ", write " + std::to_string(index) +
                                         (moment == Moment::inTheMiddle ? ", half" : "");
                ExpectSound(layout, path, after, what);
                if (!wasKilled) {
                    EXPECT_GT(index, 0) << what;
                    break;
                }
                if (::testing::Test::HasFailure()) return;
            }
    }
}

// The same with the command line, killed after a while that nobody chose: set VANTOR_WAVEHOST to its path.
TEST(KilledEdit, OfTheCommandLineLeavesEverySample) {
    const char* const wavehost = std::getenv("VANTOR_WAVEHOST");
    if (!wavehost) GTEST_SKIP() << "VANTOR_WAVEHOST does not name the executable";
    const Layout& layout = layouts[1];
    const Tags after = TagsAfter(layout);
    std::mt19937 random(5);
    int killed = 0;
    for (int round = 0; round < 200; ++round) {
        TempFolder folder;
        const auto path = folder.Write("killed.wav", layout.file);
        const auto delay = static_cast<useconds_t>(random() % 15000);
        const pid_t child = fork();
        if (child == 0) {
            if (!std::freopen("/dev/null", "w", stdout)) _exit(1);
            const auto comment = "COMMENT=" + layout.fields[1].second;
            execl(wavehost, wavehost, "meta", "set", path.c_str(), "TITLE=New", comment.c_str(), nullptr);
            _exit(1);
        }
        usleep(delay);
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        killed += WIFSIGNALED(status);
        ExpectSound(layout, path, after, "killed after " + std::to_string(delay) + " us");
    }
    EXPECT_GT(killed, 0);
}

}  // namespace
}  // namespace vantor::test
