#include <gtest/gtest.h>

#include <algorithm>

#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

class ExtendedCalls : public ::testing::Test {
  protected:
    SourcePtr Open(const Bytes& chunks) {
        return OpenSource(folder.Write("x" + std::to_string(made++) + ".wav", MonoFile(Ramp(1000), chunks)));
    }
    // Without the tags that the chunk itself gives.
    SourcePtr OpenLoop(const AcidBody& acid) {
        auto source = Open(ByteWriter().Chunk("acid", acid));
        source->Attachment().format->metadata.Clear();
        return source;
    }
    static intptr_t Call(PCM_source& source, int32_t code, void* a = nullptr, void* b = nullptr,
                         void* c = nullptr) {
        return source.ExtendedCall(code, a, b, c);
    }

    FakeHost host;
    TempFolder folder;
    int made = 0;
};

Bytes Bext(const std::string& description, uint64_t timeReference = 0) {
    return ByteWriter().Chunk("bext",
                              ByteWriter().Field(description, 256 + 82).Le64(timeReference).Zeros(256));
}

const Bytes cues =
    ByteWriter().Chunk("cue ", ByteWriter().Le32(2).Le32(7).Zeros(16).Le32(250).Le32(9).Zeros(16).Le32(500));

TEST_F(ExtendedCalls, UnknownCodesAndClosedSourcesAreNotAnswered) {
    char text[32] = "";
    EXPECT_EQ(Call(*Open({}), 0x12345, text, text, text), 0);
    PCM_source_wavefile closed;
    EXPECT_EQ(Call(closed, 0x10014, nullptr, Number(8)), 0);
    for (const intptr_t room : {-1, 1}) {
        std::ranges::fill(text, '?');
        EXPECT_EQ(Call(closed, 0x10014, text, Number(room)), 0);
        EXPECT_EQ(text[0], room > 0 ? '\0' : '?');
    }
    for (const int32_t code :
         {0x10006, 0x10007, 0x10013, 0x10014, 0x20008, 0x40000, 0x9000d, 0x90005, 0x90016, 0x90006})
        EXPECT_EQ(Call(closed, code), 0);
}

TEST_F(ExtendedCalls, ProjectNoteStandsInTheDescription) {
    const char* note = nullptr;
    const auto noted = Open(Bext("TQP:at 12"));
    EXPECT_EQ(Call(*noted, 0x10006, &note), 1);
    EXPECT_STREQ(note, "at 12");
    EXPECT_EQ(Call(*noted, 0x10006), 0);
    for (const auto* description : {"TQP:", "Tqp:1", ""})
        EXPECT_EQ(Call(*Open(Bext(description)), 0x10006, &note), 0);
}

TEST_F(ExtendedCalls, ValuesByKeyAndByIndex) {
    const auto source = Open(ByteWriter().Add(Bext("Rain", 1500)).Chunk("abcd", Bytes(4)));
    EXPECT_EQ(ValueOf(*source, "DESC"), "Rain");
    EXPECT_EQ(ValueOf(*source, "BWF:Description"), "Rain");
    EXPECT_EQ(ValueOf(*source, ""), "");
    EXPECT_EQ(source->PlacementPosition(), 1.5);
    char key[] = "DESC";
    char value[3];
    EXPECT_EQ(Call(*source, 0x10007, key, value, Number(3)), 2);
    EXPECT_STREQ(value, "Ra");
    EXPECT_EQ(Call(*source, 0x10007, key, nullptr, Number(3)), 0);
    EXPECT_EQ(Call(*source, 0x10007, nullptr, value, Number(3)), 0);
    EXPECT_EQ(Call(*source, 0x10007, key, value, Number(0)), 0);
    EXPECT_STREQ(value, "Ra");
    EXPECT_EQ(Call(*source, 0x10007, key, value, Number(1)), 0);
    EXPECT_STREQ(value, "");

    std::string before;
    const char *name = nullptr, *text = nullptr;
    for (intptr_t i = 0; Call(*source, 0x10013, Number(i), &name, &text); ++i) {
        EXPECT_LT(before, name);
        before = name;
    }
    EXPECT_EQ(before, "abcd");
    EXPECT_EQ(Call(*source, 0x10013, Number(-1), &name, &text), 0);
    EXPECT_EQ(Call(*source, 0x10013, Number(0), &name), 0);
    EXPECT_EQ(Call(*source, 0x10013, Number(0), nullptr, &text), 0);
}

TEST_F(ExtendedCalls, TempoOfALoop) {
    struct Case {
        AcidBody acid;
        intptr_t result;
        double tempo;
        std::string text;
    };
    const std::vector<Case> cases = {
        {{.flags = 8, .tempo = 98.5}, 1, 98.5, "98.5"},
        {{.flags = 8, .tempo = 100.015625}, 1, 100.015625, "100.0156"},
        {{.flags = 8, .tempo = 2}, 1, 2, "2"},
        {{.flags = 8, .tempo = 1.5}, 1, 0, ""},
        {{.flags = 8, .tempo = 960}, 1, 960, "960"},
        {{.flags = 8, .beats = 3, .tempo = 961}, 1, 0, ""},
        {{.beats = 2}, 1, 120, "120"},  // in one second
        {{}, 1, 0, ""},
        {{.flags = 1, .beats = 2}, 0, -1, ""},  // a one-shot is no loop
    };
    for (const auto& c : cases) {
        const auto source = OpenLoop(c.acid);
        double tempo = -1, usable = -1, second = 0;
        EXPECT_EQ(Call(*source, 0x40000, &tempo, &second), c.result);
        EXPECT_EQ(tempo, c.tempo);
        EXPECT_EQ(Call(*source, 0x9000d, &usable), c.tempo > 0 ? 1 : 0);
        EXPECT_EQ(usable, c.tempo > 0 ? c.tempo : -1);
        EXPECT_EQ(ValueOf(*source, "BPM"), c.text);
        source->SetSliceIndex(0);
        EXPECT_EQ(Call(*source, 0x40000, &tempo), 0);
    }
    double second = 0;
    EXPECT_EQ(Call(*OpenLoop({.flags = 16, .beats = 2500000}), 0x40000, nullptr, &second), 1);
    EXPECT_EQ(second, 2.5);
    const auto tagged = OpenLoop({.flags = 8 | 2, .rootNote = 57, .tempo = 90});
    tagged->Attachment().format->metadata.Set("ID3:TBPM", "77");
    tagged->Attachment().format->metadata.Set("ID3:TKEY", "Bbm");
    EXPECT_EQ(ValueOf(*tagged, "BPM") + ValueOf(*tagged, "KEY"), "77Bbm") << "tags come first";
}

// The mode of the resampler.
TEST_F(ExtendedCalls, TheHostsValueGoesWithTheSourceAndItsClones) {
    const auto source = Open({});
    EXPECT_EQ(Call(*source, 0x9000a, Number(5)), 1);
    const HostPtr<PCM_source> clone(source->Clone());
    double sample = 0;
    TransferBlock block{};
    block.sampleRate = 2000;
    block.channels = block.frames = 1;
    block.samples = &sample;
    for (PCM_source* reads : {static_cast<PCM_source*>(source.get()), clone.Get()}) {
        host.resampleMode = 0;
        reads->ReadSamples(&block);
        EXPECT_EQ(host.resampleMode, 5);
    }
}

TEST_F(ExtendedCalls, KeyOfALoopIsTranslated) {
    const auto key = [&](uint16_t rootNote, uint32_t flags = 2) {
        return ValueOf(*OpenLoop({.flags = flags, .rootNote = rootNote}), "KEY");
    };
    EXPECT_EQ(key(57), "A");  // three below 60
    EXPECT_EQ(key(0), "C");
    EXPECT_EQ(key(70), "Bb");
    EXPECT_EQ(key(60, 0), "");
    EXPECT_EQ(key(60, 3), "") << "a one-shot";
    const auto bare = OpenLoop({});
    bare->Attachment().format->musicalKey = 0;
    EXPECT_EQ(ValueOf(*bare, "KEY"), "C");
    host.localizePrefix = "de/";
    EXPECT_EQ(key(60), "de/wave_notes:C");
}

TEST_F(ExtendedCalls, MarkersByIndexAndAllocated) {
    const Bytes label = ByteWriter().Text("adtl").Chunk("labl", ByteWriter().Le32(9).Text("hit").U8(0));
    const auto source = Open(ByteWriter().Add(cues).Chunk("LIST", label));
    MarkerRecord record{};
    EXPECT_EQ(Call(*source, 0x90016, Number(1), &record), 1);
    EXPECT_EQ(record.id, 9);
    EXPECT_EQ(record.startSeconds, 0.5);
    EXPECT_STREQ(record.name, "hit");
    MarkerRecord* allocated = nullptr;
    EXPECT_EQ(Call(*source, 0x90005, Number(0), &allocated), 1);
    ASSERT_NE(allocated, nullptr);
    EXPECT_EQ(allocated->startSeconds, 0.25);
    for (const int32_t code : {0x90016, 0x90005})
        EXPECT_EQ(Call(*source, code, Number(0)), 1) << "is there such a marker?";
    for (const intptr_t beyond : {-1, 2}) {
        EXPECT_EQ(Call(*source, 0x90016, Number(beyond), &record), 0);
        EXPECT_EQ(record.name, nullptr) << "the record is zeroed all the same";
        EXPECT_EQ(Call(*source, 0x90005, Number(beyond), &allocated), 0);
        EXPECT_EQ(allocated, nullptr);
    }
    source->SetSliceIndex(0);
    for (const int32_t code : {0x90016, 0x90005})
        EXPECT_EQ(Call(*source, code, Number(0)), 0);
}

TEST_F(ExtendedCalls, BeatSlicesGivePositionsAndSources) {
    const auto chunks = [](float tempo) {
        return ByteWriter()
            .Chunk("acid", AcidBody{.flags = 8, .tempo = tempo})
            .Chunk("strc", SlicesBody({0, 250, 750, 1000}));
    };
    const auto source = Open(chunks(120));
    double tempo = 0;
    EXPECT_EQ(Call(*source, 0x90006, nullptr, nullptr, &tempo), 4);
    EXPECT_EQ(tempo, 120);
    const auto ask = [&](int32_t index, SliceRequest& request) {
        return Call(*source, 0x90006, &index, &request);
    };
    SliceRequest request{};
    int32_t first = 0;
    EXPECT_EQ(Call(*source, 0x90006, &first), 4);
    EXPECT_EQ(Call(*source, 0x90006, nullptr, &request), 4);
    EXPECT_EQ(ask(first, request), 1);
    EXPECT_STREQ(HostPtr<PCM_source>(request.source)->TypeName(), "WAVE_SLICE");
    EXPECT_EQ(ask(1, request), 1);
    EXPECT_DOUBLE_EQ(request.positionBeats, 0.5);
    const HostPtr<PCM_source> slice(request.source);
    EXPECT_STREQ(slice->TypeName(), "WAVE_SLICE");
    EXPECT_EQ(slice->LengthSeconds(), 0.5);
    EXPECT_EQ(ReadInts(*slice.Get(), 3, 4), Numbers(253, 4));
    request = {nullptr, 0, slicePositionOnly, 0};
    EXPECT_EQ(ask(2, request), 1);
    EXPECT_EQ(request.source, nullptr);
    EXPECT_DOUBLE_EQ(request.positionBeats, 1.5);
    for (const int32_t bad : {-1, 3, 4}) {  // slice 3 lies behind the end
        EXPECT_EQ(ask(bad, request), 0) << bad;
        source->SetSliceIndex(bad);
        EXPECT_EQ(source->LengthSeconds(), 1.0) << "the whole file's";
    }
    source->SetSliceIndex(-1);
    const auto faster = Open(chunks(240));
    source->Open(faster->FileName(), purposePlayback);
    EXPECT_EQ(Call(*source, 0x90006, nullptr, nullptr, &tempo), 4);
    EXPECT_EQ(tempo, 240);
    source->Attachment().format->sampleRate = 0;
    EXPECT_EQ(ask(0, request), 0);
    EXPECT_EQ(Call(*Open(chunks(1)), 0x90006), 0);
    EXPECT_EQ(Call(*OpenLoop({.flags = 8, .tempo = 120}), 0x90006), 0);
}

TEST_F(ExtendedCalls, FileInfoTextHoldsFormatMarkersAndTags) {
    const auto source = Open(ByteWriter()
                                 .Add(Bext("Rain"))
                                 .Add(cues)
                                 .Chunk("acid", AcidBody{.flags = 8, .beats = 4, .tempo = 98.5}));
    const std::string info = InfoText(*source);
    for (const auto* line : {"Format: RIFF WAVE, PCM\r\n", "Channels: 1\r\n", "Sample rate: 1000 Hz\r\n",
                             "Bits per sample: 16\r\n", "Length: 0:01.000\r\n", "Marker: 7, 0:00.250\r\n",
                             "Tempo: 98.5\r\n", "BWF:Description: Rain\r\n"})
        EXPECT_NE(info.find(line), info.npos) << line << "in\n" << info;
    char text[5];
    EXPECT_EQ(Call(*source, 0x10014, text, Number(5)), 1);
    EXPECT_STREQ(text, info.substr(0, 4).c_str());
    EXPECT_EQ(Call(*source, 0x10014, text, Number(0)), 0);
    EXPECT_EQ(Call(*source, 0x10014, nullptr, Number(5)), 0);
    EXPECT_EQ(Call(*source, 0x10014, text, Number(1)), 1);
    EXPECT_STREQ(text, "");
}

}  // namespace
}  // namespace vantor::test
