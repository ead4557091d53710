// Tags changed in a whole file: what is no tag must come through unharmed.
#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <string>

#include "fileio/byte_order.h"
#include "formats/adpcm_shape.h"
#include "fuzz/world.h"
#include "metadata/key_table.h"
#include "source/extended_calls.h"

namespace vantor::fuzz {

namespace {

using test::Bytes;
using namespace std::string_view_literals;

constexpr const char* targetName = "copy.wav";
constexpr int32_t comparedFrames = 1000;
constexpr size_t chunkHeaderBytes = 8;

struct Change {
    const char* key;
    const char* value;
};

constexpr Change changes[] = {
    {"INFO:INAM", "A title"},  {"BWF:Description", "Scene 5"}, {"TITLE", "Another"}, {"IXML:SCENE", "5A"},
    {"XMP:dm/artist", "Them"}, {"ID3:TIT2", "Song"},           {"CART:Title", "C"},  {"AXML:XML", "<a/>"},
    {"INFO:INAM", ""},         {"BWF:Description", ""},        {"BPM", "120"},       {"KEY", "C"},
};

// The audio of a file: how much of it there is, and the samples at its ends.
struct Audio {
    int64_t lengthFrames = 0;
    int32_t channels = 0;
    double sampleRate = 0;
    std::vector<double> first, last;
};

Audio AudioOf(PCM_source_wavefile& source) {
    const auto format = source.Attachment().format;
    Audio audio{format->lengthFrames, format->channels, format->sampleRate, {}, {}};
    // With bytes between its frames the sound goes on behind the audio chunk.
    const int32_t frameBytes = audio.channels * WholeBytes(format->bitsPerSample);
    const bool isSparse = !IsAdpcm(format->encoding) && format->blockAlign > frameBytes;
    if (audio.channels > 64 || isSparse) return audio;
    audio.first = ReadFramesAt(source, 0, comparedFrames, audio.channels, comparedFrames);
    const auto tail = static_cast<double>(std::max<int64_t>(audio.lengthFrames - comparedFrames, 0));
    audio.last = ReadFramesAt(source, tail, comparedFrames, audio.channels, comparedFrames);
    return audio;
}

bool SameSamples(const std::vector<double>& left, const std::vector<double>& right) {
    return left.size() == right.size() &&
           (left.empty() || std::memcmp(left.data(), right.data(), left.size() * sizeof(double)) == 0);
}

bool IsKept(std::string_view id, Input body) {
    constexpr std::array replaced = {"JUNK"sv, "junk"sv, "JUNQ"sv, "junq"sv, "FILR"sv, "filr"sv,
                                     "FLLR"sv, "fllr"sv, "PAD_"sv, "pad_"sv, "bext"sv, "axml"sv,
                                     "iXML"sv, "cart"sv, "CART"sv, "_PMX"sv, "ID3 "sv, "id3 "sv,
                                     "ID3x"sv, "id3x"sv, "ID3_"sv, "id3_"sv, "acid"sv, "ds64"sv};
    if (std::find(replaced.begin(), replaced.end(), id) != replaced.end()) return false;
    if (id != "LIST" && id != "list") return true;
    const auto type = body.size() >= 4 ? FourCharacters(body.data()) : ""sv;
    return type != "INFO" && type != "info";
}

// The chunks that an edit keeps, headers included; nothing when the file's 32-bit sizes do not lead to its
// end.
std::vector<Bytes> KeptChunks(const Bytes& file) {
    std::vector<Bytes> kept;
    size_t at = 12;
    while (file.size() > at && file.size() - at >= chunkHeaderBytes) {
        const size_t bodyBytes = ReadLe32(&file[at + 4]);
        const Input body = Input(file).subspan(at + chunkHeaderBytes);
        if (bodyBytes > body.size()) return {};
        const auto id = FourCharacters(&file[at]);
        if (id == "data" && bodyBytes == 0) return {};
        if (IsKept(id, body.first(bodyBytes)))
            kept.emplace_back(&file[at], &file[at] + chunkHeaderBytes + bodyBytes);
        at += chunkHeaderBytes + bodyBytes + (bodyBytes & 1);
    }
    return file.size() > at ? std::vector<Bytes>() : kept;
}

intptr_t Edit(PCM_source& source, const std::vector<MetadataPair>& pairs, int32_t flags) {
    return source.ExtendedCall(callWriteMetadata, const_cast<char*>(targetName),
                               const_cast<MetadataPair*>(pairs.data()),
                               reinterpret_cast<void*>(intptr_t{flags}));
}

std::vector<MetadataPair> ChosenPairs(Choices& choices) {
    std::vector<MetadataPair> pairs;
    for (int i = 0; i < 2; ++i) {
        const auto& change = changes[choices.OneOf(std::size(changes))];
        pairs.push_back({change.key, change.value});
    }
    pairs.push_back({});
    return pairs;
}

using Entries = std::map<std::string, std::string>;

// Pictures may lie anywhere.
Entries EntriesOf(PCM_source& source, ExtendedCode call) {
    Entries entries;
    const char *key = nullptr, *value = nullptr;
    for (intptr_t i = 0; source.ExtendedCall(call, reinterpret_cast<void*>(i), &key, &value); ++i)
        if (!IsPictureKey(key)) entries[key] = value;
    return entries;
}

void RequireSameAudio(const Audio& before, const Audio& after) {
    Require(before.lengthFrames == after.lengthFrames, "same length");
    Require(before.channels == after.channels && before.sampleRate == after.sampleRate, "same format");
    Require(SameSamples(before.first, after.first) && SameSamples(before.last, after.last), "same samples");
}

void RequireKept(const Bytes& before, const Bytes& after) {
    const auto kept = KeptChunks(before);
    Require(kept.empty() || kept == KeptChunks(after), "same chunks");
}

}  // namespace

void EditMetadata(Input input) {
    Choices choices(input);
    World world(input, choices);
    const int32_t flags = choices.OneOf(8);
    const auto pairs = ChosenPairs(choices);
    const Bytes original(input.begin(), input.end());
    Audio before;
    Entries planned;
    bool isReadToItsEnd = false;
    intptr_t answer = 0, result = 0;
    {
        OpenedSource source;
        if (!source->IsOnline()) return;
        before = AudioOf(*source);
        isReadToItsEnd = !source->Attachment().format->isIncomplete;
        answer = Edit(*source, pairs, flags | writeAnswerAlone);
        planned = EntriesOf(*source, callPlannedEntry);
        Require(*world.files.Find(fileName) == original, "asked for the answer alone");
        result = Edit(*source, pairs, flags);
    }
    const bool inPlace = result == 2;
    const auto isMarked = [&](std::string_view mark) {
        return std::search(original.begin(), original.end(), mark.begin(), mark.end()) != original.end();
    };
    // An interrupted edit is finished, whatever becomes of the request itself.
    const bool isUnfinished = isMarked("VWEDIT02"sv) || isMarked("VWCLEAN1"sv);
    Require(inPlace || isUnfinished || *world.files.Find(fileName) == original, "the source is left alone");
    Require(answer == result || isUnfinished, "the answer that was told before");
    if (result == 0) return;
    const Bytes edited = *world.files.Find(inPlace ? fileName : targetName);
    RequireKept(original, edited);
    world.files.Put(fileName, edited);
    OpenedSource source;
    Require(source->IsOnline(), "playable as before");
    RequireSameAudio(before, AudioOf(*source));
    // Behind a chunk that ends the reader's walk nobody sees what was told.
    const bool isWellFormed = isReadToItsEnd && !KeptChunks(original).empty();
    Require(!isWellFormed || isUnfinished || planned == EntriesOf(*source, callEntryByIndex),
            "the tags that were told before");
}

}  // namespace vantor::fuzz
