#include "metadata/read/id3_picture.h"

#include <charconv>
#include <utility>

#include "metadata/read/id3_text.h"
#include "text/text.h"

namespace vantor {

namespace {

// Cuts " name" and the number behind it off the end of `text`.
std::optional<uint64_t> TakeLastNumber(std::string_view& text, std::string_view name) {
    const size_t place = text.rfind(name);
    if (place == std::string_view::npos || (place > 0 && text[place - 1] != ' ')) return std::nullopt;
    const char* const end = text.data() + text.size();
    uint64_t value = 0;
    const auto read = std::from_chars(text.data() + place + name.size(), end, value);
    if (read.ec != std::errc{} || read.ptr != end) return std::nullopt;
    text = text.substr(0, place > 0 ? place - 1 : 0);
    return value;
}

// Version 2.2 names the image format in three characters; "-->" stands for a link in all versions.
std::string MimeOfFormat(std::string_view format) {
    if (format == "-->") return std::string(format);
    if (EqualIgnoringCase(format, "JPG")) return "image/jpeg";
    if (EqualIgnoringCase(format, "PNG")) return "image/png";
    return "image/" + Utf8OrLatin1(UpToNul({reinterpret_cast<const uint8_t*>(format.data()), format.size()}));
}

std::optional<std::string> TakeMime(Id3TextCursor& cursor, int version) {
    if (version > 2) return cursor.TakePlainText();
    const auto format = cursor.TakeBytes(3);
    if (!format) return std::nullopt;
    return MimeOfFormat({reinterpret_cast<const char*>(format->data()), 3});
}

}  // namespace

std::string DescriptorText(const PictureDescriptor& descriptor) {
    std::string text;
    if (!descriptor.mime.empty()) text += "mime:" + descriptor.mime + " ";
    if (!descriptor.description.empty()) text += "desc:" + descriptor.description + " ";
    return text + "type:" + std::to_string(descriptor.type) + " offset:" + std::to_string(descriptor.offset) +
           " length:" + std::to_string(descriptor.length);
}

std::optional<PictureDescriptor> ParseDescriptor(std::string_view text) {
    const auto length = TakeLastNumber(text, "length:");
    const auto offset = TakeLastNumber(text, "offset:");
    const auto type = TakeLastNumber(text, "type:");
    if (!length || !offset || !type || *type > 127) return std::nullopt;
    PictureDescriptor descriptor{{}, {}, static_cast<int>(*type), *offset, *length};
    if (text.starts_with("mime:")) {
        const size_t end = text.find(" desc:");
        descriptor.mime = text.substr(5, end == std::string_view::npos ? end : end - 5);
        text = end == std::string_view::npos ? std::string_view{} : text.substr(end + 1);
    }
    if (text.starts_with("desc:")) descriptor.description = text.substr(5);
    return descriptor;
}

std::string PictureFormat22(std::string_view mime) {
    if (mime == "-->") return std::string(mime);
    constexpr std::string_view image = "image/";
    if (mime.starts_with(image)) mime.remove_prefix(image.size());
    if (mime.size() != 3) return "JPG";
    std::string format(mime);
    for (char& letter : format)
        if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
    return format;
}

std::optional<Id3Picture> ReadPicture(const Id3FrameWalk& walk, const Id3Frame& frame) {
    Id3TextCursor cursor(frame.data);
    if (!cursor.TakeEncoding()) return std::nullopt;
    auto mime = TakeMime(cursor, walk.Version());
    if (!mime) return std::nullopt;
    const auto type = cursor.TakeBytes(1);
    if (!type || (*type)[0] > 127) return std::nullopt;
    auto description = cursor.TakeTerminatedText();
    if (!description) return std::nullopt;
    const size_t start = walk.StoredPosition(frame, frame.body.size() - cursor.Rest().size());
    return Id3Picture{{std::move(*mime), std::move(*description), (*type)[0], start, frame.bodyEnd - start},
                      cursor.Rest()};
}

}  // namespace vantor
