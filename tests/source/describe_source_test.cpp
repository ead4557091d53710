#include "source/describe_source.h"

#include <gtest/gtest.h>

#include "properties/property_list.h"
#include "source/file_info_text.h"
#include "tests/source/source_support.h"

namespace vantor::test {
namespace {

class DescribeSourceTest : public ::testing::Test {
  protected:
    // The lines of one group.
    static std::string Group(const FileProperties& properties, std::string_view group) {
        std::string text;
        for (const auto& row : properties.rows)
            if (row.group == group) AppendLine(text, row);
        return text;
    }

    FakeHost host;
    TempFolder folder;
};

TEST_F(DescribeSourceTest, AllRowsCopiedAreTheFileInformationText) {
    for (const char* name : {"markers.wav", "caf-big.caf", "aiff.aif", "extensible-5.1.wav", "pcm8.wav"}) {
        const auto source = OpenSource(folder.Write(name, SampleFile(name)));
        const auto properties = DescribeSource(*source);
        EXPECT_EQ(ClipboardText(properties, ShownRows(properties, "", {})), InfoText(*source)) << name;
        EXPECT_EQ(properties.status, "");
        EXPECT_EQ(BaseName(properties.fileName), name);
    }
}

TEST_F(DescribeSourceTest, FormatRowsTellWhatThereIs) {
    const auto told = [](const AudioFormat& format) {
        std::string text;
        for (const auto& row : FormatRows(format, 1)) {
            if (row.label != "Format" && row.label != "Channels" && row.label != "Length")
                AppendLine(text, row);
        }
        return text;
    };
    AudioFormat format;
    format.sampleRate = 44100.12346;
    format.bitsPerSample = 24;
    format.validBits = 20;
    format.tempo = 90.5;  // of no loop
    EXPECT_EQ(told(format), "Sample rate: 44100.1235 Hz\r\nBits per sample: 20 in 24\r\n");
    format.sampleRate = 48000;
    format.validBits = 24;
    format.loopKind = 2;
    format.beatCount = 4;
    format.meter = 12 * 256 + 8;
    format.slicePoints = {0, 10};
    EXPECT_EQ(
        told(format),
        "Sample rate: 48000 Hz\r\nBits per sample: 24\r\nLoop: Apple Loops\r\nTempo: 90.5\r\nBeats: 4\r\n"
        "Time signature: 12/8\r\nSlices: 2\r\n");
    format.loopKind = 1;
    format.tempo = 0;
    format.beatCount = format.meter = 0;
    format.slicePoints.clear();
    EXPECT_EQ(told(format), "Sample rate: 48000 Hz\r\nBits per sample: 24\r\nLoop: ACID\r\n");
}

TEST_F(DescribeSourceTest, PlaceOnTheTimelineAndSlicesAreTold) {
    const auto acid =
        ByteWriter().Chunk("acid", AcidBody{0, 60, 4, 120}).Chunk("strc", SlicesBody({0, 250, 700, 1000}));
    auto source = OpenSource(folder.Write("sliced.wav", MonoFile(Ramp(1000), acid)));
    auto properties = DescribeSource(*source);
    EXPECT_EQ(Group(properties, "Slices"),
              "Slice 1: 0:00.000 (frame 0), Length 0:00.250\r\n"
              "Slice 2: 0:00.250 (frame 250), Length 0:00.450\r\n"
              "Slice 3: 0:00.700 (frame 700), Length 0:00.300\r\n");
    source->SetSliceIndex(0);
    properties = DescribeSource(*source);
    EXPECT_EQ(Group(properties, "Slices"), "Slice 1: 0:00.000 (frame 0), Length 0:00.250\r\n");
    const std::pair<const char*, const char*> positions[] = {
        {"90500", "Position: 1:30.500 (frame 90500)\r\n"},
        {"0", "Position: 0:00.000 (frame 0)\r\n"},
        {"18446744073709551615", ""},  // no frame that a file could have
    };
    for (const auto& [frames, text] : positions) {
        source->Attachment().format->metadata.Set("BWF:TimeReference", frames);
        EXPECT_EQ(Group(DescribeSource(*source), "Timeline"), text);
    }
}

TEST_F(DescribeSourceTest, WhatCannotBePlayedTellsWhyAndNothingElse) {
    const auto closed = OpenSource(folder.Path("absent.wav"));
    EXPECT_EQ(DescribeSource(*closed).status, "File not opened");
    const auto broken = OpenSource(folder.Write("broken.wav", Bytes(100)));
    EXPECT_EQ(DescribeSource(*broken).status, InfoText(*broken));
    const auto source = OpenSource(folder.Write("offline.wav", MonoFile(Ramp(10))));
    source->SetOnline(false);
    const auto properties = DescribeSource(*source);
    EXPECT_EQ(properties.status, "File offline");
    EXPECT_TRUE(properties.rows.empty());
}

TEST_F(DescribeSourceTest, TextsAreTheUsersAndKeysTheFiles) {
    host.localizePrefix = "~";
    const auto source = OpenSource(folder.Write("tagged.wav", SampleFile("tagged.wav")));
    const auto properties = DescribeSource(*source);
    EXPECT_TRUE(
        Group(properties, "~wave:Format").starts_with("~wave:Format: RIFF WAVE, PCM\r\n~wave:Channels: "));
    EXPECT_NE(Group(properties, "~wave:Broadcast Wave").find("BWF:Description: "), std::string::npos);
}

}  // namespace
}  // namespace vantor::test
