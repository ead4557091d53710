#include "metadata/write/id3_frame_writer.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <utility>

#include "fileio/byte_order.h"
#include "metadata/read/id3_entries.h"
#include "metadata/read/id3_events.h"
#include "metadata/read/id3_genres.h"
#include "metadata/read/id3_text.h"
#include "metadata/write/build_chunks.h"
#include "metadata/write/id3_frame_ids.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr size_t limit22 = size_t{1} << 24;  // the first body that version 2.2 cannot hold

bool IsLatin1(std::string_view text) {
    while (!text.empty())
        if (TakeCodePoint(text) > 0xFF) return false;
    return true;
}

std::vector<uint8_t> InLatin1(std::string_view text) {
    std::vector<uint8_t> bytes;
    while (!text.empty())
        bytes.push_back(static_cast<uint8_t>(TakeCodePoint(text)));
    return bytes;
}

// The body of a frame, put together in file order. All its texts have one encoding.
class BodyWriter {
  public:
    BodyWriter(int version, std::initializer_list<std::string_view> texts) {
        const bool isLatin1 =
            std::ranges::all_of(texts, [](std::string_view text) { return IsLatin1(Utf8OrLatin1(text)); });
        encoding_ = version == 4 ? Id3Encoding::Utf8 : isLatin1 ? Id3Encoding::Latin1 : Id3Encoding::Utf16;
    }
    BodyWriter& Encoding() { return Byte(static_cast<uint8_t>(encoding_)); }
    BodyWriter& Byte(uint8_t byte) {
        body_.push_back(byte);
        return *this;
    }
    BodyWriter& Bytes(std::span<const uint8_t> bytes) {
        body_.insert(body_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    // In one byte a character whatever the encoding: owners, languages, addresses.
    BodyWriter& Plain(std::string_view text) {
        const std::string valid = Utf8OrLatin1(text);
        return Bytes({reinterpret_cast<const uint8_t*>(valid.data()), valid.size()});
    }
    BodyWriter& Text(std::string_view text) {
        const std::string valid = Utf8OrLatin1(text);
        if (encoding_ == Id3Encoding::Utf8) return Plain(valid);
        if (encoding_ == Id3Encoding::Latin1) return Bytes(InLatin1(valid));
        return Byte(0xFF).Byte(0xFE).Bytes(Utf8ToUtf16(valid, false));
    }
    BodyWriter& TerminatedText(std::string_view text) {
        Text(text).Byte(0);
        return encoding_ == Id3Encoding::Utf16 ? Byte(0) : *this;
    }
    [[nodiscard]] std::span<const uint8_t> Done() const { return body_; }

  private:
    Id3Encoding encoding_;
    std::vector<uint8_t> body_;
};

bool AppendText(Id3Frames& frames, int version, std::string_view id, std::string_view value) {
    const auto text = id == "TCON" ? ContentTypeOfNames(value) : std::string(value);
    return AppendId3Frame(frames, version, id, BodyWriter(version, {text}).Encoding().Text(text).Done());
}

void AppendFrameHeader(Id3Frames& frames, int version, std::string_view id, uint32_t bodyBytes) {
    frames.insert(frames.end(), id.begin(), id.end());
    uint8_t size[4];
    if (version == 4)
        WriteSyncsafe(size, bodyBytes);
    else
        WriteBe32(size, bodyBytes);
    frames.insert(frames.end(), size + (version == 2 ? 1 : 0), size + 4);
}

}  // namespace

LanguageQualifier SplitLanguage(std::string_view qualifier) {
    if (qualifier.empty()) return {"eng", {}};
    const bool isLanguage =
        IsLanguageCode(qualifier.substr(0, 3)) && (qualifier.size() == 3 || qualifier[3] == ':');
    if (!isLanguage) return {"XXX", std::string(qualifier)};
    return {std::string(qualifier.substr(0, 3)),
            std::string(qualifier.substr(std::min<size_t>(qualifier.size(), 4)))};
}

std::optional<LanguageQualifier> LanguageOfFrame(const Id3Frame& frame) {
    Id3TextCursor cursor(frame.data);
    if (!cursor.TakeEncoding()) return std::nullopt;
    const auto code = cursor.TakeBytes(3);
    auto description = code ? cursor.TakeTerminatedText() : std::nullopt;
    if (!description) return std::nullopt;
    return LanguageQualifier{std::string(code->begin(), code->end()), std::move(*description)};
}

bool AppendId3Frame(Id3Frames& frames, int version, std::string_view id, std::span<const uint8_t> body,
                    uint8_t status, uint8_t format) {
    const size_t headerBytes = version == 2 ? 6 : 10;
    const size_t room = maxId3FrameBytes - frames.size();
    if (version == 2) id = FrameId22(id);
    if (id.empty() || body.empty() || room < headerBytes || body.size() > room - headerBytes) return false;
    if (version == 2 && body.size() >= limit22) return false;
    AppendFrameHeader(frames, version, id, static_cast<uint32_t>(body.size()));
    if (version > 2) {
        frames.push_back(status);
        frames.push_back(format);
    }
    frames.insert(frames.end(), body.begin(), body.end());
    return true;
}

bool AppendLanguageFrame(Id3Frames& frames, int version, std::string_view id,
                         const LanguageQualifier& language, std::string_view value) {
    BodyWriter body(version, {language.description, value});
    body.Encoding().Bytes(
        {reinterpret_cast<const uint8_t*>(language.language.data()), language.language.size()});
    return AppendId3Frame(frames, version, id, body.TerminatedText(language.description).Text(value).Done());
}

bool AppendValueFrame(Id3Frames& frames, int version, std::string_view id, std::string_view qualifier,
                      std::string_view value) {
    if (!IsFrameId(id)) return false;
    id = FrameId24(id);
    if (id == "TXXX") {
        BodyWriter body(version, {qualifier, value});
        return AppendId3Frame(frames, version, id,
                              body.Encoding().TerminatedText(qualifier).Text(value).Done());
    }
    if (id == "WXXX") {
        BodyWriter body(version, {qualifier});
        return AppendId3Frame(frames, version, id,
                              body.Encoding().TerminatedText(qualifier).Plain(value).Done());
    }
    if (id == "COMM" || id == "USLT")
        return AppendLanguageFrame(frames, version, id, SplitLanguage(qualifier), value);
    if (id == "UFID" && value != id3BinaryData)
        return AppendId3Frame(frames, version, id,
                              BodyWriter(version, {}).Plain(qualifier).Byte(0).Plain(value).Done());
    if (id == "ETCO") {
        const auto data = EventsData(value);
        return data && AppendId3Frame(frames, version, id, *data);
    }
    return id.starts_with('T') && AppendText(frames, version, id, value);
}

// What AppendValueFrame makes of the key, as the reader names it. A running number stays.
std::string Id3KeyAsWritten(std::string_view key) {
    if (!key.starts_with(id3Prefix)) return std::string(key);
    const auto [oldId, qualifier] = SplitId3Key(key);
    const std::string_view id = IsFrameId(oldId) ? FrameId24(oldId) : std::string_view();
    const bool isText = id.starts_with('T') && id != "TXXX";
    const bool hasLanguage = id == "COMM" || id == "USLT";
    if (id.empty()) return std::string(key);
    std::string written = std::string(id3Prefix).append(id);
    const bool keepsQualifier = !isText && !hasLanguage && id != "ETCO";
    if (keepsQualifier || IsRunningNumber(qualifier))
        return written.append(key.substr(id3Prefix.size() + oldId.size()));
    if (!hasLanguage) return written;
    const auto [language, description] = SplitLanguage(qualifier);
    if (description.empty() && IsDefaultLanguage(language)) return written;
    written.append(":").append(language);
    return description.empty() ? written : written.append(":").append(description);
}

bool AppendPictureFrame(Id3Frames& frames, int version, const PictureDescriptor& descriptor,
                        std::span<const uint8_t> picture) {
    BodyWriter body(version, {descriptor.description});
    body.Encoding();
    if (version == 2)
        body.Plain(PictureFormat22(descriptor.mime));
    else
        body.Plain(descriptor.mime).Byte(0);
    body.Byte(static_cast<uint8_t>(descriptor.type)).TerminatedText(descriptor.description).Bytes(picture);
    return AppendId3Frame(frames, version, "APIC", body.Done());
}

}  // namespace vantor
