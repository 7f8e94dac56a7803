// regularfile.hh --
//
//    Opening a host path only when it names a regular file. Every host file
//    the platform reads or writes (images, dictionaries, catalogues, copies,
//    FileIO) is opened this way.

#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include "internal/result.hh"

namespace trp {

enum class OpenRegularError {
   kCannotOpen,  // open(2) failed; errno holds the reason
   kNotRegular,  // a directory, FIFO, device, ... (or its status is unknown)
};

// Opens path with the open(2) flags given (and mode, for a file that
// O_CREAT creates) and keeps the descriptor only when it names a regular
// file, whose status *st receives. The open itself does not block, so that
// a FIFO at the path cannot hold the caller before it is refused; the
// descriptor returned blocks as usual. An interrupted open is retried.
Result<int, OpenRegularError> OpenRegularFile(const char *path, int flags, struct stat *st,
                                              mode_t mode = 0644);

}  // namespace trp
