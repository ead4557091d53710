// The text metadata of one file: unique, case-sensitive keys (scheme, colon, field) in byte order, each with
// a value.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vantor {

struct MetadataEntry {
    std::string key;
    std::string value;
};

// A hostile file may bring any number of keys, and long ones from few bytes: inserting costs no more than the
// square root of the number of entries, and a full store takes no new key. No lock of its own. Pointers into
// entries stay valid while the store is unchanged. Set drops the pair when memory runs out.
class MetadataStore {
  public:
    // What keys and entries may take, values aside: some 200,000 keys, a hundred times what the richest file
    // holds.
    static constexpr size_t mostKeyBytes = size_t{16} << 20;

    [[nodiscard]] size_t Count() const { return count_; }
    // Null when absent. An empty key finds nothing.
    [[nodiscard]] const std::string* Get(std::string_view key) const;
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
    struct Place {
        size_t bucket;
        size_t index;
        bool found;
    };
    [[nodiscard]] Place Find(std::string_view key) const;
    void Insert(Place place, MetadataEntry entry);

    std::vector<std::vector<MetadataEntry>> buckets_;  // none empty; each sorted; ascending across buckets
    size_t count_ = 0;
    size_t keyBytes_ = 0;
};

}  // namespace vantor
