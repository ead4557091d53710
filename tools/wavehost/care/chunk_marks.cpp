#include "wavehost/care/chunk_marks.h"

#include <algorithm>
#include <map>

#include "metadata/tag_schemes.h"
#include "wavehost/care/survey.h"
#include "wavehost/os/failure.h"
#include "wavehost/os/fnv_hash.h"

namespace vantor::wavehost {

namespace {

using Marks = std::vector<ChunkMark>;

constexpr int64_t hashedBytes = int64_t{64} << 20;

uint64_t HashOf(FileReader& reader, int64_t start, int64_t bytes) {
    uint64_t hash = fnvStart;
    std::vector<uint8_t> scratch;
    reader.Seek(start);
    for (int64_t left = std::min(bytes, hashedBytes); left > 0;) {
        const uint8_t* piece = nullptr;
        const int64_t count = reader.Borrow(&piece, std::min<int64_t>(left, 1 << 16), scratch);
        if (count < 1) break;
        hash = FnvHash(std::span(piece, static_cast<size_t>(count)), hash);
        left -= count;
    }
    return hash;
}

// A list is one of tags when its type says so.
std::string SchemeOf(FileReader& reader, const SurveyedChunk& chunk) {
    const auto* scheme = SchemeOfChunkId(chunk.id);
    if (!scheme) return {};
    uint8_t type[4] = {};
    const bool isList = chunk.id == "LIST" || chunk.id == "list";
    if (isList && !(reader.Seek(chunk.bodyStart) && reader.ReadExactly(type, sizeof type))) return {};
    const std::string_view text(reinterpret_cast<const char*>(type), sizeof type);
    return isList && text != "INFO" && text != "info" ? std::string() : scheme->name;
}

// Those of `left` that have no equal in `right`, one for one.
Marks Missing(const Marks& left, const Marks& right) {
    std::multiset<ChunkMark> others(right.begin(), right.end());
    Marks missing;
    for (const ChunkMark& mark : left) {
        const auto equal = others.find(mark);
        if (equal == others.end())
            missing.push_back(mark);
        else
            others.erase(equal);
    }
    return missing;
}

std::string Bytes(const ChunkMark& mark) {
    return std::to_string(mark.bytes) + " bytes";
}

}  // namespace

std::vector<ChunkMark> ChunkMarksOf(const std::string& file) try {
    FileReader reader(file, {});
    if (!reader.IsOpen()) return {};
    const auto survey = SurveyFile(file, reader);
    Marks marks;
    for (size_t i = 0; i < survey->chunks.size(); ++i) {
        const SurveyedChunk& chunk = survey->chunks[i];
        const bool isSound = survey->sound && survey->sound->chunk == i;
        const auto scheme = SchemeOf(reader, chunk);
        if (scheme == paddingScheme || chunk.id == "ds64") continue;
        const auto hash = isSound ? 0 : HashOf(reader, chunk.bodyStart, chunk.bodyBytes);
        marks.push_back({chunk.id, scheme, isSound ? survey->sound->Bytes() : chunk.bodyBytes, hash});
    }
    return marks;
} catch (const Failure&) {
    return {};
}

ChunkMark MarkOfTags(const std::string& id, const std::string& scheme, std::span<const uint8_t> body) {
    return {id, scheme, std::ssize(body), FnvHash(body.first(std::min<size_t>(body.size(), hashedBytes)))};
}

std::vector<ChunkMark> WithTags(const std::vector<ChunkMark>& marks, const std::vector<ChunkMark>& tags) {
    std::map<std::string, Marks> left;
    for (auto tag = tags.rbegin(); tag != tags.rend(); ++tag)
        left[tag->scheme].push_back(*tag);
    Marks result;
    const auto take = [&](Marks& from) {
        result.push_back(from.back());
        from.pop_back();
    };
    for (const ChunkMark& mark : marks) {
        if (mark.scheme.empty())
            result.push_back(mark);
        else if (Marks& of = left[mark.scheme]; !of.empty())
            take(of);
    }
    for (auto& [scheme, of] : left)
        while (!of.empty())
            take(of);
    return result;
}

std::set<std::string> SchemesOfTags() {
    std::set<std::string> schemes;
    for (const TagScheme& scheme : tagTable)
        if (scheme.read) schemes.insert(scheme.name);
    return schemes;
}

std::vector<std::string> ChunkChanges(const std::vector<ChunkMark>& before,
                                      const std::vector<ChunkMark>& after,
                                      const std::set<std::string>& asked) {
    if (before.empty() || after.empty()) return {};
    const auto others = [&](Marks marks) {
        std::erase_if(marks, [&](const ChunkMark& mark) { return asked.contains(mark.scheme); });
        return marks;
    };
    const Marks old = others(before), now = others(after);
    const Marks gone = Missing(old, now);
    Marks come = Missing(now, old);
    std::vector<std::string> changes;
    for (const ChunkMark& mark : gone) {
        const auto successor = std::ranges::find(come, mark.id, &ChunkMark::id);
        if (successor == come.end()) {
            changes.push_back("chunk '" + mark.id + "' of " + Bytes(mark) + " is gone");
            continue;
        }
        changes.push_back("chunk '" + mark.id + "' of " + Bytes(mark) +
                          (successor->bytes == mark.bytes ? "" : ", now " + Bytes(*successor)));
        come.erase(successor);
    }
    for (const ChunkMark& mark : come)
        changes.push_back("chunk '" + mark.id + "' of " + Bytes(mark) + " is new");
    if (changes.empty() && old != now) changes.emplace_back("the order of the chunks");
    return changes;
}

}  // namespace vantor::wavehost
