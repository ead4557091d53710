// Documents of many thousands of parts, in which a search or a copy could begin from the start with each
// part.
#include "tests/support/steps.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>

#include "metadata/patch/patch_chunks.h"
#include "metadata/write/build_chunks.h"
#include "tests/metadata/id3_tag_writer.h"
#include "tests/metadata/store_entries.h"

namespace vantor::test {
namespace {

std::string Repeated(int count, const std::function<std::string(std::string)>& part) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += part(std::to_string(i));
    return text;
}

std::string Ixml(const std::string& inside) {
    return "<BWFXML>" + inside + "</BWFXML>";
}

std::string Nested(int depth) {
    return Repeated(depth, [](auto) { return "<a>"; }) + "x" + Repeated(depth, [](auto) { return "</a>"; });
}

std::string Xmp(const std::string& properties) {
    return "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'"
           " xmlns:dc='http://purl.org/dc/elements/1.1/'"
           " xmlns:xmpDM='http://ns.adobe.com/xmp/1.0/DynamicMedia/'><rdf:Description rdf:about=''>" +
           properties + "</rdf:Description></rdf:RDF>";
}

std::string XmpMarkers(int count) {
    return Xmp("<xmpDM:Tracks><rdf:Bag><rdf:li rdf:parseType='Resource'><xmpDM:markers><rdf:Seq>" +
               Repeated(count, [](auto i) { return "<rdf:li xmpDM:startTime='" + i + "'/>"; }) +
               "</rdf:Seq></xmpDM:markers></rdf:li></rdf:Bag></xmpDM:Tracks>");
}

Bytes Id3Frames(int count, const std::string& id, uint8_t flags) {
    Id3TagWriter tag(4);
    for (int i = 0; i < count; ++i)
        tag.Frame(id, ByteWriter().U8(0).Text(std::to_string(i)).U8(0).Text("\xFF\xFF"));
    return tag.Tag(flags);
}

Bytes InfoItems(int count) {
    ByteWriter items;
    items.Text("INFO");
    for (int i = 0; i < count; ++i)
        items.Chunk("I" + std::to_string(100 + i % 900), ByteWriter().Text(std::to_string(i)).U8(0));
    return items;
}

Bytes CafPairs(int count) {
    ByteWriter pairs;
    pairs.Be32(static_cast<uint32_t>(count));
    for (int i = 0; i < count; ++i)
        pairs.Text("key" + std::to_string(i)).U8(0).Text("value").U8(0);
    return pairs;
}

struct Document {
    const char* name;
    const char* kind;
    std::function<Bytes(int)> make;  // of so many parts
};
const Document documents[] = {
    {"repeats of one name", "IXML",
     [](int n) { return BytesOf(Ixml(Repeated(n, [](auto i) { return "<A>" + i + "</A>"; }))); }},
    {"keys of a user's own", "IXML",
     [](int n) {
         return BytesOf(
             Ixml("<USER>" + Repeated(n, [](auto i) { return "<K" + i + ">v</K" + i + ">"; }) + "</USER>"));
     }},
    {"elements in elements", "IXML", [](int n) { return BytesOf(Ixml(Nested(n))); }},
    {"attributes of one element", "XMP",
     [](int n) {
         return BytesOf(Xmp("<dc:title" +
                            Repeated(n, [](auto i) { return " xmlns:p" + i + "='urn:x' p" + i + ":q='1'"; }) +
                            "/>"));
     }},
    {"items of one bag", "XMP",
     [](int n) {
         return BytesOf(Xmp("<dc:subject><rdf:Bag>" +
                            Repeated(n, [](auto i) { return "<rdf:li>" + i + "</rdf:li>"; }) +
                            "</rdf:Bag></dc:subject>"));
     }},
    {"markers", "XMP", [](int n) { return BytesOf(XmpMarkers(n)); }},
    {"descriptions in descriptions", "XMP", [](int n) { return BytesOf(Xmp(Nested(n))); }},
    {"frames of one id", "ID3", [](int n) { return Id3Frames(n, "TXXX", 0); }},
    {"chapters", "ID3", [](int n) { return Id3Frames(n, "CHAP", 0); }},
    {"frames, unsynchronised", "ID3", [](int n) { return Id3Frames(n, "TXXX", 0x80); }},
    {"items", "INFO", InfoItems},
    {"pairs", "CAFINFO", CafPairs},
};

// Twice as many parts take at most a little more than twice the steps.
template <typename Input>
void ExpectLinearSteps(const std::string& name, const std::function<Input(int)>& make,
                       const std::function<void(const Input&)>& work) {
    constexpr int parts = 3000;
    const auto steps = [&](int count) {
        const Input input = make(count);
        const uint64_t before = StepsSoFar();
        work(input);
        return static_cast<double>(StepsSoFar() - before);
    };
    const double once = steps(parts) + 1, twice = steps(2 * parts);
    EXPECT_LT(twice, 2.4 * once) << name << ": " << once << " steps for " << parts << " parts";
}

MetadataStore Read(std::string_view kind, const Bytes& document) {
    MetadataStore store;
    ReadMetadataChunk(document, kind, store, 0);
    return store;
}

void Build(const MetadataStore& store) {
    ChunkImage image;
    BuildIxmlChunk(image, store, 0);
    BuildXmpChunk(image, store);
    BuildInfoChunk(image, store);
    BuildId3Chunk(image, store, nullptr, {});
}

void Patch(std::string_view kind, const Bytes& document, const MetadataStore& change) {
    static const std::map<std::string_view, Patched (*)(const PatchInput&)> patchers = {
        {"IXML", PatchIxml}, {"XMP", PatchXmp}, {"ID3", PatchId3}, {"INFO", PatchInfo}};
    const auto patcher = patchers.find(kind);
    if (patcher != patchers.end()) (void)patcher->second({document, change});
}

TEST(StepsOfDocuments, AreAsTheirSizeToReadToBuildAndToPatch) {
    for (const auto& [name, kind, make] : documents) {
        const std::string document = std::string(kind) + ", " + name;
        ExpectLinearSteps<Bytes>("read " + document, make, [&](const Bytes& bytes) { Read(kind, bytes); });
        if (Read(kind, make(1)).Count() == 0) continue;  // what it holds is for no key
        ExpectLinearSteps<MetadataStore>(
            "build " + document, [&](int parts) { return Read(kind, make(parts)); }, Build);
        ExpectLinearSteps<std::pair<Bytes, MetadataStore>>(
            "patch " + document,
            [&](int parts) {
                const Bytes bytes = make(parts);
                const auto entries = EntriesOf(Read(kind, bytes));
                return std::pair(bytes, StoreOf({{entries.back().first, "changed"}}));
            },
            [&](const auto& input) { Patch(kind, input.first, input.second); });
    }
}

// The code of an audio description is looked for as text.
TEST(StepsOfDocuments, AreAsTheirSizeToPutACodeIntoAndToTakeItOut) {
    for (const std::string piece : {"coreMetadata", "<coreMetadata ", "ISRC:", "ISRC:<", "<a:coreMetadata>"})
        for (const std::string code : {"CODE", ""})
            ExpectLinearSteps<std::vector<ChunkBody>>(
                piece + " " + code,
                [&](int parts) {
                    return std::vector<ChunkBody>{BytesOf(Repeated(parts, [&](auto) { return piece; }))};
                },
                [&](const auto& documents) {
                    ChunkImage image;
                    BuildAxmlChunk(image, StoreOf({{"AXML:ISRC", code}}), documents);
                });
}

}  // namespace
}  // namespace vantor::test
