// md5crypt_test.cc --
//
//    The MD5-crypt hash against the system's crypt(3) and openssl's
//    implementation of the same scheme, and the salt that
//    cryptPasswordMd5 makes.

#include <cstring>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include "crypt_check.hh"
#include "guestInstall/linux/linuxAnswerInt.h"
#include "testsupport.hh"

namespace {

constexpr char kSaltAlphabet[] =
   "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789./";

TEST(Md5Crypt, MatchesCryptAndOpenssl) {
   const bool haveOpenssl = trtest::HaveTool("openssl");
   // Lengths around the 16-byte digest blocks and the bit loop, bytes that
   // are not ASCII, and texts that look like formats or quoting.
   const struct {
      std::string password;
      const char *salt;
   } cases[] = {
      {"", "abcdefgh"},           {"a", "A./9zZ01"},   {"password", "saltsalt"},
      {"0123456789abcdef", "x"},  {"0123456789abcdefg", "12345678"},
      {std::string(40, 'q') + "\xc3\xbc\xe2\x82\xac", "Qw.Er/Ty"},
      {"%s%n\\\"'$x`", "ab"},
   };
   for (const auto &c : cases) {
      char out[35];
      Md5CryptWithSalt(c.password.c_str(), c.salt, out);
      const std::string expectedStart = std::string("$1$") + c.salt + "$";
      EXPECT_EQ(std::string(out).substr(0, expectedStart.size()), expectedStart);
      EXPECT_EQ(std::strlen(out), expectedStart.size() + 22);
      EXPECT_TRUE(linuxtest::CryptVerifies(c.password, out)) << c.password << " -> " << out;
      if (haveOpenssl) {
         auto r = trtest::RunCommand({"openssl", "passwd", "-1", "-salt", c.salt, c.password});
         EXPECT_EQ(r.output, std::string(out) + "\n") << c.password;
      }
   }
}

TEST(Md5Crypt, SaltIsCutAtMagicDollarAndEightCharacters) {
   char plain[35], other[35];
   Md5CryptWithSalt("secret", "abcdefgh", plain);
   const char *sameSalts[] = {"$1$abcdefgh", "abcdefgh$rest", "abcdefghijk", "$1$abcdefgh$x"};
   for (const char *salt : sameSalts) {
      Md5CryptWithSalt("secret", salt, other);
      EXPECT_STREQ(other, plain) << salt;
   }
}

TEST(Md5Crypt, FreshSaltFromTheClock) {
   EXPECT_EQ(cryptPasswordMd5(nullptr), nullptr);
   // Calls within one second share the salt; retry when a second boundary
   // fell between them.
   for (int attempt = 0; attempt < 5; attempt++) {
      const std::time_t before = std::time(nullptr);
      const std::string first = cryptPasswordMd5("first");
      const std::string again = cryptPasswordMd5("first");
      const std::string empty = cryptPasswordMd5("");
      if (std::time(nullptr) != before) {
         continue;
      }
      for (const std::string &hash : {first, empty}) {
         ASSERT_EQ(hash.size(), 34u) << hash;
         EXPECT_EQ(hash.substr(0, 3), "$1$");
         EXPECT_EQ(hash[11], '$');
         EXPECT_EQ(hash.find_first_not_of(kSaltAlphabet, 3), 11u) << hash;
      }
      EXPECT_TRUE(linuxtest::CryptVerifies("first", first));
      EXPECT_TRUE(linuxtest::CryptVerifies("", empty));
      EXPECT_EQ(again, first);
      EXPECT_EQ(empty.substr(0, 12), first.substr(0, 12));
      return;
   }
   FAIL() << "the clock moved on during every attempt";
}

}  // namespace
