#include "fileio/file_name.h"

#include <gtest/gtest.h>

#include "fileio/file_reader.h"
#include "fileio/file_writer.h"
#include "tests/support/scripted_file_system.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

std::u16string Wide(const std::string& name) {
    std::u16string wide;
    EXPECT_TRUE(WideFileName(name, wide));
    return wide;
}

TEST(FileName, LongNamesGetThePrefixOfTheirForm) {
    const std::string a(251, 'a');
    const std::u16string wideA(251, u'a');
    EXPECT_EQ(Wide("C:/b" + a), u"C:/b" + wideA);  // 255 units
    EXPECT_EQ(Wide("C:/bc" + a), u"\\\\?\\C:\\bc" + wideA);
    EXPECT_EQ(Wide("\\\\s/c" + a), u"\\\\?\\UNC\\s\\c" + wideA);
    EXPECT_EQ(Wide("/:" + a + "bcd"), u"\\\\?\\\\:" + wideA + u"bcd");
    EXPECT_EQ(Wide("\\\\/c" + a + "b"), u"\\\\?\\UNC\\\\c" + wideA + u"b");
    EXPECT_EQ(Wide("//s/c" + a), u"//s/c" + wideA);
    EXPECT_EQ(Wide("/home" + a), u"/home" + wideA);
    EXPECT_EQ(Wide("C:/" + std::string(2000, 'x')), u"\\\\?\\C:\\" + std::u16string(2000, u'x'));
}

TEST(FileName, DecodesStrictly) {
    EXPECT_EQ(Wide("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), u"\u00E4\u20AC\U0001F600");
    std::u16string wide;
    for (const auto* name : {"\x80", "\xC3", "\xC0\xAF", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                             "\xF5\x80\x80\x80", "a\xE2\x82"})
        EXPECT_FALSE(WideFileName(name, wide)) << name;
}

TEST(FileName, ComparesWithoutRegardToCase) {
    EXPECT_EQ(CompareFileNames("C:/A.wav", "c:/a.WAV"), 0);
    EXPECT_LT(CompareFileNames("a", "B"), 0);
    EXPECT_GT(CompareFileNames("ab", "A"), 0);
    EXPECT_LT(CompareFileNames("z", "\xC3"), 0);
    EXPECT_EQ(CompareFileNames("Z", "z"), 0);
    EXPECT_GT(CompareFileNames("b:/takes/one", "A:/takes/one"), 0) << "within the first eight bytes";
    EXPECT_LT(CompareFileNames("a:/takes/one", "a:/takes/two"), 0);
    const std::string_view whole = "abz";
    EXPECT_LT(CompareFileNames(whole.substr(0, 2), whole), 0);
    EXPECT_GT(CompareFileNames(whole, whole.substr(0, 2)), 0);
    EXPECT_EQ(HashOfFileName("C:/Takes/A 12.wav"), HashOfFileName("c:/takes/a 12.WAV"));
    EXPECT_NE(HashOfFileName("C:/Takes/A 12.wav"), HashOfFileName("C:/Takes/A 13.wav"));
    EXPECT_NE(HashOfFileName("C:/Takes/one 1"), HashOfFileName("C:/Takes/one 2")) << "the last of all";
}

// Readers ask for the wide form when the name needs it and can be decoded, writers always.
TEST(FileName, FormsAreTriedInOrder) {
    ScriptedFileSystem files;
    const platform::ScopedFileSystem scope(files);
    const auto formsTried = [&] {
        std::string tried;
        for (const auto& open : files.Opens())
            tried += open.isWide ? "wide " : "narrow ";
        files.Reset();
        return tried;
    };
    const std::string folder = "no such folder/";
    const std::pair<std::string, const char*> cases[] = {
        {"a", "narrow "},
        {"latin\xE4", "narrow "},
        {"cut\xE2\x82", "narrow "},
        {"bad\xE4 good\xF0\x9F\x98\x80", "narrow "},
        {std::string(255 - folder.size(), 'a'), "narrow "},
        {std::string(256 - folder.size(), 'a'), "wide narrow "},
        {"\xC3\xA4", "wide narrow "},
    };
    for (const auto& [name, forms] : cases) {
        EXPECT_FALSE(FileReader(folder + name, {}).IsOpen());
        EXPECT_EQ(formsTried(), forms) << name;
    }
    EXPECT_FALSE(FileWriter((folder + "a").c_str(), {}).IsOpen());
    EXPECT_EQ(formsTried(), "wide narrow ");
    EXPECT_FALSE(FileWriter((folder + "latin\xE4").c_str(), {}).IsOpen());
    EXPECT_EQ(formsTried(), "narrow ");
    for (const auto& [name, form] :
         {std::pair{"a\x7F", "narrow"}, {"latin\xE4", "narrow"}, {"\xC3\xA4", "wide"}}) {
        EXPECT_FALSE(RemoveFile(folder + name));
        EXPECT_EQ(files.RemovedBy(), form) << name;
    }
}

TEST(FileName, EveryNameReachesItsFile) {
    const TempFolder folder;
    const std::string umlauts = "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
    const std::string deep = "\xC3\xA4" + std::string(140, 'd');
    const auto deepPath = folder.Path("x" + deep);
    std::filesystem::create_directory(std::u8string(deepPath.begin(), deepPath.end()));
    for (const auto& name :
         {std::string("plain"), std::string("latin\xE4"), umlauts, deep + "/" + std::string(140, 'f')}) {
        const std::string path = folder.Path("x") + name;
        ASSERT_EQ(FileWriter(path.c_str(), {}).Write("abc", 3), 3) << path;
        EXPECT_EQ(FileReader(path, {}).Size(), 3) << path;
        EXPECT_TRUE(RemoveFile(path)) << path;
        EXPECT_FALSE(FileReader(path, {}).IsOpen());
    }
}

}  // namespace
}  // namespace vantor::test
