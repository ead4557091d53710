// Cuts the input of the XML parser into tokens and counts lines and columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "xml/xml_parser.h"

namespace vantor {

struct XmlPosition {
    uint32_t line = 1;
    uint32_t column = 0;
};

// A growing text whose size is bounded, so that no token exhausts the memory.
class XmlTextBuffer {
  public:
    // Null, or why the byte could not be added.
    const char* Add(char byte) {
        if (text_.size() == capacity_)
            if (const char* error = Grow()) return error;
        text_.push_back(byte);
        return nullptr;
    }
    const char* Add(std::string_view bytes);
    // Takes the first memory; null, or why it could not be had.
    const char* Start();
    void Clear() { text_.clear(); }
    [[nodiscard]] std::string_view Text() const { return text_; }

  private:
    const char* Grow();
    const char* Reserve(size_t capacity);

    std::string text_;
    size_t capacity_ = 0;
};

[[nodiscard]] bool IsXmlWhitespace(int byte);
// ASCII punctuation except hyphen, full stop, colon and underscore.
[[nodiscard]] bool IsXmlDelimiter(int byte);

class XmlTokenizer {
  public:
    enum class Blanks { Skip, Refuse };

    explicit XmlTokenizer(qrv_xml_parser& source) : source_(source) {}
    // Takes the token's memory and reads the first byte. False when there is no memory.
    bool Start();

    // The first byte that no token holds yet, -1 at the end of input.
    [[nodiscard]] int Current() const { return current_; }
    // Where that byte stands; at the end of input, where the last one stands.
    [[nodiscard]] XmlPosition Position() const { return position_; }
    // How many bytes of the input stand before it.
    [[nodiscard]] size_t Offset() const {
        return bytesBefore_ + static_cast<size_t>(next_ - block_) - (current_ < 0 ? 0 : 1);
    }
    void Advance() {
        if (next_ == end_ && !Refill()) {
            current_ = -1;
            return;
        }
        current_ = *next_++;
        if (current_ == '\n') {
            ++position_.line;
            position_.column = 0;
        } else {
            ++position_.column;
        }
    }
    void SkipWhitespace();

    // Reads a name, a quoted string (its text without the quotes, references decoded) or one delimiter.
    // False when there is none; Error() then says why.
    bool Next(Blanks blanks);
    [[nodiscard]] std::string_view Token() const { return token_.Text(); }
    [[nodiscard]] size_t TokenOffset() const { return tokenOffset_; }  // of its first byte, a string's quote
    [[nodiscard]] bool IsName() const { return kind_ == Kind::Name; }
    // True for a string whose reading failed, too.
    [[nodiscard]] bool IsString() const { return kind_ == Kind::String; }
    [[nodiscard]] bool Is(char delimiter) const {
        return kind_ == Kind::Delimiter && Token().front() == delimiter;
    }

    // Reads a reference from the byte after its "&" on. False when it is unknown.
    bool ReadReference(std::string& decoded);
    // Empty at the end of input.
    [[nodiscard]] const char* Error() const { return error_; }
    // Keeps `error`, if any, as the tokenizer's; true when there is none.
    bool Accept(const char* error);

  private:
    enum class Kind { None, Name, String, Delimiter };

    bool Refill();
    bool ReadName();
    bool ReadString(int quote);

    qrv_xml_parser& source_;
    const uint8_t* block_ = nullptr;
    const uint8_t* next_ = nullptr;
    const uint8_t* end_ = nullptr;
    size_t bytesBefore_ = 0;  // of the blocks before this one
    bool ended_ = false;
    int current_ = -1;
    XmlPosition position_;
    Kind kind_ = Kind::None;
    XmlTextBuffer token_;
    size_t tokenOffset_ = 0;
    const char* error_ = "";
};

}  // namespace vantor
