// CStatus: the result of every export and import, and the carrier of every
// failure inside the library.
//
// A status holds the five values of an error. Number 0 is success; the
// library's own numbers are the StatusNum values 2000 to 2006, every other
// number comes from the platform layer (see error.hpp) or the DOM (dom.hpp).
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <memory>
#include <string>

#include "tympora/node/object.hpp"

namespace tympora {

// The library's own status numbers.
enum StatusNum : int32_t {
  STATUS_OK = 0,
  STATUS_BASE_USER_ERROR = 2000,
  STATUS_UNIMPLEMENTED = 2001,
  STATUS_BADPATH = 2002,
  STATUS_BADHANDLE = 2003,
  STATUS_UNINIT_OBJECT = 2004,
  STATUS_UNINIT_OBJECT_1 = 2005,
  STATUS_UNINIT_OBJECT_2 = 2006,
};

// The fixed description of a StatusNum, or nullptr for a number without one
// (2000 and every number outside the table).
TYMPORA_API const char* StatusNumText(int32_t code) noexcept;

class CStatus;
using StatusPtr = std::shared_ptr<CStatus>;

class TYMPORA_API CStatus : public Object {
 public:
  // A new status: Number 0, HelpContext 0, three empty texts.
  CStatus() = default;

  // Throws a tympora::Error with the five values exactly as stored. The status
  // itself is unchanged. Never returns.
  [[noreturn]] void RaiseError() const;

  // Copies Description, HelpContext, HelpFile, Number and Source from `Other`.
  // An absent `Other` raises error 91 before anything is copied.
  void OperatorEquals(const StatusPtr& Other);

  // Copies the five values of the exception being handled. A tympora::Error
  // gives its own values; std::bad_alloc gives 7 "Out of memory"; any other
  // exception gives 51 "Internal error" with its what() as detail. Call only
  // inside a catch block; outside one it stores 51.
  void OperatorEqualsErr();

  // Number := eErrCode. For 0 and 2001 to 2006 Description := the fixed text
  // (the empty text for 0); for every other code Description is kept.
  // Source := sSource when supplied. HelpFile and HelpContext are not touched.
  void SetError(int32_t eErrCode);
  void SetError(int32_t eErrCode, const std::string& sSource);

  // Plain getters and setters: no range check, no trimming.
  int32_t Number() const noexcept { return number_; }
  const std::string& Description() const noexcept { return description_; }
  const std::string& HelpFile() const noexcept { return help_file_; }
  int32_t HelpContext() const noexcept { return help_context_; }
  const std::string& Source() const noexcept { return source_; }
  void Number(int32_t lValue) noexcept { number_ = lValue; }
  void Description(const std::string& sValue) { description_ = sValue; }
  void HelpFile(const std::string& sValue) { help_file_ = sValue; }
  void HelpContext(int32_t lValue) noexcept { help_context_ = lValue; }
  void Source(const std::string& sValue) { source_ = sValue; }

 private:
  int32_t number_ = 0;
  std::string description_;
  std::string help_file_;
  int32_t help_context_ = 0;
  std::string source_;
};

// A new status holding Number 0.
inline StatusPtr NewStatus() { return std::make_shared<CStatus>(); }

}  // namespace tympora
