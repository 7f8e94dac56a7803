// iso9660_extract.cc --
//
//    Copying files and directory trees out of an ISO 9660 image to the
//    host.

#include <trplatform/iso9660.h>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <set>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "file/replace.hh"
#include "internal/bytes.hh"
#include "iso9660/iso9660_image.hh"

namespace {

using trp::iso::Entry;
using trp::iso::IsoStatus;
using trp::iso::Volume;

constexpr uint32_t kMaxExtractDepth = 64;
// A tree extraction copies at most this many times the image's size. Files
// may share data (hard links), but far more than the image holds can only
// come from records that point at the same extents over and over, and
// would fill the host's disk.
constexpr uint64_t kExtractSizeFactor = 8;

// A name that may be used as one host path component.
bool IsSafeComponent(const std::string &name) {
   return !name.empty() && name != "." && name != ".." &&
          name.find('/') == std::string::npos && name.find('\0') == std::string::npos;
}

// Writes the entry's data to destPath through a temporary file renamed into
// place (see File_CommitTemp), so that a failed copy leaves no partial
// file. The entry's size is taken from *budget when one is given.
IsoStatus CopyFile(Volume &volume, const Entry &entry, const std::string &destPath,
                   uint64_t *budget = nullptr) {
   if (budget != nullptr) {
      if (entry.size > *budget) {
         return trp::Err{ISO9660_BAD_FORMAT};
      }
      *budget -= entry.size;
   }
   TRP_TRY(volume.checkFileData(entry));
   // Extents are copied within the kernel where the host allows it (a
   // kernel or initrd of a DVD image is tens of megabytes).
   bool written = trp::ReplaceFileWith(destPath.c_str(), [&](int fd) {
      for (const trp::iso::Extent &x : entry.extents) {
         if (!volume.file().copyTo(fd, x.offset, x.length)) {
            return false;
         }
      }
      return true;
   });
   if (!written) {
      return trp::Err{ISO9660_IO_ERROR};
   }
   return {};
}

// Copies what the directory holds into hostDir. `visited` holds the blocks
// of every directory copied so far in this extraction: a directory reached a
// second time (a record pointing back up the tree, or one directory linked
// from several places, which would multiply the work with every level) is
// a damaged image, not more data.
IsoStatus CopyTree(Volume &volume, const Entry &dir, const std::string &hostDir, uint32_t depth,
                   std::set<uint32_t> *visited, uint64_t *budget) {
   if (depth > kMaxExtractDepth || !visited->insert(dir.extentBlock).second) {
      return trp::Err{ISO9660_BAD_FORMAT};
   }
   auto listing = volume.listing(dir.extentBlock, dir.size);
   if (!listing) {
      return trp::Err{listing.error()};
   }
   for (const Entry &e : (*listing)->entries) {
      if (!IsSafeComponent(e.name)) {
         continue;
      }
      std::string target = hostDir + "/" + e.name;
      if (e.isDirectory) {
         if (::mkdir(target.c_str(), 0755) != 0 && errno != EEXIST) {
            return trp::Err{ISO9660_IO_ERROR};
         }
         TRP_TRY(CopyTree(volume, e, target, depth + 1, visited, budget));
      } else {
         TRP_TRY(CopyFile(volume, e, target, budget));
      }
   }
   return {};
}

}  // namespace

extern "C" {

TRPLATFORM_API Iso9660Result Iso9660_Extract(Iso9660Image *image, const char *pathInImage,
                                             const char *hostDir) noexcept {
   if (image == nullptr || pathInImage == nullptr || hostDir == nullptr) {
      return ISO9660_BAD_HANDLE;
   }
   auto entry = image->volume->lookup(pathInImage);
   if (!entry) {
      return entry.error();
   }
   IsoStatus status;
   if (entry->isDirectory) {
      // A directory's content goes straight into hostDir rather than into a
      // new subdirectory of it: callers name the host directory the files
      // are to land in (the driver files of a tools image, say) and list it
      // afterwards.
      std::set<uint32_t> visited;
      uint64_t budget =
         trp::CheckedMul(image->volume->file().size(), kExtractSizeFactor).value_or(UINT64_MAX);
      status = CopyTree(*image->volume, *entry, hostDir, 0, &visited, &budget);
   } else {
      status = CopyFile(*image->volume, *entry, std::string(hostDir) + "/" + entry->name);
   }
   return status.ok() ? ISO9660_OK : status.error();
}

TRPLATFORM_API Iso9660Result Iso9660_ExtractFileEx(Iso9660Image *image, const char *name,
                                                   const char *destPath) noexcept {
   if (image == nullptr || name == nullptr || destPath == nullptr) {
      return ISO9660_BAD_HANDLE;
   }
   auto entry = image->volume->lookup(name);
   if (!entry) {
      return entry.error();
   }
   if (entry->isDirectory) {
      return ISO9660_IS_A_DIRECTORY;
   }
   IsoStatus status = CopyFile(*image->volume, *entry, destPath);
   return status.ok() ? ISO9660_OK : status.error();
}

}  // extern "C"
