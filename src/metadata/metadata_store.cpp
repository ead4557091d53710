#include "metadata/metadata_store.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

namespace vantor {

namespace {

using Bucket = std::vector<MetadataEntry>;

constexpr uint32_t bucketLimit = 256;
constexpr size_t usualEntries = 16;  // room for the tags of most files

size_t KeyBytes(std::string_view key) {
    constexpr size_t entryBytes = 64;
    return key.size() + entryBytes;
}

size_t TextBytes(std::string_view text) {
    return text.size() + 1;
}

std::string_view CutAtNul(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

bool KeyBelow(const MetadataEntry& entry, std::string_view key) {
    return entry.key < key;
}

bool LastKeyBelow(const Bucket& bucket, std::string_view key) {
    return bucket.back().key < key;
}

// Moves the upper half of a bucket into a new one behind it. All allocation comes first: a failure changes
// nothing.
void Split(std::vector<Bucket>& buckets, size_t index) {
    Bucket reserved;
    reserved.reserve(bucketLimit);
    const auto place = buckets.begin() + static_cast<std::ptrdiff_t>(index) + 1;
    const auto upper = buckets.insert(place, std::move(reserved));
    auto& lower = *std::prev(upper);
    const auto middle = lower.begin() + bucketLimit / 2;
    upper->assign(middle, lower.end());
    lower.erase(middle, lower.end());
}

}  // namespace

MetadataStore::MetadataStore(const MetadataStore& other) {
    other.ForEach([this](const MetadataEntry& entry) {
        Insert({static_cast<uint32_t>(buckets_.size()), 0, false}, entry.key, entry.value);
    });
}

MetadataStore& MetadataStore::operator=(const MetadataStore& other) {
    return *this = MetadataStore(other);
}

MetadataStore::Place MetadataStore::Find(std::string_view key) const {
    const auto bucket = std::lower_bound(buckets_.begin(), buckets_.end(), key, LastKeyBelow);
    const auto bucketIndex = static_cast<uint32_t>(bucket - buckets_.begin());
    if (bucket == buckets_.end()) return {bucketIndex, 0, false};
    const auto entry = std::lower_bound(bucket->begin(), bucket->end(), key, KeyBelow);
    return {bucketIndex, static_cast<uint32_t>(entry - bucket->begin()), entry->key == key};
}

const StoredText* MetadataStore::Get(std::string_view key) const {
    const auto place = Find(key);
    return place.found ? &buckets_[place.bucket][place.index].value : nullptr;
}

std::string_view MetadataStore::Value(std::string_view key) const {
    const auto* value = Get(key);
    return value ? std::string_view(*value) : std::string_view();
}

void MetadataStore::Set(std::string_view key, std::string_view value) {
    key = CutAtNul(key);
    if (key.empty()) return;
    try {
        const auto place = Find(key);
        if (place.found)
            Replace(buckets_[place.bucket][place.index], CutAtNul(value));
        else if (KeyBytes(key) <= mostKeyBytes - keyBytes_)
            Insert(place, key, CutAtNul(value));
    } catch (const std::bad_alloc&) {
        // The pair is dropped; every step either completes or leaves the store as it was.
    }
}

StoredText MetadataStore::Kept(std::string_view text) {
    return {texts_.Keep(text), text.size()};
}

void MetadataStore::Replace(MetadataEntry& entry, std::string_view value) {
    constexpr size_t mostUnused = 4096;
    const StoredText kept = Kept(value);
    textBytes_ += TextBytes(kept) - TextBytes(entry.value);
    entry.value = kept;
    if (texts_.Bytes() > 2 * textBytes_ + mostUnused) *this = MetadataStore(*this);
}

void MetadataStore::Insert(Place place, std::string_view key, std::string_view value) {
    const MetadataEntry entry{Kept(key), Kept(value)};
    if (buckets_.empty()) {
        Bucket first;
        first.reserve(usualEntries);
        first.push_back(entry);
        buckets_.push_back(std::move(first));
    } else {
        // A key above all others goes to the end of the last bucket.
        if (place.bucket == buckets_.size())
            place = {place.bucket - 1, static_cast<uint32_t>(buckets_.back().size()), false};
        if (buckets_[place.bucket].size() == bucketLimit) {
            Split(buckets_, place.bucket);
            if (place.index > bucketLimit / 2)
                place = {place.bucket + 1, place.index - bucketLimit / 2, false};
        }
        auto& bucket = buckets_[place.bucket];
        bucket.insert(bucket.begin() + static_cast<std::ptrdiff_t>(place.index), entry);
    }
    ++count_;
    keyBytes_ += KeyBytes(key);
    textBytes_ += TextBytes(key) + TextBytes(value);
}

void MetadataStore::CountOff(const MetadataEntry& entry) {
    --count_;
    keyBytes_ -= KeyBytes(entry.key);
    textBytes_ -= TextBytes(entry.key) + TextBytes(entry.value);
}

void MetadataStore::AddMissing(const MetadataStore& other) {
    other.ForEach([this](const MetadataEntry& entry) {
        if (!Has(entry.key)) Set(entry.key, entry.value);
    });
}

bool MetadataStore::Remove(std::string_view key) {
    const auto place = Find(key);
    if (!place.found) return false;
    auto& bucket = buckets_[place.bucket];
    CountOff(bucket[place.index]);
    bucket.erase(bucket.begin() + static_cast<std::ptrdiff_t>(place.index));
    if (bucket.empty()) buckets_.erase(buckets_.begin() + static_cast<std::ptrdiff_t>(place.bucket));
    return true;
}

void MetadataStore::RemoveWhere(bool (*predicate)(std::string_view key)) {
    const auto leaves = [&](const MetadataEntry& entry) {
        if (!predicate(entry.key)) return false;
        CountOff(entry);
        return true;
    };
    for (auto& bucket : buckets_)
        std::erase_if(bucket, leaves);
    std::erase_if(buckets_, [](const Bucket& bucket) { return bucket.empty(); });
}

void MetadataStore::Clear() {
    *this = MetadataStore();
}

const MetadataEntry* MetadataStore::At(size_t index) const {
    for (const auto& bucket : buckets_) {
        if (index < bucket.size()) return &bucket[index];
        index -= bucket.size();
    }
    return nullptr;
}

const MetadataEntry* MetadataStore::LowerBound(std::string_view key) const {
    const auto place = Find(key);
    return place.bucket == buckets_.size() ? nullptr : &buckets_[place.bucket][place.index];
}

}  // namespace vantor
