// crypt_check.hh --
//
//    Checks a password hash with the system's crypt(3).

#pragma once

#include <crypt.h>

#include <cstring>
#include <string>

namespace linuxtest {

// Whether crypt(3) finds hash to be a hash of password.
inline bool CryptVerifies(const std::string &password, const std::string &hash) {
   struct crypt_data data;
   std::memset(&data, 0, sizeof data);
   const char *again = crypt_r(password.c_str(), hash.c_str(), &data);
   return again != nullptr && hash == again;
}

}  // namespace linuxtest
