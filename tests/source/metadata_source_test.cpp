#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "source/source_entry.h"
#include "tests/source/source_support.h"
#include "tests/support/scripted_file_system.h"

namespace vantor::test {
namespace {

class MetadataSource : public ::testing::Test {
  protected:
    HostPtr<PCM_source> Make(const Bytes& bytes) {
        return HostPtr<PCM_source>(CreateMetadataSource(folder.Write("m", bytes).c_str()));
    }

    TempFolder folder;
};

Bytes PacketTable(uint64_t frames) {
    return ByteWriter().CafChunk("pakt", ByteWriter().Be64(1).Be64(frames).Be32(11).Be32(22));
}
const Bytes packets = PacketTable(4000);

Bytes InfoBody(const std::string& key, const std::string& value) {
    return ByteWriter().Be32(1).Text(key).U8(0).Text(value).U8(0);
}

Bytes BeatsBody(const std::string& beats) {
    return InfoBody("beat count", beats);
}

const Bytes infoUuid = {0x29, 0x81, 0x92, 0x73, 0xB5, 0xBF, 0x4A, 0xEF,
                        0xB7, 0x8D, 0x62, 0xD1, 0xEF, 0x90, 0xBB, 0x2C};

// Four seconds of 16-bit mono at 1000 Hz, eight beats.
Bytes LoopFile(std::string_view id, const Bytes& front, uint32_t dataSize) {
    return RiffFile(ByteWriter()
                        .Add(front)
                        .Chunk("fmt ", FmtBody(1, 1, 1000, 16))
                        .Chunk("acid", AcidBody{.beats = 8})
                        .Text("data")
                        .Le32(dataSize)
                        .Zeros(8000),
                    id);
}

Bytes Caf(const Bytes& chunks, double rate = 1000, uint32_t channels = 2) {
    const Bytes description =
        ByteWriter().BeDouble(rate).Text("lpcm").Be32(0).Be32(4).Be32(1).Be32(channels).Be32(16);
    return CafFile(ByteWriter().CafChunk("desc", description).Add(chunks));
}

TEST_F(MetadataSource, CarriesMetadataAndNothingElse) {
    const auto source = Make(MonoFile(
        Ramp(8), ByteWriter().Chunk("abcd", Bytes(5)).Chunk("acid", AcidBody{.flags = 8, .tempo = 90}),
        ByteWriter().Text("cut ").Le32(100).Zeros(9)));  // runs past the end of the file
    ASSERT_TRUE(source);
    EXPECT_EQ(TagsOf(*source.Get()), (Tags{{"ACID:BPM", "90.000000"}, {"abcd", ""}, {"cut ", ""}}));
    EXPECT_EQ(ValueOf(*source.Get(), "BPM"), "") << "keys only, no fields";
    const char *key = nullptr, *value = nullptr;
    EXPECT_EQ(source->ExtendedCall(0x10013, Number(-1), &key, &value), 0);
    EXPECT_EQ(source->ExtendedCall(0x90001, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(source->ExtendedCall(0x10014, nullptr, nullptr, nullptr), 0);
}

TEST_F(MetadataSource, AnswersWhereThereIsRoomForTheAnswer) {
    const auto source = Make(Caf(ByteWriter().Add(PacketTable(1)).CafChunk("info", InfoBody("k", "value"))));
    ASSERT_TRUE(source);
    char key[] = "CAFINFO:k", value[] = "????????";
    const auto ask = [&](char* place, intptr_t room) {
        return source->ExtendedCall(0x10007, key, place, Number(room));
    };
    EXPECT_EQ(source->ExtendedCall(0x10007, nullptr, value, Number(3)), 0);
    EXPECT_EQ(ask(nullptr, 3), 0);
    EXPECT_EQ(ask(value, 0), 0);
    EXPECT_EQ(value[0], '?');
    EXPECT_EQ(ask(value, 1), 0);
    EXPECT_STREQ(value, "");
    EXPECT_EQ(ask(value, 4), 3);
    EXPECT_STREQ(value, "val");
    const char* text = nullptr;
    EXPECT_EQ(source->ExtendedCall(0x10013, Number(0), nullptr, &text), 0);
    EXPECT_EQ(source->ExtendedCall(0x10013, Number(0), &text, nullptr), 0);
    EXPECT_EQ(source->ExtendedCall(0x90001, nullptr, nullptr, nullptr), 1) << "one frame";
}

TEST_F(MetadataSource, RefusesWhatItCannotUse) {
    const auto fmt = [](uint16_t tag, uint16_t channels, uint32_t rate, uint16_t bits) {
        return RiffFile(
            ByteWriter().Chunk("fmt ", FmtBody(tag, channels, rate, bits, 4)).Chunk("data", Bytes(8)));
    };
    Bytes otherForm = fmt(1, 1, 1000, 16);
    std::ranges::copy(std::string_view("AVI "), otherForm.begin() + 8);
    for (const auto& file :
         {fmt(1, 1, 1000, 16), fmt(1, 1, 1, 1), Caf({}, 1.5, 1), Caf({}, 999999), Caf({}, 1000, 1 << 24)})
        EXPECT_TRUE(Make(file));
    const Bytes refused[] = {
        otherForm,
        fmt(1, 1, 1000, 0),
        RiffFile(ByteWriter()
                     .Chunk("fmt ", ByteWriter().Le16(1).Le16(1).Le32(1000).Zeros(6))
                     .Chunk("data", Bytes(8))),
        RiffFile(ByteWriter().Text("fmt ").Le32(16).Le16(1).Le16(1).Le32(1000)),  // cut off
        Caf({}, 1000000),
        fmt(3, 1, 1000, 32),
        fmt(1, 0, 1000, 16),
        fmt(1, 1, 0, 16),
        fmt(1, 1, 0x80000000u, 16),
        Caf({}, 1),
        Caf({}, 1000, 0),
        IffFile("AIFF", {}),
        ByteWriter().Text("RIFF").Le32(4).Text("AVI "),
        ByteWriter().Text("RIFF"),
    };
    for (const auto& file : refused)
        EXPECT_FALSE(Make(file)) << &file - refused;
    EXPECT_EQ(CreateMetadataSource(folder.Path("missing").c_str()), nullptr);
    EXPECT_EQ(CreateMetadataSource(nullptr), nullptr);
}

TEST_F(MetadataSource, TempoFollowsFromBeatsAndLength) {
    const Bytes sizes = ByteWriter().Chunk("ds64", ByteWriter().Le64(0).Le64(8000));
    const Bytes half = ByteWriter().Chunk("ds64", ByteWriter().Le64(0).Le64(4000));
    const auto caf = [](const Bytes& front, const std::string& beats) {
        return Caf(ByteWriter().Add(front).CafChunk("info", BeatsBody(beats)));
    };
    const struct {
        Bytes file;
        const char *key, *tempo;
    } cases[] = {
        {LoopFile("RIFF", {}, 8000), "ACID:BPM", "120"},
        {LoopFile("RIFF", {}, 0), "ACID:BPM", "120"},  // the size was never filled in
        {LoopFile("RF64", sizes, 0xFFFFFFFF), "ACID:BPM", "120"},
        {LoopFile("BW64", sizes, 0xFFFFFFFF), "ACID:BPM", "120"},
        {LoopFile("RF64", ByteWriter().Add(sizes).Add(half), 0xFFFFFFFF), "ACID:BPM", "120"},  // the first
        {LoopFile("RF64", ByteWriter().Chunk("JUNK", Bytes(28)).Add(half), 0xFFFFFFFF), "ACID:BPM", "240"},
        {LoopFile("RIFF", half, 0xFFFFFFFF), "ACID:BPM", "0.000224"},  // what the size field says
        {caf(PacketTable(7000), "8"), "CAFINFO:tempo", "68.571429"},
        {caf(PacketTable(1), "8"), "CAFINFO:tempo", "480000"},
        {caf(packets, "inf"), "CAFINFO:tempo", ""},
        {caf(ByteWriter().Add(packets).CafChunk("info", InfoBody("tempo", "77")), "8"), "CAFINFO:tempo",
         "77"},
        {caf(packets, "8"), "CAFINFO:tempo", "120"},
        {caf(ByteWriter().Add(packets).CafChunk("info", InfoBody("tempo", "")), "8"), "CAFINFO:tempo", "120"},
        {caf(packets, "8.03125"), "CAFINFO:tempo", "120.46875"},
        {caf(packets, "8.01"), "CAFINFO:tempo", ""},
        {caf({}, "8"), "CAFINFO:tempo", ""},  // no length
        {Caf(ByteWriter().Add(packets).CafChunk("uuid", ByteWriter().Add(infoUuid).Add(BeatsBody("8")))),
         "CAFINFO:tempo", "120"},
    };
    for (const auto& c : cases) {
        const auto source = Make(c.file);
        ASSERT_TRUE(source) << &c - cases;
        EXPECT_EQ(ValueOf(*source.Get(), c.key), c.tempo) << &c - cases;
    }
}

#if !defined(_WIN32)
// Silence that takes no room on the disk.
TEST_F(MetadataSource, ZerosBetweenChunksAreNotRead) {
    const Bytes front = RiffFile(ByteWriter().Chunk("fmt ", FmtBody(1, 1, 1000, 16)).Chunk("data", Bytes(8)));
    const auto path = folder.Write("sparse.wav", front);
    std::filesystem::resize_file(path, front.size() + (64 << 20));
    const Bytes tail = ByteWriter().Chunk("tail", Bytes(4));
    std::ofstream(path, std::ios::binary | std::ios::app)
        .write(reinterpret_cast<const char*>(tail.data()), std::ssize(tail));
    ScriptedFileSystem files;
    const platform::ScopedFileSystem scope(files);
    const HostPtr<PCM_source> source(CreateMetadataSource(path.c_str()));
    ASSERT_TRUE(source);
    EXPECT_EQ(TagsOf(*source.Get()), (Tags{{"tail", ""}}));
    EXPECT_LT(files.Count(Operation::read), 100);
}
#endif

TEST_F(MetadataSource, CafChunks) {
    const auto source = Make(Caf(ByteWriter()
                                     .CafChunk("chan", ByteWriter().Be32(0x10000).Be32(0x3F).Be32(0))
                                     .CafChunk("free", Bytes(9))
                                     .Add(packets)
                                     .CafChunk("uuid", Bytes(20, 7))
                                     .CafChunk("uuid", ByteWriter().Add(infoUuid).Add(BeatsBody("x")))
                                     .CafChunk("abcd", {})
                                     .Text("data")
                                     .Be64(~0ull)
                                     .Zeros(40)));
    ASSERT_TRUE(source);
    EXPECT_EQ(TagsOf(*source.Get()), (Tags{{"CAFINFO:beat count", "x"},
                                           {"CAFINFO:channel configuration", "L R C LFE Lb Rb"},
                                           {"abcd", ""}}));
    int64_t valid = 0;
    int32_t priming = 0, remainder = 0;
    EXPECT_EQ(source->ExtendedCall(0x90001, &valid, &priming, &remainder), 1);
    EXPECT_EQ(valid, 4000);
    EXPECT_EQ(priming, 11);
    EXPECT_EQ(remainder, 22);
}

}  // namespace
}  // namespace vantor::test
