// The texts inside ID3v2 frames: four encodings, ended by a zero or by the frame.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace vantor {

// The encoding byte of a frame.
enum class Id3Encoding : uint8_t {
    Latin1 = 0,
    Utf16 = 1,  // with a byte-order mark; without one taken as little-endian
    Utf16Big = 2,
    Utf8 = 3,
};

// Takes texts and bytes off the front of a frame's data.
class Id3TextCursor {
  public:
    explicit Id3TextCursor(std::span<const uint8_t> data) : rest_(data) {}

    // Reads the encoding of the texts that follow. False when there is none or an unknown one.
    bool TakeEncoding();
    // The text up to its terminator, or to the end of the data when it has none, as UTF-8 without NUL. What
    // the encoding cannot mean becomes U+FFFD or, in UTF-8, is read as Latin-1.
    std::string TakeText();
    // A text up to its zero byte, whatever the encoding of the frame (owners, MIME types). Nothing when the
    // zero is missing.
    std::optional<std::string> TakePlainText();
    // As TakeText, but nothing when the terminator is missing.
    std::optional<std::string> TakeTerminatedText();
    // The next `count` bytes; nothing when there are fewer.
    std::optional<std::span<const uint8_t>> TakeBytes(size_t count);
    // All texts to the end of the data that are not empty, joined by "; ".
    template <typename Convert>
    std::string TakeAllTexts(Convert convert) {
        std::string joined;
        while (!rest_.empty()) {
            const std::string text = convert(TakeText());
            if (text.empty()) continue;
            if (!joined.empty()) joined += "; ";
            joined += text;
        }
        return joined;
    }

    [[nodiscard]] std::span<const uint8_t> Rest() const { return rest_; }

  private:
    [[nodiscard]] bool IsWide() const;
    // The bytes of the next text; the cursor moves behind the terminator.
    std::span<const uint8_t> TakeUpToTerminator(bool wide, bool* terminated);
    std::string Decode(std::span<const uint8_t> bytes);

    std::span<const uint8_t> rest_;
    Id3Encoding encoding_ = Id3Encoding::Latin1;
    bool bigEndian_ = false;  // of the last byte-order mark: later texts of the frame may lack their own
};

}  // namespace vantor
