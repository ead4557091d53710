// The process is killed at every write of an edit, after it and in the middle of it. Whatever stands in the
// file then, every sample plays, no tag is lost and none is anything but old or new.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>

#include "tests/source/edit_support.h"
#include "tests/support/scripted_file_system.h"

namespace vantor::test {
namespace {

enum class Moment { afterTheWrite, inTheMiddle };

// In a process of its own. False when the edit ended with or before the index-th write.
bool KillAt(const EditCase& edit, const std::string& path, int64_t index, Moment moment) {
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
        RequestWrite(*source, path + ".target", edit.fields, edit.flags);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) || WIFEXITED(status));
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

// A picture's place changes. Where old and new chunks stand together, their keys are numbered.
bool IsOldOrNew(std::string key, const std::string& value, const Tags& before, const Tags& after) {
    if (key.ends_with(":2")) key.resize(key.size() - 2);
    if (key == "ID3:APIC") return value.starts_with("mime:image/png desc:Front type:3 offset:");
    const auto old = before.find(key);
    const auto changed = after.find(key);
    return (old != before.end() && old->second == value) ||
           (changed != after.end() && changed->second == value);
}

Tags TagsAfter(const EditCase& edit) {
    FakeHost host;
    TempFolder folder;
    const auto path = folder.Write("after.wav", edit.file);
    EXPECT_EQ(RequestWrite(*OpenSource(path), path + ".target", edit.fields, edit.flags), 2);
    return TagsOf(path);
}

void ExpectSound(const EditCase& edit, const std::string& path, const Tags& after) {
    FakeHost host;
    const auto source = OpenSource(path);
    ASSERT_TRUE(source->IsOnline());
    ExpectEverySample(*source);
    TempFolder folder;
    const Tags before = TagsOf(folder.Write("before.wav", edit.file));
    const Tags now = TagsOf(*source);
    for (const auto& [key, value] : before)
        if (after.contains(key)) {
            EXPECT_TRUE(now.contains(key)) << key << " is lost";
        }
    for (const auto& [key, value] : now)
        if (key != std::string(4, '\0')) {
            EXPECT_TRUE(IsOldOrNew(key, value, before, after)) << key << " = " << value;
        }
    // And it can be edited again.
    EXPECT_NE(RequestWrite(*source, folder.Path("target.wav"), {"TITLE=After"}, mergeTags), 0);
}

TEST(KilledEdit, LeavesEverySampleAndNoGarbage) {
    for (const auto& edit : EditCases()) {
        const Tags after = TagsAfter(edit);
        for (const auto moment : {Moment::afterTheWrite, Moment::inTheMiddle}) {
            int64_t index = 0;
            for (bool wasKilled = true; wasKilled; ++index) {
                SCOPED_TRACE(std::string(edit.name) + ", write " + std::to_string(index) +
                             (moment == Moment::inTheMiddle ? ", half" : ""));
                TempFolder folder;
                const auto path = folder.Write("killed.wav", edit.file);
                wasKilled = KillAt(edit, path, index, moment);
                ExpectSound(edit, path, after);
                if (HasFailure()) return;
            }
            EXPECT_GT(index, 1);
        }
    }
}

using Clock = std::chrono::steady_clock;

// VANTOR_EDIT_SECONDS makes more of it.
Clock::time_point EndOfEdits() {
    const char* const seconds = std::getenv("VANTOR_EDIT_SECONDS");
    return Clock::now() + std::chrono::seconds(seconds ? std::atoi(seconds) : 1);
}

std::string Title(const std::string& who, int i) {
    return "TITLE=" + who + std::string(static_cast<size_t>(i % 40 * 9), 'x');
}

int EditByTheModule(const std::string& path, const std::string& who, Clock::time_point end) {
    FakeHost host;
    const auto source = OpenSource(path);
    int done = 0;
    for (int i = 0; Clock::now() < end; ++i)
        done += RequestWrite(*source, path + ".target", {Title(who, i)}, mergeTags) == 2;
    return done;
}

int EditByTheCommandLine(const std::string& path, const std::string& who, Clock::time_point end) {
    std::fflush(stdout);  // what is buffered would be written by each child
    const char* const wavehost = std::getenv("VANTOR_WAVEHOST");
    int done = 0;
    for (int i = 0; Clock::now() < end; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            if (!std::freopen("/dev/null", "w", stdout) || !std::freopen("/dev/null", "w", stderr)) _exit(1);
            execl(wavehost, wavehost, "meta", "set", path.c_str(), Title(who, i).c_str(), nullptr);
            _exit(1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        done += status == 0;
    }
    return done;
}

void ExpectOneTitle(const EditCase& edit, const std::string& path) {
    ExpectOnlyTagsDiffer(edit.file, ReadWholeFile(path));
    FakeHost host;
    auto tags = TagsOf(path);
    const auto title = tags["INFO:INAM"];
    EXPECT_TRUE(title.starts_with("Child") || title.starts_with("Parent")) << title;
    EXPECT_EQ(tags["ID3:TIT2"], title);
    EXPECT_EQ(tags["ID3:TPE1"], "Old artist");
    ExpectEverySample(*OpenSource(path));
}

// Two processes edit one file as fast as they can.
TEST(KilledEdit, OfTwoProcessesAtOnceLeavesTheFileToOneOfThem) {
    const EditCase edit = EditCases()[0];
    std::vector<std::pair<decltype(&EditByTheModule), decltype(&EditByTheModule)>> pairings = {
        {EditByTheModule, EditByTheModule}};
    if (std::getenv("VANTOR_WAVEHOST")) {
        pairings.emplace_back(EditByTheModule, EditByTheCommandLine);
        pairings.emplace_back(EditByTheCommandLine, EditByTheCommandLine);
    }
    for (const auto& [parent, other] : pairings) {
        TempFolder folder;
        const auto path = folder.Write("shared.wav", edit.file);
        const pid_t child = fork();
        if (child == 0) _exit(other(path, "Child", EndOfEdits()) > 0 ? 0 : 1);
        EXPECT_GT(parent(path, "Parent", EndOfEdits()), 0);
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
        ExpectOneTitle(edit, path);
    }
}

// The same with the command line, killed after a while that nobody chose: set VANTOR_WAVEHOST to its path.
TEST(KilledEdit, OfTheCommandLineLeavesEverySample) {
    const char* const wavehost = std::getenv("VANTOR_WAVEHOST");
    if (!wavehost) GTEST_SKIP() << "VANTOR_WAVEHOST does not name the executable";
    const EditCase edit = EditCases()[0];
    const Tags after = TagsAfter(edit);
    std::mt19937 random(5);
    int killed = 0;
    for (int round = 0; round < 200; ++round) {
        TempFolder folder;
        const auto path = folder.Write("killed.wav", edit.file);
        const auto delay = static_cast<useconds_t>(random() % 15000);
        const pid_t child = fork();
        if (child == 0) {
            if (!std::freopen("/dev/null", "w", stdout)) _exit(1);
            execl(wavehost, wavehost, "meta", "set", path.c_str(), edit.fields[0].c_str(), nullptr);
            _exit(1);
        }
        usleep(delay);
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        killed += WIFSIGNALED(status);
        SCOPED_TRACE(delay);
        ExpectSound(edit, path, after);
    }
    EXPECT_GT(killed, 0);
}

}  // namespace
}  // namespace vantor::test
