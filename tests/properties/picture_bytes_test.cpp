#include "properties/picture_bytes.h"

#include <gtest/gtest.h>

#include "tests/support/byte_writer.h"
#include "tests/support/fake_host.h"
#include "tests/support/temp_file.h"

namespace vantor::test {
namespace {

class PictureBytesTest : public ::testing::Test {
  protected:
    void Add(uint64_t offset, uint64_t length, const std::string& start = "mime:image/png ") {
        AddTag(properties, "ID3:APIC:" + std::to_string(properties.pictures.size()),
               start + "type:3 offset:" + std::to_string(offset) + " length:" + std::to_string(length));
    }

    FakeHost host;
    TempFolder folder;
    FileProperties properties;
};

TEST_F(PictureBytesTest, PicturesAreReadWholeOrNotAtAll) {
    const Bytes file = ByteWriter().Fill(20'000, 1).Fill(30'000, 2).Text("end");
    properties.fileName = folder.Write("pictures.bin", file);
    Add(20'000, 30'000);
    Add(50'000, 3);
    Add(50'000, 4);
    Add(~uint64_t{0}, 2);
    Add(1, ~uint64_t{0});
    Add(0, 1);
    const auto pictures = ReadPictures(properties);
    ASSERT_EQ(pictures.size(), 6u);
    EXPECT_EQ(pictures[0], PictureBytes(30'000, 2));
    EXPECT_EQ(pictures[1], (PictureBytes{'e', 'n', 'd'}));
    for (const size_t missing : {2u, 3u, 4u})
        EXPECT_TRUE(pictures[missing].empty());
    EXPECT_EQ(pictures[5], PictureBytes{1});
    properties.fileName = folder.Path("gone");
    EXPECT_EQ(ReadPictures(properties), std::vector<PictureBytes>(6));
}

TEST_F(PictureBytesTest, AllPicturesTogetherStayWithinTheLimit) {
    properties.fileName = folder.Write("large.bin", Bytes(1 << 20));
    for (int i = 0; i < 70; ++i)
        Add(0, 1 << 20);
    size_t bytes = 0;
    for (const auto& picture : ReadPictures(properties))
        bytes += picture.size();
    EXPECT_EQ(bytes, mostPictureBytes);
}

TEST_F(PictureBytesTest, ZerosOfUnsynchronisationAreTakenOut) {
    const Bytes plain{0xFF, 0xD8, 0xFF, 0xE0, 0, 0xFF, 0, 0, 7};
    const Bytes stored{0xFF, 0xD8, 0xFF, 0, 0xE0, 0, 0xFF, 0, 0, 0, 7};
    properties.fileName = folder.Write("stored.bin", ByteWriter().Add(stored).Add(plain));
    Add(0, stored.size());
    Add(stored.size(), plain.size());
    EXPECT_EQ(ReadPictures(properties), (std::vector<PictureBytes>{plain, plain}));
}

TEST_F(PictureBytesTest, CaptionsTellKindPlaceSizeAndFormat) {
    Add(1, 30'000, "mime:image/jpeg desc:On the river ");
    EXPECT_EQ(PictureCaption(properties, 0, {640, 480}),
              "Front cover\n640 x 480\nimage/jpeg, 29 KiB\nOn the river");
    Add(1, 3'000'000, "");
    EXPECT_EQ(PictureCaption(properties, 1, {}),
              "Front cover (2 / 2)\nThis picture cannot be shown.\n2.9 MiB");
    host.localizePrefix = "~";
    EXPECT_EQ(PictureCaption(properties, 1, {}),
              "~wave:Front cover (2 / 2)\n~wave:This picture cannot be shown.\n2.9 MiB");
}

}  // namespace
}  // namespace vantor::test
