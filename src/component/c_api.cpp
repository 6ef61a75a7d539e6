// The C interface over creation, dispatch and variants. Every function
// catches everything: a failure becomes the returned number and the calling
// thread's error record, never an exception across the C boundary.
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "component/c_handles.hpp"
#include "component/thread_state.hpp"
#include "tympora/node/dom.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/file_layer.hpp"
#include "tympora/node/record.hpp"
#include "tympora/node/status.hpp"
#include "tympora/version.h"

namespace {

using tympora::Error;
using tympora::Variant;
using tympora::VariantKind;

// The numbers of the calling thread's last error; its texts are in the
// thread's state (empty when that could not be allocated).
thread_local int32_t error_number = 0;
thread_local int32_t error_help_context = 0;

int32_t Fail(int32_t number, const char* description, const char* source,
             const char* help_file = "", int32_t help_context = 0) noexcept {
  // A raised error must never read as success.
  if (number == 0) number = tympora::kErrInvalidCall;
  error_number = number;
  error_help_context = help_context;
  tympora::component::ThreadState* state = tympora::component::CurrentThreadState();
  if (!state) return number;
  try {
    state->description = description;
    state->source = source;
    state->help_file = help_file;
  } catch (...) {
    state->description.clear();
    state->source.clear();
    state->help_file.clear();
  }
  return number;
}

const char* ErrorText(std::string tympora::component::ThreadState::*field) noexcept {
  const tympora::component::ThreadState* state = tympora::component::CurrentThreadState();
  return state ? (state->*field).c_str() : "";
}

// Runs `f`, turning whatever it raises into the returned error number.
template <class F>
int32_t Guard(F&& f) noexcept {
  try {
    f();
    error_number = 0;
    error_help_context = 0;
    if (tympora::component::ThreadState* state = tympora::component::CurrentThreadState()) {
      state->description.clear();
      state->source.clear();
      state->help_file.clear();
    }
    return 0;
  } catch (const Error& e) {
    return Fail(e.Number(), e.Description().c_str(), e.Source().c_str(), e.HelpFile().c_str(),
                e.HelpContext());
  } catch (const std::bad_alloc&) {
    return Fail(tympora::kErrOutOfMemory, tympora::PlatformErrorText(tympora::kErrOutOfMemory),
                tympora::kLibrarySource);
  } catch (const std::exception& e) {
    return Fail(tympora::kErrInternal, e.what(), tympora::kLibrarySource);
  } catch (...) {
    return Fail(tympora::kErrInternal, tympora::PlatformErrorText(tympora::kErrInternal),
                tympora::kLibrarySource);
  }
}

void Require(bool condition, const char* what) {
  if (!condition) tympora::RaisePlatformError(tympora::kErrInvalidCall, what);
}

void RequireObject(const tympora_object* object) {
  if (!object || !object->dispatch) tympora::RaisePlatformError(tympora::kErrObjectNotSet);
}

char* CopyText(const std::string& text) {
  char* copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (!copy) throw std::bad_alloc();
  std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

tympora_object* NewHandle(const tympora::ObjectPtr& object, std::string_view itf = {}) {
  return new tympora_object{tympora::QueryInterface(object, itf)};
}

Variant FromC(const tympora_variant& v) {
  switch (v.kind) {
    case TYMPORA_EMPTY:
      return Variant();
    case TYMPORA_NULL:
      return Variant(tympora::kNull);
    case TYMPORA_INT16:
      return Variant(v.value.int16);
    case TYMPORA_INT32:
      return Variant(v.value.int32);
    case TYMPORA_DOUBLE:
      return Variant(v.value.dbl);
    case TYMPORA_DATE:
      return Variant(tympora::Date(v.value.date));
    case TYMPORA_STRING:
      return Variant(std::string(v.value.string ? v.value.string : ""));
    case TYMPORA_OBJECT:
      return Variant(v.value.object ? v.value.object->dispatch.Target() : tympora::ObjectPtr());
    case TYMPORA_BOOL:
      return Variant(v.value.boolean != 0);
    default:
      tympora::RaisePlatformError(tympora::kErrInvalidCall,
                                  "unknown variant kind " + std::to_string(v.kind));
  }
}

// Stores `x` into `out`, which must be Empty. Nothing leaks if it raises.
void ToC(const Variant& x, tympora_variant* out) {
  tympora_variant v{};
  v.kind = static_cast<int32_t>(x.Kind());
  switch (x.Kind()) {
    case VariantKind::Empty:
    case VariantKind::Null:
      break;
    case VariantKind::Int16:
      v.value.int16 = x.AsInt16();
      break;
    case VariantKind::Int32:
      v.value.int32 = x.AsInt32();
      break;
    case VariantKind::Double:
      v.value.dbl = x.AsDouble();
      break;
    case VariantKind::Date:
      v.value.date = x.AsDate().value;
      break;
    case VariantKind::String:
      v.value.string = CopyText(x.AsString());
      break;
    case VariantKind::Object:
      v.value.object = x.AsObject() ? NewHandle(x.AsObject()) : nullptr;
      break;
    case VariantKind::Boolean:
      v.value.boolean = x.AsBool() ? 1 : 0;
      break;
  }
  *out = v;
}

bool ValidKind(int32_t kind) {
  return kind == TYMPORA_METHOD || kind == TYMPORA_PROPERTYGET ||
         kind == TYMPORA_METHOD_OR_PROPERTYGET || kind == TYMPORA_PROPERTYPUT;
}

tympora::FileOpenMode OpenMode(int32_t mode) {
  switch (mode) {
    case TYMPORA_FILE_BINARY:
      return tympora::FileOpenMode::Binary;
    case TYMPORA_FILE_CREATE_NEW:
      return tympora::FileOpenMode::CreateNew;
    case TYMPORA_FILE_APPEND:
      return tympora::FileOpenMode::Append;
    default:
      tympora::RaisePlatformError(tympora::kErrInvalidCall,
                                  "unknown file mode " + std::to_string(mode));
  }
}

}  // namespace

extern "C" {

void tympora_variant_init(tympora_variant* v) {
  if (v) *v = tympora_variant{};
}

void tympora_variant_clear(tympora_variant* v) {
  if (!v) return;
  if (v->kind == TYMPORA_STRING) std::free(v->value.string);
  if (v->kind == TYMPORA_OBJECT) delete v->value.object;
  *v = tympora_variant{};
}

int32_t tympora_variant_set_string(tympora_variant* v, const char* utf8) {
  return Guard([&] {
    Require(v != nullptr, "no variant");
    char* copy = CopyText(utf8 ? utf8 : "");
    tympora_variant_clear(v);
    v->kind = TYMPORA_STRING;
    v->value.string = copy;
  });
}

int32_t tympora_variant_set_object(tympora_variant* v, const tympora_object* object) {
  return Guard([&] {
    Require(v != nullptr, "no variant");
    tympora_object* copy = object ? new tympora_object{object->dispatch} : nullptr;
    tympora_variant_clear(v);
    v->kind = TYMPORA_OBJECT;
    v->value.object = copy;
  });
}

int32_t tympora_create_object(const char* name_or_id, tympora_object** out) {
  if (out) *out = nullptr;
  return Guard([&] {
    Require(name_or_id != nullptr && out != nullptr, "no class name or no place for the object");
    *out = NewHandle(tympora::CreateObject(name_or_id));
  });
}

int32_t tympora_create_document(tympora_object** out) {
  if (out) *out = nullptr;
  return Guard([&] {
    Require(out != nullptr, "no place for the document");
    *out = NewHandle(tympora::CreateDocument());
  });
}

int32_t tympora_query_interface(const tympora_object* object, const char* interface_name_or_id,
                                tympora_object** out) {
  if (out) *out = nullptr;
  return Guard([&] {
    Require(out != nullptr, "no place for the interface");
    RequireObject(object);
    *out = NewHandle(object->dispatch.Target(), interface_name_or_id ? interface_name_or_id : "");
  });
}

const char* tympora_interface_name(const tympora_object* object) {
  if (!object || !object->dispatch.Interface()) return "";
  return object->dispatch.Interface()->Name().data();
}

void tympora_object_release(tympora_object* object) { delete object; }

int32_t tympora_same_object(const tympora_object* a, const tympora_object* b) {
  const tympora::Object* x = a ? a->dispatch.Target().get() : nullptr;
  const tympora::Object* y = b ? b->dispatch.Target().get() : nullptr;
  return x == y ? 1 : 0;
}

int32_t tympora_import_xml_file(const tympora_object* record, const char* path,
                                tympora_object** status) {
  if (status) *status = nullptr;
  int32_t number = 0;
  const int32_t failure = Guard([&] {
    Require(path != nullptr && status != nullptr, "no path or no place for the status");
    RequireObject(record);
    auto target = std::dynamic_pointer_cast<tympora::RecordBase>(record->dispatch.Target());
    if (!target) tympora::RaisePlatformError(tympora::kErrTypeMismatch, "not a record");
    const tympora::StatusPtr result = target->ImportXMLFile(path);
    if (!result) throw std::bad_alloc();  // the frame had no memory for a status
    *status = NewHandle(result);
    number = result->Number();
  });
  return failure != 0 ? failure : number;
}

int32_t tympora_invoke(const tympora_object* object, const char* member, int32_t kind,
                       tympora_variant* args, int32_t count, tympora_variant* result) {
  tympora_variant_clear(result);
  return Guard([&] {
    RequireObject(object);
    Require(member != nullptr, "no member name");
    Require(ValidKind(kind), "unknown invoke kind");
    Require(count >= 0 && (count == 0 || args != nullptr), "no arguments");
    std::vector<Variant> in;
    in.reserve(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) in.push_back(FromC(args[i]));
    const std::vector<Variant> before = in;
    const Variant out =
        tympora::Invoke(object->dispatch, member, static_cast<tympora::InvokeKind>(kind), in);
    if (result) ToC(out, result);
    for (size_t i = 0; i < in.size(); ++i) {
      if (in[i] == before[i]) continue;
      tympora_variant_clear(&args[i]);
      ToC(in[i], &args[i]);
    }
  });
}

int32_t tympora_save_xml_path(const tympora_object* record, const char* path) {
  return Guard([&] {
    RequireObject(record);
    Require(path != nullptr, "no path");
    auto* target = dynamic_cast<tympora::RecordBase*>(record->dispatch.Target().get());
    if (!target) tympora::RaisePlatformError(tympora::kErrNoInterface, "the object is no record");
    const tympora::StatusPtr status = target->SaveXMLPath(path);
    if (status && status->Number() != 0) {
      throw Error(status->Number(), status->Description(), status->Source());
    }
  });
}

int32_t tympora_error_number(void) { return error_number; }
const char* tympora_error_description(void) {
  return ErrorText(&tympora::component::ThreadState::description);
}
const char* tympora_error_source(void) {
  return ErrorText(&tympora::component::ThreadState::source);
}
const char* tympora_error_help_file(void) {
  return ErrorText(&tympora::component::ThreadState::help_file);
}
int32_t tympora_error_help_context(void) { return error_help_context; }

int32_t tympora_file_open(const char* path, int32_t mode, int16_t* number) {
  if (number) *number = 0;
  return Guard([&] {
    Require(path != nullptr && number != nullptr, "no path or no place for the file number");
    const tympora::FileOpenMode how = OpenMode(mode);
    const int16_t free_number = tympora::FreeFile();
    tympora::OpenFile(free_number, path, how);
    *number = free_number;
  });
}

int32_t tympora_file_close(int16_t number) {
  return Guard([&] { tympora::FileClose(number); });
}

const char* tympora_version(void) { return TYMPORA_VERSION_STRING; }

char* tympora_describe(void) {
  try {
    return CopyText(tympora::DescribeInterfaces());
  } catch (...) {
    return nullptr;
  }
}

void tympora_free(void* p) { std::free(p); }

int32_t tympora_factory_create(const tympora_factory* factory, tympora_object** out) {
  if (out) *out = nullptr;
  return Guard([&] {
    Require(out != nullptr, "no place for the object");
    if (!factory || !factory->factory) tympora::RaisePlatformError(tympora::kErrObjectNotSet);
    *out = NewHandle(factory->factory->CreateInstance());
  });
}

void tympora_factory_release(tympora_factory* factory) { delete factory; }

}  // extern "C"

// The C header spells out numbers and pointer types that the C++ side
// defines; these checks keep the two from drifting apart.
namespace {

#define TYMPORA_SAME_NUMBER(c_name, cpp_value) \
  static_assert((c_name) == static_cast<int32_t>(cpp_value), #c_name)
TYMPORA_SAME_NUMBER(TYMPORA_STATUS_OK, tympora::STATUS_OK);
TYMPORA_SAME_NUMBER(TYMPORA_STATUS_BASE_USER_ERROR, tympora::STATUS_BASE_USER_ERROR);
TYMPORA_SAME_NUMBER(TYMPORA_STATUS_UNIMPLEMENTED, tympora::STATUS_UNIMPLEMENTED);
TYMPORA_SAME_NUMBER(TYMPORA_STATUS_BADPATH, tympora::STATUS_BADPATH);
TYMPORA_SAME_NUMBER(TYMPORA_STATUS_BADHANDLE, tympora::STATUS_BADHANDLE);
TYMPORA_SAME_NUMBER(TYMPORA_STATUS_UNINIT_OBJECT, tympora::STATUS_UNINIT_OBJECT);
TYMPORA_SAME_NUMBER(TYMPORA_STATUS_UNINIT_OBJECT_1, tympora::STATUS_UNINIT_OBJECT_1);
TYMPORA_SAME_NUMBER(TYMPORA_STATUS_UNINIT_OBJECT_2, tympora::STATUS_UNINIT_OBJECT_2);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_INVALID_CALL, tympora::kErrInvalidCall);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_OVERFLOW, tympora::kErrOverflow);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_OUT_OF_MEMORY, tympora::kErrOutOfMemory);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_TYPE_MISMATCH, tympora::kErrTypeMismatch);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_INTERNAL, tympora::kErrInternal);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_BAD_FILE_NUMBER, tympora::kErrBadFileNumber);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_FILE_NOT_FOUND, tympora::kErrFileNotFound);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_FILE_ALREADY_OPEN, tympora::kErrFileAlreadyOpen);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_DEVICE_IO, tympora::kErrDeviceIO);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_FILE_EXISTS, tympora::kErrFileExists);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_DISK_FULL, tympora::kErrDiskFull);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_TOO_MANY_FILES, tympora::kErrTooManyFiles);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_PERMISSION_DENIED, tympora::kErrPermissionDenied);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_PATH_FILE_ACCESS, tympora::kErrPathFileAccess);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_PATH_NOT_FOUND, tympora::kErrPathNotFound);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_OBJECT_NOT_SET, tympora::kErrObjectNotSet);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_INVALID_USE_OF_NULL, tympora::kErrInvalidUseOfNull);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_CANNOT_CREATE, tympora::kErrCannotCreate);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_NO_INTERFACE, tympora::kErrNoInterface);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_NOT_SUPPORTED, tympora::kErrNotSupported);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_ARGUMENT_COUNT, tympora::kErrArgumentCount);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_DUPLICATE_KEY, tympora::kErrDuplicateKey);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_DOM_SECOND_ROOT, tympora::kDomErrSecondRoot);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_DOM_INVALID_CHAR, tympora::kDomErrInvalidChar);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_DOM_PARSE, tympora::kDomErrParse);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_DOM_HIERARCHY, tympora::kDomErrHierarchy);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_DOM_INVALID_NAME, tympora::kDomErrInvalidName);
TYMPORA_SAME_NUMBER(TYMPORA_ERR_DOM_WRONG_DOCUMENT, tympora::kDomErrWrongDocument);
TYMPORA_SAME_NUMBER(TYMPORA_METHOD_OR_PROPERTYGET, tympora::InvokeKind::MethodOrPropertyGet);
#undef TYMPORA_SAME_NUMBER

#define TYMPORA_SAME_TYPE(name) static_assert(std::is_same_v<decltype(&name), name##_fn>, #name)
TYMPORA_SAME_TYPE(tympora_variant_init);
TYMPORA_SAME_TYPE(tympora_variant_clear);
TYMPORA_SAME_TYPE(tympora_variant_set_string);
TYMPORA_SAME_TYPE(tympora_variant_set_object);
TYMPORA_SAME_TYPE(tympora_create_object);
TYMPORA_SAME_TYPE(tympora_create_document);
TYMPORA_SAME_TYPE(tympora_query_interface);
TYMPORA_SAME_TYPE(tympora_interface_name);
TYMPORA_SAME_TYPE(tympora_object_release);
TYMPORA_SAME_TYPE(tympora_same_object);
TYMPORA_SAME_TYPE(tympora_invoke);
TYMPORA_SAME_TYPE(tympora_save_xml_path);
TYMPORA_SAME_TYPE(tympora_import_xml_file);
TYMPORA_SAME_TYPE(tympora_error_number);
TYMPORA_SAME_TYPE(tympora_error_description);
TYMPORA_SAME_TYPE(tympora_error_source);
TYMPORA_SAME_TYPE(tympora_error_help_file);
TYMPORA_SAME_TYPE(tympora_error_help_context);
TYMPORA_SAME_TYPE(tympora_file_open);
TYMPORA_SAME_TYPE(tympora_file_close);
TYMPORA_SAME_TYPE(tympora_version);
TYMPORA_SAME_TYPE(tympora_describe);
TYMPORA_SAME_TYPE(tympora_free);
TYMPORA_SAME_TYPE(tympora_factory_create);
TYMPORA_SAME_TYPE(tympora_factory_release);
TYMPORA_SAME_TYPE(DllRegisterServer);
TYMPORA_SAME_TYPE(DllUnregisterServer);
TYMPORA_SAME_TYPE(DllGetClassObject);
TYMPORA_SAME_TYPE(DllCanUnloadNow);
#undef TYMPORA_SAME_TYPE

}  // namespace
