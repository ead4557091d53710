#include "tests/edit/interrupted_cases.h"

#include <gtest/gtest.h>

#include "fileio/byte_order.h"
#include "metadata/write/build_chunks.h"

namespace vantor::test::interrupted {

namespace {

MetadataStore StoreOf(const Pairs& pairs) {
    MetadataStore store;
    for (const auto& [key, value] : pairs)
        store.Set(key, value);
    return store;
}

const MetadataStore oldStore = StoreOf({{"BWF:Description", "Old description"},
                                        {"BWF:TimeReference", "1500"},
                                        {"IXML:PROJECT", "Old project"},
                                        {"IXML:NOTE", "Old note"},
                                        {"INFO:INAM", "Old name"},
                                        {"INFO:IART", "Old artist"}});

bool IsNumbered(const std::string& key) {
    return key.size() > 2 && key[key.size() - 2] == ':';
}

}  // namespace

Bytes Bext() {
    Bytes image;
    BuildBextChunk(image, oldStore);
    return image;
}
Bytes Ixml() {
    Bytes image;
    BuildIxmlChunk(image, oldStore, 0);
    return image;
}
Bytes Info() {
    Bytes image;
    BuildInfoChunk(image, oldStore);
    return image;
}

std::vector<Layout> Layouts() {
    const Bytes all = Joined({Bext(), Ixml(), Info()}), none;
    std::vector<Layout> layouts = {
        {.what = "none", .inFront = none, .between = none, .behind = none, .isOneRun = true},
        {.what = "behind", .inFront = none, .between = none, .behind = all, .isOneRun = true},
        {.what = "in front", .inFront = all, .between = none, .behind = none},
        {.what = "both sides", .inFront = Joined({Bext(), Ixml()}), .between = none, .behind = Info()},
        {.what = "three places", .inFront = Bext(), .between = Ixml(), .behind = Info()},
        {.what = "front with room", .inFront = Joined({all, Padding(3000)}), .between = none, .behind = none},
        {.what = "room for two",
         .inFront = Joined({all, Padding(50), Padding(30000)}),
         .between = none,
         .behind = none},
        {.what = "padding in front",
         .inFront = Joined({Padding(8), Padding(20000)}),
         .between = none,
         .behind = none,
         .isOneRun = true},
        {.what = "padding in front, tags behind",
         .inFront = Joined({Padding(200), Padding(20000)}),
         .between = none,
         .behind = all,
         .isOneRun = true},
        {.what = "small padding", .inFront = Padding(20), .between = none, .behind = all, .isOneRun = true},
        {.what = "padding behind",
         .inFront = none,
         .between = none,
         .behind = Joined({Padding(3000), Padding(90), Padding(20000)}),
         .isOneRun = true},
        {.what = "tags and padding behind",
         .inFront = none,
         .between = none,
         .behind = Joined({all, Padding(400)}),
         .isOneRun = true},
        {.what = "odd audio", .inFront = Ixml(), .between = none, .behind = none, .audioBytes = 999},
        {.what = "odd end", .inFront = none, .between = none, .behind = all, .isOneRun = true},
        {.what = "unfinished",
         .inFront = Joined({all, Padding(27000), Padding(3000)}),
         .between = none,
         .behind = none,
         .isUnfinished = true},
        {.what = "garbage",
         .inFront = Joined({Bext(), Padding(29000), Padding(1000), Ixml()}),
         .between = none,
         .behind = Info(),
         .garbage = Bytes(77, 'x')},
        {.what = "garbage, padding elsewhere",
         .inFront = Joined({all, Padding(600)}),
         .between = Joined({Padding(200), Padding(29800)}),
         .behind = none,
         .garbage = Bytes(8, 'x')},
        {.what = "empty chunk",
         .inFront = Bext(),
         .between = ByteWriter().Chunk("id3 ", {}),
         .behind = Info()},
    };
    layouts.push_back({.what = "tags around padding",
                       .inFront = Joined({Bext(), Padding(30000), Ixml(), Info()}),
                       .between = none,
                       .behind = none,
                       .garbage = Bytes(8, 'x')});
    layouts.push_back({.what = "little padding behind",
                       .inFront = none,
                       .between = none,
                       .behind = Padding(60),
                       .isOneRun = true});
    layouts.push_back({.what = "garbage, room in a place",
                       .inFront = Padding(400),
                       .between = Joined({Ixml(), Padding(30000)}),
                       .behind = Info(),
                       .garbage = Bytes(8, 'x')});
    layouts[13].behind = Joined({all, ByteWriter().Text("PAD_").Le32(5).Text("Padd.")});
    for (const auto id : {"RF64", "BW64"})
        for (const size_t i : {1, 4, 6}) {
            layouts.push_back(layouts[i]);
            layouts.back().id = id;
        }
    return layouts;
}

Bytes FileOf(const Layout& layout) {
    ByteWriter chunks;
    const bool isWide = layout.id != "RIFF";
    if (isWide)
        chunks.Chunk("ds64",
                     ByteWriter().Le64(0).Le64(layout.audioBytes).Le64(layout.audioBytes / 2).Le32(0));
    chunks.Chunk("fmt ", FmtBody(1, 1, 1000, 16)).Add(layout.inFront);
    if (!layout.isUnfinished) chunks.Chunk("cue ", Bytes(4, 0)).Add(layout.between);
    chunks.Text("data").Le32(layout.isUnfinished ? 0 : static_cast<uint32_t>(layout.audioBytes));
    chunks.Fill(layout.audioBytes, 0x5A);
    if (!layout.isUnfinished)
        chunks.Fill(layout.audioBytes & 1, 0).Chunk("abcd", Bytes(6, 1)).Add(layout.behind);
    Bytes file = RiffFile(Joined({chunks, layout.garbage}), layout.id);
    if (isWide) WriteLe64(&file[20], file.size() - 8);
    WriteLe32(&file[4], static_cast<uint32_t>(file.size() - 8 - layout.garbage.size()));
    return file;
}

const std::vector<Edit> edits = {
    {"change", {{"TITLE", "New"}}, writeMerge},
    {"growth", {{"IXML:NOTE", std::string(3000, 'n')}}, writeMerge},
    {"shrinking", {{"BWF:Description", ""}, {"IXML:NOTE", ""}, {"INFO:IART", "x"}}, writeMerge},
    {"all replaced", {{"INFO:INAM", "Only"}}, 0},
    {"all removed", {{"BWF:Description", ""}}, 0},
    {"lossless, many schemes", {{"TITLE", "New"}}, writeMerge | writeLossless},
    {"lossless growth",
     {{"IXML:NOTE", std::string(3000, 'n')}, {"INFO:IART", "Another artist"}},
     writeMerge | writeLossless},
    {"lossless, in its place", {{"IXML:NOTE", "New note"}}, writeMerge | writeLossless},
    {"lossless removal",
     {{"INFO:INAM", ""}, {"INFO:IART", ""}, {"IXML:PROJECT", ""}, {"IXML:NOTE", ""}},
     writeMerge | writeLossless},
};

Seen Look(const Bytes& file) {
    MemoryFileSystem files;
    const platform::ScopedFileSystem scope(files);
    files.Put(name, file);
    FileReader reader(name, {});
    AudioFormat format;
    EXPECT_EQ(ParseAudioFormat(format, reader), 0);
    Seen seen{{}, KeptChunks(file), format.lengthFrames, format.dataStart};
    format.metadata.ForEach([&](const MetadataEntry& entry) { seen.tags[entry.key] = entry.value; });
    std::erase_if(seen.tags, [](const auto& tag) { return IsNumbered(tag.first); });
    std::erase_if(seen.kept, [](const ListedChunk& chunk) { return chunk.id == "ds64"; });
    return seen;
}

WriteAnswer RunEdit(MemoryFileSystem& files, const Edit& edit, const std::string& target) {
    const platform::ScopedFileSystem scope(files);
    return EditFile({.fileName = name,
                     .target = target,
                     .changes = StoreOf(edit.pairs),
                     .flags = edit.flags,
                     .forget = [](const std::string&) {}})
        .answer;
}

Case CaseOf(const Layout& layout, const Edit& edit) {
    Case c{layout, edit};
    c.before = FileOf(layout);
    MemoryFileSystem files;
    files.Put(name, c.before);
    files.trace = &c.trace;
    EXPECT_EQ(RunEdit(files, edit), updatedInPlace);
    c.after = *files.Find(name);
    c.old = Look(c.before);
    c.changed = Look(c.after);
    return c;
}

}  // namespace vantor::test::interrupted
