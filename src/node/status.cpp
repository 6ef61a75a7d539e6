// CStatus: five values, raised and captured again without loss.
#include "tympora/node/status.hpp"

#include <exception>
#include <new>

#include "tympora/node/error.hpp"
#include "tympora/node/frames.hpp"

namespace tympora {

const char* StatusNumText(int32_t code) noexcept {
  switch (code) {
    case STATUS_OK:
      return "";
    case STATUS_UNIMPLEMENTED:
      return "Not implemented.";
    case STATUS_BADPATH:
      return "Supplied path invalid or missing.";
    case STATUS_BADHANDLE:
      return "Invalid file handle.";
    case STATUS_UNINIT_OBJECT:
      return "Unspecified object is not initialized.";
    case STATUS_UNINIT_OBJECT_1:
      return "Object parameter 1 is not initialized.";
    case STATUS_UNINIT_OBJECT_2:
      return "Object parameter 2 is not initialized.";
    default:
      return nullptr;
  }
}

void CStatus::RaiseError() const {
  throw Error(number_, description_, source_, help_file_, help_context_);
}

void CStatus::OperatorEquals(const StatusPtr& Other) {
  if (!Other) RaisePlatformError(kErrObjectNotSet);
  description_ = Other->description_;
  help_context_ = Other->help_context_;
  help_file_ = Other->help_file_;
  number_ = Other->number_;
  source_ = Other->source_;
}

void CStatus::OperatorEqualsErr() {
  std::exception_ptr current = std::current_exception();
  try {
    if (!current) throw Error(kErrInternal, PlatformErrorText(kErrInternal), kLibrarySource);
    std::rethrow_exception(current);
  } catch (const Error& e) {
    description_ = e.Description();
    help_context_ = e.HelpContext();
    help_file_ = e.HelpFile();
    number_ = e.Number();
    source_ = e.Source();
  } catch (const std::bad_alloc&) {
    // The texts are short enough not to allocate.
    description_ = PlatformErrorText(kErrOutOfMemory);
    help_context_ = 0;
    help_file_.clear();
    number_ = kErrOutOfMemory;
    source_ = kLibrarySource;
  } catch (const std::exception& e) {
    description_ = std::string(PlatformErrorText(kErrInternal)) + ": " + e.what();
    help_context_ = 0;
    help_file_.clear();
    number_ = kErrInternal;
    source_ = kLibrarySource;
  } catch (...) {
    description_ = PlatformErrorText(kErrInternal);
    help_context_ = 0;
    help_file_.clear();
    number_ = kErrInternal;
    source_ = kLibrarySource;
  }
}

void CStatus::SetError(int32_t eErrCode) {
  number_ = eErrCode;
  if (const char* text = StatusNumText(eErrCode)) description_ = text;
}

void CStatus::SetError(int32_t eErrCode, const std::string& sSource) {
  SetError(eErrCode);
  source_ = sSource;
}

StatusPtr NotImplementedStatus(const char* source) noexcept {
  return RunFrameA([&](StatusPtr& status) {
    status->SetError(STATUS_UNIMPLEMENTED, source);
    status->RaiseError();
  });
}

}  // namespace tympora
