// iXML and ASWG: the text of an element is replaced, removed or put in where the key's path says. Elements
// that have to be added go to the end of the last element that is on the way; "A:B:2" is the second element
// of that path that has a text.
#include <algorithm>
#include <charconv>
#include <optional>
#include <string>

#include "metadata/patch/ixml_edit.h"
#include "metadata/patch/patch_chunks.h"
#include "metadata/read/ixml_walk.h"
#include "metadata/read/read_metadata.h"
#include "text/text.h"

namespace vantor {

namespace {

constexpr std::string_view userSection = "IXML:USER";

// "IXML:A:B:2".
IxmlFieldKey SplitNumber(std::string_view key) {
    const size_t colon = key.rfind(':');
    const auto digits = key.substr(colon + 1);
    int number = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool isNumber = read.ptr == digits.data() + digits.size() && number > 1;
    return isNumber && digits.front() != '0' ? IxmlFieldKey{key.substr(0, colon), number}
                                             : IxmlFieldKey{key, 1};
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
    IxmlFieldKey key;
    std::string_view whole;
    std::string_view value;
};

// New texts for elements that are there; then removals, the last of a path first, and additions in their
// order: so numbers stand for the same elements all the time.
bool Apply(const MetadataStore& change, IxmlEdit& document) {
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
    IxmlKeys removed;
    for (const auto& wish : removals)
        removed.emplace(wish.whole);
    if (removals.size() > 1 && document.RemoveTexts(removed)) removals.clear();
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
    IxmlEdit document(std::string(text), IsUtf8(prolog, text), input.entriesBefore);
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
