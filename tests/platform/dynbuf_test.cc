// dynbuf_test.cc --
//
//    Growable buffer: appends, pre-allocation, detach.

#include <cstdlib>
#include <cstring>

#include <gtest/gtest.h>

#include <trplatform/dynbuf.h>
#include <trplatform/md5.h>

namespace {

TEST(DynBuf, AppendEnlargeDetach) {
   DynBuf b;
   DynBuf_Init(&b);
   EXPECT_EQ(DynBuf_Get(&b), nullptr);
   ASSERT_TRUE(DynBuf_Enlarge(&b, 5000));
   EXPECT_GE(b.allocated, 5000u);
   EXPECT_EQ(b.size, 0u);
   char *before = b.data;
   for (int i = 0; i < 2048; i++) {
      ASSERT_TRUE(DynBuf_Append(&b, "ab", 2));
   }
   EXPECT_EQ(b.data, before);  // pre-allocation avoided any move
   EXPECT_TRUE(DynBuf_AppendString(&b, "xyz"));
   DynBuf_SafeAppend(&b, "", 1);
   EXPECT_EQ(DynBuf_GetSize(&b), 4100u);
   EXPECT_STREQ(static_cast<char *>(DynBuf_Get(&b)) + 4096, "xyz");
   EXPECT_FALSE(DynBuf_SetSize(&b, b.allocated + 1));
   EXPECT_TRUE(DynBuf_Trim(&b));
   EXPECT_EQ(b.allocated, b.size);
   char *data = static_cast<char *>(DynBuf_Detach(&b));
   EXPECT_EQ(b.data, nullptr);
   EXPECT_EQ(b.size, 0u);
   EXPECT_EQ(std::memcmp(data, "abab", 4), 0);
   std::free(data);
   DynBuf_Destroy(&b);
}

TEST(Md5, MatchesTheReferenceDigest) {
   MD5_CTX ctx;
   unsigned char digest[16];
   MD5Init(&ctx);
   MD5Update(&ctx, reinterpret_cast<const unsigned char *>("abc"), 3);
   MD5Final(digest, &ctx);
   const unsigned char expected[16] = {0x90, 0x01, 0x50, 0x98, 0x3c, 0xd2, 0x4f, 0xb0,
                                       0xd6, 0x96, 0x3f, 0x7d, 0x28, 0xe1, 0x7f, 0x72};
   EXPECT_EQ(std::memcmp(digest, expected, 16), 0);
}

}  // namespace
