// What the sources of the file layer share: the table lookup by file
// identity, the write lock, and the errors of a path.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <string>

namespace tympora::detail {

// The text of an errno value.
std::string ErrnoText(int err);

// Raises `number` with a description naming `path` and saying `why`.
[[noreturn]] void RaiseForPath(int32_t number, const std::string& path, const std::string& why);

// Raises 52 for an empty path or one holding a NUL character.
void CheckPath(const std::string& path);

// The platform error number for the errno `err` of a call on `path`: 53 or
// 76 for a missing file or folder, 70 without access, 61 for a full disk,
// 7 out of memory, 52 for a bad name, 67, 57, and 75 for the rest.
int32_t ErrnoNumber(int err, const std::string& path);

// The number under which this table has the file (device, inode) open, or 0.
int16_t NumberHolding(dev_t device, ino_t inode);

// Takes the exclusive write lock over the whole file open as `fd`. Returns
// false when another owner holds a conflicting lock.
bool LockForWriting(int fd);

// Opens the regular file at `path`, which lstat() described as `seen`, and
// takes its write lock, so that a file being written is never deleted or
// replaced: while the lock is held no writer can start on it, and no writer
// holds it. Raises 55 when this table has it open, 70 when another process
// writes to it, has put another file in its place, or it cannot be opened
// for writing (its writer could not be ruled out), 75 when something other
// than a file now stands at the path. Returns the descriptor, which the
// caller closes.
int LockExistingFile(const std::string& path, const struct stat& seen);

// The position of the file open under `number` when it stands at the file's
// end, so that cutting the file back to it undoes whatever is written next;
// -1 for a device or a position inside the file. Raises 52 when no file is
// open under the number.
int64_t FileEndOffset(int16_t number);

// Cuts the file open under `number` back to `length` bytes and moves its
// position there. Raises 52 when no file is open under it, 57 when that
// fails. A device is left as it is.
void FileCutBack(int16_t number, int64_t length);

}  // namespace tympora::detail
