// Every read and open fails in turn while a file is opened and played: the source says that it is offline and
// why, or delivers fewer frames. What it delivers is always what the file holds at that place.

#include <gtest/gtest.h>

#include <cstring>

#include "tests/source/edit_support.h"
#include "tests/support/scripted_file_system.h"

namespace vantor::test {
namespace {

constexpr int frames = 30000;
constexpr int32_t blockFrames = 700;

struct Medium {
    const char* name;
    Bytes file;
};

// Mono blocks of 256 bytes: a predictor, then 505 frames in all.
Bytes ImaFile() {
    ByteWriter audio, fmt;
    for (int block = 0; block < 60; ++block) {
        audio.Le16(static_cast<uint16_t>(block * 100)).U8(20).U8(0);
        for (int i = 0; i < 252; ++i)
            audio.U8(static_cast<uint8_t>(i * 31 + block));
    }
    fmt.Add(FmtBody(0x11, 1, 1000, 4, 256)).Le16(2).Le16(505);
    return RiffFile(
        ByteWriter().Chunk("fmt ", fmt).Chunk("fact", ByteWriter().Le32(60 * 505)).Chunk("data", audio));
}

Bytes BigEndianRamp() {
    ByteWriter bytes;
    for (int i = 0; i < frames; ++i)
        bytes.Be16(static_cast<uint16_t>(i));
    return bytes;
}

Bytes AiffFile() {
    const Bytes common =
        ByteWriter().Be16(1).Be32(frames).Be16(16).Be16(0x4008).Be16(0xFA00).Zeros(6);  // 1000 Hz
    return IffFile("AIFF", ByteWriter()
                               .IffChunk("NAME", Bytes(9000, 'n'))
                               .IffChunk("COMM", common)
                               .IffChunk("SSND", ByteWriter().Zeros(8).Add(BigEndianRamp())));
}

Bytes LongCaf() {
    const Bytes format = ByteWriter().BeDouble(1000).Text("lpcm").Be32(0).Be32(2).Be32(1).Be32(1).Be32(16);
    return CafFile(ByteWriter()
                       .CafChunk("desc", format)
                       .CafChunk("free", Bytes(9000))
                       .CafChunk("data", ByteWriter().Be32(0).Add(BigEndianRamp())));
}

Bytes LongWave64() {
    return Wave64File(ByteWriter()
                          .Wave64Chunk("fmt ", FmtBody(1, 1, 1000, 16))
                          .Wave64Chunk("abcd", Bytes(9000))
                          .Wave64Chunk("data", Ramp(frames)));
}

const Bytes tags = ByteWriter()
                       .Chunk("bext", ByteWriter().Field("text", 602))
                       .Chunk("JUNK", Bytes(9000))
                       .Chunk("iXML", ByteWriter().Text("<BWFXML><NOTE>some note</NOTE></BWFXML>"));
const Medium media[] = {
    {"WAV", MonoFile(Ramp(frames), tags, tags)},
    {"IMA ADPCM", ImaFile()},
    {"AIFF", AiffFile()},
    {"CAF", LongCaf()},
    {"Wave64", LongWave64()},
};

std::vector<double> ReadBlock(PCM_source& source, int64_t frame) {
    std::vector<double> samples(blockFrames);
    TransferBlock block{};
    block.startSeconds = static_cast<double>(frame) / 1000;
    block.sampleRate = 1000;
    block.channels = 1;
    block.frames = blockFrames;
    block.samples = samples.data();
    source.ReadSamples(&block);
    EXPECT_TRUE(block.framesProduced >= 0 && block.framesProduced <= blockFrames);
    samples.resize(static_cast<size_t>(std::max(block.framesProduced, 0)));
    return samples;
}

using Blocks = std::vector<std::vector<double>>;

Blocks PlayAll(PCM_source& source) {
    Blocks blocks;
    for (int64_t frame = 0; frame < frames + 2 * blockFrames; frame += blockFrames)
        blocks.push_back(ReadBlock(source, frame));
    return blocks;
}

void ExpectPrefixes(const Blocks& played, const Blocks& right, const std::string& what) {
    for (size_t i = 0; i < right.size(); ++i) {
        ASSERT_LE(played[i].size(), right[i].size()) << what << ", block " << i;
        ASSERT_EQ(std::memcmp(played[i].data(), right[i].data(), played[i].size() * sizeof(double)), 0)
            << what << ", block " << i;
    }
}

int32_t readMode = 0;

// Small buffers: the more reads there are, the more can fail.
void PreferSmallBlocks(int32_t* mode, int32_t* count, int32_t* bytes) {
    *mode = readMode;
    *count = 2;
    *bytes = 8192;
}

struct FaultOrder {
    const char* name;
    Operation operation;
    Fault fault;
    bool andLater;
};
const FaultOrder faultOrders[] = {
    {"read fails", Operation::read, Fault::failure, false},
    {"read stops half way", Operation::read, Fault::partial, false},
    {"reads fail from here", Operation::read, Fault::failure, true},
    {"open fails", Operation::open, Fault::failure, false},
    {"seek fails", Operation::seek, Fault::failure, false},
};

// Opens and plays with the fault at the index-th operation. False when there were not as many.
bool PlayWithFault(const Medium& medium, const Blocks& right, const FaultOrder& order, int64_t index,
                   const std::string& what) {
    TempFolder folder;  // a file that was never parsed before
    const auto path = folder.Write("played", medium.file);
    ScriptedFileSystem files;
    const platform::ScopedFileSystem scope(files);
    files.FailAt(order.operation, index, order.fault, order.andLater);
    const auto source = OpenSource(path);
    const bool wasMetAtOpen = files.Count(order.operation) > index;
    if (source->IsOnline()) {
        ExpectPrefixes(PlayAll(*source), right, what);
        if (!wasMetAtOpen && files.Count(order.operation) > index && !order.andLater) {
            EXPECT_TRUE(PlayAll(*source) == right) << what << ", played again";
        }
    } else {
        EXPECT_GT(InfoText(*source).size(), 5u) << what;
        EXPECT_TRUE(ReadBlock(*source, 0).empty()) << what;
    }
    const bool wasMet = files.Count(order.operation) > index;
    // What failed once is not held against the file.
    if (wasMet && !order.andLater) {
        source->SetOnline(false);
        source->SetOnline(true);
        EXPECT_TRUE(source->IsOnline() && PlayAll(*source) == right) << what << ", reopened";
    }
    return wasMet;
}

TEST(PlayFaults, DeliverFewerFramesButNeverWrongOnes) {
    FakeHost host;
    TempFolder folder;
    for (readMode = -1; readMode <= 2; ++readMode)
        for (const auto& medium : media) {
            Services().preferredReadMode = PreferSmallBlocks;
            const auto path = folder.Write("played", medium.file);
            const Blocks right = PlayAll(*OpenSource(path));
            ASSERT_EQ(right[10].size(), static_cast<size_t>(blockFrames)) << medium.name;
            for (const auto& order : faultOrders)
                for (int64_t index = 0;; ++index) {
                    const std::string what = std::string(medium.name) + ", mode " + std::to_string(readMode) +
                                             ", " + order.name + " at " + std::to_string(index);
                    const bool wasMet = PlayWithFault(medium, right, order, index, what);
                    if (::testing::Test::HasFailure()) return;
                    if (!wasMet) break;
                }
        }
}

}  // namespace
}  // namespace vantor::test
