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

// Deletes the file `path` (a link itself, not its target). Raises 53 when
// there is none, 70 without access or while another process holds the file's
// write lock, 55 while the file is open in this table.
TYMPORA_API void FileDelete(const std::string& path);

}  // namespace tympora
