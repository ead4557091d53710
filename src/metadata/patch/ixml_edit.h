// An iXML document under change, by the keys of its elements.
#pragma once

#include <functional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "metadata/metadata_store.h"
#include "metadata/patch/xml_patch.h"

namespace vantor {

using IxmlKeys = std::set<std::string, std::less<>>;

// "IXML:A:B:2" is the second element of the path A, B that has a text.
struct IxmlFieldKey {
    std::string_view base;
    int number = 1;
};

// `before` holds the entries of documents in front of this one, by which its keys are numbered; null: none.
class IxmlEdit {
  public:
    IxmlEdit(std::string text, bool isUtf8, const MetadataStore* before)
        : text_(std::move(text)), isUtf8_(isUtf8), before_(before) {}

    // Gives new texts to those of the changed elements that hold no others. Their keys.
    IxmlKeys ChangeTexts(const MetadataStore& change);
    // True when it is there.
    bool Change(std::string_view key, std::string_view value);
    void Remove(std::string_view key);
    // Empties the elements of all keys. False, and nothing is done, when some cannot be dealt with at once:
    // they go as a whole, or hold others.
    bool RemoveTexts(const IxmlKeys& keys);
    bool Add(IxmlFieldKey key, std::string_view value);
    [[nodiscard]] bool HasBase(std::string_view base) { return text_.Parse() && !Find(base).empty(); }
    [[nodiscard]] bool IsEmpty();
    [[nodiscard]] const std::string& Text() const { return text_.Text(); }

  private:
    using Path = std::vector<const XmlElement*>;  // the root first
    struct Neighbours;

    [[nodiscard]] Path Find(std::string_view key) const;
    [[nodiscard]] bool GoesWhole(const Path& path) const;
    [[nodiscard]] Neighbours FindNeighbours(const std::vector<std::string>& names) const;
    void AddElements(const Path& parent, std::span<const std::string> names, std::string_view value);

    XmlPatch text_;
    bool isUtf8_;
    const MetadataStore* before_;
};

}  // namespace vantor
