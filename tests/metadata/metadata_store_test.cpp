#include "metadata/metadata_store.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "tests/metadata/store_entries.h"
#include "tests/support/failing_allocation.h"

namespace vantor::test {
namespace {

using namespace std::string_literals;

TEST(MetadataStore, CutsKeysAndValuesAtTheFirstNul) {
    const auto store = StoreOf({{"a\0b"s, "x\0y"s}, {"a", "z\0"s}, {"", "ignored"}, {"\0k"s, "ignored"}});
    EXPECT_EQ(EntriesOf(store), (Entries{{"a", "z"}}));
    EXPECT_EQ(store.Get(""), nullptr);
}

TEST(MetadataStore, SetsAValueThatLiesInTheStore) {
    const std::string value = "a value too long to be kept inside the string object itself";
    auto store = StoreOf({{"a", value}});
    store.Set("b", store.Value("a"));
    store.Set("a", store.Value("a").substr(2));
    EXPECT_EQ(EntriesOf(store), (Entries{{"a", value.substr(2)}, {"b", value}}));
}

// Whichever allocation fails, the pair is dropped and nothing else changes: in an empty store, in a bucket
// that must split, on replacing a value.
TEST(MetadataStore, StaysAsItWasWhenMemoryRunsOut) {
    const std::string longText(100, 'x');
    for (const int filled : {0, 1, 256}) {
        Entries entries;
        for (int i = 0; i < filled; ++i)
            entries.emplace_back(std::to_string(1000 + i), "v");
        for (const auto& key : {longText, "1128"s}) {
            bool failed = true;
            for (int allowed = 0; failed; ++allowed) {
                auto store = StoreOf(entries);
                {
                    const FailingAllocation failing(allowed);
                    store.Set(key, longText);
                    failed = failing.HasFailed();
                }
                ASSERT_EQ(store.Value(key) == longText, !failed);
                if (!failed) continue;
                ASSERT_EQ(EntriesOf(store), entries);
                ASSERT_EQ(store.Count(), entries.size());
            }
        }
    }
}

// Everything a caller can see agrees with the plain ordered container, across splits and emptied buckets.
TEST(MetadataStore, BehavesLikeAnOrderedMap) {
    std::mt19937 random(1);
    MetadataStore store;
    std::map<std::string, std::string> map;
    const char* const starts[] = {"K", "k", "\xC3"};  // keys stand in the order of their bytes
    const auto key = [&] { return starts[random() % 3] + std::to_string(random() % 3000); };
    for (unsigned step = 0; step < 40000; ++step) {
        const auto name = key();
        const unsigned growth = step / 4000 % 2 == 0 ? 6 : 2;
        if (random() % 8 < growth) {
            store.Set(name, std::to_string(step));
            map[name] = std::to_string(step);
        } else {
            ASSERT_EQ(store.Remove(name), map.erase(name) == 1);
        }
        const auto sought = key();
        const auto bound = map.lower_bound(sought);
        const bool isHeld = map.contains(sought);
        ASSERT_EQ(store.Has(sought), isHeld);
        ASSERT_EQ(store.Value(sought), isHeld ? bound->second : "");
        const auto* entry = store.LowerBound(sought);
        ASSERT_EQ(entry ? entry->key : "end", bound != map.end() ? bound->first : "end");
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
}

// A file may turn a few bytes into a long key, any number of times.
TEST(MetadataStore, TakesNoNewKeyWhenFull) {
    constexpr size_t fits = 255;  // keys of 64 KiB in 16 MiB, with what an entry takes
    const auto key = [](size_t number) { return std::to_string(number) + std::string(1 << 16, 'k'); };
    MetadataStore store;
    const auto fill = [&] {
        for (size_t number = 0; number < 2 * fits; ++number)
            store.Set(key(number), "value");
        EXPECT_EQ(store.Count(), fits);
    };
    fill();
    store.Set(key(0), "another");
    EXPECT_EQ(store.Value(key(0)), "another");
    store.Remove(key(0));
    EXPECT_EQ(store.Count(), fits - 1);
    fill();
    store.RemoveWhere([](std::string_view name) { return name.starts_with("1k"); });
    EXPECT_EQ(store.Count(), fits - 1);
    fill();
    store.Clear();
    EXPECT_EQ(store.Count(), 0u);
    fill();
}

}  // namespace
}  // namespace vantor::test
