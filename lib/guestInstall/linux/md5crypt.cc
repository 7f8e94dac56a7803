// md5crypt.cc --
//
//    The MD5-based crypt scheme ("$1$" strings) that the Linux installers
//    accept for encrypted passwords, with a salt made from the C library's
//    generator.

#include <cstdlib>
#include <cstring>
#include <ctime>

#include <trplatform/md5.h>

#include "linuxAnswerInt.h"

namespace {

constexpr char kMagic[] = "$1$";
constexpr size_t kMagicLength = sizeof kMagic - 1;
constexpr size_t kMaxSaltLength = 8;
constexpr char kSaltAlphabet[] =
   "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789./";
constexpr char kCryptAlphabet[] =
   "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// The result of the last cryptPasswordMd5 call.
char cryptResult[120];

void Update(MD5_CTX &ctx, const void *data, size_t length) {
   MD5Update(&ctx, static_cast<const uint8_t *>(data), length);
}

// Appends count characters of the crypt alphabet for value, low six bits
// first.
char *Encode(char *out, uint32_t value, int count) {
   for (int i = 0; i < count; i++) {
      *out++ = kCryptAlphabet[value & 0x3f];
      value >>= 6;
   }
   return out;
}

}  // namespace

void Md5CryptWithSalt(const char *password, const char *salt, char out[35]) {
   if (std::strncmp(salt, kMagic, kMagicLength) == 0) {
      salt += kMagicLength;
   }
   size_t saltLength = 0;
   while (saltLength < kMaxSaltLength && salt[saltLength] != '\0' && salt[saltLength] != '$') {
      saltLength++;
   }
   const size_t pwLength = std::strlen(password);
   uint8_t digest[16];

   // The alternate sum: password, salt, password.
   MD5_CTX alt;
   MD5Init(&alt);
   Update(alt, password, pwLength);
   Update(alt, salt, saltLength);
   Update(alt, password, pwLength);
   MD5Final(digest, &alt);

   MD5_CTX ctx;
   MD5Init(&ctx);
   Update(ctx, password, pwLength);
   Update(ctx, kMagic, kMagicLength);
   Update(ctx, salt, saltLength);
   for (size_t left = pwLength; left > 0; left -= left > 16 ? 16 : left) {
      Update(ctx, digest, left > 16 ? 16 : left);
   }
   // One byte per bit of the password's length: a NUL for a set bit, the
   // password's first character for a clear one.
   for (size_t bits = pwLength; bits != 0; bits >>= 1) {
      Update(ctx, (bits & 1) != 0 ? "" : password, 1);
   }
   MD5Final(digest, &ctx);

   // 1000 rounds that mix the digest, the password and the salt.
   for (int round = 0; round < 1000; round++) {
      MD5Init(&ctx);
      if ((round & 1) != 0) {
         Update(ctx, password, pwLength);
      } else {
         Update(ctx, digest, sizeof digest);
      }
      if (round % 3 != 0) {
         Update(ctx, salt, saltLength);
      }
      if (round % 7 != 0) {
         Update(ctx, password, pwLength);
      }
      if ((round & 1) != 0) {
         Update(ctx, digest, sizeof digest);
      } else {
         Update(ctx, password, pwLength);
      }
      MD5Final(digest, &ctx);
   }

   char *p = out;
   std::memcpy(p, kMagic, kMagicLength);
   p += kMagicLength;
   std::memcpy(p, salt, saltLength);
   p += saltLength;
   *p++ = '$';
   auto group = [&digest](int a, int b, int c) {
      return static_cast<uint32_t>(digest[a]) << 16 | static_cast<uint32_t>(digest[b]) << 8 |
             digest[c];
   };
   p = Encode(p, group(0, 6, 12), 4);
   p = Encode(p, group(1, 7, 13), 4);
   p = Encode(p, group(2, 8, 14), 4);
   p = Encode(p, group(3, 9, 15), 4);
   p = Encode(p, group(4, 10, 5), 4);
   p = Encode(p, digest[11], 2);
   *p = '\0';
}

const char *cryptPasswordMd5(const char *password) {
   if (password == nullptr) {
      return nullptr;
   }
   // Re-seeded on every call, so calls within one second share a salt.
   std::srand(static_cast<unsigned>(std::time(nullptr)));
   char salt[kMaxSaltLength + 1];
   for (size_t i = 0; i < kMaxSaltLength; i++) {
      salt[i] = kSaltAlphabet[std::rand() % 64];
   }
   salt[kMaxSaltLength] = '\0';
   Md5CryptWithSalt(password, salt, cryptResult);
   return cryptResult;
}
