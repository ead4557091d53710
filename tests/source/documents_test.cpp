// Documents read and put in as they stand, through a source.
#include <gtest/gtest.h>

#include "tests/source/edit_support.h"

namespace vantor::test {
namespace {

class Documents : public ::testing::Test {
  protected:
    static std::string Read(PCM_source& source, const char* scheme, size_t room) {
        std::string bytes(room, '?');
        const intptr_t whole = source.ExtendedCall(callDocument, const_cast<char*>(scheme), bytes.data(),
                                                   reinterpret_cast<void*>(room));
        EXPECT_LE(static_cast<size_t>(whole), room);
        return bytes.substr(0, static_cast<size_t>(whole));
    }
    intptr_t Write(PCM_source& source, const char* scheme, const std::string& bytes, intptr_t flags = 0) {
        DocumentRecord record{scheme, bytes.data(), std::ssize(bytes)};
        return source.ExtendedCall(callWriteDocument, target.data(), &record, reinterpret_cast<void*>(flags));
    }

    FakeHost host;
    TempFolder folder;
    std::string target = folder.Path("target.wav");
};

// Odd and even ones, in place and as a copy; every other chunk stays where it was.
TEST_F(Documents, ComeBackByteForByte) {
    const struct {
        const char *scheme, *chunk;
        std::string bytes;
    } documents[] = {
        {"IXML", "iXML",
         "<?xml version=\"1.0\"?>\n<!-- kept --><BWFXML><A b=\"c\">x</A><NOTE>new</NOTE></BWFXML>\n"},
        {"IXML", "iXML", "<BWFXML><NOTE>even number</NOTE><X/></BWFXML>"},
        {"AXML", "axml", "<ebuCoreMain><coreMetadata/></ebuCoreMain>"},
        {"XMP", "_PMX",
         "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF "
         "xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">"
         "<rdf:Description xmlns:q=\"urn:q\" q:own=\"1\"/></rdf:RDF></x:xmpmeta> "},
    };
    const Bytes original = TaggedFile();
    for (const auto& [scheme, chunk, bytes] : documents)
        for (const intptr_t flags : {intptr_t{0}, intptr_t{writeNeverInPlace}}) {
            const auto path = folder.Write("file.wav", original);
            const auto source = OpenSource(path);
            ASSERT_EQ(Write(*source, scheme, bytes, flags), flags ? writtenToTarget : updatedInPlace)
                << scheme;
            const auto& written = flags ? target : path;
            EXPECT_EQ(Read(*OpenSource(written), scheme, 4096), bytes);
            ExpectOnlyTagsDiffer(original, ReadWholeFile(written));
            auto before = ChunkList(original), after = ChunkList(ReadWholeFile(written));
            const auto isReplaced = [&](const auto& one) { return one.id == chunk || one.id == "JUNK"; };
            std::erase_if(before, isReplaced);
            std::erase_if(after, isReplaced);
            EXPECT_EQ(after, before) << scheme;
        }
}

TEST_F(Documents, ThatAreNoneAreRefused) {
    const Bytes original = TaggedFile();
    const auto path = folder.Write("file.wav", original);
    const auto source = OpenSource(path);
    EXPECT_EQ(Write(*source, "IXML", "<BWFXML><NOTE>cut off"), writeFailed);
    EXPECT_EQ(Write(*source, "IXML", ""), writeFailed);
    EXPECT_EQ(Write(*source, "XMP", "<html/>"), writeFailed);
    EXPECT_EQ(Write(*source, "BWF", "<BWFXML/>"), writeFailed);
    EXPECT_EQ(Read(*source, "BWF", 4096), "");
    EXPECT_EQ(ReadWholeFile(path), original);
    const auto aiff = OpenSource(SourceTree() + "/samples/aiff.aif");
    EXPECT_EQ(Write(*aiff, "IXML", "<BWFXML><NOTE>x</NOTE></BWFXML>"), writeFailed);

    // Asked for its size alone, and into a buffer that is too small.
    char some[5] = "????";
    const intptr_t whole = source->ExtendedCall(callDocument, const_cast<char*>("AXML"), nullptr, nullptr);
    EXPECT_GT(whole, 4);
    EXPECT_EQ(source->ExtendedCall(callDocument, const_cast<char*>("AXML"), some, reinterpret_cast<void*>(2)),
              whole);
    EXPECT_EQ(std::string(some).substr(2), "??");
}

}  // namespace
}  // namespace vantor::test
