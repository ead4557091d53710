// What a file is asked for that the system serves from its cache.

#include <set>

#include "tests/fileio/read_file.h"

namespace vantor::test {
namespace {

// Little after a jump, more and more while reading goes on in order; what is there is not asked for again.
TEST_F(ReadFile, IsAskedForLittleWhereTheSystemHasACache) {
    const auto name = Write(300000);
    files.ServeFromCache(true);
    FileReader reader(name, {.mode = 1, .blockBytes = 262144, .blockCount = 3});
    for (int request = 0; request < 500; ++request)
        ASSERT_EQ(Deliver(reader, 600, true), std::min<int64_t>(600, 300000 - reader.Tell()));
    int64_t expected = 0;
    for (const auto& read : files.Reads()) {
        EXPECT_EQ(read.offset, expected);
        EXPECT_LE(read.count, 65536u);
        expected += read.count;
    }
    EXPECT_EQ(expected, 300000);
    EXPECT_EQ(files.Reads()[0].count, 1800u) << "three requests: nothing is left over";
    EXPECT_LE(files.Reads().size(), 11u);
    ASSERT_TRUE(reader.Seek(1000) && reader.Seek(2000));
    EXPECT_EQ(Deliver(reader, 100), 100);
    EXPECT_EQ(files.Reads().back(), (RequestRecord{2000, 2048}));
}

// What each of some reads, or loans, asks a cached file for.
TEST_F(ReadFile, WindowsGrowInSteps) {
    const auto name = Write(300000);
    files.ServeFromCache(true);
    using Requests = std::vector<RequestRecord>;
    const struct {
        std::vector<std::pair<int64_t, int64_t>> reads;  // from where, how many bytes
        bool isBorrowed;
        Requests requests;
    } cases[] = {
        {{{0, 1}, {1, 2047}, {2048, 1}, {2049, 4095}, {6144, 1}, {6145, 8191}},
         false,
         {{0, 2048}, {2048, 4096}, {6144, 8192}}},
        {{{100, 16384}}, false, {{100, 16384}}},
        {{{100, 16383}}, false, {{100, 2048}, {2148, 4096}, {6244, 8192}, {14436, 16384}}},
        {{{0, 600}, {600, 600}, {1200, 600}, {1800, 600}}, true, {{0, 1800}, {1800, 3600}}},
        {{{0, 100000}}, true, {{0, 100000}}},
        {{{0, 65536}}, true, {{0, 65536}}},
        {{{0, 100}, {100, 10000}}, true, {{0, 2000}, {2000, 8100}}},
        {{{50, 100}, {50, 100}, {49, 100}}, false, {{50, 2048}, {49, 2048}}},
        {{{50, 100}, {2052, 46}, {2098, 1}}, false, {{50, 2048}, {2098, 4096}}},
        {{{50, 100}, {2098, 1}}, false, {{50, 2048}, {2098, 4096}}},
        {{{0, 100}, {100, 7000}}, true, {{0, 2000}, {2000, 5100}}},
        {{{299999, 1}}, false, {{299999, 1}}},
        {{{295904, 1}, {295903, 1}}, false, {{295904, 4096}, {295903, 2048}}},  // a short rest comes at once
    };
    for (const auto& c : cases) {
        files.Reset();
        files.ServeFromCache(true);
        FileReader reader(name, {.mode = 1, .blockBytes = 8192, .blockCount = 2});
        for (const auto& [position, count] : c.reads) {
            ASSERT_TRUE(reader.Seek(position));
            ASSERT_EQ(Deliver(reader, count, c.isBorrowed), count);
        }
        EXPECT_EQ(files.Reads(), c.requests) << &c - cases;
        EXPECT_EQ(files.OrdersExpected(), 0);
    }
    // Whole windows come due at different times; the system is told once.
    std::set<uint32_t> wholeWindows;
    for (int stream = 0; stream < 16; ++stream) {
        files.Reset();
        files.ServeFromCache(true);
        FileReader reader(name, {.mode = 1, .blockBytes = 8192, .blockCount = 2});
        for (int i = 0; i < 1000; ++i)
            ASSERT_EQ(Deliver(reader, 200), 200);
        wholeWindows.insert(files.Reads()[5].count);
        EXPECT_EQ(files.OrdersExpected(), 1);
        EXPECT_EQ(Deliver(reader, 33000, true), 33000);
        EXPECT_LE(files.Reads().back().offset + files.Reads().back().count, 200000 + 65536);
    }
    EXPECT_EQ(wholeWindows.size(), 16u);
    EXPECT_EQ(*wholeWindows.rbegin(), 65536u);
}

}  // namespace
}  // namespace vantor::test
