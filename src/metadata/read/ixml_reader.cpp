// iXML (http://www.gallery.co.uk/ixml): an XML document "BWFXML" whose elements with text become entries,
// keyed by their path. Reading a path twice numbers the later ones: "IXML:TRACK_LIST:TRACK:NAME:2".
#include <map>
#include <string>
#include <vector>

#include "metadata/read/read_metadata.h"
#include "text/text.h"
#include "xml/xml_parser.h"

namespace vantor {

namespace {

constexpr std::string_view rootTag = "<BWFXML>";
constexpr std::string_view rootName = "BWFXML";
constexpr std::string_view scheme = "IXML";
constexpr std::string_view aswgPath = "IXML:ASWG:";
constexpr size_t shortestSearched = 21;  // less than this is taken as it stands
constexpr size_t longestPath = 511;      // bytes; a key adds no more than a number

// From the root's start tag on, whatever stands before it, zeros too; empty when there is none.
std::string_view FindDocument(std::string_view text) {
    if (text.size() < shortestSearched) return text;
    for (; text.size() >= shortestSearched; text.remove_prefix(1))
        if (text.front() == '<' && StartsWithIgnoringCase(text, rootTag)) return text;
    return {};
}

// Stores values under numbered keys. The next number of a repeated key is remembered: a file may repeat one a
// million times.
class NumberedKeys {
  public:
    explicit NumberedKeys(MetadataStore& store) : store_(store) {}

    void Store(std::string_view key, std::string_view value) {
        if (!store_.Has(key)) return store_.Set(key, value);
        auto place = next_.find(key);
        if (place == next_.end()) place = next_.emplace(key, 2).first;
        const int number = FirstFree(key, place->second);
        store_.Set(Numbered(key, number), value);
        place->second = number + 1;
    }

  private:
    static std::string Numbered(std::string_view key, int number) {
        return std::string(key).append(":").append(std::to_string(number));
    }
    [[nodiscard]] bool IsTaken(std::string_view key, int number) const {
        return store_.Has(Numbered(key, number));
    }

    // The first few numbers are tried one by one. Behind a long run, left by an earlier chunk, the end is
    // found by doubling and halving: a file may bring any number of chunks.
    [[nodiscard]] int FirstFree(std::string_view key, int number) const {
        const int firstTried = number + 16;
        for (; number < firstTried; ++number)
            if (!IsTaken(key, number)) return number;
        int step = 1;
        while (IsTaken(key, number + step - 1))
            step *= 2;
        int taken = number + step / 2 - 1;
        int free = number + step - 1;
        while (free - taken > 1) {
            const int middle = taken + (free - taken) / 2;
            (IsTaken(key, middle) ? taken : free) = middle;
        }
        return free;
    }

    MetadataStore& store_;
    std::map<std::string, int, std::less<>> next_;
};

struct Visit {
    const XmlElement* next;   // the sibling to go on with
    size_t parentPathLength;  // of the path that its siblings share
};

void StoreElement(std::string_view path, const XmlElement& element, NumberedKeys& keys) {
    if (element.Value().empty() || path == scheme) return;
    if (path.starts_with(aswgPath)) path.remove_prefix(scheme.size() + 1);
    keys.Store(path, Utf8OrLatin1(element.Value()));
}

// Cuts to the longest path, between characters.
void CutPath(std::string& path) {
    if (path.size() <= longestPath) return;
    size_t end = longestPath;
    while ((static_cast<uint8_t>(path[end]) & 0xC0) == 0x80)
        --end;
    path.resize(end);
}

void AppendName(std::string& path, std::string_view name) {
    if (name == rootName) return;
    path.append(":").append(Utf8OrLatin1(name));
    CutPath(path);
}

// In document order, without recursion. The root's own text belongs to no field.
void WalkTree(const XmlElement& root, NumberedKeys& keys) {
    std::string path(scheme);
    AppendName(path, root.name);
    std::vector<Visit> open = {{root.firstChild, path.size()}};
    while (!open.empty()) {
        path.resize(open.back().parentPathLength);
        const XmlElement* element = open.back().next;
        if (element == nullptr) {
            open.pop_back();
            continue;
        }
        open.back().next = element->nextSibling;
        AppendName(path, element->name);
        StoreElement(path, *element, keys);
        if (element->firstChild != nullptr) open.push_back({element->firstChild, path.size()});
    }
}

}  // namespace

bool ReadIxml(std::span<const uint8_t> document, MetadataStore& store) {
    const std::string_view bytes(reinterpret_cast<const char*>(document.data()), document.size());
    std::string_view text = FindDocument(bytes);
    text = text.substr(0, text.find('\0'));
    if (text.empty()) return false;
    XmlMemoryParser parser(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    if (parser.Parse() != nullptr || parser.Root() == nullptr) return false;
    NumberedKeys keys(store);
    WalkTree(*parser.Root(), keys);
    return true;
}

}  // namespace vantor
