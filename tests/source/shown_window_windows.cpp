#include "tests/source/shown_window_windows.h"

// The controls' header leans on the system's.
#include <commctrl.h>

#include <array>
#include <atomic>

namespace vantor::test {

namespace {

std::string Narrow(const wchar_t* wide) {
    std::string text(
        static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr)), 0);
    WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), static_cast<int>(text.size()), nullptr, nullptr);
    text.pop_back();
    return text;
}

std::wstring Widen(const std::string& text) {
    std::wstring wide(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0)), 0);
    MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, wide.data(), static_cast<int>(wide.size()));
    wide.pop_back();
    return wide;
}

std::string TextOf(HWND window) {
    std::wstring text(static_cast<size_t>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0)) + 1, 0);
    SendMessageW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
    return Narrow(text.c_str());
}

bool IsDialog(HWND window) {
    wchar_t name[16] = L"";
    GetClassNameW(window, name, 16);
    return std::wstring(name) == L"#32770" && IsWindowVisible(window);
}

struct DialogSearch {
    HWND except;
    HWND found;
};

HWND FindDialog(DWORD threadId, HWND except) {
    DialogSearch search{except, nullptr};
    EnumThreadWindows(
        threadId,
        [](HWND window, LPARAM parameter) -> BOOL {
            auto& wanted = *reinterpret_cast<DialogSearch*>(parameter);
            if (window != wanted.except && IsDialog(window)) wanted.found = window;
            return wanted.found == nullptr;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
}

HWND MakeWindow(const wchar_t* title) {
    return CreateWindowExW(0, L"STATIC", title, WS_OVERLAPPEDWINDOW, 10, 10, 300, 200, nullptr, nullptr,
                           nullptr, nullptr);
}

}  // namespace

bool HasScreen() {
    const HWND window = MakeWindow(L"");
    if (!window) return false;
    DestroyWindow(window);
    return true;
}

ShownWindow::ShownWindow(PCM_source& source, bool hasParent) {
    std::atomic<DWORD> threadId = 0;
    thread_ = std::thread([&, this, hasParent] {
        if (hasParent) {
            parent_ = MakeWindow(L"Host");
            ShowWindow(parent_, SW_SHOW);
        }
        threadId = GetCurrentThreadId();
        answer_ = source.ShowProperties(parent_);
        if (parent_) DestroyWindow(parent_);
    });
    Eventually([&] { return threadId != 0; });
    threadId_ = threadId;
    Eventually([&] { return (window_ = FindDialog(threadId_, nullptr)) != nullptr; });
    SendMessageW(window_, WM_NULL, 0, 0);
    Eventually([&] { return Focus() != nullptr; });
}

ShownWindow::~ShownWindow() {
    Close();
}

int32_t ShownWindow::Close() {
    if (!thread_.joinable()) return answer_;
    while (const HWND above = WindowAbove())
        SendMessageW(above, WM_CLOSE, 0, 0);
    PostMessageW(Focus() ? Focus() : window_, WM_KEYDOWN, VK_ESCAPE, 1);
    if (!Eventually([&] { return !IsWindow(window_); })) SendMessageW(window_, WM_CLOSE, 0, 0);
    thread_.join();
    return answer_;
}

std::string ShownWindow::Text(int id) const {
    return TextOf(Part(id));
}

std::string ShownWindow::Title() const {
    return TextOf(window_);
}

int ShownWindow::Rows() const {
    return static_cast<int>(SendMessageW(Part(VANTOR_LIST), LVM_GETITEMCOUNT, 0, 0));
}

std::string ShownWindow::Cell(int row, int column) const {
    wchar_t text[600] = L"";
    LVITEMW item{};
    item.iSubItem = column;
    item.pszText = text;
    item.cchTextMax = 600;
    SendMessageW(Part(VANTOR_LIST), LVM_GETITEMTEXTW, static_cast<WPARAM>(row),
                 reinterpret_cast<LPARAM>(&item));
    return Narrow(text);
}

HWND ShownWindow::Focus() const {
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    return GetGUIThreadInfo(threadId_, &info) ? info.hwndFocus : nullptr;
}

HWND ShownWindow::WindowAbove() const {
    return FindDialog(threadId_, window_);
}

void ShownWindow::Type(int id, const std::string& text) const {
    SendMessageW(Part(id), EM_SETSEL, 0, -1);
    SendMessageW(Part(id), WM_CHAR, VK_BACK, 1);
    for (const wchar_t unit : Widen(text))
        SendMessageW(Part(id), WM_CHAR, unit, 1);
}

void ShownWindow::Select(int row) const {
    LVITEMW item{};
    item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
    SendMessageW(Part(VANTOR_LIST), LVM_SETITEMSTATE, static_cast<WPARAM>(-1),
                 reinterpret_cast<LPARAM>(&item));
    item.state = item.stateMask;
    SendMessageW(Part(VANTOR_LIST), LVM_SETITEMSTATE, static_cast<WPARAM>(row),
                 reinterpret_cast<LPARAM>(&item));
}

// Posted: a click may open a window of its own, which answers only when that is closed.
void ShownWindow::Click(int id) const {
    PostMessageW(Part(id), BM_CLICK, 0, 0);
}

void ShownWindow::ClickColumn(int column) const {
    NMLISTVIEW click{};
    click.hdr = {Part(VANTOR_LIST), VANTOR_LIST, static_cast<UINT>(LVN_COLUMNCLICK)};
    click.iItem = -1;
    click.iSubItem = column;
    SendMessageW(window_, WM_NOTIFY, VANTOR_LIST, reinterpret_cast<LPARAM>(&click));
}

void ShownWindow::Key(WORD key) const {
    PostMessageW(Focus(), WM_KEYDOWN, key, 1);
}

void ShownWindow::ControlKey(WORD key) const {
    const DWORD self = GetCurrentThreadId();
    AttachThreadInput(self, threadId_, TRUE);
    std::array<BYTE, 256> keys{}, before{};
    GetKeyboardState(before.data());
    keys[VK_CONTROL] = 0x80;
    SetKeyboardState(keys.data());
    const HWND focus = Focus();
    SendMessageW(focus, WM_KEYDOWN, key, 1);
    SendMessageW(focus, WM_CHAR, static_cast<WPARAM>(key - 'A' + 1), 1);
    SetKeyboardState(before.data());
    AttachThreadInput(self, threadId_, FALSE);
}

std::string ClipboardText() {
    std::string text;
    Eventually([&] {
        if (!OpenClipboard(nullptr)) return false;
        if (const HANDLE data = GetClipboardData(CF_UNICODETEXT)) {
            text = Narrow(static_cast<const wchar_t*>(GlobalLock(data)));
            GlobalUnlock(data);
        }
        CloseClipboard();
        return !text.empty();
    });
    return text;
}

void ClearClipboard() {
    Eventually([] { return OpenClipboard(nullptr) != 0; });
    EmptyClipboard();
    CloseClipboard();
}

}  // namespace vantor::test
