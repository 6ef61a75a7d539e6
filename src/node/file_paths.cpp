// The file layer's operations on paths: deleting a file and putting a new
// file in an old one's place. Both keep to one rule, the one that makes the
// deny-write share hold on Unix, where a file can be unlinked or renamed over
// under its writer: only a regular file or a symbolic link is ever removed
// from a path, and a regular file only while we hold its write lock.
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "node/file_internal.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/file_layer.hpp"

namespace tympora {
namespace {

using detail::ErrnoText;
using detail::RaiseForPath;

// lstat() of `path`: false when nothing is there; raises for other failures.
bool Look(const std::string& path, struct stat& st) {
  if (::lstat(path.c_str(), &st) == 0) return true;
  const int err = errno;
  if (err == ENOENT) return false;
  RaiseForPath(detail::ErrnoNumber(err, path), path, ErrnoText(err));
}

[[noreturn]] void RaiseNotAFile(const std::string& path) {
  RaiseForPath(kErrPathFileAccess, path, "is not a file (a folder, device, pipe or socket)");
}

// Closes a descriptor at the end of a scope.
struct Closer {
  int fd;
  ~Closer() { ::close(fd); }
};

// Flushes the folder that holds `path`, so that a rename into it survives a
// crash. File systems that cannot flush a folder are taken as they are.
void FlushFolder(const std::string& path) {
  std::filesystem::path folder = std::filesystem::path(path).parent_path();
  if (folder.empty()) folder = ".";
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  Closer closer{fd};
  if (::fsync(fd) != 0 && errno != EINVAL && errno != EROFS) {
    RaiseForPath(kErrDeviceIO, folder.string(), ErrnoText(errno));
  }
}

// Renames `from` to `to` when nothing is at `to`; false when something
// appeared there first.
bool RenameIfFree(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
    return true;
  }
  int err = errno;
  if (err == EINVAL || err == ENOSYS) {
    // A file system without the flag: link() refuses an existing name too.
    if (::link(from.c_str(), to.c_str()) == 0) {
      ::unlink(from.c_str());
      return true;
    }
    err = errno;
  }
  if (err == EEXIST) return false;
  RaiseForPath(detail::ErrnoNumber(err, to), to, ErrnoText(err));
}

}  // namespace

namespace detail {

int LockExistingFile(const std::string& path, const struct stat& seen) {
  if (const int16_t number = NumberHolding(seen.st_dev, seen.st_ino)) {
    RaiseForPath(kErrFileAlreadyOpen, path, "open under file number " + std::to_string(number));
  }
  // Opening for writing creates and truncates nothing; O_NONBLOCK and
  // O_NOCTTY keep a pipe or terminal swapped in meanwhile from blocking us.
  const int fd = ::open(path.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) {
    const int err = errno;
    if (err == EACCES || err == EPERM || err == EROFS || err == ETXTBSY) {
      RaiseForPath(
          kErrPermissionDenied, path,
          "cannot be opened for writing, so it may not be replaced (" + ErrnoText(err) + ")");
    }
    RaiseForPath(err == ENOENT ? kErrFileNotFound : kErrPathFileAccess, path, ErrnoText(err));
  }
  struct stat st {};
  if (::fstat(fd, &st) != 0 || st.st_dev != seen.st_dev || st.st_ino != seen.st_ino) {
    ::close(fd);
    // Another file in its place is another writer's; anything else is no file.
    if (S_ISREG(st.st_mode)) {
      RaiseForPath(kErrPermissionDenied, path, "another writer replaced it meanwhile");
    }
    RaiseForPath(kErrPathFileAccess, path, "changed while it was being replaced");
  }
  if (!LockForWriting(fd)) {
    ::close(fd);
    RaiseForPath(kErrPermissionDenied, path, "another process is writing to it");
  }
  struct stat now {};
  if (::lstat(path.c_str(), &now) != 0 || now.st_dev != st.st_dev || now.st_ino != st.st_ino) {
    ::close(fd);
    RaiseForPath(kErrPermissionDenied, path, "another writer replaced it meanwhile");
  }
  return fd;
}

}  // namespace detail

void FileDelete(const std::string& path) {
  detail::CheckPath(path);
  struct stat st {};
  if (!Look(path, st)) RaiseForPath(detail::ErrnoNumber(ENOENT, path), path, ErrnoText(ENOENT));
  if (!S_ISLNK(st.st_mode) && !S_ISREG(st.st_mode)) RaiseNotAFile(path);
  const int fd = S_ISREG(st.st_mode) ? detail::LockExistingFile(path, st) : -1;
  const int result = ::unlink(path.c_str());
  const int err = errno;
  if (fd >= 0) ::close(fd);
  if (result != 0) RaiseForPath(detail::ErrnoNumber(err, path), path, ErrnoText(err));
}

void FileReplace(const std::string& from, const std::string& to) {
  detail::CheckPath(from);
  detail::CheckPath(to);
  // A writer may create `to` between our look and our rename; the look is
  // then repeated, a few times at most.
  for (int attempt = 0;; ++attempt) {
    struct stat st {};
    if (!Look(to, st)) {
      if (RenameIfFree(from, to)) break;
      if (attempt < 8) continue;
      RaiseForPath(kErrPermissionDenied, to, "another writer keeps creating it");
    }
    if (!S_ISLNK(st.st_mode) && !S_ISREG(st.st_mode)) RaiseNotAFile(to);
    const int fd = S_ISREG(st.st_mode) ? detail::LockExistingFile(to, st) : -1;
    if (fd >= 0) ::chmod(from.c_str(), st.st_mode & 07777);  // the new file keeps the old mode
    const int result = ::rename(from.c_str(), to.c_str());
    const int err = errno;
    if (fd >= 0) ::close(fd);
    if (result != 0) RaiseForPath(detail::ErrnoNumber(err, to), to, ErrnoText(err));
    break;
  }
  FlushFolder(to);
}

}  // namespace tympora
