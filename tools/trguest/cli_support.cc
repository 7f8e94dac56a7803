// cli_support.cc --
//
//    Secrets from files, reasons in words, and the progress line.

#include "cli_support.hh"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

namespace trguest_cli {

std::optional<std::string> ReadSecret(const char *path) {
   std::string line;
   if (std::strcmp(path, "-") == 0) {
      if (!std::getline(std::cin, line) && line.empty()) {
         std::fprintf(stderr, "trguest: no password on standard input\n");
         return std::nullopt;
      }
   } else {
      std::ifstream in(path, std::ios::binary);
      if (!in) {
         std::fprintf(stderr, "trguest: cannot read the password file %s: %s\n", path,
                      WhyUnusable(path, "a readable file").c_str());
         return std::nullopt;
      }
      std::getline(in, line);
   }
   if (!line.empty() && line.back() == '\r') {
      line.pop_back();
   }
   return line;
}

std::string WhyUnusable(const char *path, const char *what) {
   struct stat st;
   if (stat(path, &st) != 0) {
      return errno == ENOENT || errno == ENOTDIR ? "no such file"
             : errno == EACCES                  ? "permission denied"
                                                : std::strerror(errno);
   }
   if (!S_ISREG(st.st_mode)) {
      return "not a regular file";
   }
   if (access(path, R_OK) != 0) {
      return "permission denied";
   }
   return std::string("not ") + what;
}

std::string WhyNotWritten(int err) {
   switch (err) {
   case ENOSPC:
   case EDQUOT:
      return "disk full";
   case EACCES:
   case EPERM:
      return "permission denied";
   case EROFS:
      return "read-only file system";
   case 0:
      return "cannot write";
   default:
      return std::strerror(err);
   }
}

namespace {

uint64_t BytesUnder(const std::string &path) {
   namespace fs = std::filesystem;
   std::error_code ec;
   if (fs::is_regular_file(path, ec)) {
      return fs::file_size(path, ec);
   }
   uint64_t total = 0;
   for (fs::recursive_directory_iterator it(path, ec), end; !ec && it != end; it.increment(ec)) {
      if (it->is_regular_file(ec)) {
         total += it->file_size(ec);
      }
   }
   return total;
}

}  // namespace

ProgressLine::ProgressLine(std::string label, std::string path)
   : label_(std::move(label)), path_(std::move(path)) {
   if (!isatty(STDERR_FILENO)) {
      return;
   }
   thread_ = std::thread([this] {
      while (!done_.load()) {
         std::fprintf(stderr, "\r%s: %llu MiB ", label_.c_str(),
                      static_cast<unsigned long long>(BytesUnder(path_) >> 20));
         for (int i = 0; i < 5 && !done_.load(); i++) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
         }
      }
      std::fprintf(stderr, "\r\033[K");
   });
}

ProgressLine::~ProgressLine() {
   done_.store(true);
   if (thread_.joinable()) {
      thread_.join();
   }
}

}  // namespace trguest_cli
