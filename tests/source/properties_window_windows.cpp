// The properties window as its user has it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <mutex>

#include "properties/window_layout.h"
#include "tests/metadata/id3_tag_writer.h"
#include "tests/source/shown_window_windows.h"
#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

// A bitmap file of one colour.
Bytes BitmapFile(int width, int height) {
    const auto bytes = static_cast<uint32_t>((width * 3 + 3) / 4 * 4 * height);
    return ByteWriter()
        .Text("BM")
        .Le32(54 + bytes)
        .Le32(0)
        .Le32(54)
        .Le32(40)
        .Le32(static_cast<uint32_t>(width))
        .Le32(static_cast<uint32_t>(height))
        .Le16(1)
        .Le16(24)
        .Zeros(24)
        .Fill(bytes, 0x80);
}

Bytes PictureFrame(uint8_t type, std::string_view description, const Bytes& picture) {
    return ByteWriter().U8(0).Text("image/bmp").U8(0).U8(type).Text(description).U8(0).Add(picture);
}

Bytes FileWithPictures() {
    Id3TagWriter tag(3);
    tag.Text("TIT2", "Night, take 3");
    tag.Frame("APIC", PictureFrame(3, "Sleeve", BitmapFile(40, 20)));
    tag.Frame("APIC", PictureFrame(4, "Broken", Bytes{'B', 'M', 1}));
    const auto info =
        ByteWriter().Text("INFO").Chunk("INAM", ByteWriter().Text("Überfahrt\nzweiter Teil").U8(0));
    return MonoFile(Ramp(500), {}, ByteWriter().Chunk("LIST", info).Chunk("id3 ", tag.Tag()));
}

Box PlaceOf(const ShownWindow& window, int part) {
    RECT place{};
    GetWindowRect(window.Part(part), &place);
    MapWindowPoints(nullptr, window.Window(), reinterpret_cast<POINT*>(&place), 2);
    return {place.left, place.top, place.right - place.left, place.bottom - place.top};
}

// Calls that the host's picture window gets.
struct PictureCalls {
    std::atomic<int> count = 0;
    std::mutex lock;
    Bytes image;
    std::string title;
    void* parent = nullptr;
};
PictureCalls pictureCalls;

int32_t TakePicture(void* parent, const void* image, int32_t imageBytes, const char* title) {
    const std::lock_guard guard(pictureCalls.lock);
    const auto* const bytes = static_cast<const uint8_t*>(image);
    pictureCalls.image.assign(bytes, bytes + imageBytes);
    pictureCalls.title = title;
    pictureCalls.parent = parent;
    ++pictureCalls.count;
    return 1;
}

class PropertiesWindow : public ::testing::Test {
  protected:
    void SetUp() override {
        if (HasScreen()) return;
        if (std::getenv("VANTOR_SCREEN")) FAIL() << "no window can be opened";
        GTEST_SKIP() << "there is no screen";
    }

    SourcePtr Open(const std::string& name, const Bytes& bytes) {
        return OpenSource(folder.Write(name, bytes));
    }

    FakeHost host;
    TempFolder folder;
};

TEST_F(PropertiesWindow, FiltersSortsAndTellsWholeValues) {
    const auto source = Open("Überfahrt.wav", FileWithPictures());
    ShownWindow window(*source);
    EXPECT_EQ(window.Title(), "Properties: Überfahrt.wav");
    EXPECT_EQ(window.Text(VANTOR_PATH), source->FileName());
    ASSERT_EQ(window.Rows(), 9);
    EXPECT_EQ(window.Cell(0, 0) + "|" + window.Cell(0, 1) + "|" + window.Cell(0, 2),
              "Format|Format|RIFF WAVE, PCM");
    window.Type(VANTOR_FILTER, "ÜBER");
    ASSERT_EQ(window.Rows(), 1);
    EXPECT_EQ(window.Cell(0, 2), "Überfahrt zweiter Teil");
    EXPECT_EQ(window.Text(VANTOR_MESSAGE), "1 / 9 rows");
    window.Select(0);
    const auto tells = [&](std::string_view value) {
        return Eventually([&] { return window.Text(VANTOR_VALUE) == value; });
    };
    EXPECT_TRUE(tells("Überfahrt\r\nzweiter Teil"));
    window.Type(VANTOR_FILTER, "");
    EXPECT_EQ(window.Rows(), 9);
    EXPECT_TRUE(tells("Überfahrt\r\nzweiter Teil")) << "it stays selected";
    window.ClickColumn(1);
    EXPECT_EQ(window.Cell(0, 1), "Bits per sample");
    window.ClickColumn(1);
    EXPECT_EQ(window.Cell(8, 1), "Bits per sample");
    window.ClickColumn(1);
    EXPECT_EQ(window.Cell(0, 1), "Format");
    EXPECT_EQ(window.Close(), 1);
}

TEST_F(PropertiesWindow, KeysCopyFindAndMoveOn) {
    const auto source = Open(
        "keys.wav",
        MonoFile(Ramp(500), ByteWriter().Chunk("LIST", ByteWriter().Text("INFO").Chunk(
                                                           "INAM", ByteWriter().Text("日本 – \n2").U8(0)))));
    ShownWindow window(*source);
    ClearClipboard();
    window.Click(VANTOR_COPY);
    const std::string everything =
        "Format: RIFF WAVE, PCM\r\nChannels: 1\r\nSample rate: 1000 Hz\r\nBits per sample: 16\r\n"
        "Length: 0:00.500\r\n\r\nINFO:INAM: 日本 – \r\n2\r\n";
    EXPECT_EQ(ClipboardText(), everything);
    window.Select(1);
    ClearClipboard();
    window.ControlKey('C');
    EXPECT_EQ(ClipboardText(), "Channels: 1\r\n");
    window.ControlKey('A');
    ClearClipboard();
    window.ControlKey('C');
    EXPECT_EQ(ClipboardText(), everything);
    window.ControlKey('F');
    ASSERT_EQ(window.Focus(), window.Part(VANTOR_FILTER));
    window.Type(VANTOR_FILTER, "rate");
    ClearClipboard();
    window.ControlKey('A');
    window.ControlKey('C');
    EXPECT_EQ(ClipboardText(), "rate") << "marked text is what a text field copies";
    for (const int next : {VANTOR_LIST, VANTOR_VALUE, VANTOR_COPY, IDCANCEL, VANTOR_PATH, VANTOR_FILTER}) {
        window.Key(VK_TAB);
        EXPECT_TRUE(Eventually([&] { return window.Focus() == window.Part(next); })) << next;
    }
    window.Key(VK_RETURN);
    EXPECT_TRUE(Eventually([&] { return window.Focus() == window.Part(VANTOR_LIST); }));
    EXPECT_TRUE(Eventually([&] { return window.Text(VANTOR_VALUE) == "1000 Hz"; }));
}

TEST_F(PropertiesWindow, PartsHaveRoomAtEverySizeAndResolution) {
    const auto source = Open("sizes.wav", FileWithPictures());
    ShownWindow window(*source);
    for (const int dpi : {96, 120, 144, 192, 96}) {
        RECT place{0, 0, 9 * dpi, 6 * dpi};
        SendMessageW(window.Window(), WM_DPICHANGED, MAKEWPARAM(dpi, dpi), reinterpret_cast<LPARAM>(&place));
        LOGFONTW font{};
        GetObjectW(reinterpret_cast<HFONT>(SendMessageW(window.Part(VANTOR_LIST), WM_GETFONT, 0, 0)),
                   sizeof font, &font);
        EXPECT_NEAR(std::abs(font.lfHeight) * 96.0 / dpi, 12, 3) << dpi;
        for (const int edge : {0, 400, 1100}) {  // 0: as small as it gets
            SetWindowPos(window.Window(), nullptr, 0, 0, edge, edge,
                         SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
            RECT inside{};
            GetClientRect(window.Window(), &inside);
            for (int part = VANTOR_PATH; part <= VANTOR_COPY; ++part) {
                const Box box = PlaceOf(window, part);
                EXPECT_TRUE(box.left >= 0 && box.top >= 0 && box.left + box.width <= inside.right &&
                            box.top + box.height <= inside.bottom)
                    << part << " at " << dpi << " dpi, " << edge;
                EXPECT_GE(box.width, std::abs(font.lfHeight));
                EXPECT_GE(box.height, std::abs(font.lfHeight));
            }
        }
    }
}

TEST_F(PropertiesWindow, PicturesAreSteppedThroughAndOpened) {
    const auto source = Open("pictures.wav", FileWithPictures());
    ShownWindow window(*source);
    const auto caption = [&](std::string_view start) {
        return Eventually([&] { return window.Text(VANTOR_CAPTION).starts_with(start); });
    };
    ASSERT_TRUE(caption("Front cover (1 / 2)\r\n40 x 20\r\nimage/bmp, 2 KiB\r\nSleeve"))
        << window.Text(VANTOR_CAPTION);
    window.Click(VANTOR_PICTURE);
    ASSERT_TRUE(Eventually([&] { return window.WindowAbove() != nullptr; })) << "a window of its own";
    EXPECT_FALSE(IsWindowEnabled(window.Window()));
    PostMessageW(window.WindowAbove(), WM_KEYDOWN, VK_ESCAPE, 1);
    EXPECT_TRUE(Eventually([&] { return !window.WindowAbove() && IsWindowEnabled(window.Window()); }));

    Services().openImageModal = TakePicture;
    pictureCalls.count = 0;
    window.Click(VANTOR_PICTURE);
    ASSERT_TRUE(Eventually([] { return pictureCalls.count == 1; })) << "through the host";
    EXPECT_EQ(pictureCalls.image, BitmapFile(40, 20));
    EXPECT_EQ(pictureCalls.title, "Front cover (1 / 2): pictures.wav");
    EXPECT_EQ(pictureCalls.parent, window.Window());
    window.Click(VANTOR_NEXT);
    EXPECT_TRUE(caption("Back cover (2 / 2)\r\nThis picture cannot be shown."));
    EXPECT_FALSE(IsWindowEnabled(window.Part(VANTOR_PICTURE)));
    window.Click(VANTOR_NEXT);
    EXPECT_TRUE(caption("Front cover (1 / 2)"));
    window.Click(VANTOR_PREVIOUS);
    EXPECT_TRUE(caption("Back cover (2 / 2)"));
}

TEST_F(PropertiesWindow, TwoWindowsForTwoParentsAreModalToEachItsOwn) {
    const auto first = Open("first.wav", MonoFile(Ramp(10))), second = Open("second.wav", FileWithPictures());
    ShownWindow firstWindow(*first, true), secondWindow(*second, true);
    EXPECT_EQ(firstWindow.Title(), "Properties: first.wav");
    EXPECT_EQ(secondWindow.Title(), "Properties: second.wav");
    EXPECT_FALSE(IsWindowEnabled(firstWindow.Parent()));
    EXPECT_FALSE(IsWindowEnabled(secondWindow.Parent()));
    EXPECT_EQ(GetWindow(firstWindow.Window(), GW_OWNER), firstWindow.Parent());
    secondWindow.Type(VANTOR_FILTER, "id3");
    EXPECT_EQ(secondWindow.Rows(), 3);
    EXPECT_EQ(firstWindow.Rows(), 5);
    EXPECT_EQ(firstWindow.Close(), 1);
    EXPECT_EQ(secondWindow.Rows(), 3);
    EXPECT_FALSE(IsWindowEnabled(secondWindow.Parent()));
    EXPECT_EQ(first->ShowProperties(GetDesktopWindow() + 12345), 0) << "no window";
}

TEST_F(PropertiesWindow, TheFileMayChangeAndGoWhileItIsOpen) {
    auto source = Open("going.wav", FileWithPictures());
    const std::string name = source->FileName();
    ShownWindow window(*source);
    const int rows = window.Rows();
    auto editor = OpenSource(name);
    EXPECT_NE(
        RequestWrite(*editor, name,
                     {"INFO:INAM=a name that is longer than the file has room for", "INFO:IART=somebody"},
                     mergeTags),
        0);
    source->SetOnline(false);
    editor.reset();
    EXPECT_TRUE(
        std::filesystem::remove(std::filesystem::path(reinterpret_cast<const char8_t*>(name.c_str()))))
        << "the window holds no handle";
    EXPECT_EQ(window.Rows(), rows);
    window.Click(VANTOR_NEXT);
    window.Click(VANTOR_NEXT);
    EXPECT_TRUE(Eventually(
        [&] { return window.Text(VANTOR_CAPTION).starts_with("Front cover (1 / 2)\r\n40 x 20"); }));
    source.reset();
    window.Type(VANTOR_FILTER, "über");
    EXPECT_EQ(window.Cell(0, 2), "Überfahrt zweiter Teil");
    EXPECT_EQ(window.Close(), 1);
}

TEST_F(PropertiesWindow, AFileThatCannotBeOpenedShowsWhyInTheUsersLanguage) {
    host.localizePrefix = "~";
    auto source = OpenSource(folder.Path("absent.wav"));
    ShownWindow window(*source);
    EXPECT_EQ(window.Text(VANTOR_VALUE), "~wave:File not opened");
    EXPECT_EQ(window.Text(IDCANCEL), "~wave:Close");
    for (const int part : {VANTOR_LIST, VANTOR_FILTER, VANTOR_PICTURE})
        EXPECT_FALSE(window.IsShown(part));
    EXPECT_EQ(window.Focus(), window.Part(VANTOR_VALUE));
}

TEST_F(PropertiesWindow, TensOfThousandsOfKeysScrollAndSort) {
    ByteWriter users;
    users.Text("<BWFXML><USER>");
    for (int i = 0; i < 50'000; ++i)
        users.Text("<K" + std::to_string(i) + ">" + std::to_string(i * 7919 % 50'000) + "</K" +
                   std::to_string(i) + ">");
    const auto source =
        Open("many.wav", MonoFile(Ramp(10), ByteWriter().Chunk("iXML", users.Text("</USER></BWFXML>"))));
    ShownWindow window(*source);
    ASSERT_EQ(window.Rows(), 50'005);
    EXPECT_EQ(window.Cell(50'004, 1), "IXML:USER:K9999");
    window.ClickColumn(2);
    EXPECT_EQ(window.Cell(0, 2), "0");
    EXPECT_EQ(window.Cell(40'000, 2), "39996");
    window.ControlKey('A');
    window.Type(VANTOR_FILTER, "k4999");
    EXPECT_EQ(window.Rows(), 11);
}

// Objects of the system that this process holds: drawing objects (in the table that every process sees),
// handles and windows.
struct Held {
    int drawing = 0;
    int handles = 0;
    int windows = 0;
};

Held CountHeld() {
    Held held;
    const auto* const process = reinterpret_cast<const char*>(__readgsqword(0x60));  // the process's block
    const char* table = nullptr;
    std::memcpy(&table, process + 0xF8, sizeof table);
    for (int entry = 0; table && entry < 0x10000; ++entry)
        held.drawing += table[24 * entry + 14] != 0;
    DWORD flags = 0;
    for (intptr_t handle = 4; handle < 0x8000; handle += 4)
        held.handles += GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags) != 0;
    EnumWindows(
        [](HWND window, LPARAM count) -> BOOL {
            DWORD process = 0;
            GetWindowThreadProcessId(window, &process);
            *reinterpret_cast<int*>(count) += process == GetCurrentProcessId();
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&held.windows));
    return held;
}

// VANTOR_OPENINGS: how often; 1000 in a long run.
TEST_F(PropertiesWindow, NothingIsLeftBehindByOpening) {
    const auto source = Open("leak.wav", FileWithPictures());
    const auto openOnce = [&] {
        ShownWindow window(*source, true);
        window.Type(VANTOR_FILTER, "a");
        EXPECT_TRUE(Eventually([&] { return !window.Text(VANTOR_CAPTION).empty(); }));
    };
    const char* const wanted = std::getenv("VANTOR_OPENINGS");
    const int openings = wanted ? std::atoi(wanted) : 60;
    for (int i = 0; i < 5; ++i)
        openOnce();  // what is made once
    const Held before = CountHeld();
    for (int i = 0; i < openings; ++i)
        openOnce();
    const Held after = CountHeld();
    EXPECT_GT(before.drawing, 0);
    EXPECT_GT(before.handles, 0);
    EXPECT_LT(after.drawing, before.drawing + openings / 4);
    EXPECT_LT(after.handles, before.handles + openings / 4);
    EXPECT_EQ(after.windows, before.windows);
    std::printf("%d openings: drawing objects %d to %d, handles %d to %d, windows %d to %d\n", openings,
                before.drawing, after.drawing, before.handles, after.handles, before.windows, after.windows);
}

}  // namespace
}  // namespace vantor::test
