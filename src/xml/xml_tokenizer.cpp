#include "xml/xml_tokenizer.h"

#include <array>
#include <new>

#include "text/text.h"

namespace vantor {

namespace {

constexpr size_t firstTokenBytes = 256;
constexpr size_t tokenByteLimit = 536'870'912;
constexpr size_t longestReference = 31;
constexpr uint32_t largestCodePoint = 0x10FFFF;

bool IsDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

struct NamedReference {
    std::string_view name;
    char byte;
};
constexpr std::array<NamedReference, 5> namedReferences = {
    {{"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"apos", '\''}, {"quot", '"'}}};

std::string Utf8OrUnderscore(uint32_t codePoint) {
    std::string text;
    return AppendUtf8(text, codePoint) ? text : "_";
}

// The number at the start of `digits`, held above the largest code point when it is larger.
uint32_t CodePoint(std::string_view digits) {
    uint32_t value = 0;
    for (const char digit : digits) {
        if (!IsDigit(digit)) break;
        value = value * 10 + static_cast<uint32_t>(digit - '0');
        if (value > largestCodePoint) return largestCodePoint + 1;
    }
    return value;
}

// The text that a reference stands for; empty when it is unknown. Hexadecimal references are not taken.
std::string DecodeReference(std::string_view name) {
    for (const auto& known : namedReferences)
        if (name == known.name) return {known.byte};
    if (!name.starts_with('#')) return {};
    const uint32_t codePoint = CodePoint(name.substr(1));
    return codePoint == 0 ? std::string() : Utf8OrUnderscore(codePoint);
}

}  // namespace

bool IsXmlWhitespace(int byte) {
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

bool IsXmlDelimiter(int byte) {
    return (byte >= 33 && byte <= 44) || byte == 47 || (byte >= 59 && byte <= 64) ||
           (byte >= 91 && byte <= 94) || byte == 96 || (byte >= 123 && byte <= 126);
}

const char* XmlTextBuffer::Start() {
    return Reserve(firstTokenBytes);
}

const char* XmlTextBuffer::Reserve(size_t capacity) {
    try {
        text_.reserve(capacity);
    } catch (const std::bad_alloc&) {
        return "token buffer malloc fail";
    }
    capacity_ = capacity;
    return nullptr;
}

const char* XmlTextBuffer::Grow() {
    const size_t capacity = capacity_ * 2 + capacity_ / 4;
    if (capacity >= tokenByteLimit)
        return "token buffer tried to malloc() more than 512MB, probably unsafe and invalid XML";
    return Reserve(capacity);
}

const char* XmlTextBuffer::Add(std::string_view bytes) {
    for (const char byte : bytes)
        if (const char* error = Add(byte)) return error;
    return nullptr;
}

bool XmlTokenizer::Start() {
    if (!Accept(token_.Start())) return false;
    Advance();
    return true;
}

bool XmlTokenizer::Accept(const char* error) {
    if (error != nullptr) error_ = error;
    return error == nullptr;
}

bool XmlTokenizer::Refill() {
    if (ended_) return false;
    const uint8_t* data = nullptr;
    const int64_t bytes = source_.MoreData(&data);
    ended_ = bytes <= 0 || data == nullptr;
    if (ended_) return false;
    bytesBefore_ += static_cast<size_t>(end_ - block_);
    block_ = next_ = data;
    end_ = data + bytes;
    return true;
}

void XmlTokenizer::SkipWhitespace() {
    while (IsXmlWhitespace(current_))
        Advance();
}

bool XmlTokenizer::Next(Blanks blanks) {
    token_.Clear();
    kind_ = Kind::None;
    if (blanks == Blanks::Skip)
        SkipWhitespace();
    else if (IsXmlWhitespace(current_))
        return Accept("unexpected whitespace");
    tokenOffset_ = Offset();
    if (current_ < 0) return false;
    if (!IsXmlDelimiter(current_)) return ReadName();
    const int first = current_;
    Advance();
    if (first == '"' || first == '\'') return ReadString(first);
    kind_ = Kind::Delimiter;
    return Accept(token_.Add(static_cast<char>(first)));
}

bool XmlTokenizer::ReadName() {
    kind_ = Kind::Name;
    for (; current_ >= 0 && !IsXmlWhitespace(current_) && !IsXmlDelimiter(current_); Advance())
        if (!Accept(token_.Add(static_cast<char>(current_)))) return false;
    return true;
}

bool XmlTokenizer::ReadString(int quote) {
    kind_ = Kind::String;
    std::string decoded;
    while (current_ != quote) {
        if (current_ < 0) return false;
        if (current_ == '<') return Accept("illegal '<' character in quoted string");
        if (current_ == '&') {
            Advance();
            if (!ReadReference(decoded)) return Accept("unknown entity in quoted string");
            if (!Accept(token_.Add(decoded))) return false;
            continue;
        }
        if (!Accept(token_.Add(static_cast<char>(current_)))) return false;
        Advance();
    }
    Advance();
    return true;
}

bool XmlTokenizer::ReadReference(std::string& decoded) {
    std::array<char, longestReference> name;
    size_t length = 0;
    for (; current_ != ';'; Advance()) {
        const bool ends = current_ < 0 || (current_ != '#' && IsXmlDelimiter(current_));
        if (ends || length == name.size()) return false;
        name[length++] = static_cast<char>(current_);
    }
    Advance();
    decoded = DecodeReference({name.data(), length});
    return !decoded.empty();
}

}  // namespace vantor
