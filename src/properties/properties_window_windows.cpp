// The controls' header leans on the system's.
// clang-format off
#include <windows.h>
#include <commctrl.h>
// clang-format on

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "host/host_services.h"
#include "platform/picture_decoder.h"
#include "properties/dialog_ids.h"
#include "properties/picture_bytes.h"
#include "properties/properties_window.h"
#include "properties/property_list.h"
#include "properties/window_layout.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr INT_PTR dialogClosed = 1;
constexpr UINT pictureWanted = WM_APP + 1;          // the window stands: time to decode
constexpr UINT valueWanted = WM_APP + 2;            // the selection has changed, in thousands of rows maybe
constexpr size_t mostValueBytes = size_t{1} << 20;  // a text field lays out its whole text at once

// ---- Texts

std::wstring Wide(std::string_view text) {
    const std::string valid = Utf8OrLatin1(text);
    const auto bytes = static_cast<int>(std::min<size_t>(valid.size(), INT_MAX));
    std::wstring wide(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, valid.data(), bytes, nullptr, 0)),
                      0);
    MultiByteToWideChar(CP_UTF8, 0, valid.data(), bytes, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::string Utf8(const std::wstring& wide) {
    const auto units = static_cast<int>(wide.size());
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<size_t>(bytes), 0);
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), units, text.data(), bytes, nullptr, nullptr);
    return text;
}

std::wstring WindowText(HWND window) {
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(window)) + 1, 0);
    text.resize(static_cast<size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

void SetText(HWND window, std::string_view text) {
    SetWindowTextW(window, Wide(text).c_str());
}

// ---- What the system offers from some version on

template <typename Function>
Function* SystemFunction(const char* name) {
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"user32.dll"), name)));
}

class WindowContext {
  public:
    explicit WindowContext(HWND window) : window_(window), context_(GetDC(window)) {}
    ~WindowContext() { ReleaseDC(window_, context_); }
    WindowContext(const WindowContext&) = delete;
    WindowContext& operator=(const WindowContext&) = delete;
    operator HDC() const { return context_; }  // NOLINT: it stands for its handle

  private:
    HWND window_;
    HDC context_;
};

int DpiOf(HWND window) {
    if (const auto dpiOfWindow = SystemFunction<UINT WINAPI(HWND)>("GetDpiForWindow"))
        if (const UINT dpi = dpiOfWindow(window)) return static_cast<int>(dpi);
    return GetDeviceCaps(WindowContext(window), LOGPIXELSY);
}

// The font that the user has set for messages, at a resolution.
LOGFONTW MessageFont(HWND window, int dpi) {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof metrics;
    const auto forDpi =
        SystemFunction<BOOL WINAPI(UINT, UINT, PVOID, UINT, UINT)>("SystemParametersInfoForDpi");
    if (forDpi && forDpi(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0, static_cast<UINT>(dpi)))
        return metrics.lfMessageFont;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
    const int systemDpi = GetDeviceCaps(WindowContext(window), LOGPIXELSY);
    metrics.lfMessageFont.lfHeight = MulDiv(metrics.lfMessageFont.lfHeight, dpi, systemDpi);
    return metrics.lfMessageFont;
}

class Font {
  public:
    Font() = default;
    explicit Font(const LOGFONTW& font) : handle_(CreateFontIndirectW(&font)) {}
    ~Font() {
        if (handle_) DeleteObject(handle_);
    }
    Font(Font&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Font& operator=(Font&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    [[nodiscard]] HFONT Handle() const { return handle_; }

  private:
    HFONT handle_ = nullptr;
};

SIZE TextSize(HWND window, const Font& font, const std::wstring& text) {
    const WindowContext context(window);
    const HGDIOBJ before = SelectObject(context, font.Handle());
    SIZE size{};
    GetTextExtentPoint32W(context, text.c_str(), static_cast<int>(text.size()), &size);
    SelectObject(context, before);
    return size;
}

// Controls in the system's present look while it lives, whatever look the host has chosen for itself.
class ControlLook {
  public:
    explicit ControlLook(HMODULE module) {
        ACTCTXW wanted{};
        wanted.cbSize = sizeof wanted;
        wanted.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
        wanted.lpResourceName = MAKEINTRESOURCEW(VANTOR_COMMON_CONTROLS);
        wanted.hModule = module;
        context_ = CreateActCtxW(&wanted);
        isActive_ = context_ != INVALID_HANDLE_VALUE && ActivateActCtx(context_, &cookie_);
    }
    ~ControlLook() {
        if (isActive_) DeactivateActCtx(0, cookie_);
        if (context_ != INVALID_HANDLE_VALUE) ReleaseActCtx(context_);
    }
    ControlLook(const ControlLook&) = delete;
    ControlLook& operator=(const ControlLook&) = delete;

  private:
    HANDLE context_ = INVALID_HANDLE_VALUE;
    ULONG_PTR cookie_ = 0;
    bool isActive_ = false;
};

// ---- Places

Box InsideOf(HWND window) {
    RECT inside{};
    GetClientRect(window, &inside);
    return {0, 0, inside.right, inside.bottom};
}

SIZE OutsideOf(HWND window) {
    RECT outside{};
    GetWindowRect(window, &outside);
    return {outside.right - outside.left, outside.bottom - outside.top};
}

// Of a whole window around an inside.
SIZE OutsideSize(HWND window, const InsideSize& inside) {
    const SIZE outside = OutsideOf(window);
    const Box now = InsideOf(window);
    return {inside.width + outside.cx - now.width, inside.height + outside.cy - now.height};
}

RECT WorkArea(HWND window) {
    MONITORINFO monitor{};
    monitor.cbSize = sizeof monitor;
    GetMonitorInfoW(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST), &monitor);
    return monitor.rcWork;
}

// In the middle of the owner, or of the screen without one, and never beyond the screen.
void PlaceOnScreen(HWND window, SIZE size) {
    const HWND owner = GetWindow(window, GW_OWNER);
    const RECT area = WorkArea(owner ? owner : window);
    RECT middle = area;
    if (owner && !IsIconic(owner)) GetWindowRect(owner, &middle);
    size.cx = std::min(size.cx, area.right - area.left);
    size.cy = std::min(size.cy, area.bottom - area.top);
    const LONG left = std::clamp((middle.left + middle.right - size.cx) / 2, area.left, area.right - size.cx);
    const LONG top = std::clamp((middle.top + middle.bottom - size.cy) / 2, area.top, area.bottom - size.cy);
    SetWindowPos(window, nullptr, left, top, size.cx, size.cy, SWP_NOZORDER | SWP_NOACTIVATE);
}

// ---- Pixels

// The picture over a plain background.
platform::Picture OverBackground(platform::Picture picture, COLORREF background) {
    const int colours[3] = {GetBValue(background), GetGValue(background), GetRValue(background)};
    for (size_t at = 0; at + 3 < picture.pixels.size(); at += 4) {
        const int through = 255 - picture.pixels[at + 3];
        for (size_t i = 0; i < 3; ++i)
            picture.pixels[at + i] =
                static_cast<uint8_t>(std::min(255, picture.pixels[at + i] + colours[i] * through / 255));
    }
    return picture;
}

void Draw(HDC context, const platform::Picture& picture, const Box& place) {
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, picture.width, -picture.height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    SetStretchBltMode(context, HALFTONE);
    SetBrushOrgEx(context, 0, 0, nullptr);
    StretchDIBits(context, place.left, place.top, place.width, place.height, 0, 0, picture.width,
                  picture.height, picture.pixels.data(), &info, DIB_RGB_COLORS, SRCCOPY);
}

std::optional<platform::Picture> Decode(const PictureBytes& bytes, const Box& box) {
    auto picture = platform::DecodePicture(bytes, box.width, box.height);
    if (!picture) picture = platform::DecodePicture(Resynchronised(bytes), box.width, box.height);
    return picture;
}

// ---- Dialogs

class Dialog {
  public:
    virtual ~Dialog() = default;
    // True when it was shown, once the user has closed it.
    bool Show(int resource, HWND parent) {
        auto* const module = static_cast<HINSTANCE>(Services().moduleInstance);
        const INT_PTR result = DialogBoxParamW(module, MAKEINTRESOURCEW(resource), parent, Procedure,
                                               reinterpret_cast<LPARAM>(this));
        return result == dialogClosed || wasOpened_;
    }

  protected:
    virtual void Open() = 0;
    // True when the message is dealt with.
    virtual bool Handle(UINT message, WPARAM wParam, LPARAM lParam) = 0;

    void Close() const { EndDialog(window_, dialogClosed); }
    [[nodiscard]] HWND Part(int id) const { return GetDlgItem(window_, id); }
    HWND window_ = nullptr;

  private:
    static INT_PTR CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_INITDIALOG) SetWindowLongPtrW(window, GWLP_USERDATA, lParam);
        auto* const self = reinterpret_cast<Dialog*>(GetWindowLongPtrW(window, GWLP_USERDATA));
        if (!self) return FALSE;
        self->window_ = window;
        try {
            if (message != WM_INITDIALOG) return self->Handle(message, wParam, lParam);
            self->Open();
            self->wasOpened_ = true;
        } catch (...) {  // out of memory: no exception may pass through the system
            EndDialog(window, 0);
        }
        return FALSE;  // the focus is set
    }

    bool wasOpened_ = false;
};

// A picture as large as the screen allows.
class PictureDialog final : public Dialog {
  public:
    PictureDialog(const PictureBytes& bytes, std::string title) : bytes_(bytes), title_(std::move(title)) {}

  protected:
    void Open() override {
        SetText(window_, title_);
        const RECT area = WorkArea(window_);
        auto picture = Decode(bytes_, {0, 0, area.right - area.left, area.bottom - area.top});
        if (picture) picture_ = OverBackground(std::move(*picture), GetSysColor(COLOR_WINDOW));
        const int least = 2 * DpiOf(window_);  // two inches
        PlaceOnScreen(window_, OutsideSize(window_, {std::max(picture_.width, least),
                                                     std::max(picture_.height, least)}));
    }

    bool Handle(UINT message, WPARAM wParam, LPARAM) override {
        if (message == WM_SIZE) InvalidateRect(window_, nullptr, TRUE);
        if (message == WM_PAINT) Paint();
        if (message == WM_CLOSE || (message == WM_COMMAND && LOWORD(wParam) == IDCANCEL)) Close();
        return message == WM_PAINT || message == WM_CLOSE || message == WM_COMMAND;
    }

  private:
    void Paint() const {
        PAINTSTRUCT paint;
        const HDC context = BeginPaint(window_, &paint);
        const Box place = FitInto(InsideOf(window_), picture_.width, picture_.height);
        FillRect(context, &paint.rcPaint, GetSysColorBrush(COLOR_WINDOW));
        if (!picture_.pixels.empty()) Draw(context, picture_, place);
        EndPaint(window_, &paint);
    }

    const PictureBytes& bytes_;
    std::string title_;
    platform::Picture picture_;
};

class PropertiesDialog final : public Dialog {
  public:
    PropertiesDialog(const FileProperties& properties, const std::vector<PictureBytes>& pictures)
        : properties_(properties), pictures_(pictures) {}

  protected:
    void Open() override;
    bool Handle(UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    // Texts and places
    void SetTexts() const;
    void HideUnused() const;
    void SetFont(int dpi);
    [[nodiscard]] LayoutInput InputFor(const Box& inside) const;
    void LayOut() const;
    void AddColumns() const;
    void SetColumnWidths() const;
    void WidenLastColumn() const;
    [[nodiscard]] int ListTextWidth(std::string_view text) const;
    void SetLeastSize(MINMAXINFO& info) const;

    // The list
    void Refill();
    [[nodiscard]] std::vector<uint32_t> SelectedRows() const;
    void Select(int place, bool isSelected) const;
    void ShowSortArrow() const;
    void ShowValue();
    void ShowMessage(const std::string& addition = {}) const;
    void GiveCell(LVITEMW& item) const;
    [[nodiscard]] LRESULT FindItem(const NMLVFINDITEMW& wanted) const;
    bool HandleList(const NMHDR& header, LPARAM lParam);

    // What the user does
    bool HandleCommand(int part, int event);
    void FocusList() const;
    void Copy() const;
    bool PutOnClipboard(const std::wstring& text) const;
    static LRESULT CALLBACK KeyProcedure(HWND part, UINT message, WPARAM wParam, LPARAM lParam);
    bool HandleKey(HWND part, WPARAM key);
    void ListenToKeys();
    [[nodiscard]] bool CopiesItself(HWND part) const;

    // Pictures
    void StepPicture(size_t steps);
    void LoadPicture();
    void DrawPicture(const DRAWITEMSTRUCT& item) const;
    void OpenPicture() const;

    const FileProperties& properties_;
    const std::vector<PictureBytes>& pictures_;
    std::vector<uint32_t> shown_;
    ListOrder order_;
    Font font_;
    bool valueIsStale_ = false;
    size_t picture_ = 0;
    platform::Picture thumbnail_;
    std::map<HWND, WNDPROC> partProcedures_;
};

void PropertiesDialog::Open() {
    if (const auto leaveToMe = SystemFunction<BOOL WINAPI(HWND, int, int)>("SetDialogDpiChangeBehavior"))
        leaveToMe(window_, 1, 1);  // DDC_DISABLE_ALL: the places are set here
    SetTexts();
    HideUnused();
    ListenToKeys();
    AddColumns();
    SetFont(DpiOf(window_));
    PlaceOnScreen(window_, OutsideSize(window_, FirstSize(InputFor({}))));
    Refill();
    ShowValue();
    LayOut();
    SetFocus(Part(properties_.status.empty() ? VANTOR_LIST : VANTOR_VALUE));
    PostMessageW(window_, pictureWanted, 0, 0);
}

bool PropertiesDialog::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_SIZE:
            LayOut();
            return true;
        case WM_GETMINMAXINFO:
            SetLeastSize(*reinterpret_cast<MINMAXINFO*>(lParam));
            return true;
        case WM_DPICHANGED: {
            const RECT& wanted = *reinterpret_cast<const RECT*>(lParam);
            SetFont(HIWORD(wParam));
            SetWindowPos(window_, nullptr, wanted.left, wanted.top, wanted.right - wanted.left,
                         wanted.bottom - wanted.top, SWP_NOZORDER | SWP_NOACTIVATE);
            LayOut();
            LoadPicture();
            return true;
        }
        case WM_NOTIFY:
            return HandleList(*reinterpret_cast<const NMHDR*>(lParam), lParam);
        case WM_COMMAND:
            return HandleCommand(LOWORD(wParam), HIWORD(wParam));
        case WM_DRAWITEM:
            DrawPicture(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
            return true;
        case valueWanted:
            ShowValue();
            return true;
        case pictureWanted:
            LoadPicture();
            return true;
        case WM_CLOSE:
            Close();
            return true;
        default:
            return false;
    }
}

// ---- Texts and places

void PropertiesDialog::SetTexts() const {
    constexpr std::pair<int, const char*> texts[] = {
        {VANTOR_FILTER_LABEL, "Filter"}, {VANTOR_COPY, "Copy"}, {IDCANCEL, "Close"}};
    for (const auto& [part, text] : texts)
        SetText(Part(part), Localize(text));
    SetText(window_, Localize("Properties") + (": " + std::string(BaseName(properties_.fileName))));
    SetText(Part(VANTOR_PATH), properties_.fileName);
}

void PropertiesDialog::HideUnused() const {
    const auto hide = [&](std::initializer_list<int> parts) {
        for (const int part : parts) {
            ShowWindow(Part(part), SW_HIDE);
            EnableWindow(Part(part), FALSE);
        }
    };
    if (!properties_.status.empty()) hide({VANTOR_FILTER_LABEL, VANTOR_FILTER, VANTOR_LIST});
    if (pictures_.empty()) hide({VANTOR_PICTURE, VANTOR_CAPTION});
    if (pictures_.size() < 2) hide({VANTOR_PREVIOUS, VANTOR_NEXT});
}

void PropertiesDialog::SetFont(int dpi) {
    Font font(MessageFont(window_, dpi));
    for (HWND part = GetWindow(window_, GW_CHILD); part; part = GetWindow(part, GW_HWNDNEXT))
        SendMessageW(part, WM_SETFONT, reinterpret_cast<WPARAM>(font.Handle()), TRUE);
    font_ = std::move(font);
    SetColumnWidths();
}

LayoutInput PropertiesDialog::InputFor(const Box& inside) const {
    LayoutInput input;
    input.width = inside.width;
    input.height = inside.height;
    input.lineHeight = TextSize(window_, font_, L"Ag").cy;
    input.filterLabelWidth = TextSize(window_, font_, WindowText(Part(VANTOR_FILTER_LABEL))).cx + 1;
    const HWND list = Part(VANTOR_LIST);
    const auto header = reinterpret_cast<HWND>(SendMessageW(list, LVM_GETHEADER, 0, 0));
    RECT row{LVIR_BOUNDS, 0, 0, input.lineHeight};
    SendMessageW(list, LVM_GETITEMRECT, 0, reinterpret_cast<LPARAM>(&row));  // an empty list has no rows
    input.rowHeight = static_cast<int>(row.bottom - row.top);
    input.listExtra = OutsideOf(header).cy + OutsideOf(list).cy - InsideOf(list).height;
    for (const int button : {VANTOR_COPY, IDCANCEL})
        input.buttonWidth = std::max<int>(
            input.buttonWidth, TextSize(window_, font_, WindowText(Part(button))).cx + 2 * input.lineHeight);
    if (!pictures_.empty()) input.pictures = pictures_.size() > 1 ? PictureShare::several : PictureShare::one;
    input.statusOnly = !properties_.status.empty();
    return input;
}

void PropertiesDialog::LayOut() const {
    const WindowLayout layout = LayOutWindow(InputFor(InsideOf(window_)));
    const std::pair<int, const Box&> places[] = {
        {VANTOR_PATH, layout.path},       {VANTOR_FILTER_LABEL, layout.filterLabel},
        {VANTOR_FILTER, layout.filter},   {VANTOR_LIST, layout.list},
        {VANTOR_VALUE, layout.value},     {VANTOR_PICTURE, layout.picture},
        {VANTOR_CAPTION, layout.caption}, {VANTOR_PREVIOUS, layout.previous},
        {VANTOR_NEXT, layout.next},       {VANTOR_MESSAGE, layout.message},
        {VANTOR_COPY, layout.copy},       {IDCANCEL, layout.close},
    };
    for (const auto& [part, box] : places)
        SetWindowPos(Part(part), nullptr, box.left, box.top, box.width, box.height,
                     SWP_NOZORDER | SWP_NOACTIVATE);
    WidenLastColumn();
    InvalidateRect(window_, nullptr, TRUE);
}

void PropertiesDialog::SetLeastSize(MINMAXINFO& info) const {
    if (!font_.Handle()) return;  // on its way to the screen
    const SIZE least = OutsideSize(window_, LeastSize(InputFor({})));
    info.ptMinTrackSize = {least.cx, least.cy};
}

void PropertiesDialog::AddColumns() const {
    constexpr const char* titles[] = {"Group", "Name", "Value"};
    const HWND list = Part(VANTOR_LIST);
    const DWORD style = LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP;
    SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, style, style);
    for (int column = 0; column < 3; ++column) {
        std::wstring title = Wide(Localize(titles[column]));
        LVCOLUMNW added{};
        added.mask = LVCF_TEXT | LVCF_SUBITEM;
        added.pszText = title.data();
        added.iSubItem = column;
        SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&added));
    }
}

int PropertiesDialog::ListTextWidth(std::string_view text) const {
    const std::wstring wide = Wide(CellText(text));
    return static_cast<int>(
        SendMessageW(Part(VANTOR_LIST), LVM_GETSTRINGWIDTHW, 0, reinterpret_cast<LPARAM>(wide.c_str())));
}

// As wide as the longest text of some thousand rows, within reason.
void PropertiesDialog::SetColumnWidths() const {
    constexpr size_t mostMeasured = 2000;
    const int line = static_cast<int>(TextSize(window_, font_, L"Ag").cy);
    for (const auto column : {PropertyColumn::group, PropertyColumn::label}) {
        int width = 5 * line;
        for (size_t row = 0; row < std::min(properties_.rows.size(), mostMeasured); ++row)
            width = std::max(width, ListTextWidth(ColumnText(properties_.rows[row], column)) + line);
        SendMessageW(Part(VANTOR_LIST), LVM_SETCOLUMNWIDTH, static_cast<WPARAM>(column),
                     std::min(width, 20 * line));
    }
    WidenLastColumn();
}

void PropertiesDialog::WidenLastColumn() const {
    const HWND list = Part(VANTOR_LIST);
    const int line = static_cast<int>(TextSize(window_, font_, L"Ag").cy);
    const LRESULT before =
        SendMessageW(list, LVM_GETCOLUMNWIDTH, 0, 0) + SendMessageW(list, LVM_GETCOLUMNWIDTH, 1, 0);
    SendMessageW(list, LVM_SETCOLUMNWIDTH, 2, std::max<LRESULT>(InsideOf(list).width - before, 10 * line));
}

// ---- The list

std::vector<uint32_t> PropertiesDialog::SelectedRows() const {
    std::vector<uint32_t> rows;
    const HWND list = Part(VANTOR_LIST);
    for (auto place = static_cast<WPARAM>(-1);;) {
        place = static_cast<WPARAM>(SendMessageW(list, LVM_GETNEXTITEM, place, LVNI_SELECTED));
        if (place >= shown_.size()) return rows;
        rows.push_back(shown_[place]);
    }
}

// place -1: every row
void PropertiesDialog::Select(int place, bool isSelected) const {
    LVITEMW item{};
    item.stateMask = LVIS_SELECTED | (isSelected ? 0u : UINT{LVIS_FOCUSED});
    item.state = isSelected ? UINT{LVIS_SELECTED} : 0u;
    SendMessageW(Part(VANTOR_LIST), LVM_SETITEMSTATE, static_cast<WPARAM>(place),
                 reinterpret_cast<LPARAM>(&item));
}

// What was selected stays selected where it is still shown.
void PropertiesDialog::Refill() {
    const HWND list = Part(VANTOR_LIST);
    auto selected = SelectedRows();
    std::ranges::sort(selected);
    SendMessageW(list, WM_SETREDRAW, FALSE, 0);
    Select(-1, false);
    shown_ = ShownRows(properties_, Utf8(WindowText(Part(VANTOR_FILTER))), order_);
    SendMessageW(list, LVM_SETITEMCOUNT, shown_.size(), 0);
    if (selected.size() == properties_.rows.size()) {
        if (!selected.empty()) Select(-1, true);
    } else {
        for (size_t place = 0; place < shown_.size() && !selected.empty(); ++place)
            if (std::ranges::binary_search(selected, shown_[place])) Select(static_cast<int>(place), true);
    }
    SendMessageW(list, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list, nullptr, TRUE);
    WidenLastColumn();  // a scroll bar may have come or gone
    ShowMessage();
}

void PropertiesDialog::ShowSortArrow() const {
    const auto header = reinterpret_cast<HWND>(SendMessageW(Part(VANTOR_LIST), LVM_GETHEADER, 0, 0));
    for (int column = 0; column < 3; ++column) {
        HDITEMW item{};
        item.mask = HDI_FORMAT;
        SendMessageW(header, HDM_GETITEMW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&item));
        item.fmt &= ~(HDF_SORTUP | HDF_SORTDOWN);
        if (column == static_cast<int>(order_.column) && order_.direction != SortDirection::none)
            item.fmt |= order_.direction == SortDirection::up ? HDF_SORTUP : HDF_SORTDOWN;
        SendMessageW(header, HDM_SETITEMW, static_cast<WPARAM>(column), reinterpret_cast<LPARAM>(&item));
    }
}

// Of the row with the focus among the selected ones, else of the first.
void PropertiesDialog::ShowValue() {
    valueIsStale_ = false;
    std::string text = properties_.status;
    if (text.empty()) {
        const HWND list = Part(VANTOR_LIST);
        const auto none = static_cast<WPARAM>(-1);
        LRESULT place = SendMessageW(list, LVM_GETNEXTITEM, none, LVNI_SELECTED | LVNI_FOCUSED);
        if (place < 0) place = SendMessageW(list, LVM_GETNEXTITEM, none, LVNI_SELECTED);
        text = place >= 0 && static_cast<size_t>(place) < shown_.size()
                   ? properties_.rows[shown_[static_cast<size_t>(place)]].value
                   : Localize("Select a row to read its whole value here.");
    }
    if (text.size() > mostValueBytes) text = text.substr(0, mostValueBytes) + " ...";
    SetText(Part(VANTOR_VALUE), WithSystemLineBreaks(text));
}

void PropertiesDialog::ShowMessage(const std::string& addition) const {
    if (!properties_.status.empty()) return SetText(Part(VANTOR_MESSAGE), addition);
    std::string text = std::to_string(shown_.size());
    if (shown_.size() != properties_.rows.size()) text += " / " + std::to_string(properties_.rows.size());
    text += std::string(" ") + Localize("rows");
    if (!addition.empty()) text += ", " + addition;
    SetText(Part(VANTOR_MESSAGE), text);
}

void PropertiesDialog::GiveCell(LVITEMW& item) const {
    if (!(item.mask & LVIF_TEXT) || !item.pszText || item.cchTextMax < 1) return;
    const auto place = static_cast<size_t>(item.iItem);
    std::wstring text;
    if (item.iItem >= 0 && place < shown_.size())
        text = Wide(CellText(ColumnText(properties_.rows[shown_[place]], PropertyColumn(item.iSubItem))));
    lstrcpynW(item.pszText, text.c_str(), item.cchTextMax);
}

LRESULT PropertiesDialog::FindItem(const NMLVFINDITEMW& wanted) const {
    if (!(wanted.lvfi.flags & (LVFI_STRING | LVFI_PARTIAL)) || !wanted.lvfi.psz) return -1;
    const size_t start = wanted.iStart > 0 ? static_cast<size_t>(wanted.iStart) : 0;
    return FindByLabel(properties_, shown_, Utf8(wanted.lvfi.psz), start);
}

bool PropertiesDialog::HandleList(const NMHDR& header, LPARAM lParam) {
    if (header.idFrom != VANTOR_LIST) return false;
    switch (header.code) {
        case LVN_GETDISPINFOW:
            GiveCell(reinterpret_cast<NMLVDISPINFOW*>(lParam)->item);
            return true;
        case LVN_ITEMCHANGED:
        case LVN_ODSTATECHANGED:
            if (!std::exchange(valueIsStale_, true)) PostMessageW(window_, valueWanted, 0, 0);
            return true;
        case LVN_COLUMNCLICK:
            order_ = OrderAfterClick(order_, PropertyColumn(reinterpret_cast<NMLISTVIEW*>(lParam)->iSubItem));
            ShowSortArrow();
            Refill();
            return true;
        case LVN_ODFINDITEMW:
            SetWindowLongPtrW(window_, DWLP_MSGRESULT, FindItem(*reinterpret_cast<NMLVFINDITEMW*>(lParam)));
            return true;
        default:
            return false;
    }
}

// ---- What the user does

bool PropertiesDialog::HandleCommand(int part, int event) {
    if (part == VANTOR_FILTER) {
        if (event == EN_CHANGE && font_.Handle()) Refill();
        return event == EN_CHANGE;
    }
    if (event != BN_CLICKED) return false;
    switch (part) {
        case IDCANCEL:
            Close();
            return true;
        case IDOK:  // Enter
            if (GetFocus() == Part(VANTOR_FILTER)) FocusList();
            return true;
        case VANTOR_COPY:
            Copy();
            return true;
        case VANTOR_PREVIOUS:
            StepPicture(pictures_.size() - 1);
            return true;
        case VANTOR_NEXT:
            StepPicture(1);
            return true;
        case VANTOR_PICTURE:
            OpenPicture();
            return true;
        default:
            return false;
    }
}

void PropertiesDialog::FocusList() const {
    const HWND list = Part(VANTOR_LIST);
    SetFocus(list);
    if (SendMessageW(list, LVM_GETNEXTITEM, static_cast<WPARAM>(-1), LVNI_SELECTED) >= 0) return;
    LVITEMW first{};
    first.stateMask = first.state = LVIS_SELECTED | LVIS_FOCUSED;
    SendMessageW(list, LVM_SETITEMSTATE, 0, reinterpret_cast<LPARAM>(&first));
}

bool PropertiesDialog::PutOnClipboard(const std::wstring& text) const {
    bool isOpen = false;
    for (int attempt = 0; attempt < 10 && !isOpen; ++attempt) {  // another program may have it for a moment
        if (attempt > 0) Sleep(20);
        isOpen = OpenClipboard(window_);
    }
    if (!isOpen) return false;
    const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (void* const place = memory ? GlobalLock(memory) : nullptr) {
        std::copy_n(reinterpret_cast<const uint8_t*>(text.c_str()), bytes, static_cast<uint8_t*>(place));
        GlobalUnlock(memory);
    }
    const bool isPut = memory && EmptyClipboard() && SetClipboardData(CF_UNICODETEXT, memory);
    if (memory && !isPut) GlobalFree(memory);
    CloseClipboard();
    return isPut;
}

void PropertiesDialog::Copy() const {
    const auto selected = SelectedRows();
    const auto& rows = selected.empty() ? shown_ : selected;
    const bool isPut = PutOnClipboard(Wide(WithSystemLineBreaks(ClipboardText(properties_, rows))));
    ShowMessage(Localize(isPut ? "copied" : "the clipboard cannot be written"));
}

void PropertiesDialog::ListenToKeys() {
    for (HWND part = GetWindow(window_, GW_CHILD); part; part = GetWindow(part, GW_HWNDNEXT)) {
        const auto before = GetWindowLongPtrW(part, GWLP_WNDPROC);
        partProcedures_[part] = reinterpret_cast<WNDPROC>(before);
        SetWindowLongPtrW(part, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(KeyProcedure));
    }
}

LRESULT CALLBACK PropertiesDialog::KeyProcedure(HWND part, UINT message, WPARAM wParam, LPARAM lParam) {
    const LONG_PTR owner = GetWindowLongPtrW(GetParent(part), GWLP_USERDATA);
    auto* const self = static_cast<PropertiesDialog*>(reinterpret_cast<Dialog*>(owner));
    if (message == WM_KEYDOWN && self->HandleKey(part, wParam)) return 0;
    if (message == WM_CHAR) {  // what the keys above become
        constexpr WPARAM controlA = 1, controlC = 3, controlF = 6;
        const bool isTaken =
            wParam == controlA || wParam == controlF || (wParam == controlC && !self->CopiesItself(part));
        if (isTaken) return 0;
    }
    const LRESULT result = CallWindowProcW(self->partProcedures_[part], part, message, wParam, lParam);
    // Tab, Enter and Esc are the dialog's in a text of several lines too.
    const bool isDialogCode = message == WM_GETDLGCODE && part == self->Part(VANTOR_VALUE);
    return isDialogCode ? result & ~(DLGC_WANTALLKEYS | DLGC_WANTTAB) : result;
}

// A text field with marked text.
bool PropertiesDialog::CopiesItself(HWND part) const {
    if (part != Part(VANTOR_PATH) && part != Part(VANTOR_FILTER) && part != Part(VANTOR_VALUE)) return false;
    DWORD from = 0, to = 0;
    SendMessageW(part, EM_GETSEL, reinterpret_cast<WPARAM>(&from), reinterpret_cast<LPARAM>(&to));
    return from != to;
}

bool PropertiesDialog::HandleKey(HWND part, WPARAM key) {
    const bool isText =
        part == Part(VANTOR_PATH) || part == Part(VANTOR_FILTER) || part == Part(VANTOR_VALUE);
    if (GetKeyState(VK_CONTROL) >= 0 || GetKeyState(VK_MENU) < 0) {
        if (key != VK_DOWN || part != Part(VANTOR_FILTER)) return false;
        FocusList();
        return true;
    }
    if (key == 'A' && isText) SendMessageW(part, EM_SETSEL, 0, -1);
    if (key == 'A' && !isText) Select(-1, true);
    if (key == 'C' && CopiesItself(part)) return false;
    if (key == 'C') Copy();
    if (key == 'F' && properties_.status.empty()) {
        SetFocus(Part(VANTOR_FILTER));
        SendMessageW(Part(VANTOR_FILTER), EM_SETSEL, 0, -1);
    }
    return key == 'A' || key == 'C' || key == 'F';
}

// ---- Pictures

void PropertiesDialog::StepPicture(size_t steps) {
    picture_ = (picture_ + steps) % pictures_.size();
    LoadPicture();
}

void PropertiesDialog::LoadPicture() {
    if (pictures_.empty()) return;
    const Box box = InsideOf(Part(VANTOR_PICTURE));
    thumbnail_ = Decode(pictures_[picture_], box).value_or(platform::Picture{});
    const PictureSize stored{thumbnail_.storedWidth, thumbnail_.storedHeight};
    thumbnail_ = OverBackground(std::move(thumbnail_), GetSysColor(COLOR_3DFACE));
    SetText(Part(VANTOR_CAPTION), WithSystemLineBreaks(PictureCaption(properties_, picture_, stored)));
    EnableWindow(Part(VANTOR_PICTURE), !thumbnail_.pixels.empty());
    InvalidateRect(Part(VANTOR_PICTURE), nullptr, TRUE);
}

void PropertiesDialog::DrawPicture(const DRAWITEMSTRUCT& item) const {
    RECT frame = item.rcItem;
    FillRect(item.hDC, &frame, GetSysColorBrush(COLOR_3DFACE));
    const Box inside{frame.left, frame.top, frame.right - frame.left, frame.bottom - frame.top};
    if (!thumbnail_.pixels.empty())
        Draw(item.hDC, thumbnail_, FitInto(inside, thumbnail_.width, thumbnail_.height));
    else
        DrawEdge(item.hDC, &frame, BDR_SUNKENOUTER, BF_RECT);
    if (item.itemState & ODS_FOCUS) DrawFocusRect(item.hDC, &frame);
}

void PropertiesDialog::OpenPicture() const {
    if (thumbnail_.pixels.empty()) return;
    const PictureBytes& bytes = pictures_[picture_];
    const std::string caption = PictureCaption(properties_, picture_, {});
    const std::string kind = caption.substr(0, caption.find('\n'));
    const std::string title = kind + ": " + std::string(BaseName(properties_.fileName));
    const auto openByHost = Services().openImageModal;
    if (openByHost && openByHost(window_, bytes.data(), static_cast<int32_t>(bytes.size()), title.c_str()))
        return;
    PictureDialog(bytes, title).Show(VANTOR_PICTURE_DIALOG, window_);
}

}  // namespace

int32_t ShowPropertiesWindow(const FileProperties& properties, void* parentWindow) {
    auto* const parent = static_cast<HWND>(parentWindow);
    if (parent && !IsWindow(parent)) return 0;
    const auto pictures = ReadPictures(properties);
    const INITCOMMONCONTROLSEX controls{sizeof controls, ICC_LISTVIEW_CLASSES};
    const ControlLook look(static_cast<HMODULE>(Services().moduleInstance));
    InitCommonControlsEx(&controls);
    return PropertiesDialog(properties, pictures).Show(VANTOR_PROPERTIES_DIALOG, parent) ? 1 : 0;
}

}  // namespace vantor
