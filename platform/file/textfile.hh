// textfile.hh --
//
//    Reading a whole text file of bounded size, for the dictionary and the
//    message catalogue.

#pragma once

#include <string>

namespace trp {

enum class TextFileError {
   kCannotOpen,      // errno holds the reason
   kNotRegular,      // a directory, FIFO, device, ...
   kTooLarge,        // more than the caller's limit
   kReadError,       // errno holds the reason
};

// Reads the regular file at path whole into *text. A FIFO or device is
// refused without blocking, and at most maxSize bytes are accepted, however
// much the file grows while it is read.
bool ReadTextFile(const char *path, size_t maxSize, std::string *text, TextFileError *error);

}  // namespace trp
