#include "edit/lossless.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <span>
#include <utility>

#include "edit/carriers.h"
#include "edit/merge_fields.h"
#include "edit/tag_proof.h"
#include "metadata/key_table.h"
#include "metadata/write/id3_change.h"

namespace vantor {

namespace {

class LosslessEdit {
  public:
    explicit LosslessEdit(const LosslessSources& sources)
        : sources_(sources),
          wanted_(MergedTags(sources.format, sources.changes)),
          carriers_(CarriersIn(sources.old)) {}

    std::optional<ChunkImages> Done();

  private:
    void FindChange();
    void Route(const MetadataEntry& entry);
    void TakePosition();
    void KeepPosition();
    void Patch();
    void PatchCarrier(Carrier& carrier);
    void PatchNew(const TagScheme& scheme);
    void Prove();
    [[nodiscard]] PlainTags Expected(const TagScheme& scheme) const;
    [[nodiscard]] PlainTags Result(const TagScheme& scheme) const;
    [[nodiscard]] ChunkBody BlankLike(const Carrier& carrier) const;
    [[nodiscard]] bool IsTouched(const TagScheme& scheme) const;
    [[nodiscard]] bool IsBuiltRight(const TagScheme& scheme) const;
    void Restore(const TagScheme& scheme);
    void RebuildTogether();
    [[nodiscard]] const Carrier* CarrierOf(const TagChunk& chunk) const;
    void Append(const TagScheme& scheme, SchemeImage& image) const;
    void Rebuild(const TagScheme& scheme, SchemeImage& image) const;
    [[nodiscard]] SchemeImage ImageOf(const TagScheme& scheme) const;
    [[nodiscard]] ChunkImage OldImageOf(const TagScheme& scheme) const;

    const LosslessSources& sources_;
    MetadataStore wanted_;
    MetadataStore change_;
    std::vector<Carrier> carriers_;
    std::map<const TagScheme*, MetadataStore> newChanges_;  // for chunks that are not there yet
    std::map<const TagScheme*, ChunkBody> newBodies_;
    std::set<const TagScheme*> rebuilt_;
};

// Loop information is not in the store that a file is opened with.
void LosslessEdit::FindChange() {
    MetadataStore own = sources_.format.metadata;
    for (const auto& carrier : carriers_) {
        if (!carrier.chunk->Is("ACID") || carrier.isDormant) continue;
        own.AddMissing(carrier.entries);
        wanted_.AddMissing(carrier.entries);
    }
    const auto isWritten = [](const std::string& key) {
        const auto* scheme = SchemeOfKey(key);
        return scheme && !scheme->ids.empty();
    };
    wanted_.ForEach([&](const MetadataEntry& entry) {
        if (isWritten(entry.key) && own.Value(entry.key) != entry.value) change_.Set(entry.key, entry.value);
    });
    own.ForEach([&](const MetadataEntry& entry) {
        if (isWritten(entry.key) && !wanted_.Has(entry.key)) change_.Set(entry.key, {});
    });
}

// To the last chunk that holds the key, since its value is the one that counts; what goes, goes from all.
// A file that is no loop does not become one.
void LosslessEdit::Route(const MetadataEntry& entry) {
    const auto* scheme = SchemeOfKey(entry.key);
    Carrier *holder = nullptr, *last = nullptr, *dormant = nullptr;
    for (auto& carrier : carriers_) {
        if (carrier.chunk->scheme == scheme) (carrier.isDormant ? dormant : last) = &carrier;
        if (carrier.isDormant || !carrier.entries.Has(entry.key)) continue;
        holder = &carrier;
        if (entry.value.empty()) carrier.change.Set(entry.key, {});
    }
    if (!scheme->patch) {
        rebuilt_.insert(scheme);
        return;
    }
    if (!holder) holder = last ? last : dormant;
    if (holder)
        holder->change.Set(entry.key, entry.value);
    else if (scheme->replaced != Replaced::withItsOwn)
        newChanges_[scheme].Set(entry.key, entry.value);
}

void LosslessEdit::TakePosition() {
    if (const auto frames = PositionToKeep(sources_.format, sources_.changes))
        newChanges_[FindScheme("BWF")].Set("BWF:TimeReference", std::to_string(*frames));
}

// A document that is built anew says none.
void LosslessEdit::KeepPosition() {
    if (!rebuilt_.contains(FindScheme("IXML")) || !HoldsPositionInDocument(sources_.format.metadata)) return;
    TakePosition();
    PatchNew(*FindScheme("BWF"));
}

void LosslessEdit::PatchCarrier(Carrier& carrier) {
    const TagScheme& scheme = *carrier.chunk->scheme;
    if (carrier.change.Count() == 0 || !scheme.patch) return;
    auto patched = scheme.patch(
        {carrier.body, carrier.change, &carrier.before, &sources_.file, sources_.old.unsynchronised});
    if (patched)
        carrier.body = std::move(*patched);
    else
        rebuilt_.insert(&scheme);
}

void LosslessEdit::PatchNew(const TagScheme& scheme) {
    const auto patched = scheme.patch(
        {scheme.blank(), newChanges_[&scheme], nullptr, &sources_.file, sources_.old.unsynchronised});
    if (!patched)
        rebuilt_.insert(&scheme);
    else if (!patched->empty())
        newBodies_[&scheme] = *patched;
}

void LosslessEdit::Patch() {
    for (auto& carrier : carriers_)
        PatchCarrier(carrier);
    for (const auto& scheme : tagTable)
        if (newChanges_.contains(&scheme)) PatchNew(scheme);
}

// A tag of the same version.
ChunkBody LosslessEdit::BlankLike(const Carrier& carrier) const {
    auto blank = carrier.chunk->scheme->blank();
    if (carrier.chunk->Is("ID3")) blank[3] = carrier.chunk->body[3];
    return blank;
}

// What the file said, with the change as far as it can be held.
PlainTags LosslessEdit::Expected(const TagScheme& scheme) const {
    MetadataStore entries;
    const bool isTag = scheme.name == std::string_view("ID3");
    const auto apply = [&](const MetadataStore& change, const ChunkBody& blank) {
        const PatchInput tried{blank, change, nullptr, &sources_.file, sources_.old.unsynchronised};
        HeldChange(scheme, tried).ForEach([&](const MetadataEntry& entry) {
            // A frame that no value makes up stays as it was.
            if (entry.value.empty() && isTag && !change.Value(entry.key).empty()) return;
            if (entry.value.empty())
                entries.Remove(entry.key);
            else
                entries.Set(entry.key, entry.value);
        });
    };
    for (const auto& carrier : carriers_)
        if (carrier.Counts())
            carrier.entries.ForEach([&](const MetadataEntry& entry) { entries.Set(entry.key, entry.value); });
    for (const auto& carrier : carriers_) {
        const auto part =
            Filtered(carrier.change, [&](const std::string& key) { return SchemeOfKey(key) == &scheme; });
        const auto blank = scheme.name == carrier.chunk->scheme->name ? BlankLike(carrier) : scheme.blank();
        apply(isTag ? Id3ChangeFor(blank[3], part, carrier.entries) : part, blank);
    }
    if (const auto added = newChanges_.find(&scheme); added != newChanges_.end())
        apply(added->second, scheme.blank());
    return PlainTagsOf(scheme.name, entries);
}

PlainTags LosslessEdit::Result(const TagScheme& scheme) const {
    MetadataStore store;
    for (const auto& carrier : carriers_)
        ReadMetadataChunk(carrier.body, carrier.chunk->scheme->name, store, carrier.chunk->bodyStart);
    for (const auto& [added, body] : newBodies_)
        ReadMetadataChunk(body, added->name, store, 1);
    return PlainTagsOf(scheme.name, store);
}

// Of a scheme without a patcher: the chunks say what one says that is made of the same entries.
bool LosslessEdit::IsBuiltRight(const TagScheme& scheme) const {
    ChunkImage alone;
    scheme.build(alone, {wanted_, &sources_.file, {}});
    const auto tagsIn = [&](const ChunkImage& image) {
        MetadataStore store;
        ForEachChunk(image, [&](std::span<const uint8_t> chunk) {
            const size_t bytes = ReadLe32(&chunk[4]);
            scheme.read(chunk.subspan(chunkHeaderBytes, bytes), store, 1);
        });
        return PlainTagsOf(scheme.name, store);
    };
    return tagsIn(ImageOf(scheme).bytes) == tagsIn(alone);
}

void LosslessEdit::Restore(const TagScheme& scheme) {
    rebuilt_.erase(&scheme);
    for (auto& carrier : carriers_)
        if (carrier.chunk->scheme == &scheme) carrier.body = carrier.chunk->body;
}

// All schemes: a document in an ID3 tag is another's. What cannot be built in another way stays as it was.
void LosslessEdit::Prove() {
    if (change_.Count() == 0) return;
    for (const auto& scheme : tagTable) {
        if (!scheme.patch && rebuilt_.contains(&scheme) && !IsBuiltRight(scheme)) Restore(scheme);
        if (!scheme.blank || Expected(scheme) == Result(scheme)) continue;
        if (!scheme.build)
            Restore(scheme);
        else
            rebuilt_.insert(&scheme);
    }
    RebuildTogether();
}

// A tag that is built anew has no documents, and a document that is built anew has what those in tags say.
void LosslessEdit::RebuildTogether() {
    std::set<const TagScheme*> inTags = {FindScheme("ID3")};
    for (const auto& carrier : carriers_)
        if (carrier.chunk->Is("ID3") && carrier.Counts())
            carrier.entries.ForEach([&](const auto& entry) { inTags.insert(SchemeOfKey(entry.key)); });
    const auto isRebuilt = [&](const TagScheme* scheme) { return rebuilt_.contains(scheme); };
    if (std::ranges::any_of(inTags, isRebuilt)) rebuilt_.merge(inTags);
}

// Else its chunks would come out as they are, and a document may have many megabytes.
bool LosslessEdit::IsTouched(const TagScheme& scheme) const {
    const bool isPatched = std::ranges::any_of(carriers_, [&](const Carrier& carrier) {
        return carrier.chunk->scheme == &scheme && carrier.IsChanged();
    });
    return isPatched || newBodies_.contains(&scheme) || rebuilt_.contains(&scheme);
}

const Carrier* LosslessEdit::CarrierOf(const TagChunk& chunk) const {
    const auto found = std::ranges::lower_bound(carriers_, &chunk, std::less<>(), &Carrier::chunk);
    return found == carriers_.end() || found->chunk != &chunk ? nullptr : &*found;
}

// All chunks of a scheme in their order, the refused ones too, then the new one.
void LosslessEdit::Append(const TagScheme& scheme, SchemeImage& image) const {
    for (const auto& chunk : sources_.old.list) {
        if (chunk.scheme != &scheme) continue;
        const auto* carrier = CarrierOf(chunk);
        const ChunkBody& body = carrier ? carrier->body : chunk.body;
        if (carrier && body.empty()) continue;
        AppendChunk(image.bytes, chunk.id, body.data(), body.size());
        image.oldStarts.push_back(chunk.bodyStart - chunkHeaderBytes);
    }
    if (const auto added = newBodies_.find(&scheme); added != newBodies_.end())
        AppendChunk(image.bytes, scheme.WrittenId(), added->second.data(), added->second.size());
}

void LosslessEdit::Rebuild(const TagScheme& scheme, SchemeImage& image) const {
    std::vector<ChunkBody> bodies;
    std::vector<int64_t> starts;
    MetadataStore store = wanted_;
    for (const auto& carrier : carriers_)
        if (carrier.isDormant && carrier.IsChanged()) store.AddMissing(carrier.entries);
    for (const auto& chunk : sources_.old.list) {
        if (chunk.scheme != &scheme) continue;
        const auto* carrier = CarrierOf(chunk);
        const bool isTaken = carrier && carrier->Counts();
        if (isTaken)
            bodies.push_back(chunk.body);
        else
            AppendChunk(image.bytes, chunk.id, chunk.body.data(), chunk.body.size());
        (isTaken ? starts : image.oldStarts).push_back(chunk.bodyStart - chunkHeaderBytes);
    }
    scheme.build(image.bytes, {store, &sources_.file, bodies, sources_.old.unsynchronised});
    image.oldStarts.insert(image.oldStarts.end(), starts.begin(), starts.end());
}

// The chunks of a scheme as they become, or as they are.
SchemeImage LosslessEdit::ImageOf(const TagScheme& scheme) const {
    SchemeImage image;
    if (rebuilt_.contains(&scheme))
        Rebuild(scheme, image);
    else
        Append(scheme, image);
    return image;
}

ChunkImage LosslessEdit::OldImageOf(const TagScheme& scheme) const {
    ChunkImage image;
    for (const auto& chunk : sources_.old.list)
        if (chunk.scheme == &scheme) AppendChunk(image, chunk.id, chunk.body.data(), chunk.body.size());
    return image;
}

std::optional<ChunkImages> LosslessEdit::Done() {
    FindChange();
    change_.ForEach([&](const MetadataEntry& entry) { Route(entry); });
    // A broadcast chunk always says a position: a new one says that which the file has.
    if (newChanges_.contains(FindScheme("BWF"))) TakePosition();
    Patch();
    Prove();
    KeepPosition();
    ChunkImages images;
    images.keepsPlaces = true;
    for (const auto& scheme : tagTable) {
        if (!IsTouched(scheme)) continue;
        const auto image = ImageOf(scheme);
        if (image.bytes == OldImageOf(scheme)) continue;
        images.replaced.emplace_back(scheme.name);
        if (scheme.patch && rebuilt_.contains(&scheme)) images.rebuilt.emplace_back(scheme.name);
        AddInPlaces(images, image, scheme.inTail);
    }
    return images.replaced.empty() ? std::nullopt : std::optional(std::move(images));
}

}  // namespace

std::optional<ChunkImages> LosslessImages(const LosslessSources& sources) {
    return LosslessEdit(sources).Done();
}

}  // namespace vantor
