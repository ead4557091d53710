#include "metadata/read/ixml_walk.h"

#include "text/text.h"

namespace vantor {

namespace {

constexpr std::string_view rootTag = "<BWFXML>";
constexpr std::string_view aswgPath = "IXML:ASWG:";
constexpr size_t shortestSearched = 21;  // less than this is taken as it stands
constexpr size_t longestPath = 511;      // bytes; a key adds no more than a number

std::string_view FromRoot(std::string_view text) {
    if (text.size() < shortestSearched) return text;
    for (; text.size() >= shortestSearched; text.remove_prefix(1))
        if (text.front() == '<' && StartsWithIgnoringCase(text, rootTag)) return text;
    return {};
}

// Cuts to the longest path, between characters.
void CutPath(std::string& path) {
    path.resize(CutAtCharacter(path, longestPath).size());
}

void AppendName(std::string& path, std::string_view name) {
    if (name == ixmlRootName) return;
    path.append(":").append(Utf8OrLatin1(name));
    CutPath(path);
}

std::string Numbered(std::string_view key, int number) {
    return std::string(key).append(":").append(std::to_string(number));
}

}  // namespace

std::string_view FindIxmlDocument(std::string_view chunk) {
    const std::string_view text = FromRoot(chunk);
    return text.substr(0, text.find('\0'));
}

std::string_view IxmlKeyOfPath(std::string_view path) {
    return path.starts_with(aswgPath) ? path.substr(ixmlScheme.size() + 1) : path;
}

bool IsIxmlKey(std::string_view key) {
    return key.starts_with("IXML:") || key.starts_with("ASWG:");
}

IxmlWalk::IxmlWalk(const XmlElement& root) : path_(ixmlScheme), elements_{&root} {
    AppendName(path_, root.name);
    levels_.push_back({root.firstChild, path_.size()});
}

bool IxmlWalk::Next() {
    elements_.resize(levels_.size());
    while (!levels_.empty()) {
        Level& level = levels_.back();
        path_.resize(level.parentPathLength);
        const XmlElement* element = level.next;
        if (element != nullptr) {
            level.next = element->nextSibling;
            AppendName(path_, element->name);
            elements_.push_back(element);
            if (element->firstChild != nullptr) levels_.push_back({element->firstChild, path_.size()});
            return true;
        }
        levels_.pop_back();
        elements_.pop_back();
    }
    return false;
}

std::string IxmlNumbering::Store(std::string_view key, std::string_view value) {
    if (!store_.Has(key)) {
        store_.Set(key, value);
        return std::string(key);
    }
    auto place = next_.find(key);
    if (place == next_.end()) place = next_.emplace(key, 2).first;
    const int number = FirstFree(key, place->second);
    auto numbered = Numbered(key, number);
    store_.Set(numbered, value);
    place->second = number + 1;
    return numbered;
}

bool IxmlNumbering::IsTaken(std::string_view key, int number) const {
    return store_.Has(Numbered(key, number));
}

// The first few numbers are tried one by one. Behind a long run, left by an earlier chunk, the end is found
// by doubling and halving: a file may bring any number of chunks.
int IxmlNumbering::FirstFree(std::string_view key, int number) const {
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

}  // namespace vantor
