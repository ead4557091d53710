#include "metadata/read/id3_text.h"

#include <algorithm>
#include <string_view>

#include "fileio/byte_order.h"
#include "text/text.h"

namespace vantor {

namespace {

std::string_view AsText(std::span<const uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The place of the first zero unit; the size of the bytes when there is none.
size_t FindTerminator(std::span<const uint8_t> bytes, size_t unitBytes) {
    if (unitBytes == 1)
        return static_cast<size_t>(std::find(bytes.begin(), bytes.end(), uint8_t{0}) - bytes.begin());
    for (size_t i = 0; i + 1 < bytes.size(); i += 2)
        if (bytes[i] == 0 && bytes[i + 1] == 0) return i;
    return bytes.size();
}

}  // namespace

bool Id3TextCursor::TakeEncoding() {
    const auto byte = TakeBytes(1);
    if (!byte || (*byte)[0] > static_cast<uint8_t>(Id3Encoding::Utf8)) return false;
    encoding_ = static_cast<Id3Encoding>((*byte)[0]);
    bigEndian_ = encoding_ == Id3Encoding::Utf16Big;
    return true;
}

bool Id3TextCursor::IsWide() const {
    return encoding_ == Id3Encoding::Utf16 || encoding_ == Id3Encoding::Utf16Big;
}

std::span<const uint8_t> Id3TextCursor::TakeUpToTerminator(bool wide, bool* terminated) {
    const size_t unitBytes = wide ? 2 : 1;
    const size_t end = FindTerminator(rest_, unitBytes);
    *terminated = end < rest_.size();
    const auto text = rest_.first(end);
    rest_ = rest_.subspan(*terminated ? end + unitBytes : end);
    return text;
}

std::string Id3TextCursor::Decode(std::span<const uint8_t> bytes) {
    if (encoding_ == Id3Encoding::Latin1) return Latin1ToUtf8(AsText(bytes));
    if (encoding_ == Id3Encoding::Utf8) return Utf8OrLatin1(AsText(bytes));
    if (bytes.size() >= 2) {
        const uint16_t mark = ReadBe16(bytes.data());
        if (mark == 0xFEFF || mark == 0xFFFE) {
            bigEndian_ = mark == 0xFEFF;
            bytes = bytes.subspan(2);
        }
    }
    return Utf16ToUtf8(bytes, bigEndian_);
}

std::string Id3TextCursor::TakeText() {
    bool terminated = false;
    return Decode(TakeUpToTerminator(IsWide(), &terminated));
}

std::optional<std::string> Id3TextCursor::TakeTerminatedText() {
    bool terminated = false;
    std::string text = Decode(TakeUpToTerminator(IsWide(), &terminated));
    if (!terminated) return std::nullopt;
    return text;
}

std::optional<std::string> Id3TextCursor::TakePlainText() {
    bool terminated = false;
    const auto text = TakeUpToTerminator(false, &terminated);
    if (!terminated) return std::nullopt;
    return Utf8OrLatin1(AsText(text));
}

std::optional<std::span<const uint8_t>> Id3TextCursor::TakeBytes(size_t count) {
    if (count > rest_.size()) return std::nullopt;
    const auto bytes = rest_.first(count);
    rest_ = rest_.subspan(count);
    return bytes;
}

}  // namespace vantor
