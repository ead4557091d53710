// A person who stops a batch with Ctrl-C, or closes its console: every file is old or new, and nothing lies
// about.
#include <windows.h>
// windows.h comes first: the headers below build on it.
#include <chrono>
#include <thread>

#include "tests/support/tree.h"
#include "tests/wavehost/run_wavehost.h"

namespace vantor::test {
namespace {

namespace fs = std::filesystem;

BOOL WINAPI Survive(DWORD) {
    return TRUE;
}

// The program in a console of its own, which no other process of the test run shares.
class OwnConsole {
  public:
    explicit OwnConsole(std::wstring command) {
        STARTUPINFOW start{};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESHOWWINDOW | STARTF_USESTDHANDLES;
        start.wShowWindow = SW_HIDE;
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        HANDLE nowhere = CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                     &inherited, OPEN_EXISTING, 0, nullptr);
        start.hStdInput = start.hStdOutput = start.hStdError = nowhere;
        EXPECT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, CREATE_NEW_CONSOLE,
                                   nullptr, nullptr, &start, &process_));
        CloseHandle(nowhere);
    }
    ~OwnConsole() {
        TerminateProcess(process_.hProcess, 1);
        CloseHandle(process_.hThread);
        CloseHandle(process_.hProcess);
    }
    OwnConsole(const OwnConsole&) = delete;
    OwnConsole& operator=(const OwnConsole&) = delete;

    // As the key does.
    void PressCtrlC() const {
        FreeConsole();
        EXPECT_TRUE(AttachConsole(process_.dwProcessId));
        SetConsoleCtrlHandler(&Survive, TRUE);
        EXPECT_TRUE(GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0));
        // It reaches this process too, in its own time.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        FreeConsole();
        SetConsoleCtrlHandler(&Survive, FALSE);
        AttachConsole(ATTACH_PARENT_PROCESS);
    }
    // What no program may send: the console starts this routine in each of its processes.
    void Tell(DWORD event) const {
        auto* const routine = GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "CtrlRoutine");
        ASSERT_NE(routine, nullptr);
        HANDLE thread =
            CreateRemoteThread(process_.hProcess, nullptr, 0,
                               reinterpret_cast<LPTHREAD_START_ROUTINE>(reinterpret_cast<void*>(routine)),
                               reinterpret_cast<void*>(static_cast<uintptr_t>(event)), 0, nullptr);
        EXPECT_NE(thread, nullptr);
        CloseHandle(thread);
    }
    [[nodiscard]] DWORD ExitStatus() const {
        EXPECT_EQ(WaitForSingleObject(process_.hProcess, 60000), WAIT_OBJECT_0);
        DWORD status = 0;
        GetExitCodeProcess(process_.hProcess, &status);
        return status;
    }

  private:
    PROCESS_INFORMATION process_{};
};

class InterruptedConsole : public Wavehost {
  protected:
    static constexpr int fileCount = 150;
    [[nodiscard]] std::string Name(int number) const {
        return folder.Path("takes/" + std::to_string(1000 + number) + ".wav");
    }
    // There may be no reading it while it is replaced.
    static bool HasGrown(const std::string& name, size_t bytes) {
        std::error_code failed;
        const auto now = fs::file_size(name, failed);
        return !failed && now > bytes;
    }
};

TEST_F(InterruptedConsole, EndsABatchBetweenTwoFiles) {
    // Its tags need a copy: bytes stand behind the last chunk.
    const Bytes original = ByteWriter().Add(PatternWav(20, 1, InfoChunk("IART", "Old"))).Text("xyz").Done();
    fs::create_directory(folder.Path("takes"));
    const std::wstring command = L"\"" + fs::path(BuildTree() + "/wavehost.exe").wstring() +
                                 L"\" meta set \"" + fs::path(folder.Path("takes")).wstring() +
                                 L"\" --set ARTIST=New --set IXML:SCENE=1";
    for (const auto& [event, status] : {std::pair<DWORD, DWORD>{CTRL_C_EVENT, 130},
                                        {CTRL_BREAK_EVENT, 143},
                                        {CTRL_CLOSE_EVENT, 129},
                                        {CTRL_SHUTDOWN_EVENT, 143}}) {
        for (int i = 0; i < fileCount; ++i)
            WriteWholeFile(Name(i), original);
        const OwnConsole program(command);
        for (int tries = 0; tries < 6000 && !HasGrown(Name(2), original.size()); ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        if (event == CTRL_C_EVENT)
            program.PressCtrlC();
        else
            program.Tell(event);
        EXPECT_EQ(program.ExitStatus(), status);
        const Bytes edited = ReadWholeFile(Name(0));
        int changed = 0;
        for (int i = 0; i < fileCount; ++i) {
            const Bytes now = ReadWholeFile(Name(i));
            changed += now == edited;
            EXPECT_TRUE(now == original || now == edited) << i;
        }
        EXPECT_TRUE(changed > 2 && changed < fileCount) << changed << " after " << event;
        EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path("takes")), {}), fileCount);
    }
}

}  // namespace
}  // namespace vantor::test
