// iXML and ASWG: the text of an element is replaced, removed or put in where the key's path says. Elements
// that have to be added go to the end of the last element that is on the way; "A:B:2" is the second element
// of that path that has a text.
#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "metadata/patch/patch_chunks.h"
#include "metadata/patch/xml_patch.h"
#include "metadata/read/ixml_walk.h"
#include "metadata/read/read_metadata.h"
#include "metadata/write/escape_xml.h"
#include "text/text.h"

namespace vantor {

namespace {

using Path = std::vector<const XmlElement*>;  // the root first
using Keys = std::set<std::string, std::less<>>;

constexpr std::string_view aswgPrefix = "ASWG:";
constexpr std::string_view userSection = "IXML:USER";
constexpr size_t longestName = 480;

struct FieldKey {
    std::string_view base;
    int number = 1;
};

// "IXML:A:B:2".
FieldKey SplitNumber(std::string_view key) {
    const size_t colon = key.rfind(':');
    const auto digits = key.substr(colon + 1);
    int number = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool isNumber = read.ec == std::errc() && read.ptr == digits.data() + digits.size() && number > 1;
    return isNumber && digits.front() != '0' ? FieldKey{key.substr(0, colon), number} : FieldKey{key, 1};
}

// The names on the way to a field, the root's left out. Well-formed ones, whatever the key says.
std::vector<std::string> NamesOf(std::string_view key) {
    std::vector<std::string> names;
    if (key.starts_with(aswgPrefix)) names.emplace_back("ASWG");
    key.remove_prefix(key.find(':') + 1);
    for (size_t colon; (colon = key.find(':')) != key.npos; key.remove_prefix(colon + 1))
        names.push_back(XmlNameFrom(key.substr(0, colon), longestName));
    names.push_back(XmlNameFrom(key, longestName));
    for (auto& name : names)
        if (name == ixmlRootName) name.insert(0, "_");  // which has no part in a path
    return names;
}

std::string PathOf(const std::vector<std::string>& names, size_t count) {
    std::string path(ixmlScheme);
    for (size_t i = 0; i < count; ++i)
        path.append(":").append(names[i]);
    return path;
}

// Where the elements of a path stand that a new one is to follow.
struct Neighbours {
    Path empty;        // the first without a text behind the last with one
    Path freeParent;   // the first element one step up that holds none, behind the last with a text
    Path parent;       // the last element of the longest part of the path that is there
    size_t depth = 0;  // of `parent`, in names
};

class Document {
  public:
    Document(std::string text, bool isUtf8, const MetadataStore* before)
        : text_(std::move(text)), isUtf8_(isUtf8), before_(before) {}

    // Gives new texts to those of the changed elements that hold no others. Their keys.
    Keys ChangeTexts(const MetadataStore& change);
    bool Change(std::string_view key, std::string_view value);
    bool Remove(std::string_view key);
    bool Add(FieldKey key, std::string_view value);
    [[nodiscard]] bool HasBase(std::string_view base) { return text_.Parse() && !Find(base).empty(); }
    [[nodiscard]] bool IsEmpty();
    [[nodiscard]] const std::string& Text() const { return text_.Text(); }

  private:
    [[nodiscard]] Path Find(std::string_view key) const;
    [[nodiscard]] Neighbours FindNeighbours(const std::vector<std::string>& names) const;
    void AddElements(const Path& parent, std::span<const std::string> names, std::string_view value);

    XmlPatch text_;
    bool isUtf8_;
    const MetadataStore* before_;
};

// The element whose text is stored under the key.
Path Document::Find(std::string_view key) const {
    MetadataStore taken;
    if (before_ != nullptr) taken.AddMissing(*before_);
    IxmlNumbering numbering(taken);
    for (IxmlWalk walk(text_.Root()); walk.Next();) {
        const auto value = walk.Element().Value();
        if (value.empty() || walk.Path() == ixmlScheme) continue;
        if (numbering.Store(IxmlKeyOfPath(walk.Path()), value) == key)
            return {walk.Elements().begin(), walk.Elements().end()};
    }
    return {};
}

// All of them with one look at the document; from the last to the first, so that places before stay right.
Keys Document::ChangeTexts(const MetadataStore& change) {
    Keys changed;
    if (!text_.Parse()) return changed;
    MetadataStore taken;
    if (before_ != nullptr) taken.AddMissing(*before_);
    IxmlNumbering numbering(taken);
    std::vector<std::pair<const XmlElement*, std::string_view>> texts;
    for (IxmlWalk walk(text_.Root()); walk.Next();) {
        const auto value = walk.Element().Value();
        if (value.empty() || walk.Path() == ixmlScheme) continue;
        const auto key = numbering.Store(IxmlKeyOfPath(walk.Path()), value);
        const auto wanted = change.Value(key);
        if (wanted.empty() || walk.Element().firstChild != nullptr) continue;
        texts.emplace_back(&walk.Element(), wanted);
        changed.emplace(key);
    }
    for (auto text = texts.rbegin(); text != texts.rend(); ++text)
        text_.SetValue(*text->first, XmlContent(text->second, isUtf8_));
    return changed;
}

// True when it is there.
bool Document::Change(std::string_view key, std::string_view value) {
    if (!text_.Parse()) return false;
    const Path path = Find(key);
    if (!path.empty()) text_.SetValue(*path.back(), XmlContent(value, isUtf8_));
    return !path.empty();
}

bool Document::Remove(std::string_view key) {
    if (!text_.Parse()) return false;
    const Path path = Find(key);
    if (path.empty()) return false;
    const XmlElement& element = *path.back();
    const bool isBare = element.firstChild == nullptr && element.firstAttribute == nullptr;
    if (isBare && path.size() > 1 && text_.WasAdded(element, *path[path.size() - 2]))
        text_.Remove(path);
    else
        text_.SetValue(element, "");
    return true;
}

Neighbours Document::FindNeighbours(const std::vector<std::string>& names) const {
    Neighbours found{{}, {}, {&text_.Root()}, 0};
    std::vector<std::string> paths;  // of the first name, the first two ...
    for (size_t count = 1; count <= names.size(); ++count)
        paths.push_back(PathOf(names, count));
    const XmlElement* openParent = nullptr;  // the last of them so far
    for (IxmlWalk walk(text_.Root()); walk.Next();) {
        const size_t depth = static_cast<size_t>(std::ranges::find(paths, walk.Path()) - paths.begin()) + 1;
        const auto elements = [&] { return Path(walk.Elements().begin(), walk.Elements().end()); };
        if (depth < names.size() && depth >= found.depth) found.parent = elements(), found.depth = depth;
        if (depth + 1 == names.size()) {
            openParent = &walk.Element();
            if (found.freeParent.empty()) found.freeParent = elements();
        }
        if (depth != names.size()) continue;
        const bool isFree = walk.Element().Value().empty();
        if (!isFree) found.empty.clear();
        if (isFree && found.empty.empty()) found.empty = elements();
        const bool hasIt = !found.freeParent.empty() && found.freeParent.back() == openParent;
        if (!isFree || hasIt) found.freeParent.clear();
    }
    return found;
}

bool Document::Add(FieldKey key, std::string_view value) {
    if (!text_.Parse()) return false;
    auto names = NamesOf(key.base);
    const auto found = FindNeighbours(names);
    if (!found.empty.empty()) {
        text_.SetValue(*found.empty.back(), XmlContent(value, isUtf8_));
        return true;
    }
    Path parent = found.freeParent.empty() ? found.parent : found.freeParent;
    size_t depth = found.freeParent.empty() ? found.depth : names.size() - 1;
    // The second name of a track list is that of a second track, not a second name of the first.
    const bool isFull = key.number > 1 && found.freeParent.empty() && depth + 1 == names.size() && depth > 1;
    if (isFull) {
        parent.pop_back();
        --depth;
    }
    AddElements(parent, std::span(names).subspan(depth), value);
    return true;
}

void Document::AddElements(const Path& parent, std::span<const std::string> names, std::string_view value) {
    std::string markup, close;
    for (const auto& name : names) {
        if (!markup.empty()) markup += '\n';
        markup.append("<").append(name).append(">");
        close.insert(0, "</" + name + ">");
    }
    text_.AddChild(*parent.back(), markup + XmlContent(value, isUtf8_) + close);
}

bool Document::IsEmpty() {
    return text_.Parse() && text_.Root().firstChild == nullptr &&
           text_.Content(text_.Root()).find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// What the prolog says of the encoding, or the bytes.
bool IsUtf8(std::string_view prolog, std::string_view document) {
    constexpr std::string_view name = "encoding";
    if (!IsValidUtf8(document)) return false;
    const size_t place = prolog.find(name);
    if (place == prolog.npos) return true;
    const size_t quote = prolog.find_first_of("\"'", place);
    return quote == prolog.npos || StartsWithIgnoringCase(prolog.substr(quote + 1), "utf-8");
}

struct Wish {
    FieldKey key;
    std::string_view whole;
    std::string_view value;
};

// New texts for elements that are there; then removals, the last of a path first, and additions in their
// order: so numbers stand for the same elements all the time.
bool Apply(const MetadataStore& change, Document& document) {
    std::vector<Wish> removals, additions;
    const auto changed = document.ChangeTexts(change);
    change.ForEach([&](const MetadataEntry& entry) {
        if (!IsIxmlKey(entry.key) || changed.contains(entry.key)) return;
        if (entry.value.empty())
            removals.push_back({SplitNumber(entry.key), entry.key, {}});
        else if (!document.Change(entry.key, entry.value))
            additions.push_back({SplitNumber(entry.key), entry.key, entry.value});
    });
    const auto byNumber = [](const Wish& left, const Wish& right) {
        return left.key.number < right.key.number;
    };
    std::ranges::stable_sort(removals, byNumber);
    std::ranges::stable_sort(additions, byNumber);
    for (auto wish = removals.rbegin(); wish != removals.rend(); ++wish)
        document.Remove(wish->whole);
    for (auto wish : additions) {
        // A user field may have a number for its name.
        if (wish.key.base == userSection && !document.HasBase(wish.key.base)) wish.key = {wish.whole, 1};
        if (!document.Add(wish.key, wish.value)) return false;
    }
    return true;
}

}  // namespace

ChunkBody BlankIxml() {
    constexpr std::string_view document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><BWFXML></BWFXML>";
    constexpr size_t zeros = 9;  // shorter documents are not searched for
    ChunkBody body(document.begin(), document.end());
    body.resize(body.size() + zeros);
    return body;
}

Patched PatchIxml(const PatchInput& input) {
    const std::string_view chunk(reinterpret_cast<const char*>(input.body.data()), input.body.size());
    const auto text = FindIxmlDocument(chunk);
    if (text.empty()) return std::nullopt;
    const auto prolog = chunk.substr(0, static_cast<size_t>(text.data() - chunk.data()));
    Document document(std::string(text), IsUtf8(prolog, text), input.entriesBefore);
    if (!Apply(input.change, document)) return std::nullopt;
    if (document.IsEmpty()) return ChunkBody();
    ChunkBody body(prolog.begin(), prolog.end());
    body.insert(body.end(), document.Text().begin(), document.Text().end());
    const auto rest = chunk.substr(prolog.size() + text.size());
    body.insert(body.end(), rest.begin(), rest.end());
    KeepParity(body, chunk.size());
    // A short document of another root is read as long as it is short.
    MetadataStore scratch;
    return ReadIxml(body, scratch) ? Patched(std::move(body)) : std::nullopt;
}

}  // namespace vantor
