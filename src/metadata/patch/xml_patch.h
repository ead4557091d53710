// An XML document under change: pieces of its text are replaced where the parser found them, and every other
// byte stays.
//
// What was added can be told from what was there, so that it can be taken out again without a trace:
// * an added element stands behind a line feed of its own, at the end of its parent, without anything between
//   it and the end tag or the next added element; where the parent has a text that a line feed would
//   lengthen, its start tag has a blank in its place, <NOTE >;
// * an element like <NOTE/> that is given content gets an end tag with a blank in it, </NOTE >, and one more
//   for each blank before its slash.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "xml/xml_parser.h"

namespace vantor {

class XmlPatch {
  public:
    // Makes of a text what the parser can read, of the same length.
    using Readable = std::string (*)(std::string_view text);

    explicit XmlPatch(std::string text, Readable readable = nullptr)
        : text_(std::move(text)), readable_(readable) {}

    // Finds out where everything stands; whatever follows the root stays unread. False when the document is
    // refused. After one of the changes below the tree is right for what stands before it; WasAdded and
    // Remove need another Parse.
    [[nodiscard]] bool Parse();
    [[nodiscard]] const XmlElement& Root() const { return *parser_->Root(); }
    [[nodiscard]] const std::string& Text() const { return text_; }
    // Behind the root's end tag.
    [[nodiscard]] size_t RootEnd() const { return EndOf(Root()); }
    // All that stands between the tags of an element.
    [[nodiscard]] std::string_view Content(const XmlElement& element) const;

    // Replaces an element's own text (see XmlElement::Value); an empty one removes it. `markup` is escaped.
    void SetValue(const XmlElement& element, std::string_view markup);
    void AddChild(const XmlElement& parent, std::string_view markup);
    void AddBehind(const XmlElement& sibling, std::string_view markup);
    [[nodiscard]] bool WasAdded(const XmlElement& element, const XmlElement& parent) const;
    // The last of the path, which leads from the root to an element below it, goes with the white space
    // before it; so do those above it that were added and hold nothing else.
    void Remove(std::span<const XmlElement* const> path);
    // With the white space before it, whatever holds it.
    void RemoveMarkup(const XmlElement& element);
    // `markup` is escaped for double quotes.
    void SetAttribute(const XmlAttribute& attribute, std::string_view markup);
    // ` name="value"`, behind the attributes that are there.
    void AddAttribute(const XmlElement& element, std::string_view markup);
    void Remove(const XmlAttribute& attribute);

  private:
    [[nodiscard]] const XmlElementPlace& PlaceOf(const XmlElement& element) const {
        return places_.elements.find(&element)->second;
    }
    [[nodiscard]] size_t EndOf(const XmlElement& element) const { return PlaceOf(element).endTag.end; }
    [[nodiscard]] size_t TagEnd(const XmlElement& element) const;
    [[nodiscard]] bool EndsInText(const XmlElement& element) const;
    [[nodiscard]] std::optional<size_t> AddedLead(const XmlElement& element, const XmlElement& parent) const;
    [[nodiscard]] std::vector<XmlSpan> ValueSpans(const XmlElement& element) const;
    void Replace(XmlSpan span, std::string_view with);
    void Open(const XmlElement& element, std::string_view content);
    void Empty(const XmlElement& element);

    std::string text_;
    Readable readable_;
    std::string read_;  // what the parser was given
    std::optional<XmlMemoryParser> parser_;
    XmlPlaces places_;
};

// A value between tags; where the document is in another encoding than UTF-8, character references stand for
// all beyond ASCII.
[[nodiscard]] std::string XmlContent(std::string_view value, bool isUtf8);
// A value between double quotes.
[[nodiscard]] std::string XmlQuoted(std::string_view value, bool isUtf8);

}  // namespace vantor
