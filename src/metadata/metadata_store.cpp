#include "metadata/metadata_store.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace vantor {

namespace {

using Bucket = std::vector<MetadataEntry>;

constexpr size_t bucketLimit = 256;
constexpr size_t usualEntries = 16;  // room for the tags of most files

size_t KeyBytes(const MetadataEntry& entry) {
    return entry.key.size() + sizeof entry;
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
    upper->assign(std::make_move_iterator(middle), std::make_move_iterator(lower.end()));
    lower.erase(middle, lower.end());
}

}  // namespace

MetadataStore::Place MetadataStore::Find(std::string_view key) const {
    const auto bucket = std::lower_bound(buckets_.begin(), buckets_.end(), key, LastKeyBelow);
    const auto bucketIndex = static_cast<size_t>(bucket - buckets_.begin());
    if (bucket == buckets_.end()) return {bucketIndex, 0, false};
    const auto entry = std::lower_bound(bucket->begin(), bucket->end(), key, KeyBelow);
    return {bucketIndex, static_cast<size_t>(entry - bucket->begin()), entry->key == key};
}

const std::string* MetadataStore::Get(std::string_view key) const {
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
        MetadataEntry entry{std::string(key), std::string(CutAtNul(value))};
        const auto place = Find(key);
        if (place.found)
            buckets_[place.bucket][place.index].value = std::move(entry.value);
        else if (KeyBytes(entry) <= mostKeyBytes - keyBytes_)
            Insert(place, std::move(entry));
    } catch (const std::bad_alloc&) {
        // The pair is dropped; every step either completes or leaves the store as it was.
    }
}

void MetadataStore::Insert(Place place, MetadataEntry entry) {
    const size_t keyBytes = KeyBytes(entry);
    if (buckets_.empty()) {
        Bucket first;
        first.reserve(usualEntries);
        first.push_back(std::move(entry));
        buckets_.push_back(std::move(first));
    } else {
        // A key above all others goes to the end of the last bucket.
        if (place.bucket == buckets_.size()) place = {buckets_.size() - 1, buckets_.back().size(), false};
        if (buckets_[place.bucket].size() == bucketLimit) {
            Split(buckets_, place.bucket);
            if (place.index > bucketLimit / 2)
                place = {place.bucket + 1, place.index - bucketLimit / 2, false};
        }
        auto& bucket = buckets_[place.bucket];
        bucket.insert(bucket.begin() + static_cast<std::ptrdiff_t>(place.index), std::move(entry));
    }
    ++count_;
    keyBytes_ += keyBytes;
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
    keyBytes_ -= KeyBytes(bucket[place.index]);
    bucket.erase(bucket.begin() + static_cast<std::ptrdiff_t>(place.index));
    if (bucket.empty()) buckets_.erase(buckets_.begin() + static_cast<std::ptrdiff_t>(place.bucket));
    --count_;
    return true;
}

void MetadataStore::RemoveWhere(bool (*predicate)(std::string_view key)) {
    const auto leaves = [&](const MetadataEntry& entry) {
        if (!predicate(entry.key)) return false;
        --count_;
        keyBytes_ -= KeyBytes(entry);
        return true;
    };
    for (auto& bucket : buckets_)
        std::erase_if(bucket, leaves);
    std::erase_if(buckets_, [](const Bucket& bucket) { return bucket.empty(); });
}

void MetadataStore::Clear() {
    buckets_.clear();
    count_ = keyBytes_ = 0;
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
