#include "metadata/patch/xml_patch.h"

#include <algorithm>
#include <vector>

#include "metadata/write/escape_xml.h"
#include "text/text.h"
#include "xml/xml_tokenizer.h"

namespace vantor {

namespace {

constexpr std::string_view cdataStart = "<![CDATA[";

bool IsBlank(std::string_view text) {
    return std::ranges::all_of(text, [](char byte) { return IsXmlWhitespace(byte); });
}

// How many bytes of white space end the text.
size_t TrailingBlanks(std::string_view text) {
    size_t count = 0;
    while (count < text.size() && IsXmlWhitespace(text[text.size() - 1 - count]))
        ++count;
    return count;
}

// Values between quotes may hold its end.
size_t EndOfInstruction(std::string_view text, size_t begin) {
    for (size_t at = begin; at < text.size(); ++at) {
        if (text.substr(at).starts_with("?>")) return at + 2;
        if (text[at] == '"' || text[at] == '\'') at = std::min(text.find(text[at], at + 1), text.size());
    }
    return text.size();
}

// The end of a comment, an instruction or a CDATA section that begins at `begin`. "<!-->" begins a comment
// and ends none.
size_t EndOfMarkup(std::string_view text, size_t begin) {
    const auto rest = text.substr(begin);
    const auto behind = [&](std::string_view open, std::string_view close) {
        return text.find(close, begin + open.size()) + close.size();
    };
    if (rest.starts_with("<!--")) return behind("<!--", "-->");
    return rest.starts_with("<?") ? EndOfInstruction(text, begin) : behind(cdataStart, "]]>");
}

// The character data in [begin, end), which holds no element: comments and instructions are left out.
void AppendCharacterData(std::string_view text, size_t begin, size_t end, std::vector<XmlSpan>& spans) {
    while (begin < end) {
        const size_t markup = std::min(text.find('<', begin), end);
        if (markup > begin) spans.push_back({begin, markup});
        if (markup == end) return;
        begin = EndOfMarkup(text, markup);
        if (text.substr(markup).starts_with(cdataStart)) spans.push_back({markup, begin});
    }
}

// Character references for all beyond ASCII.
std::string WithReferences(std::string_view markup) {
    std::string result;
    while (!markup.empty()) {
        const uint32_t codePoint = TakeCodePoint(markup);
        if (codePoint < 0x80)
            result += static_cast<char>(codePoint);
        else
            result.append("&#").append(std::to_string(codePoint)).append(";");
    }
    return result;
}

}  // namespace

bool XmlPatch::Parse() {
    read_ = readable_ ? readable_(text_) : std::string();
    const std::string& text = readable_ ? read_ : text_;
    places_ = {};
    parser_.emplace(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    parser_->NotePlaces(places_);
    parser_->EndBehindRoot();
    return text.size() == text_.size() && parser_->Parse() == nullptr;
}

std::string_view XmlPatch::Content(const XmlElement& element) const {
    const auto& place = PlaceOf(element);
    return std::string_view(text_).substr(place.startTag.end, place.endTag.begin - place.startTag.end);
}

void XmlPatch::Replace(XmlSpan span, std::string_view with) {
    text_.replace(span.begin, span.end - span.begin, with);
}

// The pieces of text that make up the element's value. Between child elements white space alone is none.
std::vector<XmlSpan> XmlPatch::ValueSpans(const XmlElement& element) const {
    std::vector<XmlSpan> value;
    size_t begin = PlaceOf(element).startTag.end;
    const auto take = [&](size_t end) {
        std::vector<XmlSpan> run;
        AppendCharacterData(text_, begin, end, run);
        const bool isBlank = std::ranges::all_of(run, [&](XmlSpan span) {
            return IsBlank(std::string_view(text_).substr(span.begin, span.end - span.begin));
        });
        if (element.firstChild == nullptr || !isBlank) value.insert(value.end(), run.begin(), run.end());
    };
    for (const auto* child = element.firstChild; child != nullptr; child = child->nextSibling) {
        take(PlaceOf(*child).startTag.begin);
        begin = EndOf(*child);
    }
    take(PlaceOf(element).endTag.begin);
    return value;
}

void XmlPatch::SetValue(const XmlElement& element, std::string_view markup) {
    const auto& place = PlaceOf(element);
    if (place.endTag.begin == place.endTag.end) {
        if (!markup.empty()) Open(element, markup);
        return;
    }
    auto spans = ValueSpans(element);
    if (spans.empty()) spans.push_back({place.startTag.end, place.startTag.end});
    size_t removed = 0;
    for (auto span = spans.rbegin(); span != spans.rend(); ++span) {
        removed += span->end - span->begin;
        Replace(*span, span + 1 == spans.rend() ? markup : "");
    }
    if (markup.empty() && removed == place.endTag.begin - place.startTag.end) Empty(element);
}

// Gives content to an element without an end tag.
void XmlPatch::Open(const XmlElement& element, std::string_view content) {
    const XmlSpan tag = PlaceOf(element).startTag;
    const size_t blanks = TrailingBlanks(std::string_view(text_).substr(0, tag.end - 2));
    auto with = std::string(">").append(content).append("</").append(element.name);
    with.append(" ").append(text_.substr(tag.end - 2 - blanks, blanks)).append(">");
    Replace({tag.end - 2 - blanks, tag.end}, with);
}

// The content of the element is gone from the text: one that had no end tag loses it again.
void XmlPatch::Empty(const XmlElement& element) {
    const XmlElementPlace& place = PlaceOf(element);
    const size_t begin = place.startTag.end;
    const size_t tagBytes = place.endTag.end - place.endTag.begin;
    const size_t blanks = TrailingBlanks(std::string_view(text_).substr(0, begin + tagBytes - 1));
    if (blanks == 0) return;
    const auto kept = text_.substr(begin + tagBytes - blanks, blanks - 1);
    Replace({begin - 1, begin + tagBytes}, kept + "/>");
}

// True when the last run of its content is a part of its value.
bool XmlPatch::EndsInText(const XmlElement& element) const {
    const auto* last = element.firstChild;
    while (last != nullptr && last->nextSibling != nullptr)
        last = last->nextSibling;
    const auto spans = ValueSpans(element);
    return !spans.empty() && spans.back().begin >= (last != nullptr ? EndOf(*last) : 0);
}

void XmlPatch::AddChild(const XmlElement& parent, std::string_view markup) {
    std::string content(markup);
    const size_t nameEnd = markup.find_first_of(" >");
    if (!EndsInText(parent))
        content.insert(0, "\n");
    else if (markup[nameEnd] == '>')
        content.insert(nameEnd, " ");
    const XmlSpan endTag = PlaceOf(parent).endTag;
    if (endTag.begin == endTag.end)
        Open(parent, content);
    else
        Replace({endTag.begin, endTag.begin}, content);
}

void XmlPatch::AddBehind(const XmlElement& sibling, std::string_view markup) {
    Replace({EndOf(sibling), EndOf(sibling)}, markup);
}

// How many bytes in front belong to an element that was added; nothing for one that was not.
std::optional<size_t> XmlPatch::AddedLead(const XmlElement& element, const XmlElement& parent) const {
    const XmlSpan tag = PlaceOf(element).startTag;
    const size_t start = PlaceOf(parent).startTag.end;
    // White space that it leaves behind would be a text, which was not there before.
    if (&element == parent.firstChild && tag.begin > start + 1 &&
        IsBlank(std::string_view(text_).substr(start, tag.begin - start)))
        return std::nullopt;
    if (text_[tag.begin - 1] == '\n') return 1;
    const bool hasBlank = element.firstAttribute == nullptr && text_[tag.end - 2] == ' ';
    return hasBlank && !parent.Value().empty() ? std::optional<size_t>(0) : std::nullopt;
}

bool XmlPatch::WasAdded(const XmlElement& element, const XmlElement& parent) const {
    std::vector<const XmlElement*> children;
    for (const auto* child = parent.firstChild; child != nullptr; child = child->nextSibling)
        children.push_back(child);
    size_t end = PlaceOf(parent).endTag.begin;
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
        const auto lead = AddedLead(**child, parent);
        if (EndOf(**child) != end || !lead) return false;
        if (*child == &element) return true;
        end = PlaceOf(**child).startTag.begin - *lead;
    }
    return false;
}

void XmlPatch::Remove(std::span<const XmlElement* const> path) {
    const XmlElement& element = *path.back();
    const auto upper = path.first(path.size() - 1);
    const size_t start = PlaceOf(element).startTag.begin;
    const XmlElementPlace& parent = PlaceOf(*upper.back());
    const bool isAdded = WasAdded(element, *upper.back());
    const size_t blanks = isAdded ? *AddedLead(element, *upper.back())
                                  : TrailingBlanks(std::string_view(text_).substr(0, start));
    const XmlSpan span = {start - blanks, EndOf(element)};
    const bool wasAlone = parent.startTag.end == span.begin && parent.endTag.begin == span.end;
    if (isAdded && wasAlone && upper.size() > 1 && upper.back()->firstAttribute == nullptr &&
        WasAdded(*upper.back(), *upper[upper.size() - 2])) {
        Remove(upper);
        return;
    }
    Replace(span, "");
    if (wasAlone) Empty(*upper.back());
}

void XmlPatch::RemoveMarkup(const XmlElement& element) {
    const size_t start = PlaceOf(element).startTag.begin;
    const size_t blanks = TrailingBlanks(std::string_view(text_).substr(0, start));
    Replace({start - blanks, EndOf(element)}, "");
}

void XmlPatch::SetAttribute(const XmlAttribute& attribute, std::string_view markup) {
    const XmlSpan value = places_.attributes.find(&attribute)->second.value;
    std::string quoted(markup);
    if (text_[value.end] == '\'')
        for (size_t at = 0; (at = quoted.find('\'', at)) != quoted.npos;)
            quoted.replace(at, 1, "&apos;");
    Replace(value, quoted);
}

// Behind the last attribute, or the name.
size_t XmlPatch::TagEnd(const XmlElement& element) const {
    const XmlSpan tag = PlaceOf(element).startTag;
    const size_t slash = text_[tag.end - 2] == '/' ? 1 : 0;
    return tag.end - 1 - slash - TrailingBlanks(std::string_view(text_).substr(0, tag.end - 1 - slash));
}

void XmlPatch::AddAttribute(const XmlElement& element, std::string_view markup) {
    Replace({TagEnd(element), TagEnd(element)}, markup);
}

void XmlPatch::Remove(const XmlAttribute& attribute) {
    const XmlSpan whole = places_.attributes.find(&attribute)->second.whole;
    const size_t blanks = TrailingBlanks(std::string_view(text_).substr(0, whole.begin));
    Replace({whole.begin - blanks, whole.end}, "");
}

std::string XmlContent(std::string_view value, bool isUtf8) {
    std::string escaped;
    EscapeXml(escaped, XmlText(value), true);
    return isUtf8 ? escaped : WithReferences(escaped);
}

std::string XmlQuoted(std::string_view value, bool isUtf8) {
    std::string escaped;
    EscapeXmlAttribute(escaped, XmlText(value));
    return isUtf8 ? escaped : WithReferences(escaped);
}

}  // namespace vantor
