// Chunks by themselves: those that stand there twice, those that their readers refuse, and their texts.
#include <algorithm>
#include <iterator>
#include <utility>

#include "fileio/byte_order.h"
#include "formats/document_chunks.h"
#include "formats/markers.h"
#include "metadata/acid_layout.h"
#include "metadata/bext_layout.h"
#include "metadata/cart_layout.h"
#include "metadata/read/id3_frames.h"
#include "metadata/read/read_metadata.h"
#include "metadata/tag_schemes.h"
#include "text/text.h"
#include "wavehost/care/examine.h"
#include "wavehost/care/fields.h"
#include "wavehost/care/xml_document.h"

namespace vantor::wavehost {

namespace {

struct SingleChunk {
    std::string_view id;
    bool isVital;  // the sound is read by it: one of two that differ is never taken away
};
constexpr SingleChunk singleChunks[] = {
    {"fmt ", true},  {"data", true},  {"COMM", true},  {"SSND", true},  {"VHDR", true},  {"BODY", true},
    {"desc", true},  {"fact", false}, {"bext", false}, {"iXML", false}, {"axml", false}, {"_PMX", false},
    {"cart", false}, {"id3 ", false}, {"ID3 ", false}, {"cue ", false}, {"smpl", false}, {"inst", false},
    {"acid", false}, {"chna", false}, {"r64m", false}, {"basc", false}, {"MARK", false}, {"INST", false},
    {"info", false}, {"chan", false}, {"mark", false}, {"regn", false}, {"strg", false}, {"pakt", false},
};

std::string_view PaddingId(const Survey& survey) {
    if (survey.format.fileKind == kindCaf) return "free";
    return survey.format.fileKind == kindWave64 ? "junk" : "JUNK";
}

bool AreSame(const Examination& e, const SurveyedChunk& one, const SurveyedChunk& other) {
    return one.bodyBytes == other.bodyBytes && one.bodyBytes <= Examination::largestBody &&
           e.BodyOf(one) == e.BodyOf(other);
}

// Of two that differ the later one counts, for the readers of the module; so the earlier one goes.
void AddDoubled(Examination& e, const SingleChunk& single, const SurveyedChunk& earlier,
                const SurveyedChunk& later) {
    const bool isSound = &earlier == &e.survey.SoundChunk() || &later == &e.survey.SoundChunk();
    const bool same = !isSound && AreSame(e, earlier, later);
    const SurveyedChunk& surplus = same ? later : earlier;
    Finding finding{
        FindingId::doubledChunk, later.id, later.start,
        "stands at " + std::to_string(earlier.start) + " already, " + (same ? "the same" : "and differs")};
    if (same || !single.isVital) {
        finding.mending = same ? Mending::certain : Mending::forced;
        finding.steps = {TextStep(surplus.start, PaddingId(e.survey))};
        if (!same) finding.text += "; --force makes the earlier one padding";
    }
    e.Add(std::move(finding));
}

void CheckDoubledChunks(Examination& e) {
    if (!e.survey.sound) return;
    for (const SingleChunk& single : singleChunks) {
        const SurveyedChunk* earlier = nullptr;
        for (const SurveyedChunk& chunk : e.survey.chunks) {
            if (chunk.id != single.id) continue;
            if (earlier) AddDoubled(e, single, *earlier, chunk);
            earlier = &chunk;
        }
    }
}

using Bytes = std::vector<uint8_t>;
using View = std::span<const uint8_t>;

std::string_view TextOf(View bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// What each kind of metadata must be, for the person.
struct Demand {
    std::string_view kind;
    const char* text;
};
constexpr Demand demands[] = {
    {"BWF", "shorter than the 602 bytes of a broadcast extension"},
    {"CART", "shorter than the 2048 bytes of a cart chunk"},
    {"INFO", "a list of another type than INFO"},
    {"ID3", "no ID3v2 tag, or one of another size than its chunk"},
    {"CAFINFO", "its entries are not the strings that it counts, or not UTF-8"},
    {"IXML", "holds no <BWFXML> document"},
    {"XMP", "holds no rdf:RDF element"},
};

struct Document {
    std::string_view kind;  // empty: nothing that a reader wants
    Bytes bytes;
};

// The metadata in a chunk and of what kind it is, in any container.
Document DocumentOf(const Examination& e, const SurveyedChunk& chunk) {
    if (e.survey.format.fileKind == kindCaf) {
        if (chunk.id == "info" && chunk.bodyBytes >= 5) return {"CAFINFO", e.BodyOf(chunk)};
        if (chunk.id != "uuid" || chunk.bodyBytes < std::ssize(xmpUuid)) return {};
        Bytes body = e.BodyOf(chunk);
        if (body.size() < std::size(xmpUuid) ||
            !std::ranges::equal(xmpUuid, View(body).first<std::size(xmpUuid)>()))
            return {};
        return {"XMP", {body.begin() + std::ssize(xmpUuid), body.end()}};
    }
    if (e.survey.format.fileKind == kindIff && chunk.id == "APPL" && chunk.bodyBytes > 4) {
        Bytes body = e.BodyOf(chunk);
        if (!TextOf(body).starts_with(xmpSignature)) return {};
        return {"XMP", {body.begin() + std::ssize(xmpSignature), body.end()}};
    }
    const TagScheme* scheme = SchemeOfChunkId(chunk.id);
    const std::string_view kind = scheme && scheme->read ? scheme->name : std::string_view();
    const bool isTag = e.survey.format.fileKind != kindIff || kind == "ID3";
    if (kind.empty() || !isTag || chunk.bodyBytes < 4) return {};
    Document document{kind, e.BodyOf(chunk)};
    if (kind == "INFO" && !EqualIgnoringCase(TextOf(document.bytes).substr(0, 4), "INFO")) document.kind = {};
    return document;
}

// What the parser says of a document that its reader refuses; axml is searched and not parsed by its reader.
std::string Refusal(const Document& document) {
    if (document.kind == "ACID")
        return document.bytes.size() < acid::bodyBytes ? "shorter than its 24 bytes" : "";
    const bool isXml = document.kind == "IXML" || document.kind == "XMP" || document.kind == "AXML";
    MetadataStore store;
    const bool isRead = ReadMetadataChunk(document.bytes, document.kind, store, 0);
    if (isRead && document.kind != "AXML") return "";
    if (isXml) {
        std::string fault = XmlFault(TextOf(document.bytes));
        if (!fault.empty() || isRead) return fault;
    }
    const auto* demand = std::ranges::find(demands, document.kind, &Demand::kind);
    return demand == std::end(demands) ? "its reader refuses it" : demand->text;
}

// Chunks of markers, whose sizes follow from their counts.
std::string MarkerRefusal(const SurveyedChunk& chunk, View body) {
    const auto size = static_cast<uint64_t>(chunk.bodyBytes);
    if (chunk.id == "cue " && body.size() >= 4 && (size - 4) / 24 < ReadLe32(body.data()))
        return "more cue points than it has room for";
    if (chunk.id == "smpl" && body.size() >= 36 &&
        36 + uint64_t{24} * ReadLe32(&body[28]) + ReadLe32(&body[32]) != size)
        return "loops and sampler data do not fill it";
    if (chunk.id == "r64m" && size % 320 != 0) return "no whole number of markers";
    if (chunk.id == "LIST" && TextOf(body).starts_with("adtl")) {
        std::vector<Marker> markers;
        TextPool names;
        MarkerTable table(markers, names);
        if (!ReadAssociatedData(body, 48000, table)) return "a label ends behind its list";
    }
    return "";
}

// | offset | width | field                                                        |
// |      0 |     2 | markers: id (2), frame (4), name (a count, text, even in all) |
std::string IffMarkerRefusal(View body) {
    if (body.size() < 2) return "shorter than its count";
    View rest = body.subspan(2);
    for (int left = ReadBe16(body.data()); left > 0; --left) {
        const size_t bytes = rest.size() < 7 ? 8 : 6 + (1 + size_t{rest[6]} + 1) / 2 * 2;
        if (bytes > rest.size() + 1) return "more markers than it has room for";
        rest = rest.subspan(std::min(bytes, rest.size()));
    }
    return "";
}

std::string InstrumentRefusal(View body) {
    constexpr size_t wholeBytes = 20;
    return body.size() < wholeBytes ? "shorter than its 20 bytes" : "";
}

struct IffDemand {
    std::string_view id;
    std::string (*refusal)(View body);
};
constexpr IffDemand iffDemands[] = {{"MARK", IffMarkerRefusal}, {"INST", InstrumentRefusal}};

void CheckIffChunks(Examination& e) {
    if (e.survey.format.fileKind != kindIff) return;
    for (const SurveyedChunk& chunk : e.survey.chunks) {
        const auto* demand = std::ranges::find(iffDemands, chunk.id, &IffDemand::id);
        if (demand == std::end(iffDemands) || chunk.isCutOff) continue;
        if (const auto refusal = demand->refusal(e.BodyOf(chunk)); !refusal.empty())
            e.Add({FindingId::refusedChunk, chunk.id, chunk.start, refusal});
    }
}

bool IsMarkerChunk(const Examination& e, const SurveyedChunk& chunk) {
    constexpr std::string_view ids[] = {"cue ", "smpl", "r64m", "LIST"};
    const bool isRiff = e.survey.format.fileKind == kindWave || e.survey.Is64();
    return isRiff && std::ranges::find(ids, chunk.id) != std::end(ids);
}

template <size_t count>
std::string FaultIn(View body, const TextField (&fields)[count]) {
    for (const TextField& field : fields)
        if (body.size() >= field.offset + field.width &&
            !IsValidUtf8(UpToNul(body.subspan(field.offset, field.width))))
            return field.key;
    return "";
}

// | offset | width | field                                              |
// |      4 |       | items: id (4), length (4), text, pad to even       |
std::string FaultInInfo(View body) {
    for (View rest = body.subspan(std::min<size_t>(body.size(), 4)); rest.size() > 8;) {
        const size_t length = ReadLe32(&rest[4]);
        const View data = rest.subspan(8);
        if (length > data.size()) return "";
        if (!IsValidUtf8(UpToNul(data.first(length)))) return "INFO:" + std::string(TextOf(rest.first(4)));
        rest = data.subspan(std::min(length + length % 2, data.size()));
    }
    return "";
}

// Of the frames that say that theirs is UTF-8 (encoding 3).
std::string FaultInId3(View tag) {
    constexpr uint8_t utf8 = 3;
    Id3FrameWalk walk(tag);
    for (Id3Frame frame; walk.Next(frame);)
        if (frame.id.starts_with('T') && !frame.data.empty() && frame.data[0] == utf8 &&
            !IsValidUtf8(TextOf(frame.data.subspan(1))))
            return "ID3:" + frame.id;
    return "";
}

// The first field whose text is not UTF-8. A document that names another encoding is left to its parser.
std::string EncodingFault(const Document& document) {
    const View body(document.bytes);
    if (document.kind == "BWF") {
        constexpr TextField fields[] = {bext::description, bext::originator, bext::originatorReference};
        if (auto field = FaultIn(body, fields); !field.empty()) return field;
        const View history = body.subspan(std::min(body.size(), bext::bodyBytes));
        return IsValidUtf8(UpToNul(history)) ? "" : "the coding history";
    }
    if (document.kind == "CART") return FaultIn(body, cart::textFields);
    if (document.kind == "INFO") return FaultInInfo(body);
    if (document.kind == "ID3") return FaultInId3(body);
    const bool isXml = document.kind == "IXML" || document.kind == "AXML";
    if (isXml && !NamesOtherEncoding(TextOf(body)) && !IsValidUtf8(UpToNul(body))) return "the document";
    return "";
}

void CheckDocuments(Examination& e) {
    for (const SurveyedChunk& chunk : e.survey.chunks) {
        if (chunk.isCutOff || (e.survey.sound && &chunk == &e.survey.SoundChunk())) continue;
        if (IsMarkerChunk(e, chunk))
            if (const auto refusal = MarkerRefusal(chunk, e.BodyOf(chunk)); !refusal.empty())
                e.Add({FindingId::refusedChunk, chunk.id, chunk.start, refusal});
        const Document document = DocumentOf(e, chunk);
        if (document.kind.empty()) continue;
        if (const auto refusal = Refusal(document); !refusal.empty())
            e.Add({FindingId::refusedChunk, chunk.id, chunk.start, refusal});
        if (const auto field = EncodingFault(document); !field.empty())
            e.Add({FindingId::textEncoding, chunk.id, chunk.start, field + " is not valid UTF-8"});
    }
}

// The text chunks of AIFF files.
void CheckIffTexts(Examination& e) {
    constexpr std::string_view ids[] = {"NAME", "AUTH", "(c) ", "ANNO"};
    if (e.survey.format.fileKind != kindIff) return;
    for (const SurveyedChunk& chunk : e.survey.chunks) {
        if (std::ranges::find(ids, chunk.id) == std::end(ids)) continue;
        if (!IsValidUtf8(UpToNul(e.BodyOf(chunk))))
            e.Add({FindingId::textEncoding, chunk.id, chunk.start, "the text is not valid UTF-8"});
    }
}

}  // namespace

std::vector<Check> ChunkChecks() {
    return {CheckDoubledChunks, CheckDocuments, CheckIffTexts, CheckIffChunks};
}

}  // namespace vantor::wavehost
