// The elements of an iXML document and the keys that their texts are stored under: the one place that knows
// which element has which key. The reader stores them, the patcher looks for them.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "metadata/metadata_store.h"
#include "xml/xml_parser.h"

namespace vantor {

inline constexpr std::string_view ixmlScheme = "IXML";
inline constexpr std::string_view ixmlRootName = "BWFXML";

// The document in a chunk: from its root's start tag, whatever stands before it, up to the first zero. Empty
// when there is none.
[[nodiscard]] std::string_view FindIxmlDocument(std::string_view chunk);

// The key of a path: what stands in the section "ASWG" is a scheme of its own.
[[nodiscard]] std::string_view IxmlKeyOfPath(std::string_view path);

[[nodiscard]] bool IsIxmlKey(std::string_view key);

// The root first, the element that is visited last.
using XmlPath = std::span<const XmlElement* const>;

// Steps through the elements below the root in document order, without recursion.
class IxmlWalk {
  public:
    explicit IxmlWalk(const XmlElement& root);
    // False behind the last element.
    bool Next();
    // "IXML:TRACK_LIST:TRACK:NAME": the names joined, cut between characters at 511 bytes.
    [[nodiscard]] const std::string& Path() const { return path_; }
    [[nodiscard]] const XmlElement& Element() const { return *elements_.back(); }
    [[nodiscard]] XmlPath Elements() const { return elements_; }

  private:
    struct Level {
        const XmlElement* next;   // the sibling to go on with
        size_t parentPathLength;  // of the path that its siblings share
    };
    std::string path_;
    std::vector<Level> levels_;
    std::vector<const XmlElement*> elements_;
};

// Gives out the keys that values are stored under: the first has the plain key, later ones are numbered from
// 2 on. The next number of a repeated key is remembered: a file may repeat one a million times.
class IxmlNumbering {
  public:
    // Keys of the store are taken already; what is given out goes into it.
    explicit IxmlNumbering(MetadataStore& store) : store_(store) {}
    // The key under which the value was stored.
    std::string Store(std::string_view key, std::string_view value);

  private:
    [[nodiscard]] bool IsTaken(std::string_view key, int number) const;
    [[nodiscard]] int FirstFree(std::string_view key, int number) const;

    MetadataStore& store_;
    std::map<std::string, int, std::less<>> next_;
};

}  // namespace vantor
