// The C interface over creation, dispatch and variants. Every function
// catches everything: a failure becomes the returned number and the calling
// thread's error record, never an exception across the C boundary.
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "component/c_handles.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/record.hpp"

namespace {

using tympora::Error;
using tympora::Variant;
using tympora::VariantKind;

struct ThreadError {
  int32_t number = 0;
  std::string description;
  std::string source;
};
thread_local ThreadError thread_error;

int32_t Fail(int32_t number, const char* description, const char* source) noexcept {
  // A raised error must never read as success.
  if (number == 0) number = tympora::kErrInvalidCall;
  thread_error.number = number;
  try {
    thread_error.description = description;
    thread_error.source = source;
  } catch (...) {
    thread_error.description.clear();
    thread_error.source.clear();
  }
  return number;
}

// Runs `f`, turning whatever it raises into the returned error number.
template <class F>
int32_t Guard(F&& f) noexcept {
  try {
    f();
    thread_error.number = 0;
    thread_error.description.clear();
    thread_error.source.clear();
    return 0;
  } catch (const Error& e) {
    return Fail(e.Number(), e.Description().c_str(), e.Source().c_str());
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
  return kind == TYMPORA_METHOD || kind == TYMPORA_PROPERTYGET || kind == TYMPORA_PROPERTYPUT;
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

int32_t tympora_error_number(void) { return thread_error.number; }
const char* tympora_error_description(void) { return thread_error.description.c_str(); }
const char* tympora_error_source(void) { return thread_error.source.c_str(); }

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
