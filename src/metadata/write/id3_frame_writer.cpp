#include "metadata/write/id3_frame_writer.h"

#include <algorithm>
#include <string>

#include "metadata/read/id3_entries.h"
#include "metadata/read/id3_events.h"
#include "metadata/read/id3_genres.h"
#include "metadata/read/id3_text.h"
#include "metadata/write/build_chunks.h"
#include "metadata/write/id3_frame_ids.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr auto utf8 = static_cast<uint8_t>(Id3Encoding::Utf8);
constexpr size_t frameHeaderBytes = 10;

// The body of a frame, put together in file order.
class BodyWriter {
  public:
    BodyWriter& Byte(uint8_t byte) {
        body_.push_back(byte);
        return *this;
    }
    BodyWriter& Text(std::string_view text) {
        const std::string valid = Utf8OrLatin1(text);
        body_.insert(body_.end(), valid.begin(), valid.end());
        return *this;
    }
    BodyWriter& TerminatedText(std::string_view text) { return Text(text).Byte(0); }
    BodyWriter& Bytes(std::span<const uint8_t> bytes) {
        body_.insert(body_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    [[nodiscard]] std::span<const uint8_t> Done() const { return body_; }

  private:
    std::vector<uint8_t> body_;
};

// What a comment's key says: "" (English, the default), "deu", "deu:description"; anything else is taken as
// the description of a text in an unknown language.
struct LanguageQualifier {
    std::string_view language;
    std::string_view description;
};

LanguageQualifier SplitLanguage(std::string_view qualifier) {
    if (qualifier.empty()) return {"eng", {}};
    const bool isLanguage =
        IsLanguageCode(qualifier.substr(0, 3)) && (qualifier.size() == 3 || qualifier[3] == ':');
    if (!isLanguage) return {"XXX", qualifier};
    return {qualifier.substr(0, 3), qualifier.substr(std::min<size_t>(qualifier.size(), 4))};
}

bool AppendEvents(Id3Frames& frames, std::string_view value) {
    const auto data = EventsData(value);
    return data && AppendId3Frame(frames, "ETCO", *data);
}

bool AppendText(Id3Frames& frames, std::string_view id, std::string_view value) {
    BodyWriter body;
    body.Byte(utf8).Text(id == "TCON" ? ContentTypeOfNames(value) : std::string(value));
    return AppendId3Frame(frames, id, body.Done());
}

}  // namespace

bool AppendId3Frame(Id3Frames& frames, std::string_view id, std::span<const uint8_t> body, uint8_t status,
                    uint8_t format) {
    const size_t room = maxId3FrameBytes - frames.size();
    if (body.empty() || room < frameHeaderBytes || body.size() > room - frameHeaderBytes) return false;
    frames.insert(frames.end(), id.begin(), id.end());
    frames.resize(frames.size() + 4);
    WriteSyncsafe(&frames[frames.size() - 4], static_cast<uint32_t>(body.size()));
    frames.push_back(status);
    frames.push_back(format);
    frames.insert(frames.end(), body.begin(), body.end());
    return true;
}

bool AppendValueFrame(Id3Frames& frames, std::string_view id, std::string_view qualifier,
                      std::string_view value) {
    if (!IsFrameId(id)) return false;
    id = FrameId24(id);
    if (id == "TXXX" || id == "WXXX")
        return AppendId3Frame(frames, id,
                              BodyWriter().Byte(utf8).TerminatedText(qualifier).Text(value).Done());
    if (id == "COMM" || id == "USLT") {
        const auto [language, description] = SplitLanguage(qualifier);
        BodyWriter body;
        body.Byte(utf8).Text(language).TerminatedText(description).Text(value);
        return AppendId3Frame(frames, id, body.Done());
    }
    if (id == "UFID" && value != id3BinaryData)
        return AppendId3Frame(frames, id, BodyWriter().TerminatedText(qualifier).Text(value).Done());
    if (id == "ETCO") return AppendEvents(frames, value);
    return id.starts_with('T') && AppendText(frames, id, value);
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

bool AppendPictureFrame(Id3Frames& frames, const PictureDescriptor& descriptor,
                        std::span<const uint8_t> picture) {
    BodyWriter body;
    body.Byte(utf8)
        .TerminatedText(descriptor.mime)
        .Byte(static_cast<uint8_t>(descriptor.type))
        .TerminatedText(descriptor.description)
        .Bytes(picture);
    return AppendId3Frame(frames, "APIC", body.Done());
}

}  // namespace vantor
