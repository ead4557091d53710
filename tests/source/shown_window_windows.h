// The properties window on a thread of its own, as a host's user interface has it, with the keys and clicks
// of its user.
#pragma once

#include <windows.h>

#include <chrono>
#include <string>
#include <thread>

#include "properties/dialog_ids.h"
#include "vantor_wave/host_interface.h"

namespace vantor::test {

// Waits until it holds, for half a minute at most; what it said last.
template <typename Condition>
bool Eventually(const Condition& condition) {
    for (const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);;) {
        if (condition()) return true;
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

// False when there is no screen to show windows on.
bool HasScreen();

class ShownWindow {
  public:
    // With a parent: a window of the same thread, owned by this object.
    explicit ShownWindow(PCM_source& source, bool hasParent = false);
    ~ShownWindow();  // closes it
    ShownWindow(const ShownWindow&) = delete;
    ShownWindow& operator=(const ShownWindow&) = delete;

    [[nodiscard]] HWND Window() const { return window_; }
    [[nodiscard]] HWND Parent() const { return parent_; }
    [[nodiscard]] HWND Part(int id) const { return GetDlgItem(window_, id); }
    [[nodiscard]] std::string Text(int id) const;
    [[nodiscard]] std::string Title() const;
    [[nodiscard]] bool IsShown(int id) const { return IsWindowVisible(Part(id)) != 0; }
    [[nodiscard]] int Rows() const;
    [[nodiscard]] std::string Cell(int row, int column) const;
    [[nodiscard]] HWND Focus() const;
    // The window that the user works with instead, while one is open above this one.
    [[nodiscard]] HWND WindowAbove() const;

    void Type(int id, const std::string& text) const;  // in place of what stands there
    void Select(int row) const;
    void Click(int id) const;
    void ClickColumn(int column) const;
    void Key(WORD key) const;         // to the part with the focus, through the dialog's keys
    void ControlKey(WORD key) const;  // with the control key held
    // Esc; what ShowProperties answered.
    int32_t Close();

  private:
    void Run(PCM_source& source, bool hasParent);

    HWND window_ = nullptr;
    HWND parent_ = nullptr;
    int32_t answer_ = -1;
    DWORD threadId_ = 0;
    std::thread thread_;
};

// The text on the clipboard; waits for it to hold any.
std::string ClipboardText();
void ClearClipboard();

}  // namespace vantor::test
