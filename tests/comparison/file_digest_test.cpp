#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "comparison/fileDigest.h"

namespace
{

TEST(FileDigest, ExamplesOfTheStandard)
{
    for (const auto& [text, sha256] :
         {std::pair<std::string, std::string>{
              "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
          {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
          {std::string(1000000, 'a'),
           "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"}}) {
        const std::vector<unsigned char> contents(text.begin(), text.end());
        const zarngi::FileDigest digest = zarngi::digestOf(contents);
        EXPECT_EQ(digest.bytes, text.size());
        EXPECT_EQ(digest.sha256, sha256);
    }
}

} // namespace
