#include "properties/picture_bytes.h"

#include <algorithm>
#include <array>
#include <utility>

#include "fileio/file_reader.h"
#include "host/host_services.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr ReadParameters pictureReading{1, 8192, 4};

PictureBytes ReadPicture(FileReader& reader, const PictureDescriptor& picture, uint64_t mostBytes) {
    const auto fileBytes = static_cast<uint64_t>(std::max<int64_t>(reader.Size(), 0));
    if (picture.length > mostBytes || picture.offset > fileBytes ||
        picture.length > fileBytes - picture.offset)
        return {};
    PictureBytes bytes(static_cast<size_t>(picture.length));
    if (!reader.Seek(static_cast<int64_t>(picture.offset)) ||
        !reader.ReadExactly(bytes.data(), static_cast<int64_t>(bytes.size())))
        return {};
    return bytes;
}

// A JPEG file begins with the start of the image and a marker, which is never 0.
bool IsUnsynchronisedJpeg(const PictureBytes& bytes) {
    constexpr std::array<uint8_t, 4> start = {0xFF, 0xD8, 0xFF, 0x00};
    return bytes.size() > start.size() && std::equal(start.begin(), start.end(), bytes.begin());
}

// ID3v2.4, section 4.14.
constexpr std::array pictureTypes = {
    "Other",
    "File icon",
    "Other file icon",
    "Front cover",
    "Back cover",
    "Leaflet page",
    "Media",
    "Lead artist",
    "Artist",
    "Conductor",
    "Band",
    "Composer",
    "Lyricist",
    "Recording location",
    "During recording",
    "During performance",
    "Screen capture",
    "A bright coloured fish",
    "Illustration",
    "Band logotype",
    "Publisher logotype",
};

std::string BytesText(uint64_t bytes) {
    if (bytes < 1024) return std::to_string(bytes) + " B";
    constexpr uint64_t mebibyte = uint64_t{1} << 20;
    if (bytes < mebibyte) return std::to_string((bytes + 512) / 1024) + " KiB";
    return FixedText(static_cast<double>(bytes) / static_cast<double>(mebibyte), 1) + " MiB";
}

}  // namespace

std::string PictureCaption(const FileProperties& properties, size_t index, const PictureSize& size) {
    const PictureDescriptor& picture = properties.pictures[index];
    const auto type = static_cast<size_t>(picture.type);
    std::string text = Localize(pictureTypes[type < pictureTypes.size() ? type : 0]);
    if (properties.pictures.size() > 1)
        text += " (" + std::to_string(index + 1) + " / " + std::to_string(properties.pictures.size()) + ")";
    text += "\n";
    if (size.width > 0) {
        text += std::to_string(size.width) + " x " + std::to_string(size.height);
    } else {
        text += Localize("This picture cannot be shown.");
    }
    text += "\n" + picture.mime + (picture.mime.empty() ? "" : ", ") + BytesText(picture.length);
    if (!picture.description.empty()) text += "\n" + picture.description;
    return text;
}

std::vector<PictureBytes> ReadPictures(const FileProperties& properties) {
    std::vector<PictureBytes> pictures;
    if (properties.pictures.empty()) return pictures;
    FileReader reader(properties.fileName, pictureReading);
    uint64_t bytesLeft = mostPictureBytes;
    for (const PictureDescriptor& picture : properties.pictures) {
        PictureBytes bytes;
        if (reader.IsOpen()) bytes = ReadPicture(reader, picture, bytesLeft);
        bytesLeft -= bytes.size();
        pictures.push_back(IsUnsynchronisedJpeg(bytes) ? Resynchronised(bytes) : std::move(bytes));
    }
    return pictures;
}

PictureBytes Resynchronised(const PictureBytes& bytes) {
    PictureBytes plain;
    plain.reserve(bytes.size());
    for (size_t at = 0; at < bytes.size(); ++at) {
        const bool isPutIn = bytes[at] == 0 && at > 0 && bytes[at - 1] == 0xFF;
        if (!isPutIn) plain.push_back(bytes[at]);
    }
    return plain;
}

}  // namespace vantor
