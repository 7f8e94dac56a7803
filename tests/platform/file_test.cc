// file_test.cc --
//
//    Host file I/O: end-of-file semantics, 64-bit offsets, open actions,
//    and the path and directory helpers.

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <trplatform/file.h>
#include <trplatform/fileio.h>

#include "file/imagefile.hh"

#include "testsupport.hh"

namespace {

mode_t ModeOf(const std::string &path) {
   struct stat st;
   return stat(path.c_str(), &st) == 0 ? st.st_mode & 07777 : 0;
}

std::string Take(char *s) {
   std::string out = s != nullptr ? s : "<null>";
   std::free(s);
   return out;
}

TEST(FileIO, ShortReadIsEndOfFileWithTheCount) {
   trtest::TempDir dir;
   std::string path = dir.file("f");
   trtest::WriteFile(path, std::string(1000, 'a'));
   FileIODescriptor fd;
   FileIO_Invalidate(&fd);
   EXPECT_FALSE(FileIO_IsValid(&fd));
   ASSERT_EQ(FileIO_Open(&fd, path.c_str(), FILEIO_OPEN_ACCESS_READ, FILEIO_OPEN), FILEIO_SUCCESS);
   char buf[512];
   size_t actual = 0;
   EXPECT_EQ(FileIO_Read(&fd, buf, sizeof buf, &actual), FILEIO_SUCCESS);
   EXPECT_EQ(actual, 512u);
   EXPECT_EQ(FileIO_Read(&fd, buf, sizeof buf, &actual), FILEIO_READ_ERROR_EOF);
   EXPECT_EQ(actual, 488u);
   EXPECT_EQ(FileIO_Read(&fd, buf, sizeof buf, &actual), FILEIO_READ_ERROR_EOF);
   EXPECT_EQ(actual, 0u);
   EXPECT_EQ(FileIO_GetSize(&fd), 1000);
   EXPECT_EQ(FileIO_Close(&fd), FILEIO_SUCCESS);
   EXPECT_FALSE(FileIO_IsValid(&fd));
   EXPECT_EQ(FileIO_Close(&fd), FILEIO_SUCCESS);
}

TEST(FileIO, OpenActions) {
   trtest::TempDir dir;
   std::string path = dir.file("f");
   FileIODescriptor fd;
   EXPECT_EQ(FileIO_Open(&fd, path.c_str(), FILEIO_OPEN_ACCESS_READ, FILEIO_OPEN),
             FILEIO_FILE_NOT_FOUND);
   ASSERT_EQ(FileIO_Open(&fd, path.c_str(), FILEIO_OPEN_ACCESS_WRITE, FILEIO_OPEN_CREATE_SAFE),
             FILEIO_SUCCESS);
   EXPECT_EQ(FileIO_Write(&fd, "hello world", 11, nullptr), FILEIO_SUCCESS);
   FileIO_Close(&fd);
   EXPECT_EQ(FileIO_Open(&fd, path.c_str(), FILEIO_OPEN_ACCESS_WRITE, FILEIO_OPEN_CREATE_SAFE),
             FILEIO_OPEN_ERROR_EXIST);
   // Open-or-create keeps the content; create-empty truncates.
   ASSERT_EQ(FileIO_Open(&fd, path.c_str(), FILEIO_OPEN_ACCESS_WRITE, FILEIO_OPEN_CREATE),
             FILEIO_SUCCESS);
   EXPECT_EQ(FileIO_Write(&fd, "HELLO", 5, nullptr), FILEIO_SUCCESS);
   FileIO_Close(&fd);
   EXPECT_EQ(trtest::ReadFile(path), "HELLO world");
   ASSERT_EQ(FileIO_Open(&fd, path.c_str(), FILEIO_OPEN_ACCESS_WRITE, FILEIO_OPEN_CREATE_EMPTY),
             FILEIO_SUCCESS);
   FileIO_Close(&fd);
   EXPECT_EQ(trtest::ReadFile(path), "");
   EXPECT_EQ(FileIO_Open(&fd, dir.path().c_str(), FILEIO_OPEN_ACCESS_READ, FILEIO_OPEN),
             FILEIO_ERROR);
   std::string fifo = dir.file("fifo");
   ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
   EXPECT_EQ(FileIO_Open(&fd, fifo.c_str(), FILEIO_OPEN_ACCESS_READ, FILEIO_OPEN), FILEIO_ERROR);
   EXPECT_EQ(FileIO_Open(&fd, "/dev/zero", FILEIO_OPEN_ACCESS_READ, FILEIO_OPEN), FILEIO_ERROR);
   EXPECT_FALSE(FileIO_IsValid(&fd));
   EXPECT_EQ(FileIO_Open(&fd, dir.file("missing").c_str(), FILEIO_OPEN_ACCESS_WRITE,
                         FILEIO_OPEN_EMPTY),
             FILEIO_FILE_NOT_FOUND);
}

TEST(FileIO, OffsetsBeyondFourGiB) {
   trtest::TempDir dir;
   std::string path = dir.file("sparse");
   FileIODescriptor fd;
   ASSERT_EQ(FileIO_Open(&fd, path.c_str(), FILEIO_OPEN_ACCESS_READ | FILEIO_OPEN_ACCESS_WRITE,
                         FILEIO_OPEN_CREATE),
             FILEIO_SUCCESS);
   const uint64_t far = (5ULL << 30) + 123;
   ASSERT_EQ(FileIO_Pwrite(&fd, "far", 3, far, nullptr), FILEIO_SUCCESS);
   EXPECT_EQ(FileIO_GetSize(&fd), static_cast<int64_t>(far + 3));
   char buf[3];
   size_t actual = 0;
   EXPECT_EQ(FileIO_Pread(&fd, buf, 3, far, &actual), FILEIO_SUCCESS);
   EXPECT_EQ(std::string(buf, 3), "far");
   EXPECT_EQ(FileIO_Pread(&fd, buf, 3, far + 1, &actual), FILEIO_READ_ERROR_EOF);
   EXPECT_EQ(actual, 2u);
   EXPECT_EQ(FileIO_SetSize(&fd, 6ULL << 30), FILEIO_SUCCESS);
   EXPECT_EQ(FileIO_GetSize(&fd), static_cast<int64_t>(6ULL << 30));
   EXPECT_EQ(FileIO_SetSize(&fd, UINT64_MAX), FILEIO_WRITE_ERROR_FBIG);
   EXPECT_EQ(FileIO_SetSize(&fd, far + 3), FILEIO_SUCCESS);
   FileIO_Close(&fd);
   EXPECT_EQ(File_GetSize(path.c_str()), static_cast<int64_t>(far + 3));
}

TEST(ImageFileOpen, OnlyRegularFilesAndNoBlockingOnAFifo) {
   trtest::TempDir dir;
   std::string fifo = dir.file("fifo");
   ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
   trtest::WriteFile(dir.file("img"), std::string(4096, 'i'));
   for (bool writable : {false, true}) {
      EXPECT_FALSE(trp::ImageFile::open(fifo, writable).ok());
      EXPECT_FALSE(trp::ImageFile::open(dir.path(), writable).ok());
      auto img = trp::ImageFile::open(dir.file("img"), writable);
      ASSERT_TRUE(img.ok());
      EXPECT_EQ(img->size(), 4096u);
   }
}

// Ranges past 4 GiB copied into a regular file (within the kernel) and
// into a pipe (which the kernel copy refuses: through a buffer), appended
// at the target's position; ranges outside the image change nothing.
TEST(ImageFileCopyTo, RegularFileAndPipe) {
   trtest::TempDir dir;
   const std::string path = dir.file("sparse");
   const uint64_t far = (5ULL << 30) + 7;
   {
      const int fd = ::open(path.c_str(), O_RDWR | O_CREAT, 0644);
      ASSERT_GE(fd, 0);
      ASSERT_EQ(::pwrite(fd, "0123456789", 10, static_cast<off_t>(far)), 10);
      ::close(fd);
   }
   auto img = trp::ImageFile::open(path, false);
   ASSERT_TRUE(img.ok());
   const int out = ::open(dir.file("out").c_str(), O_WRONLY | O_CREAT, 0644);
   int pipeFds[2];
   ASSERT_EQ(::pipe(pipeFds), 0);
   for (int target : {out, pipeFds[1]}) {
      EXPECT_TRUE(img->copyTo(target, far + 2, 5).ok());
      EXPECT_TRUE(img->copyTo(target, far, 0).ok());
      EXPECT_TRUE(img->copyTo(target, far + 8, 2).ok());
      EXPECT_FALSE(img->copyTo(target, far + 8, 3).ok());
      EXPECT_FALSE(img->copyTo(target, UINT64_MAX, 2).ok());
   }
   ::close(out);
   ::close(pipeFds[1]);
   EXPECT_EQ(trtest::ReadFile(dir.file("out")), "2345689");
   char buf[16] = {};
   EXPECT_EQ(::read(pipeFds[0], buf, sizeof buf), 7);
   EXPECT_EQ(std::string(buf, 7), "2345689");
   ::close(pipeFds[0]);
}

TEST(FilePaths, SplitAndJoin) {
   struct {
      const char *path, *dir, *base;
   } cases[] = {
      {"I386/TXTSETUP.SIF", "I386", "TXTSETUP.SIF"},
      {".disk/info", ".disk", "info"},
      {"/boot/kernel/kernel.", "/boot/kernel", "kernel."},
      {"/kernel", "/", "kernel"},
      {"packages.xml", "", "packages.xml"},
      {"dir/", "dir", ""},
   };
   for (const auto &c : cases) {
      char *dir = nullptr, *base = nullptr;
      File_GetPathName(c.path, &dir, &base);
      EXPECT_EQ(Take(dir), c.dir) << c.path;
      EXPECT_EQ(Take(base), c.base) << c.path;
   }
   char *vol, *dir, *base;
   File_SplitName("/x/y/txtsetup.oem", &vol, &dir, &base);
   EXPECT_EQ(Take(vol), "");
   EXPECT_EQ(Take(dir), "/x/y/");
   EXPECT_EQ(Take(base), "txtsetup.oem");
   EXPECT_EQ(Take(File_PathJoin("/vm", "autoinst.flp")), "/vm/autoinst.flp");
   EXPECT_EQ(Take(File_PathJoin("/vm/", "autoinst.flp")), "/vm/autoinst.flp");
}

TEST(FileDirectories, ListSortedCreateAndDelete) {
   trtest::TempDir dir;
   for (const char *n : {"b", "a", "C", "txtsetup.oem"}) {
      trtest::WriteFile(dir.file(n), n);
   }
   char **names = nullptr;
   ASSERT_EQ(File_ListDirectory(dir.path().c_str(), &names), 4);
   EXPECT_STREQ(names[0], "C");
   EXPECT_STREQ(names[1], "a");
   EXPECT_STREQ(names[2], "b");
   EXPECT_STREQ(names[3], "txtsetup.oem");
   for (int i = 0; i < 4; i++) std::free(names[i]);
   std::free(names);
   EXPECT_EQ(File_ListDirectory(dir.file("missing").c_str(), &names), -1);

   std::string deep = dir.file("x/y/z");
   EXPECT_TRUE(File_CreateDirectoryHierarchy(deep.c_str()));
   EXPECT_TRUE(File_CreateDirectoryHierarchy(deep.c_str()));
   EXPECT_TRUE(File_CreateDirectory(deep.c_str()));
   EXPECT_FALSE(File_DeleteEmptyDirectory(dir.file("x").c_str()));

   // Deleting a tree removes a symbolic link, not what it points to.
   trtest::TempDir outside;
   trtest::WriteFile(outside.file("keep"), "keep");
   ASSERT_EQ(symlink(outside.path().c_str(), dir.file("x/y/link").c_str()), 0);
   EXPECT_TRUE(File_DeleteDirectoryTree(dir.file("x").c_str()));
   EXPECT_FALSE(File_Exists(dir.file("x").c_str()));
   EXPECT_TRUE(File_Exists(outside.file("keep").c_str()));
   EXPECT_TRUE(File_DeleteDirectoryTree(dir.file("x").c_str()));
}

TEST(FileCopy, OverwriteRuleAndUnlink) {
   trtest::TempDir dir;
   std::string a = dir.file("a"), b = dir.file("b");
   trtest::WriteFile(a, "new");
   trtest::WriteFile(b, "old content");
   EXPECT_FALSE(File_CopyFromNameToName(a.c_str(), b.c_str(), FALSE));
   EXPECT_EQ(trtest::ReadFile(b), "old content");
   ASSERT_EQ(chmod(b.c_str(), 0600), 0);
   EXPECT_TRUE(File_CopyFromNameToName(a.c_str(), b.c_str(), TRUE));
   EXPECT_EQ(trtest::ReadFile(b), "new");
   EXPECT_EQ(ModeOf(b), 0600u);
   EXPECT_FALSE(File_CopyFromNameToName(dir.file("missing").c_str(), b.c_str(), TRUE));
   EXPECT_FALSE(File_CopyFromNameToName(a.c_str(), dir.file("no/dir/c").c_str(), TRUE));
   // Only regular files are copied, and a FIFO does not block the call.
   std::string fifo = dir.file("fifo");
   ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
   EXPECT_FALSE(File_CopyFromNameToName(fifo.c_str(), b.c_str(), TRUE));
   EXPECT_FALSE(File_CopyFromNameToName(dir.path().c_str(), b.c_str(), TRUE));
   EXPECT_EQ(trtest::ReadFile(b), "new");
   EXPECT_EQ(File_UnlinkIfExists(b.c_str()), 0);
   EXPECT_EQ(File_UnlinkIfExists(b.c_str()), 0);
   EXPECT_FALSE(File_Exists(b.c_str()));
}

// Where an atomic replacement lands and what the file looks like after it.
// Every case writes "new" to `write` after `setup` ran in a fresh directory,
// then expects `check` to hold "new" with `mode`, `write` to stay a link
// when it was one, and no temporary file to be left.
struct ReplaceCase {
   const char *name;
   const char *setup;  // shell commands run in the directory
   const char *write;  // path written, relative to the directory
   const char *check;  // path whose contents are checked
   mode_t mode;
};

void PrintTo(const ReplaceCase &c, std::ostream *os) { *os << c.name; }

class FileReplace : public ::testing::TestWithParam<ReplaceCase> {};

TEST_P(FileReplace, WritesTheTargetKeepingItsMode) {
   const ReplaceCase &c = GetParam();
   trtest::TempDir dir;
   ASSERT_EQ(trtest::RunCommand({"sh", "-c", std::string("cd \"$1\" && ") + c.setup, "sh",
                                 dir.path()}).exitCode, 0);
   std::string write = dir.file(c.write);
   struct stat before;
   bool wasLink = lstat(write.c_str(), &before) == 0 && S_ISLNK(before.st_mode);
   ASSERT_TRUE(File_ReplaceContents(write.c_str(), "new", 3));
   EXPECT_EQ(trtest::ReadFile(dir.file(c.check)), "new");
   EXPECT_EQ(ModeOf(dir.file(c.check)), c.mode);
   struct stat after;
   ASSERT_EQ(lstat(write.c_str(), &after), 0);
   EXPECT_EQ(S_ISLNK(after.st_mode), wasLink);
   auto left = trtest::RunCommand({"find", dir.path(), "-name", ".trtmp-*"});
   EXPECT_EQ(left.output, "");
}

const ReplaceCase kReplaceCases[] = {
   {"newFile", "true", "f", "f", 0644},
   {"keepsPrivateMode", "echo old > f && chmod 600 f", "f", "f", 0600},
   {"keepsExecutableMode", "echo old > f && chmod 755 f", "f", "f", 0755},
   {"writesThroughLink", "mkdir d && echo old > d/f && chmod 640 d/f && ln -s d/f l", "l", "d/f",
    0640},
   {"writesThroughLinkChain", "echo old > f && ln -s f l1 && ln -s l1 l2", "l2", "f", 0644},
   {"danglingLinkCreatesTarget", "mkdir d && ln -s d/f l", "l", "d/f", 0644},
};

INSTANTIATE_TEST_SUITE_P(Cases, FileReplace, ::testing::ValuesIn(kReplaceCases),
                         [](const auto &p) { return std::string(p.param.name); });

TEST(FileReplaceFailures, LeaveNothingBehind) {
   trtest::TempDir dir;
   ASSERT_EQ(mkdir(dir.file("sub").c_str(), 0755), 0);
   ASSERT_EQ(symlink("loop", dir.file("loop").c_str()), 0);
   EXPECT_FALSE(File_ReplaceContents(dir.file("sub").c_str(), "x", 1));
   EXPECT_FALSE(File_ReplaceContents(dir.file("no/dir/f").c_str(), "x", 1));
   EXPECT_FALSE(File_ReplaceContents(dir.file("loop").c_str(), "x", 1));
   EXPECT_FALSE(File_ReplaceContents(nullptr, "x", 1));
   EXPECT_FALSE(File_ReplaceContents(dir.file("f").c_str(), nullptr, 1));
   EXPECT_EQ(Take(File_MakeTempBeside(nullptr)), "<null>");
   EXPECT_FALSE(File_CommitTemp(nullptr, dir.file("f").c_str()));
   // A temporary file that cannot be committed is removed.
   std::string tmp = Take(File_MakeTempBeside(dir.file("sub").c_str()));
   EXPECT_EQ(tmp.rfind(dir.path() + "/", 0), 0u);
   EXPECT_FALSE(File_CommitTemp(tmp.c_str(), dir.file("sub").c_str()));
   EXPECT_FALSE(File_Exists(tmp.c_str()));
   char **names = nullptr;
   EXPECT_EQ(File_ListDirectory(dir.path().c_str(), &names), 2);
   for (char **n = names; *n != nullptr; n++) {
      std::free(*n);
   }
   std::free(names);
   EXPECT_TRUE(File_ReplaceContents(dir.file("empty").c_str(), nullptr, 0));
   EXPECT_EQ(trtest::ReadFile(dir.file("empty")), "");
}

// The file keeps its owner and group; only a privileged caller can give a
// file away, so the case needs root (which the test runs as in CI).
TEST(FileReplace, KeepsOwnerWhenPrivileged) {
   trtest::TempDir dir;
   std::string f = dir.file("f");
   trtest::WriteFile(f, "old");
   const uid_t owner = geteuid() == 0 ? 4321 : geteuid();
   const gid_t group = geteuid() == 0 ? 4322 : getegid();
   ASSERT_EQ(chown(f.c_str(), owner, group), 0);
   ASSERT_EQ(chmod(f.c_str(), 04750), 0);
   ASSERT_TRUE(File_ReplaceContents(f.c_str(), "new", 3));
   struct stat st;
   ASSERT_EQ(stat(f.c_str(), &st), 0);
   EXPECT_EQ(st.st_uid, owner);
   EXPECT_EQ(st.st_gid, group);
   EXPECT_EQ(st.st_mode & 07777, 04750u);
}

TEST(FileTmp, SafeTmpDirIsPrivate) {
   trtest::TempDir base;
   trtest::ScopedEnv env("TMPDIR", base.path().c_str());
   std::string tmp = Take(File_GetSafeTmpDir(FALSE));
   struct stat st;
   ASSERT_EQ(lstat(tmp.c_str(), &st), 0);
   EXPECT_TRUE(S_ISDIR(st.st_mode));
   EXPECT_EQ(st.st_mode & 077, 0u);
   EXPECT_EQ(Take(File_GetSafeTmpDir(FALSE)), tmp);
   // A directory of that name that others can write is not used.
   ASSERT_EQ(chmod(tmp.c_str(), 0777), 0);
   std::string other = Take(File_GetSafeTmpDir(FALSE));
   EXPECT_NE(other, tmp);
   ASSERT_EQ(lstat(other.c_str(), &st), 0);
   EXPECT_EQ(st.st_mode & 077, 0u);
}

}  // namespace
