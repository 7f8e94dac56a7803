// testsupport.hh --
//
//    Helpers shared by every test program: temporary directories, whole-file
//    reads and writes, running external tools, and capturing the log lines
//    that the platform's Log/Warning write.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace trtest {

// A fresh directory under $TMPDIR (or /tmp), removed with its contents
// when the object goes away.
class TempDir {
public:
   TempDir();
   ~TempDir();
   TempDir(const TempDir &) = delete;
   TempDir &operator=(const TempDir &) = delete;

   const std::string &path() const { return path_; }
   // path() + "/" + relative
   std::string file(std::string_view relative) const;

private:
   std::string path_;
};

// Writes bytes to path, creating missing parent directories.
void WriteFile(const std::string &path, std::string_view bytes);
// Whole file; fails the current test (and returns "") when it cannot be read.
std::string ReadFile(const std::string &path);
bool FileExists(const std::string &path);

struct CommandResult {
   int exitCode = -1;      // -1 when the command could not be run
   std::string output;     // stdout and stderr together
};
// Runs argv[0] (searched in PATH) with the arguments, without a shell.
CommandResult RunCommand(const std::vector<std::string> &argv);
// Whether an executable of that name is in PATH.
bool HaveTool(const std::string &name);

// Points TRGUEST_LOG at a fresh file for its lifetime (restoring the old
// value afterwards) and gives the lines written to it.
class LogCapture {
public:
   LogCapture();
   ~LogCapture();
   LogCapture(const LogCapture &) = delete;
   LogCapture &operator=(const LogCapture &) = delete;

   // Every complete line written so far, without line feeds.
   std::vector<std::string> lines() const;
   // The raw text written so far.
   std::string text() const;

private:
   TempDir dir_;
   std::string path_;
   bool hadOld_ = false;
   std::string old_;
};

// Sets an environment variable for its lifetime (unset when value is null).
class ScopedEnv {
public:
   ScopedEnv(const char *name, const char *value);
   ~ScopedEnv();
   ScopedEnv(const ScopedEnv &) = delete;
   ScopedEnv &operator=(const ScopedEnv &) = delete;

private:
   std::string name_;
   bool hadOld_ = false;
   std::string old_;
};

}  // namespace trtest
