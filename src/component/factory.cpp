// The class factories and creation by name.
#include "tympora/component/factory.hpp"

#include <string>

#include "tympora/component/dispatch.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace {

[[noreturn]] void RaiseCannotCreate(std::string_view name, const char* why) {
  throw Error(kErrCannotCreate,
              "Cannot create an object of class \"" + std::string(name) + "\": " + why,
              kLibrarySource);
}

const ClassInfo& CreatableClass(std::string_view name_or_id) {
  const ClassInfo* cls = Library().FindClass(name_or_id);
  if (!cls) RaiseCannotCreate(name_or_id, "no class of the component has this name or id");
  if (!cls->create) {
    RaiseCannotCreate(name_or_id, cls->identity->role == ClassRole::Published
                                      ? "it is reached only as the node interface of a record"
                                      : "objects of this class are never created by a host");
  }
  return *cls;
}

}  // namespace

ObjectPtr ClassFactory::CreateInstance() const { return CreatableClass(ProgId(*class_)).create(); }

std::shared_ptr<ClassFactory> GetClassFactory(std::string_view name_or_id) {
  return std::make_shared<ClassFactory>(*CreatableClass(name_or_id).identity);
}

ObjectPtr CreateObject(std::string_view name_or_id) { return CreatableClass(name_or_id).create(); }

}  // namespace tympora
