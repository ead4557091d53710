// The "axml" chunk: the documents of the file as they stand (an audio description of many megabytes may be
// among them), with the ISRC of the store in them; without one, a small document for the ISRC alone.
#include <algorithm>
#include <optional>
#include <string>

#include "metadata/read/read_metadata.h"
#include "metadata/write/build_chunks.h"
#include "metadata/write/escape_xml.h"

namespace vantor {

namespace {

constexpr const char* key = "AXML:ISRC";
constexpr std::string_view mark = "ISRC:";

// An EBUCore document (EBU Tech 3293) that carries the ISRC as EBU Tech 3352 asks.
constexpr std::string_view head =
    R"(<?xml version="1.0" encoding="UTF-8"?>
<ebucore:ebuCoreMain xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:ebucore="urn:ebu:metadata-schema:ebuCore_2012">
  <ebucore:coreMetadata>
    <ebucore:identifier typeLabel="GUID" typeDefinition="Globally Unique Identifier" formatLabel="ISRC" formatDefinition="International Standard Recording Code" formatLink="http://www.ebu.ch/metadata/cs/web/ebu_IdentifierTypeCodeCS_p.xml.htm#3.7">
      <dc:identifier>ISRC:)";
constexpr std::string_view tail = R"(</dc:identifier>
    </ebucore:identifier>
  </ebucore:coreMetadata>
</ebucore:ebuCoreMain>
)";

std::string_view TextOf(const ChunkBody& body) {
    return {reinterpret_cast<const char*>(body.data()), body.size()};
}

void AppendDocument(ChunkImage& image, std::string_view document) {
    AppendChunk(image, "axml", reinterpret_cast<const uint8_t*>(document.data()), document.size());
}

// Readers that search for the code leave references as they find them: a reference already there stays one,
// or it would grow with every edit.
std::string EscapeOnce(std::string_view text) {
    std::string escaped;
    for (; !text.empty(); text.remove_prefix(1)) {
        const bool isReference =
            text.starts_with("&amp;") || text.starts_with("&lt;") || text.starts_with("&gt;");
        if (isReference)
            escaped += '&';
        else
            EscapeXml(escaped, text.substr(0, 1), true);
    }
    return escaped;
}

// A code in a document, from its mark to the next tag.
struct CodePlace {
    size_t start;
    size_t end;
};
std::optional<CodePlace> FindCode(std::string_view text, size_t from = 0) {
    const size_t start = text.find(mark, from);
    if (start == text.npos) return std::nullopt;
    const size_t end = text.find('<', start);
    if (end == text.npos) return std::nullopt;
    return CodePlace{start, end};
}

// A small document that stands for an ISRC alone; a second line feed makes it even.
std::string OwnDocument(std::string_view code) {
    auto document = std::string(head).append(code).append(tail);
    if (document.size() % 2 != 0) document += '\n';
    return document;
}

bool IsOwnDocument(std::string_view text) {
    if (text.ends_with("\n\n")) text.remove_suffix(1);
    if (!text.starts_with(head) || !text.ends_with(tail)) return false;
    const size_t codeEnd = text.find('<', head.size());
    return codeEnd == text.size() - tail.size();
}

// Where the content of the document's <coreMetadata> begins, and its prefix with the colon.
struct CoreMetadata {
    std::string_view prefix;
    size_t content = 0;  // 0: the document has none
};

// The end of a start tag, behind its ">"; nothing when the element is empty or the tag does not end.
std::optional<size_t> EndOfStartTag(std::string_view text, size_t from) {
    char quote = 0;
    for (size_t at = from; at < text.size(); ++at) {
        if (quote != 0) {
            if (text[at] == quote) quote = 0;
        } else if (text[at] == '"' || text[at] == '\'') {
            quote = text[at];
        } else if (text[at] == '>') {
            return text[at - 1] == '/' ? std::nullopt : std::optional(at + 1);
        }
    }
    return std::nullopt;
}

CoreMetadata FindCoreMetadata(std::string_view text) {
    constexpr std::string_view name = "coreMetadata";
    constexpr size_t longestPrefix = 64;
    for (size_t at = text.find(name); at != text.npos; at = text.find(name, at + 1)) {
        const size_t windowStart = at - std::min(at, longestPrefix);
        const auto before = text.substr(windowStart, at - windowStart);
        const size_t open = before.rfind('<');
        if (open == before.npos) continue;
        const auto prefix = before.substr(open + 1);
        if (!prefix.empty() && (!prefix.ends_with(':') || !IsXmlName(prefix.substr(0, prefix.size() - 1))))
            continue;
        const size_t behind = at + name.size();
        if (behind == text.size() ||
            std::string_view("> \t\r\n").find(text[behind]) == std::string_view::npos)
            continue;
        const auto content = EndOfStartTag(text, behind);
        if (!content) break;
        return {prefix, *content};
    }
    return {};
}

// The element that carries a code in somebody else's document.
std::string IdentifierElement(std::string_view prefix, std::string_view code) {
    return std::string("<").append(prefix).append(
               "identifier typeLabel=\"GUID\" formatLabel=\"ISRC\"><dc:identifier "
               "xmlns:dc=\"http://purl.org/dc/elements/1.1/\">ISRC:") +
           std::string(code).append("</dc:identifier></").append(prefix).append("identifier>");
}

// The document without any code; the element that an edit once put there goes with it.
std::string WithoutCodes(std::string_view text) {
    const auto core = FindCoreMetadata(text);
    std::string kept;
    size_t copied = 0;
    for (auto code = FindCode(text); code; code = FindCode(text, copied)) {
        size_t start = code->start, end = code->end;
        if (core.content != 0) {
            const auto element =
                IdentifierElement(core.prefix, text.substr(start + mark.size(), end - start - mark.size()));
            const size_t before = element.find(mark);
            if (start >= copied + before && text.substr(start - before).starts_with(element)) {
                start -= before;
                end = start + element.size();
            }
        }
        kept.append(text.substr(copied, start - copied));
        copied = end;
    }
    return kept.append(text.substr(copied));
}

std::string WithCode(std::string_view text, const CodePlace& place, std::string_view code) {
    return std::string(text.substr(0, place.start + mark.size())).append(code).append(text.substr(place.end));
}

void AppendWithoutCodes(ChunkImage& image, std::span<const ChunkBody> documents) {
    for (const auto& document : documents)
        if (!IsOwnDocument(TextOf(document))) AppendDocument(image, WithoutCodes(TextOf(document)));
}

// The first code of each document is what readers find. Where there is none yet, it goes into the first
// document that has room for it, else into one of its own.
void AppendWithCode(ChunkImage& image, std::span<const ChunkBody> documents, std::string_view code) {
    bool isPlaced = std::ranges::any_of(
        documents, [](const ChunkBody& document) { return FindCode(TextOf(document)).has_value(); });
    for (const auto& document : documents) {
        const auto text = TextOf(document);
        const auto place = FindCode(text);
        const auto core = isPlaced ? CoreMetadata{} : FindCoreMetadata(text);
        if (IsOwnDocument(text)) {
            AppendDocument(image, OwnDocument(code));
        } else if (place) {
            AppendDocument(image, WithCode(text, *place, code));
        } else if (core.content != 0) {
            AppendDocument(image, std::string(text.substr(0, core.content))
                                      .append(IdentifierElement(core.prefix, code))
                                      .append(text.substr(core.content)));
            isPlaced = true;
        } else {
            AppendDocument(image, text);
        }
    }
    if (!isPlaced) AppendDocument(image, OwnDocument(code));
}

}  // namespace

int BuildAxmlChunk(ChunkImage& image, const MetadataStore& store, std::span<const ChunkBody> oldDocuments) {
    const size_t before = image.size();
    MetadataStore old;
    for (const auto& document : oldDocuments)
        ReadAxml(document, old);
    const auto code = EscapeOnce(XmlText(store.Value(key)));
    if (store.Value(key) == old.Value(key)) {
        for (const auto& document : oldDocuments)
            AppendDocument(image, TextOf(document));
    } else if (code.empty()) {
        AppendWithoutCodes(image, oldDocuments);
    } else {
        AppendWithCode(image, oldDocuments, code);
    }
    return static_cast<int>(image.size() - before);
}

}  // namespace vantor
