// testsupport.cc --
//
//    Shared test helpers (see testsupport.hh).

#include "testsupport.hh"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace trtest {

TempDir::TempDir() {
   const char *base = std::getenv("TMPDIR");
   std::string templ = std::string(base != nullptr && *base != '\0' ? base : "/tmp") +
                       "/trguest-test-XXXXXX";
   std::vector<char> buf(templ.begin(), templ.end());
   buf.push_back('\0');
   if (mkdtemp(buf.data()) == nullptr) {
      ADD_FAILURE() << "mkdtemp failed: " << std::strerror(errno);
      path_ = "/nonexistent";
      return;
   }
   path_ = buf.data();
}

TempDir::~TempDir() {
   std::error_code ec;
   fs::remove_all(path_, ec);
}

std::string TempDir::file(std::string_view relative) const {
   return path_ + "/" + std::string(relative);
}

void WriteFile(const std::string &path, std::string_view bytes) {
   fs::path p(path);
   if (p.has_parent_path()) {
      std::error_code ec;
      fs::create_directories(p.parent_path(), ec);
   }
   std::ofstream out(path, std::ios::binary | std::ios::trunc);
   out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
   if (!out) {
      ADD_FAILURE() << "cannot write " << path;
   }
}

std::string ReadFile(const std::string &path) {
   std::ifstream in(path, std::ios::binary);
   if (!in) {
      ADD_FAILURE() << "cannot read " << path;
      return "";
   }
   std::ostringstream ss;
   ss << in.rdbuf();
   return ss.str();
}

bool FileExists(const std::string &path) {
   std::error_code ec;
   return fs::exists(path, ec);
}

CommandResult RunCommand(const std::vector<std::string> &argv) {
   CommandResult result;
   if (argv.empty()) {
      return result;
   }
   int pipefd[2];
   if (pipe(pipefd) != 0) {
      return result;
   }
   pid_t pid = fork();
   if (pid < 0) {
      close(pipefd[0]);
      close(pipefd[1]);
      return result;
   }
   if (pid == 0) {
      dup2(pipefd[1], STDOUT_FILENO);
      dup2(pipefd[1], STDERR_FILENO);
      close(pipefd[0]);
      close(pipefd[1]);
      std::vector<char *> args;
      for (const auto &a : argv) {
         args.push_back(const_cast<char *>(a.c_str()));
      }
      args.push_back(nullptr);
      execvp(args[0], args.data());
      _exit(127);
   }
   close(pipefd[1]);
   char buf[4096];
   ssize_t n;
   while ((n = read(pipefd[0], buf, sizeof buf)) != 0) {
      if (n < 0) {
         if (errno == EINTR) {
            continue;
         }
         break;
      }
      result.output.append(buf, static_cast<size_t>(n));
   }
   close(pipefd[0]);
   int status = 0;
   while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
   }
   result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
   return result;
}

bool HaveTool(const std::string &name) {
   const char *path = std::getenv("PATH");
   if (path == nullptr) {
      return false;
   }
   std::stringstream ss(path);
   std::string dir;
   while (std::getline(ss, dir, ':')) {
      std::string candidate = (dir.empty() ? "." : dir) + "/" + name;
      if (access(candidate.c_str(), X_OK) == 0) {
         return true;
      }
   }
   // Tools such as mkfs.fat live in /sbin, which a user's PATH may lack.
   for (const char *sbin : {"/usr/sbin/", "/sbin/"}) {
      if (access((std::string(sbin) + name).c_str(), X_OK) == 0) {
         return true;
      }
   }
   return false;
}

LogCapture::LogCapture() : path_(dir_.file("trguest.log")) {
   const char *old = std::getenv("TRGUEST_LOG");
   if (old != nullptr) {
      hadOld_ = true;
      old_ = old;
   }
   setenv("TRGUEST_LOG", path_.c_str(), 1);
}

LogCapture::~LogCapture() {
   if (hadOld_) {
      setenv("TRGUEST_LOG", old_.c_str(), 1);
   } else {
      unsetenv("TRGUEST_LOG");
   }
}

std::string LogCapture::text() const {
   if (!FileExists(path_)) {
      return "";
   }
   return ReadFile(path_);
}

std::vector<std::string> LogCapture::lines() const {
   std::vector<std::string> out;
   std::string all = text();
   size_t start = 0;
   while (start < all.size()) {
      size_t nl = all.find('\n', start);
      if (nl == std::string::npos) {
         break;
      }
      out.push_back(all.substr(start, nl - start));
      start = nl + 1;
   }
   return out;
}

ScopedEnv::ScopedEnv(const char *name, const char *value) : name_(name) {
   const char *old = std::getenv(name);
   if (old != nullptr) {
      hadOld_ = true;
      old_ = old;
   }
   if (value != nullptr) {
      setenv(name, value, 1);
   } else {
      unsetenv(name);
   }
}

ScopedEnv::~ScopedEnv() {
   if (hadOld_) {
      setenv(name_.c_str(), old_.c_str(), 1);
   } else {
      unsetenv(name_.c_str());
   }
}

}  // namespace trtest
