// unicode.cc --
//
//    UTF-8 to Windows code page conversion through iconv. The converter is
//    opened without transliteration or skipping, so a character the code
//    page lacks makes the whole conversion fail instead of being replaced.

#include <trplatform/unicode.h>

#include <iconv.h>

#include <cerrno>
#include <cstring>
#include <string>

#include <trplatform/util.h>

namespace {

struct EncodingName {
   StringEncoding encoding;
   const char *name;   // as iconv knows it
};

const EncodingName kEncodings[] = {
   {STRING_ENCODING_WINDOWS_1252, "windows-1252"},
   {STRING_ENCODING_WINDOWS_1251, "windows-1251"},
   {STRING_ENCODING_WINDOWS_932, "CP932"},
   {STRING_ENCODING_WINDOWS_936, "CP936"},
   {STRING_ENCODING_WINDOWS_950, "CP950"},
   {STRING_ENCODING_WINDOWS_949, "CP949"},
};

const char *NameOf(StringEncoding encoding) {
   for (const EncodingName &e : kEncodings) {
      if (e.encoding == encoding) {
         return e.name;
      }
   }
   return nullptr;
}

// Closes the converter on every way out.
class Converter {
public:
   explicit Converter(const char *to) : cd_(iconv_open(to, "UTF-8")) {}
   ~Converter() {
      if (ok()) {
         iconv_close(cd_);
      }
   }
   Converter(const Converter &) = delete;
   Converter &operator=(const Converter &) = delete;

   bool ok() const { return cd_ != reinterpret_cast<iconv_t>(-1); }

   // Converts the whole input; false on any character that cannot be
   // converted exactly and on malformed or truncated UTF-8.
   bool Convert(const char *text, size_t length, std::string *out) {
      char *in = const_cast<char *>(text);
      size_t inLeft = length;
      char chunk[256];
      for (;;) {
         char *dst = chunk;
         size_t dstLeft = sizeof chunk;
         // A NULL input flushes the converter's shift state at the end.
         size_t rc = inLeft > 0 ? iconv(cd_, &in, &inLeft, &dst, &dstLeft)
                                : iconv(cd_, nullptr, nullptr, &dst, &dstLeft);
         out->append(chunk, static_cast<size_t>(dst - chunk));
         if (rc == static_cast<size_t>(-1)) {
            if (errno == E2BIG) {
               continue;
            }
            return false;
         }
         // iconv counts characters it converted in a non-reversible way;
         // such output is not the user's text.
         if (rc != 0) {
            return false;
         }
         if (inLeft == 0 && in == nullptr) {
            return true;
         }
         if (inLeft == 0) {
            in = nullptr;  // next round flushes
         }
      }
   }

private:
   iconv_t cd_;
};

}  // namespace

extern "C" {

TRPLATFORM_API const char *Unicode_EncodingEnumToName(StringEncoding encoding) noexcept {
   const char *name = NameOf(encoding);
   return name != nullptr ? name : "unknown";
}

TRPLATFORM_API char *Unicode_GetAllocBytes(const char *utf8, StringEncoding encoding) noexcept {
   const char *name = NameOf(encoding);
   if (utf8 == nullptr || name == nullptr) {
      return nullptr;
   }
   try {
      Converter converter(name);
      std::string out;
      if (!converter.ok() || !converter.Convert(utf8, std::strlen(utf8), &out)) {
         return nullptr;
      }
      char *result = static_cast<char *>(UtilSafeMalloc0(out.size() + 1));
      std::memcpy(result, out.data(), out.size());
      return result;
   } catch (...) {
      return nullptr;
   }
}

}  // extern "C"
