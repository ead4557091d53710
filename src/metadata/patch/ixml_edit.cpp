#include "metadata/patch/ixml_edit.h"

#include <algorithm>

#include "metadata/read/ixml_walk.h"
#include "metadata/write/escape_xml.h"

namespace vantor {

namespace {

constexpr std::string_view aswgPrefix = "ASWG:";
constexpr size_t longestName = 480;

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

}  // namespace

// Where the elements of a path stand that a new one is to follow.
struct IxmlEdit::Neighbours {
    Path empty;        // the first without a text behind the last with one
    Path freeParent;   // the first element one step up behind the last with a text; holds none unless `empty`
    Path parent;       // the last element of the longest part of the path that is there
    size_t depth = 0;  // of `parent`, in names
};

// The element whose text is stored under the key.
IxmlEdit::Path IxmlEdit::Find(std::string_view key) const {
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
IxmlKeys IxmlEdit::ChangeTexts(const MetadataStore& change) {
    IxmlKeys changed;
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

bool IxmlEdit::RemoveTexts(const IxmlKeys& keys) {
    if (!text_.Parse()) return false;
    MetadataStore taken;
    if (before_ != nullptr) taken.AddMissing(*before_);
    IxmlNumbering numbering(taken);
    std::vector<const XmlElement*> found;
    for (IxmlWalk walk(text_.Root()); walk.Next();) {
        const auto& element = walk.Element();
        if (element.Value().empty() || walk.Path() == ixmlScheme) continue;
        if (!keys.contains(numbering.Store(IxmlKeyOfPath(walk.Path()), element.Value()))) continue;
        const auto path = walk.Elements();
        if (element.firstChild != nullptr || GoesWhole({path.begin(), path.end()})) return false;
        found.push_back(&element);
    }
    for (auto element = found.rbegin(); element != found.rend(); ++element)
        text_.SetValue(**element, "");
    return true;
}

// True for an element that was added and is to leave no trace.
bool IxmlEdit::GoesWhole(const Path& path) const {
    const XmlElement& element = *path.back();
    const bool isBare = element.firstChild == nullptr && element.firstAttribute == nullptr;
    return isBare && text_.WasAdded(element, *path[path.size() - 2]);
}

// True when it is there.
bool IxmlEdit::Change(std::string_view key, std::string_view value) {
    if (!text_.Parse()) return false;
    const Path path = Find(key);
    if (!path.empty()) text_.SetValue(*path.back(), XmlContent(value, isUtf8_));
    return !path.empty();
}

void IxmlEdit::Remove(std::string_view key) {
    if (!text_.Parse()) return;
    const Path path = Find(key);
    if (path.empty()) return;
    if (GoesWhole(path))
        text_.Remove(path);
    else
        text_.SetValue(*path.back(), "");
}

IxmlEdit::Neighbours IxmlEdit::FindNeighbours(const std::vector<std::string>& names) const {
    Neighbours found{{}, {}, {&text_.Root()}, 0};
    std::vector<std::string> paths;  // of the first name, the first two ...
    for (size_t count = 1; count <= names.size(); ++count)
        paths.push_back(PathOf(names, count));
    for (IxmlWalk walk(text_.Root()); walk.Next();) {
        const size_t depth = static_cast<size_t>(std::ranges::find(paths, walk.Path()) - paths.begin()) + 1;
        const auto elements = [&] { return Path(walk.Elements().begin(), walk.Elements().end()); };
        if (depth < names.size() && depth >= found.depth) found.parent = elements(), found.depth = depth;
        if (depth + 1 == names.size() && found.freeParent.empty()) found.freeParent = elements();
        if (depth != names.size()) continue;
        if (!walk.Element().Value().empty())
            found.empty.clear(), found.freeParent.clear();
        else if (found.empty.empty())
            found.empty = elements();
    }
    return found;
}

bool IxmlEdit::Add(IxmlFieldKey key, std::string_view value) {
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

void IxmlEdit::AddElements(const Path& parent, std::span<const std::string> names, std::string_view value) {
    std::string markup, close;
    for (const auto& name : names) {
        if (!markup.empty()) markup += '\n';
        markup.append("<").append(name).append(">");
        close.insert(0, "</" + name + ">");
    }
    text_.AddChild(*parent.back(), markup + XmlContent(value, isUtf8_) + close);
}

bool IxmlEdit::IsEmpty() {
    return text_.Parse() &&
           text_.Content(text_.Root()).find_first_not_of(" \t\r\n") == std::string_view::npos;
}

}  // namespace vantor
