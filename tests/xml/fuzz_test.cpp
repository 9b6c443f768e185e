// Bounded mutation fuzzing of unserialize for every class: mutated documents must be refused or read,
// never crash, leak or read past the buffer (the sanitizer build turns those into failures). Each
// document sits in a heap block of exactly its size, with no terminating NUL, so any read past it is
// caught.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "platform/xml/Messages.h"
#include "xml/Fill.h"

namespace {

constexpr int kSeeds = 4;
constexpr int kMutationsPerSeed = 1500;

std::string mutate(std::string doc, std::mt19937& rng) {
    static const char* const tokens[] = {"<",   ">",     "/>", "</",        "\"",
                                         "&",   "&amp;", "&#", "<![CDATA[", "]]>",
                                         "=",   " ",     "\0", "-",         "99999999999999999999",
                                         "<x>", "<!--",  "<?", "\xff"};
    const int edits = std::uniform_int_distribution<int>(1, 4)(rng);
    for (int e = 0; e < edits; ++e) {
        const size_t at = doc.empty() ? 0 : std::uniform_int_distribution<size_t>(0, doc.size() - 1)(rng);
        switch (std::uniform_int_distribution<int>(0, 5)(rng)) {
            case 0:  // flip a byte
                if (!doc.empty())
                    doc[at] = static_cast<char>(std::uniform_int_distribution<int>(0, 255)(rng));
                break;
            case 1:  // cut
                doc.resize(at);
                break;
            case 2:  // drop a stretch
                doc.erase(at, std::uniform_int_distribution<size_t>(1, 16)(rng));
                break;
            case 3: {  // insert a token
                const std::string t = tokens[std::uniform_int_distribution<int>(0, 18)(rng)];
                doc.insert(at, t.empty() ? std::string(1, '\0') : t);
                break;
            }
            case 4: {  // repeat a stretch (duplicates elements and attributes)
                const size_t len = std::uniform_int_distribution<size_t>(1, 64)(rng);
                doc.insert(at, doc.substr(at, len));
                break;
            }
            default: {  // move a stretch elsewhere (tags out of order, elements in the wrong parent)
                const size_t len = std::uniform_int_distribution<size_t>(1, 32)(rng);
                std::string piece = doc.substr(at, len);
                doc.erase(at, len);
                doc.insert(doc.empty() ? 0 : std::uniform_int_distribution<size_t>(0, doc.size())(rng),
                           piece);
                break;
            }
        }
    }
    return doc;
}

class Fuzz : public ::testing::TestWithParam<const CNMessageInfo*> {};

TEST_P(Fuzz, MutatedDocumentsAreReadOrRefusedCleanly) {
    const CNMessageInfo& cls = *GetParam();
    int read = 0, refused = 0;
    for (int seed = 1; seed <= kSeeds; ++seed) {
        std::mt19937 rng(seed * 7919u);
        auto source = cls.create();
        xmltest::fill(*source, rng, 3);
        std::string doc;
        ASSERT_EQ(source->serialize(doc, seed % 2 == 0), 0);
        for (int i = 0; i < kMutationsPerSeed; ++i) {
            const std::string mutated = mutate(doc, rng);
            std::unique_ptr<char[]> exact(new char[mutated.size() ? mutated.size() : 1]);
            std::copy(mutated.begin(), mutated.end(), exact.get());
            auto msg = cls.create();
            if (msg->unserialize(exact.get(), mutated.size()) != 0) {
                ++refused;
                EXPECT_FALSE(msg->errorText().empty());
                continue;
            }
            ++read;
            // Whatever was read writes out and reads back the same.
            std::string again;
            ASSERT_EQ(msg->serialize(again), 0) << msg->errorText();
            auto back = cls.create();
            ASSERT_EQ(back->unserialize(again), 0) << back->errorText() << "\n" << again;
            EXPECT_TRUE(back->equals(*msg)) << again;
        }
    }
    // Both outcomes must occur, or the corpus is not exercising the reader.
    EXPECT_GT(refused, 0) << cls.name;
    EXPECT_GT(read, 0) << cls.name;
}

INSTANTIATE_TEST_SUITE_P(Messages, Fuzz, ::testing::ValuesIn(CNMessageBase::classes()), [](const auto& p) {
    std::string n = p.param->name;
    return n.replace(n.find("::"), 2, "_");
});

}  // namespace
