// The file layer: a process-wide table of open files addressed by numbers 1
// to 511, shared by the library and its hosts. A host opens a file under a
// number and hands the number to ExportXMLFileHandle.
//
// Errors are raised as tympora::Error with the runtime numbers: 52 bad file
// name or number, 53 file not found, 55 file already open, 57 device I/O
// error, 61 disk full, 70 permission denied, 75 path/file access error, 76
// path not found. Every call is safe from several threads at once.
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tympora {

inline constexpr int16_t kMaxFileNumber = 511;

// How OpenFile opens a file for binary output.
enum class FileOpenMode {
  // Opens or creates the file without truncating it; writing starts at 0.
  Binary,
  // Creates a new file; fails with 58 "File already exists" (or 75 for a
  // link, 55 or 70 for a file that a writer holds open) when anything is at
  // the path. No symbolic link is followed.
  CreateNew,
  // Appends to the file, creating it when missing.
  Append,
};

// The lowest number from 1 to 255 under which no file is open. Raises 67
// "Too many files" when all are in use.
TYMPORA_API int16_t FreeFile();

// Opens `path` for binary output under `number` (1 to 511), holding an
// exclusive write lock so that other writers are kept out; readers are not.
// Raises 52 for a number out of range, 55 when the number is in use or the
// file is already open for writing in this process, 70 when another process
// holds the lock or access is denied, 76 when a folder is missing, 75 for a
// path that is no file.
TYMPORA_API void OpenFile(int16_t number, const std::string& path,
                          FileOpenMode mode = FileOpenMode::Binary);

// The length in bytes of the file open under `number`. Raises 52 when no
// file is open under it.
TYMPORA_API int64_t FileLength(int16_t number);

// Writes `bytes` at the current position of the file `number`, all of them,
// and advances the position. Raises 52 when no file is open under it, 61
// when the device is full, 57 for other write failures.
TYMPORA_API void FileWrite(int16_t number, std::string_view bytes);

// Closes the file open under `number` and frees the number. Raises 52 when no
// file is open under it.
TYMPORA_API void FileClose(int16_t number);

// Closes every file opened through this table.
TYMPORA_API void FileCloseAll() noexcept;

// Flushes what was written to the file open under `number` to the disk.
// Raises 52 when no file is open under it, 61 when the disk is full, 57 for
// other failures. A device has nothing to flush.
TYMPORA_API void FileFlush(int16_t number);

// Cuts the file open under `number` to length 0 and moves its position to
// the start. Raises 52 when no file is open under it, 57 when that fails.
// A device is left as it is.
TYMPORA_API void FileTruncate(int16_t number);

// Deletes the file `path` (a link itself, not its target). Only a regular
// file or a symbolic link is deleted: anything else raises 75 and stays.
// Raises 53 when there is none, 76 for a missing folder, 55 while the file
// is open in this table, 70 while another process writes to it, without
// access, or when the file cannot be opened for writing (then its writer
// could not be ruled out).
TYMPORA_API void FileDelete(const std::string& path);

// Renames the file `from` over `to` in one step, so that `to` names either
// the old file or the new one at every instant, then flushes the folder.
// `to` must be a regular file, a symbolic link (replaced itself) or absent;
// a replaced file's mode passes to the new one. Raises what FileDelete raises
// for `to`, and for the rename 70 without access, 76 for a missing folder.
TYMPORA_API void FileReplace(const std::string& from, const std::string& to);

}  // namespace tympora
