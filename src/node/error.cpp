// Raised errors and the table of platform error texts.
#include "tympora/node/error.hpp"

#include <utility>

namespace tympora {

const char* PlatformErrorText(int32_t number) noexcept {
  switch (number) {
    case kErrInvalidCall:
      return "Invalid procedure call or argument";
    case kErrOverflow:
      return "Overflow";
    case kErrOutOfMemory:
      return "Out of memory";
    case kErrTypeMismatch:
      return "Type mismatch";
    case kErrInternal:
      return "Internal error";
    case kErrBadFileNumber:
      return "Bad file name or number";
    case kErrFileNotFound:
      return "File not found";
    case kErrFileAlreadyOpen:
      return "File already open";
    case kErrDeviceIO:
      return "Device I/O error";
    case kErrFileExists:
      return "File already exists";
    case kErrDiskFull:
      return "Disk full";
    case kErrTooManyFiles:
      return "Too many files";
    case kErrPermissionDenied:
      return "Permission denied";
    case kErrPathFileAccess:
      return "Path/File access error";
    case kErrPathNotFound:
      return "Path not found";
    case kErrObjectNotSet:
      return "Object variable or With block variable not set";
    case kErrInvalidUseOfNull:
      return "Invalid use of Null";
    case kErrNotSupported:
      return "Object doesn't support this property or method";
    case kErrArgumentCount:
      return "Wrong number of arguments or invalid property assignment";
    case kErrDuplicateKey:
      return "This key is already associated with an element of this collection";
    default:
      return "";
  }
}

Error::Error(int32_t number, std::string description, std::string source, std::string help_file,
             int32_t help_context)
    : number_(number),
      description_(std::move(description)),
      help_file_(std::move(help_file)),
      help_context_(help_context),
      source_(std::move(source)) {}

void RaisePlatformError(int32_t number, const std::string& detail, const std::string& source) {
  std::string description = PlatformErrorText(number);
  if (!detail.empty()) description += ": " + detail;
  throw Error(number, std::move(description), source);
}

}  // namespace tympora
