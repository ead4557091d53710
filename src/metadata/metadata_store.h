// The text metadata of one file: unique, case-sensitive keys (scheme, colon, field) in byte order, each with
// a value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "text/text_pool.h"

namespace vantor {

// A text in a store, with a NUL behind it.
class StoredText : public std::string_view {
  public:
    using std::string_view::string_view;
    // NOLINTNEXTLINE(readability-identifier-naming): as of a string
    [[nodiscard]] const char* c_str() const { return data(); }
    operator std::string() const { return {data(), size()}; }
};

struct MetadataEntry {
    StoredText key;
    StoredText value;
};

// A hostile file may bring any number of keys, and long ones from few bytes: inserting costs no more than the
// square root of the number of entries, and a full store takes no new key. No lock of its own. Pointers to
// entries and texts stay valid while the store is unchanged. Set drops the pair when memory runs out.
class MetadataStore {
  public:
    // What keys may take, with 64 bytes for each entry: some 200,000 keys, a hundred times what the richest
    // file holds.
    static constexpr size_t mostKeyBytes = size_t{16} << 20;

    MetadataStore() = default;
    MetadataStore(const MetadataStore& other);
    MetadataStore(MetadataStore&&) noexcept = default;
    MetadataStore& operator=(const MetadataStore& other);
    MetadataStore& operator=(MetadataStore&&) noexcept = default;
    ~MetadataStore() = default;

    [[nodiscard]] size_t Count() const { return count_; }
    // Null when absent. An empty key finds nothing.
    [[nodiscard]] const StoredText* Get(std::string_view key) const;
    // The value, or an empty text when absent.
    [[nodiscard]] std::string_view Value(std::string_view key) const;
    [[nodiscard]] bool Has(std::string_view key) const { return Get(key) != nullptr; }
    // Inserts or replaces. Keys and values end at their first NUL.
    void Set(std::string_view key, std::string_view value);
    // The entries of another store whose keys this one does not have.
    void AddMissing(const MetadataStore& other);
    bool Remove(std::string_view key);
    // Removes every entry whose key satisfies the predicate.
    void RemoveWhere(bool (*predicate)(std::string_view key));
    void Clear();
    // The entry at `index` in key order; null beyond the end.
    [[nodiscard]] const MetadataEntry* At(size_t index) const;
    // The first entry whose key is not below `key`; null when there is none.
    [[nodiscard]] const MetadataEntry* LowerBound(std::string_view key) const;

    // Calls visit(const MetadataEntry&) in key order.
    template <typename Visit>
    void ForEach(Visit visit) const {
        for (const auto& bucket : buckets_)
            for (const auto& entry : bucket)
                visit(entry);
    }

  private:
    struct Place {  // small: it travels in registers
        uint32_t bucket;
        uint32_t index;
        bool found;
    };
    [[nodiscard]] Place Find(std::string_view key) const;
    void Insert(Place place, std::string_view key, std::string_view value);
    void Replace(MetadataEntry& entry, std::string_view value);
    [[nodiscard]] StoredText Kept(std::string_view text);
    void CountOff(const MetadataEntry& entry);

    std::vector<std::vector<MetadataEntry>> buckets_;  // none empty; each sorted; ascending across buckets
    TextPool texts_;  // of the entries, and some that were replaced or removed
    size_t count_ = 0;
    size_t keyBytes_ = 0;
    size_t textBytes_ = 0;  // of the entries alone
};

}  // namespace vantor
