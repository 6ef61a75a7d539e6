// The process-wide table of open files.
//
// Every number 1..kMaxFileNumber owns at most one Entry. The table mutex
// guards only the slots (lookup, insert, erase, the duplicate check and the
// lock acquisition on open); the I/O on a file runs under the entry's own
// mutex, so a long write to one number never holds up calls on another.
//
// Lock order: an entry mutex may be held while taking the table mutex (close),
// never the other way round.
//
// The deny-write share is an exclusive write lock over the whole file. It is
// taken as an open-file-description lock where the kernel has them: such a
// lock belongs to our descriptor, so closing some other descriptor of the same
// file (for example the one a refused duplicate open just made) cannot drop
// it, which would happen with a classic per-process record lock.
#include "tympora/node/file_layer.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

#include "node/file_internal.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace {

using detail::CheckPath;
using detail::ErrnoText;
using detail::RaiseForPath;

constexpr int16_t kMaxFreeFileNumber = 255;

struct Entry {
  Entry(int descriptor, dev_t dev, ino_t ino, bool device, std::string file_path)
      : fd(descriptor), device_id(dev), inode(ino), is_device(device), path(std::move(file_path)) {}

  // Fixed from insertion on; read under the table mutex or the entry mutex.
  const int fd;
  const dev_t device_id;
  const ino_t inode;
  const bool is_device;
  const std::string path;

  std::mutex mutex;
  bool closed = false;  // guarded by mutex
};

struct Table {
  std::mutex mutex;
  std::array<std::shared_ptr<Entry>, kMaxFileNumber + 1> slots;
  // Numbers whose OpenFile is in progress: neither free nor usable yet.
  std::bitset<kMaxFileNumber + 1> reserved;
};

// Never destroyed, so that FileCloseAll and the other calls stay valid while
// static objects of the process are being torn down.
Table& GetTable() {
  static Table* const table = new Table;
  return *table;
}

void CheckNumber(int16_t number) {
  if (number < 1 || number > kMaxFileNumber) {
    RaisePlatformError(kErrBadFileNumber, "file number " + std::to_string(number) +
                                              " is outside 1 to " + std::to_string(kMaxFileNumber));
  }
}

[[noreturn]] void RaiseNotOpen(int16_t number) {
  RaisePlatformError(kErrBadFileNumber, "no file is open under number " + std::to_string(number));
}

// The open entry under `number`; raises 52 when there is none.
std::shared_ptr<Entry> Lookup(int16_t number) {
  CheckNumber(number);
  Table& table = GetTable();
  std::lock_guard lock(table.mutex);
  std::shared_ptr<Entry> entry = table.slots[number];
  if (!entry) RaiseNotOpen(number);
  return entry;
}

// Whether the folder that would hold `path` exists.
bool FolderExists(const std::string& path) {
  std::filesystem::path parent = std::filesystem::path(path).parent_path();
  if (parent.empty()) parent = ".";
  struct stat st {};
  return ::stat(parent.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The number holding (device, inode); the caller holds the table mutex.
int16_t NumberHoldingLocked(const Table& table, dev_t device, ino_t inode) {
  for (int16_t number = 1; number <= kMaxFileNumber; ++number) {
    const std::shared_ptr<Entry>& open = table.slots[number];
    if (open && open->device_id == device && open->inode == inode) return number;
  }
  return 0;
}

// Whether another open file description holds a write lock on `fd`'s file.
bool WriteLockedElsewhere(int fd) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
#ifdef F_OFD_GETLK
  int result = ::fcntl(fd, F_OFD_GETLK, &lock);
  if (result != 0 && errno == EINVAL) {  // older kernels
    lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    result = ::fcntl(fd, F_GETLK, &lock);
  }
#else
  int result = ::fcntl(fd, F_GETLK, &lock);
#endif
  return result == 0 && lock.l_type != F_UNLCK;
}

// The error a writer of the file at `path` causes, or 0 when there is none:
// 55 when this table has it open, 70 when another process holds its write
// lock. Unix lets a file be deleted or replaced under its writer, whose
// output would then be lost; the deny-write share forbids exactly that, so
// FileDelete and a CreateNew open ask here first. No link is followed.
int32_t WriterConflict(const std::string& path, std::string& why) {
  struct stat st {};
  if (::lstat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return 0;
  if (const int16_t number = detail::NumberHolding(st.st_dev, st.st_ino)) {
    why = "open under file number " + std::to_string(number);
    return kErrFileAlreadyOpen;
  }
  // Not open here, so closing this descriptor cannot drop a lock of ours.
  const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return 0;
  const bool locked = WriteLockedElsewhere(fd);
  ::close(fd);
  if (!locked) return 0;
  why = "another process is writing to it";
  return kErrPermissionDenied;
}

// The error number for a failed open() of `path`. O_EXCL reports a
// symbolic link, a folder, a device, a pipe or a socket as an existing file;
// none of them is a file we would write, so they get the access error.
int32_t OpenErrorNumber(int err, const std::string& path, FileOpenMode mode) {
  if (err != EEXIST) return detail::ErrnoNumber(err, path);
  struct stat st {};
  if (mode == FileOpenMode::CreateNew && ::lstat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) {
    return kErrPathFileAccess;
  }
  return kErrFileExists;
}

int OpenDescriptor(const std::string& path, FileOpenMode mode) {
  // O_NONBLOCK keeps open() from waiting for a reader on a FIFO; it is
  // cleared again once the descriptor is known to be a file or a device.
  int flags = O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_CREAT;
  switch (mode) {
    case FileOpenMode::Binary:
      break;
    case FileOpenMode::Append:
      flags |= O_APPEND;
      break;
    case FileOpenMode::CreateNew:
      flags |= O_EXCL | O_NOFOLLOW;
      break;
  }
  int fd;
  do {
    fd = ::open(path.c_str(), flags, 0666);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) {
    const int err = errno;
    std::string why;
    if (err == EEXIST) {
      if (const int32_t conflict = WriterConflict(path, why)) RaiseForPath(conflict, path, why);
    }
    const int32_t number = OpenErrorNumber(err, path, mode);
    RaiseForPath(
        number, path,
        err == EEXIST && number == kErrPathFileAccess ? "is not a regular file" : ErrnoText(err));
  }
  return fd;
}

// Closes a descriptor unless it was handed over to the table.
class DescriptorGuard {
 public:
  explicit DescriptorGuard(int fd) : fd_(fd) {}
  DescriptorGuard(const DescriptorGuard&) = delete;
  DescriptorGuard& operator=(const DescriptorGuard&) = delete;
  ~DescriptorGuard() {
    if (fd_ >= 0) ::close(fd_);
  }
  void Release() { fd_ = -1; }

 private:
  int fd_;
};

// Frees a reserved number unless the open completed.
class Reservation {
 public:
  Reservation(Table& table, int16_t number) : table_(table), number_(number) {}
  Reservation(const Reservation&) = delete;
  Reservation& operator=(const Reservation&) = delete;
  ~Reservation() {
    if (active_) {
      std::lock_guard lock(table_.mutex);
      table_.reserved[number_] = false;
    }
  }
  // Called with the table mutex held.
  void Complete() {
    table_.reserved[number_] = false;
    active_ = false;
  }

 private:
  Table& table_;
  int16_t number_;
  bool active_ = true;
};

// Closes the entry under `number` and frees the number. Returns the errno of
// a failing close() (0 on success), or -1 when the entry was already closed.
int CloseEntry(int16_t number, const std::shared_ptr<Entry>& entry) {
  std::lock_guard entry_lock(entry->mutex);
  if (entry->closed) return -1;
  Table& table = GetTable();
  // Closing under the table mutex: until the descriptor and its lock are
  // gone the file still counts as open, so a racing open of the same file
  // sees either this entry (55) or no lock at all, never a stale lock.
  std::lock_guard table_lock(table.mutex);
  if (table.slots[number] == entry) table.slots[number].reset();
  entry->closed = true;
  // The descriptor is released even when close() reports an error (also
  // EINTR), so it is never retried.
  return ::close(entry->fd) == 0 ? 0 : errno;
}

// A file that another writer deleted or replaced between our open and our
// lock is no longer the one at `path`: writing it would be lost. A deleter
// holds the file's lock while it unlinks it, so once we hold the lock and the
// path still names our file, nobody takes it from us until we close.
void CheckStillAtPath(const std::string& path, FileOpenMode mode, const struct stat& ours) {
  struct stat now {};
  const int result =
      mode == FileOpenMode::CreateNew ? ::lstat(path.c_str(), &now) : ::stat(path.c_str(), &now);
  if (result != 0 || now.st_dev != ours.st_dev || now.st_ino != ours.st_ino) {
    RaiseForPath(kErrPermissionDenied, path,
                 "another writer replaced the file while it was opened");
  }
}

}  // namespace

namespace detail {

std::string ErrnoText(int err) { return std::error_code(err, std::generic_category()).message(); }

[[noreturn]] void RaiseForPath(int32_t number, const std::string& path, const std::string& why) {
  RaisePlatformError(number, "'" + path + "': " + why);
}

void CheckPath(const std::string& path) {
  if (path.empty()) RaisePlatformError(kErrBadFileNumber, "the file name is empty");
  if (path.find('\0') != std::string::npos) {
    RaisePlatformError(kErrBadFileNumber, "the file name contains a NUL character");
  }
}

int32_t ErrnoNumber(int err, const std::string& path) {
  switch (err) {
    case ENOENT:
      return FolderExists(path) ? kErrFileNotFound : kErrPathNotFound;
    case ENOTDIR:
      return kErrPathNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
    case ETXTBSY:
      return kErrPermissionDenied;
    case ENOSPC:
    case EDQUOT:
      return kErrDiskFull;
    case ENOMEM:
      return kErrOutOfMemory;
    case ENAMETOOLONG:
    case EINVAL:
      return kErrBadFileNumber;
    case EMFILE:
    case ENFILE:
      return kErrTooManyFiles;
    case EIO:
      return kErrDeviceIO;
    default:
      return kErrPathFileAccess;  // EISDIR, ELOOP, ENXIO, EBUSY, ...
  }
}

int16_t NumberHolding(dev_t device, ino_t inode) {
  Table& table = GetTable();
  std::lock_guard lock(table.mutex);
  return NumberHoldingLocked(table, device, inode);
}

// A file system that cannot lock at all leaves the file unlocked: the lock
// is advisory in any case.
bool LockForWriting(int fd) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = 0;
  lock.l_len = 0;  // to the end of the file, however long it grows
  lock.l_pid = 0;
#ifdef F_OFD_SETLK
  int result = ::fcntl(fd, F_OFD_SETLK, &lock);
  if (result != 0 && errno == EINVAL) result = ::fcntl(fd, F_SETLK, &lock);  // older kernels
#else
  int result = ::fcntl(fd, F_SETLK, &lock);
#endif
  return result == 0 || (errno != EACCES && errno != EAGAIN);
}

}  // namespace detail

int16_t FreeFile() {
  Table& table = GetTable();
  std::lock_guard lock(table.mutex);
  for (int16_t number = 1; number <= kMaxFreeFileNumber; ++number) {
    if (!table.slots[number] && !table.reserved[number]) return number;
  }
  RaisePlatformError(kErrTooManyFiles, "every file number from 1 to " +
                                           std::to_string(kMaxFreeFileNumber) + " is in use");
}

void OpenFile(int16_t number, const std::string& path, FileOpenMode mode) {
  CheckNumber(number);
  CheckPath(path);
  Table& table = GetTable();
  {
    std::lock_guard lock(table.mutex);
    if (table.slots[number] || table.reserved[number]) {
      RaisePlatformError(kErrFileAlreadyOpen,
                         "file number " + std::to_string(number) + " is in use");
    }
    table.reserved[number] = true;
  }
  Reservation reservation(table, number);

  const int fd = OpenDescriptor(path, mode);
  DescriptorGuard guard(fd);
  struct stat st {};
  if (::fstat(fd, &st) != 0) RaiseForPath(kErrPathFileAccess, path, ErrnoText(errno));
  const bool is_device = S_ISCHR(st.st_mode);
  if (!S_ISREG(st.st_mode) && !is_device) {  // a FIFO, a socket, ...
    RaiseForPath(kErrPathFileAccess, path, "is neither a file nor a device");
  }
  const int status_flags = ::fcntl(fd, F_GETFL);
  if (status_flags < 0 || ::fcntl(fd, F_SETFL, status_flags & ~O_NONBLOCK) != 0) {
    RaiseForPath(kErrPathFileAccess, path, ErrnoText(errno));
  }
  auto entry = std::make_shared<Entry>(fd, st.st_dev, st.st_ino, is_device, path);

  std::lock_guard lock(table.mutex);
  if (const int16_t other = NumberHoldingLocked(table, entry->device_id, entry->inode)) {
    RaiseForPath(kErrFileAlreadyOpen, path,
                 "already open under file number " + std::to_string(other));
  }
  if (!is_device && !detail::LockForWriting(fd)) {
    RaiseForPath(kErrPermissionDenied, path, "another process is writing to it");
  }
  if (!is_device) CheckStillAtPath(path, mode, st);
  table.slots[number] = std::move(entry);
  reservation.Complete();
  guard.Release();
}

int64_t FileLength(int16_t number) {
  std::shared_ptr<Entry> entry = Lookup(number);
  std::lock_guard lock(entry->mutex);
  if (entry->closed) RaiseNotOpen(number);
  if (entry->is_device) return 0;
  struct stat st {};
  if (::fstat(entry->fd, &st) != 0) RaiseForPath(kErrDeviceIO, entry->path, ErrnoText(errno));
  return static_cast<int64_t>(st.st_size);
}

void FileWrite(int16_t number, std::string_view bytes) {
  std::shared_ptr<Entry> entry = Lookup(number);
  std::lock_guard lock(entry->mutex);
  if (entry->closed) RaiseNotOpen(number);
  // write() may take fewer bytes than asked (a signal, a nearly full disk,
  // Linux's limit of about 2 GiB per call); keep going until all are out.
  constexpr size_t kMaxChunk = size_t{1} << 30;
  while (!bytes.empty()) {
    const ssize_t written = ::write(entry->fd, bytes.data(), std::min(bytes.size(), kMaxChunk));
    if (written < 0) {
      const int err = errno;
      if (err == EINTR) continue;
      RaiseForPath(err == ENOSPC || err == EDQUOT ? kErrDiskFull : kErrDeviceIO, entry->path,
                   ErrnoText(err));
    }
    if (written == 0) RaiseForPath(kErrDeviceIO, entry->path, "the device took no bytes");
    bytes.remove_prefix(static_cast<size_t>(written));
  }
}

void FileClose(int16_t number) {
  std::shared_ptr<Entry> entry = Lookup(number);
  const int err = CloseEntry(number, entry);
  if (err < 0) RaiseNotOpen(number);
  // The number is free by now; a close that reports a late write failure
  // (a network file system flushing on close) still tells the caller.
  if (err == ENOSPC || err == EDQUOT) RaiseForPath(kErrDiskFull, entry->path, ErrnoText(err));
  if (err != 0 && err != EINTR) RaiseForPath(kErrDeviceIO, entry->path, ErrnoText(err));
}

void FileCloseAll() noexcept {
  Table& table = GetTable();
  std::vector<std::pair<int16_t, std::shared_ptr<Entry>>> open;
  {
    std::lock_guard lock(table.mutex);
    for (int16_t number = 1; number <= kMaxFileNumber; ++number) {
      if (table.slots[number]) open.emplace_back(number, table.slots[number]);
    }
  }
  for (const auto& [number, entry] : open) CloseEntry(number, entry);
}

void FileFlush(int16_t number) {
  std::shared_ptr<Entry> entry = Lookup(number);
  std::lock_guard lock(entry->mutex);
  if (entry->closed) RaiseNotOpen(number);
  if (entry->is_device) return;
  if (::fsync(entry->fd) != 0) {
    const int err = errno;
    if (err == EINVAL || err == EROFS) return;  // a file system that keeps nothing to flush
    RaiseForPath(err == ENOSPC || err == EDQUOT ? kErrDiskFull : kErrDeviceIO, entry->path,
                 ErrnoText(err));
  }
}

void FileTruncate(int16_t number) { detail::FileCutBack(number, 0); }

namespace detail {

int64_t FileEndOffset(int16_t number) {
  std::shared_ptr<Entry> entry = Lookup(number);
  std::lock_guard lock(entry->mutex);
  if (entry->closed) RaiseNotOpen(number);
  if (entry->is_device) return -1;
  struct stat st {};
  const off_t at = ::lseek(entry->fd, 0, SEEK_CUR);
  if (at < 0 || ::fstat(entry->fd, &st) != 0 || at != st.st_size) return -1;
  return at;
}

void FileCutBack(int16_t number, int64_t length) {
  std::shared_ptr<Entry> entry = Lookup(number);
  std::lock_guard lock(entry->mutex);
  if (entry->closed) RaiseNotOpen(number);
  if (entry->is_device) return;
  if (::ftruncate(entry->fd, length) != 0 || ::lseek(entry->fd, length, SEEK_SET) != length) {
    RaiseForPath(kErrDeviceIO, entry->path, ErrnoText(errno));
  }
}

}  // namespace detail

}  // namespace tympora
