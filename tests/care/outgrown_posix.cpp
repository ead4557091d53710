// A WAV file of more than 4 GiB, with holes for sound: on Linux alone, where holes cost nothing.
#include <filesystem>
#include <fstream>

#include "tests/care/care_support.h"
#include "tests/formats/container_files.h"
#include "tests/support/scripted_file_system.h"
#include "tests/support/temp_file.h"
#include "wavehost/os/failure.h"

namespace vantor::test {
namespace {

using namespace wavehost;

constexpr uint64_t soundBytes = (uint64_t{1} << 32) + 400000;  // its 32-bit size says 400,000

// With room for 64-bit sizes, and a tag behind the sound.
void WriteOutgrown(const std::string& path) {
    const Bytes head = ByteWriter()
                           .Text("RIFF")
                           .Le32(400100)
                           .Text("WAVE")
                           .Chunk("JUNK", Bytes(28))
                           .Chunk("fmt ", pcmFmt)
                           .Text("data")
                           .Le32(400000);
    const Bytes tag = ByteWriter().Chunk("LIST", ByteWriter().Text("INFO").Chunk("INAM", Bytes(6, 'x')));
    WriteWholeFile(path, head);
    std::filesystem::resize_file(path, head.size() + soundBytes);
    std::ofstream file(path, std::ios::binary | std::ios::app);
    file.write(reinterpret_cast<const char*>(tag.data()), static_cast<std::streamsize>(tag.size()));
}

// Stopped at each write, and finished by the next repair.
TEST(Repair, AWavThatOutgrew4GiBBecomesRf64) {
    const TempFolder folder;
    const std::string path = folder.Path("take.wav");
    bool stopped = true;
    for (int64_t index = 0; stopped; ++index) {
        WriteOutgrown(path);
        stopped = false;
        {
            ScriptedFileSystem files;
            const platform::ScopedFileSystem scope(files);
            files.FailAt(Operation::write, index, Fault::failure, true);
            try {
                (void)RepairFile(path, {});
            } catch (const Failure&) {
                stopped = true;
            }
        }
        (void)RepairFile(path, {});
        EXPECT_EQ(Names(ExamineFile(path)), "") << index;
        FileReader reader(path, {});
        AudioFormat format;
        ASSERT_EQ(ParseAudioFormat(format, reader), 0);
        EXPECT_EQ(format.fileKind, kindRf64);
        EXPECT_EQ(format.lengthFrames, static_cast<int64_t>(soundBytes / 4));
        EXPECT_EQ(format.metadata.Value("INFO:INAM"), "xxxxxx");
    }
}

}  // namespace
}  // namespace vantor::test
