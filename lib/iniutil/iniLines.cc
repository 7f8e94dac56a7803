// iniLines.cc --
//
//    Line reading and entry splitting for INI files (see iniLines.hh).

#include "iniLines.hh"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace trguest::ini {

std::FILE *OpenRegularFile(const char *path) {
   // Opened without blocking, so that a FIFO without a writer cannot hold
   // the call; the type is then checked on what was opened.
   int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
   if (fd < 0) {
      return nullptr;
   }
   struct stat st;
   int flags = fcntl(fd, F_GETFL);
   if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || flags < 0 ||
       fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) {
      close(fd);
      return nullptr;
   }
   std::FILE *file = fdopen(fd, "r");
   if (file == nullptr) {
      close(fd);
   }
   return file;
}

size_t ReadLine(std::FILE *file, char *buf) {
   size_t n = 0;
   while (n < kMaxLineRead) {
      int c = std::getc(file);
      if (c == EOF) {
         break;
      }
      buf[n++] = static_cast<char>(c);
      if (c == '\n') {
         break;
      }
   }
   buf[n] = '\0';
   return n;
}

EntryLine SplitEntry(std::string_view line) {
   EntryLine e;
   while (e.indent < line.size() && IsLeadingBlank(line[e.indent])) {
      e.indent++;
   }
   std::string_view rest = line.substr(e.indent);
   size_t eq = rest.find('=');
   std::string_view key = eq == std::string_view::npos ? rest : rest.substr(0, eq);
   while (!key.empty() && IsTrailingBlank(key.back())) {
      key.remove_suffix(1);
   }
   e.key = key;
   if (eq == std::string_view::npos) {
      return e;
   }
   e.hasEquals = true;
   e.valueStart = e.indent + eq + 1;
   std::string_view value = line.substr(e.valueStart);
   while (!value.empty() && IsLeadingBlank(value.front())) {
      value.remove_prefix(1);
   }
   while (!value.empty() && IsTrailingBlank(value.back())) {
      value.remove_suffix(1);
   }
   e.value = value;
   return e;
}

bool SectionName(std::string_view line, std::string_view *name) {
   size_t close = line.find(']');
   if (line.empty() || line[0] != '[' || close == std::string_view::npos) {
      return false;
   }
   *name = line.substr(1, close - 1);
   return true;
}

bool EqualsCaseless(std::string_view a, std::string_view b) {
   if (a.size() != b.size()) {
      return false;
   }
   for (size_t i = 0; i < a.size(); i++) {
      unsigned char x = static_cast<unsigned char>(a[i]);
      unsigned char y = static_cast<unsigned char>(b[i]);
      if (x >= 'A' && x <= 'Z') x = static_cast<unsigned char>(x - 'A' + 'a');
      if (y >= 'A' && y <= 'Z') y = static_cast<unsigned char>(y - 'A' + 'a');
      if (x != y) {
         return false;
      }
   }
   return true;
}

}  // namespace trguest::ini
