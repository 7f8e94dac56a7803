// cli_support.hh --
//
//    Helpers shared by trguest's subcommands: reading a secret (a password)
//    from a file or standard input, saying in words why a path cannot be
//    used, and a progress line on a terminal while a long step runs.

#pragma once

#include <atomic>
#include <optional>
#include <string>
#include <thread>

namespace trguest_cli {

// The first line of the file at path ("-" for standard input), without its
// line end. Secrets never come from the command line, where other users of
// the host could read them. std::nullopt (with a message on stderr) when
// the file cannot be read.
std::optional<std::string> ReadSecret(const char *path);

// Why a file that should be `what` (for instance "an ISO 9660 or UDF
// image") cannot be used: "no such file", "permission denied", "not a
// regular file", else "not <what>".
std::string WhyUnusable(const char *path, const char *what);

// Why writing into the directory dir failed, from errno after the failure:
// "disk full", "permission denied", ... ("cannot write" when errno says
// nothing more).
std::string WhyNotWritten(int err);

// While alive, prints "\r<label>: N MiB" on stderr about twice a second,
// N being the bytes under path (a file, or a directory tree), when stderr
// is a terminal; prints nothing otherwise. The line is cleared at the end.
class ProgressLine {
public:
   ProgressLine(std::string label, std::string path);
   ~ProgressLine();
   ProgressLine(const ProgressLine &) = delete;
   ProgressLine &operator=(const ProgressLine &) = delete;

private:
   std::string label_;
   std::string path_;
   std::atomic<bool> done_{false};
   std::thread thread_;
};

}  // namespace trguest_cli
