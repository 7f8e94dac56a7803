// linuxAnswerInt.h --
//
//    Internal interface of the Linux answer files: the MD5-crypt password
//    hash, the quoting of user texts, and the formatting of each installer's
//    answer file from the values of one request.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <trguest/autoinstall.h>

// MD5-crypt string of password with a fresh salt: "$1$", 8 salt characters,
// "$", 22 hash characters. Points into a process-wide buffer that the next
// call overwrites; null for a null password. Not reentrant.
const char *cryptPasswordMd5(const char *password);

// The MD5-crypt scheme with the given salt ("$1$" before it is dropped; it
// ends at the first "$" and after 8 characters). Writes at most 35 bytes to
// out, the NUL included.
void Md5CryptWithSalt(const char *password, const char *salt, char out[35]);

// The text with a backslash put before every double quote.
std::string quoteDoubleQuotes(const char *text);
// For a value between double quotes that Perl reads: also backslashes before
// every backslash, "$" and "@", so nothing interpolates.
std::string QuoteForPerl(const char *text);
// For a value between double quotes that a POSIX shell reads: also
// backslashes before every backslash, "$" and backquote.
std::string QuoteForShell(const char *text);

// What one answer file is made of; every text is non-null.
struct LinuxAnswerValues {
   const char *guestOS;
   uint32_t subVersion;
   const char *userName;
   const char *fullName;
   const char *userPassword;
   const char *rootPassword;
   const char *userCrypt;
   const char *rootCrypt;
   const char *installKey;  // may be null
   bool powerOff;
};

// The whole answer file of one installer family as newly allocated text
// (free()), its length in *length; null when formatting fails.
char *FormatKickstart(const LinuxAnswerValues &v, size_t *length);
char *FormatPreseed(const LinuxAnswerValues &v, size_t *length);
char *FormatAutoYast(const LinuxAnswerValues &v, size_t *length);
char *FormatAutoInst(const LinuxAnswerValues &v, size_t *length);
