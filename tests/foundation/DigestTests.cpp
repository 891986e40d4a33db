#include "foundation/Digest.h"

#include <gtest/gtest.h>

namespace larkspan {
namespace {

TEST(Digest, OfThreeLetters) {
    const std::pair<Digest::Algorithm, const char*> cases[] = {
        {Digest::Algorithm::md5, "900150983cd24fb0d6963f7d28e17f72"},
        {Digest::Algorithm::sha1, "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {Digest::Algorithm::sha256,
         "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    };
    for (const auto& [algorithm, expected] : cases) {
        Digest digest(algorithm);
        digest.add("a");
        Digest copy(digest);
        copy.add("bc");
        EXPECT_EQ(copy.hexadecimal(), expected);
        EXPECT_EQ(copy.bytes().size() * 2, copy.hexadecimal().size());
        EXPECT_EQ(static_cast<unsigned char>(copy.bytes()[0]),
                  std::stoul(copy.hexadecimal().substr(0, 2), nullptr, 16));
        EXPECT_NE(digest.hexadecimal(), expected);
    }
}

}  // namespace
}  // namespace larkspan
