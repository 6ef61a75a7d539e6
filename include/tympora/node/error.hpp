// The raised error of Tympora and the platform error numbers.
//
// Inside the library a failure travels as a tympora::Error exception that
// carries the five values of a status. Members that return a status catch it
// and report it; every other member lets it reach the caller.
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <exception>
#include <string>

namespace tympora {

// Error numbers of the platform layer (conversions, file layer, collections).
// Hosts compare against these numbers, so they never change.
enum PlatformError : int32_t {
  kErrInvalidCall = 5,        // "Invalid procedure call or argument"
  kErrOverflow = 6,           // "Overflow"
  kErrOutOfMemory = 7,        // "Out of memory"
  kErrTypeMismatch = 13,      // "Type mismatch"
  kErrInternal = 51,          // "Internal error"
  kErrBadFileNumber = 52,     // "Bad file name or number"
  kErrFileNotFound = 53,      // "File not found"
  kErrFileAlreadyOpen = 55,   // "File already open"
  kErrDeviceIO = 57,          // "Device I/O error"
  kErrFileExists = 58,        // "File already exists"
  kErrDiskFull = 61,          // "Disk full"
  kErrTooManyFiles = 67,      // "Too many files"
  kErrPermissionDenied = 70,  // "Permission denied"
  kErrPathFileAccess = 75,    // "Path/File access error"
  kErrPathNotFound = 76,      // "Path not found"
  kErrObjectNotSet = 91,      // "Object variable or With block variable not set"
  kErrInvalidUseOfNull = 94,  // "Invalid use of Null"
  kErrNotSupported = 438,     // "Object doesn't support this property or method"
  kErrArgumentCount = 450,    // "Wrong number of arguments or invalid property assignment"
  kErrDuplicateKey = 457,     // "This key is already associated with an element of this collection"
};

// The conventional description of a platform error number; the empty text
// for a number that is not in the table above.
TYMPORA_API const char* PlatformErrorText(int32_t number) noexcept;

// The source that platform errors raised by the library carry.
inline constexpr const char* kLibrarySource = "Tympora";

// A raised error: the five values of a status. what() returns Description.
class TYMPORA_API Error : public std::exception {
 public:
  Error(int32_t number, std::string description, std::string source, std::string help_file = {},
        int32_t help_context = 0);

  int32_t Number() const noexcept { return number_; }
  const std::string& Description() const noexcept { return description_; }
  const std::string& HelpFile() const noexcept { return help_file_; }
  int32_t HelpContext() const noexcept { return help_context_; }
  const std::string& Source() const noexcept { return source_; }
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  int32_t number_;
  std::string description_;
  std::string help_file_;
  int32_t help_context_;
  std::string source_;
};

// Throws the platform error `number` with its conventional description.
// `detail`, when given, is appended to the description after ": ".
[[noreturn]] TYMPORA_API void RaisePlatformError(int32_t number, const std::string& detail = {},
                                                 const std::string& source = kLibrarySource);

}  // namespace tympora
