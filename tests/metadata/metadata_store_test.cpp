#include "metadata/metadata_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>

#include "tests/metadata/store_entries.h"
#include "tests/support/failing_allocation.h"

namespace vantor {
namespace {

using test::Entries;
using test::EntriesOf;

TEST(MetadataStore, CutsKeysAndValuesAtTheFirstNul) {
    MetadataStore store;
    store.Set(std::string_view("a\0b", 3), std::string_view("x\0y", 3));
    store.Set("a", std::string_view("z\0", 2));
    store.Set("", "ignored");
    store.Set(std::string_view("\0k", 2), "ignored");
    EXPECT_EQ(EntriesOf(store), (Entries{{"a", "z"}}));
    EXPECT_EQ(store.Get(""), nullptr);
}

TEST(MetadataStore, SetsAValueThatLiesInTheStore) {
    MetadataStore store;
    store.Set("a", "a value too long to be kept inside the string object itself");
    store.Set("b", store.Value("a"));
    store.Set("a", store.Value("a").substr(2));
    EXPECT_EQ(store.Value("a"), "value too long to be kept inside the string object itself");
    EXPECT_EQ(store.Value("b"), "a value too long to be kept inside the string object itself");
}

// Whichever allocation fails, the pair is dropped and nothing else changes: in an empty store, in a bucket
// that must split, on replacing a value.
TEST(MetadataStore, StaysAsItWasWhenMemoryRunsOut) {
    const std::string longText(100, 'x');
    for (const size_t filled : {size_t{0}, size_t{1}, size_t{256}}) {
        Entries entries;
        for (size_t i = 0; i < filled; ++i)
            entries.emplace_back(
                std::string(1, static_cast<char>(1 + i % 250)) + std::string(1 + i / 250, 'k'), "v");
        std::ranges::sort(entries);
        const auto replaced = filled > 0 ? entries[filled / 2].first : "new";
        for (const auto& key : {longText, replaced}) {
            bool failed = true;
            for (int allowed = 0; failed; ++allowed) {
                auto store = test::StoreOf(entries);
                {
                    const test::FailingAllocation failing(allowed);
                    store.Set(key, longText);
                    failed = failing.HasFailed();
                }
                ASSERT_EQ(store.Value(key) == longText, !failed);
                if (failed) {
                    ASSERT_EQ(EntriesOf(store), entries);
                    ASSERT_EQ(store.Count(), filled);
                }
            }
        }
    }
}

// Everything a caller can see agrees with the plain ordered container, across splits and emptied buckets.
TEST(MetadataStore, BehavesLikeAnOrderedMap) {
    std::mt19937 random(1);
    for (const unsigned keyRange : {20u, 3000u}) {
        MetadataStore store;
        std::map<std::string, std::string, std::less<>> map;
        const char* const starts[] = {"K", "k", "\xC3"};  // keys stand in the order of their bytes
        const auto key = [&] { return starts[random() % 3] + std::to_string(random() % keyRange); };
        for (int step = 0; step < 20000; ++step) {
            const auto name = key();
            const bool growing = step / 4000 % 2 == 0;
            if (random() % 8 < (growing ? 6u : 2u)) {
                store.Set(name, std::to_string(step));
                map[name] = std::to_string(step);
            } else {
                ASSERT_EQ(store.Remove(name), map.erase(name) == 1);
            }
            const auto sought = key();
            const auto found = map.find(sought);
            ASSERT_EQ(store.Has(sought), found != map.end());
            ASSERT_EQ(store.Value(sought), found == map.end() ? "" : found->second);
            const auto bound = map.lower_bound(sought);
            const auto* entry = store.LowerBound(sought);
            ASSERT_EQ(entry != nullptr, bound != map.end());
            if (entry) {
                ASSERT_EQ(entry->key, bound->first);
            }
            ASSERT_EQ(store.Count(), map.size());
        }
        ASSERT_EQ(EntriesOf(store), Entries(map.begin(), map.end()));
        for (size_t i = 0; const auto& [name, value] : map)
            ASSERT_EQ(store.At(i++)->key, name);
        EXPECT_EQ(store.At(map.size()), nullptr);

        const auto isEven = [](std::string_view name) { return (name.back() - '0') % 2 == 0; };
        store.RemoveWhere(isEven);
        std::erase_if(map, [&](const auto& pair) { return isEven(pair.first); });
        EXPECT_EQ(EntriesOf(store), Entries(map.begin(), map.end()));
        EXPECT_EQ(store.Count(), map.size());
        store.Clear();
        EXPECT_EQ(store.Count(), 0u);
        EXPECT_EQ(store.LowerBound("K"), nullptr);
    }
}

// A file may turn a few bytes into a long key, any number of times.
TEST(MetadataStore, TakesNoNewKeyWhenFull) {
    MetadataStore store;
    const auto key = [](size_t number) { return std::to_string(number) + std::string(1 << 16, 'k'); };
    size_t held = 0;
    do {
        store.Set(key(held), "value");
    } while (store.Count() == ++held && held < 1000);
    --held;
    EXPECT_EQ(held, MetadataStore::mostKeyBytes / (1 << 16) - 1);
    store.Set(key(0), "another");
    EXPECT_EQ(store.Value(key(0)), "another");
    for (const bool removesWhere : {false, true}) {
        if (removesWhere)
            store.RemoveWhere([](std::string_view candidate) { return candidate.starts_with("1k"); });
        else
            store.Remove(key(0));
        EXPECT_EQ(store.Count(), held - 1);
        store.Set(key(removesWhere ? 0 : 1000), "new");
        EXPECT_EQ(store.Count(), held);
    }
    const MetadataStore copy = store;
    store.Clear();
    store.Set(key(0), "first");
    EXPECT_EQ(store.Count(), 1u);
    EXPECT_EQ(copy.Count(), held);
}

}  // namespace
}  // namespace vantor
