// floppyTransfer.cc --
//
//    Moving a whole file between a host file and a file in an open directory
//    of a FAT floppy image, in either direction. Both unattended-install
//    floppies (Linux and Windows) fill and read their images through these
//    two calls. The copy goes one floppy sector (512 bytes) at a time through
//    a buffer on the stack; neither call logs, a failure is the FALSE result.

#include <cstdint>

#include <trguest/autoinstall.h>
#include <trplatform/fileio.h>
#include <trplatform/fsimage.h>

namespace {

// One floppy sector: every read and write of the copy moves at most this.
constexpr uint32_t kTransferChunk = 512;

// Opens name in dir, creating it when it is not there yet.
FSImageFile *OpenOrCreate(FSImageDir *dir, const char *name) {
   FSImageFile *file = nullptr;
   if (FSImage_OpenFile(dir, name, &file) == FSIMAGE_OK) {
      return file;
   }
   if (FSImage_CreateFile(dir, name, &file) == FSIMAGE_OK) {
      return file;
   }
   return nullptr;
}

// Copies src to the image file from its start. The first write is at
// offset 0, where the image writer cuts the file to nothing, so an existing
// file written over with a shorter content keeps no old tail. A source that
// ends on a sector boundary (or is empty) ends with a read of 0 bytes and a
// write of 0 bytes.
bool CopyHostToImage(FileIODescriptor *src, FSImageFile *file) {
   uint8_t buffer[kTransferChunk];
   uint64_t offset = 0;
   for (;;) {
      size_t got = 0;
      const FileIOResult read = FileIO_Read(src, buffer, sizeof buffer, &got);
      if (read != FILEIO_SUCCESS && read != FILEIO_READ_ERROR_EOF) {
         return false;
      }
      uint32_t written = 0;
      if (FSImage_Write(file, offset, buffer, static_cast<uint32_t>(got), &written) !=
          FSIMAGE_OK) {
         return false;
      }
      offset += written;
      if (read == FILEIO_READ_ERROR_EOF) {
         return true;
      }
   }
}

// Copies the image file to dst until a read gives no bytes.
bool CopyImageToHost(FSImageFile *file, FileIODescriptor *dst) {
   uint8_t buffer[kTransferChunk];
   uint64_t offset = 0;
   for (;;) {
      uint32_t got = 0;
      if (FSImage_Read(file, offset, buffer, sizeof buffer, &got) != FSIMAGE_OK) {
         return false;
      }
      if (got == 0) {
         return true;
      }
      if (FileIO_Write(dst, buffer, got, nullptr) != FILEIO_SUCCESS) {
         return false;
      }
      offset += got;
   }
}

}  // namespace

extern "C" {

TRGUEST_API Bool AddFileToFloppyImg(FSImageDir *dir, const char *hostPath,
                                    const char *nameOnImage) noexcept {
   FileIODescriptor src;
   FileIO_Invalidate(&src);
   if (FileIO_Open(&src, hostPath, FILEIO_OPEN_ACCESS_READ, FILEIO_OPEN) != FILEIO_SUCCESS) {
      return FALSE;
   }
   FSImageFile *file = OpenOrCreate(dir, nameOnImage);
   if (file == nullptr) {
      FileIO_Close(&src);
      return FALSE;
   }
   bool ok = CopyHostToImage(&src, file);
   // Closing the image file writes its cluster chain and directory entry;
   // a file whose entry did not reach the image is not on the floppy, so a
   // failed close fails the call.
   if (FSImage_Close(file) != FSIMAGE_OK) {
      ok = false;
   }
   FileIO_Close(&src);
   return ok ? TRUE : FALSE;
}

TRGUEST_API Bool GetFileFromFloppyImg(FSImageDir *dir, const char *nameOnImage,
                                      const char *hostPath) noexcept {
   FSImageFile *file = nullptr;
   if (FSImage_OpenFile(dir, nameOnImage, &file) != FSIMAGE_OK) {
      return FALSE;
   }
   FileIODescriptor dst;
   FileIO_Invalidate(&dst);
   bool ok = FileIO_Open(&dst, hostPath, FILEIO_OPEN_ACCESS_WRITE, FILEIO_OPEN_CREATE_EMPTY) ==
             FILEIO_SUCCESS;
   // The size is asked for as a check that the file can be read at all; the
   // copy itself runs until a read gives nothing.
   uint64_t size = 0;
   ok = ok && FSImage_GetFileSize(file, &size) == FSIMAGE_OK;
   ok = ok && CopyImageToHost(file, &dst);
   FSImage_Close(file);
   // Data that the host did not take (a full disk noticed at close) is a
   // failed copy.
   if (FileIO_IsValid(&dst) && FileIO_Close(&dst) != FILEIO_SUCCESS) {
      ok = false;
   }
   return ok ? TRUE : FALSE;
}

}  // extern "C"
