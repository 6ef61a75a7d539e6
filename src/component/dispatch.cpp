// QueryInterface and Invoke: reaching an interface of an object, and calling
// a member by name with arguments converted to the parameters' types.
#include <new>
#include <optional>
#include <string>

#include "component/builder.hpp"
#include "component/thread_state.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora {
namespace {

// `value` converted to the parameter's type; a failed conversion keeps its
// own number and names the argument.
Variant Coerce(const Variant& value, const ParamInfo& param) {
  try {
    switch (param.type.kind) {
      case TypeKind::Int16:
        return Variant(ToInt16(value));
      case TypeKind::Int32:
        return Variant(ToInt32(value));
      case TypeKind::Double:
        return Variant(ToDouble(value));
      case TypeKind::String:
        return Variant(ToString(value));
      case TypeKind::Date:
        return Variant(ToDate(value));
      case TypeKind::Boolean:
        return Variant(ToBoolean(value));
      case TypeKind::Object:
        component::ObjectArgument(value);
        return value;
      case TypeKind::Variant:
      case TypeKind::Void:
        return value;
    }
    return value;
  } catch (const Error& e) {
    throw Error(e.Number(), e.Description() + " (argument " + std::string(param.name) + ")",
                e.Source(), e.HelpFile(), e.HelpContext());
  }
}

const char* KindName(InvokeKind kind) {
  switch (kind) {
    case InvokeKind::PropertyGet:
      return "property get ";
    case InvokeKind::PropertyPut:
      return "property put ";
    case InvokeKind::Method:
      return "method ";
    case InvokeKind::MethodOrPropertyGet:
      return "method or property get ";
  }
  return "";
}

Variant Call(const Dispatch& target, std::string_view member, InvokeKind kind,
             std::vector<Variant>& args) {
  if (!target) RaisePlatformError(kErrObjectNotSet);
  const InterfaceInfo& itf = *target.Interface();
  const MemberInfo* m = itf.Find(member, kind);
  const std::string where = std::string(itf.Name()) + "." + std::string(member);
  if (!m) RaisePlatformError(kErrNotSupported, KindName(kind) + where);
  const size_t least = m->RequiredCount(), most = m->params.size();
  if (args.size() < least || args.size() > most) {
    const std::string range =
        std::to_string(least) + (least == most ? "" : " to " + std::to_string(most));
    RaisePlatformError(kErrArgumentCount, where + " takes " + range + " arguments, not " +
                                              std::to_string(args.size()));
  }
  std::vector<Variant> work;
  work.reserve(args.size());
  for (size_t i = 0; i < args.size(); ++i) work.push_back(Coerce(args[i], m->params[i]));
  Variant result = m->call(*target.Target(), work);
  for (size_t i = 0; i < args.size(); ++i) {
    if (m->params[i].by_ref) args[i] = std::move(work[i]);
  }
  return result;
}

}  // namespace

namespace component {

void RememberError(const Error& error) {
  if (ThreadState* state = CurrentThreadState()) state->raised = error;
}

void ThrowLastError() {
  const ThreadState* state = CurrentThreadState();
  if (state && state->raised) throw *state->raised;
  throw Error(0, {}, {});
}

}  // namespace component

Dispatch QueryInterface(const ObjectPtr& object, std::string_view name_or_id) {
  if (!object) RaisePlatformError(kErrObjectNotSet);
  const ClassInfo* cls = Library().ClassOf(*object);
  if (!cls)
    throw Error(kErrNoInterface, "Object is not of a class of this component", kLibrarySource);
  if (name_or_id.empty()) return Dispatch(object, cls->interfaces.front());
  const InterfaceInfo* wanted = Library().FindInterface(name_or_id);
  for (const InterfaceInfo* itf : cls->interfaces) {
    if (itf == wanted) return Dispatch(object, itf);
  }
  throw Error(kErrNoInterface,
              "Object of class " + std::string(cls->identity->name) +
                  " does not support the interface " + std::string(name_or_id),
              kLibrarySource);
}

Variant Invoke(const Dispatch& target, std::string_view member, InvokeKind kind,
               std::vector<Variant>& args) {
  try {
    return Call(target, member, kind, args);
  } catch (const Error& e) {
    component::RememberError(e);
    throw;
  } catch (const std::bad_alloc&) {
    const Error e(kErrOutOfMemory, PlatformErrorText(kErrOutOfMemory), kLibrarySource);
    component::RememberError(e);
    throw e;
  } catch (const std::exception& ex) {
    const Error e(kErrInternal, std::string(PlatformErrorText(kErrInternal)) + ": " + ex.what(),
                  kLibrarySource);
    component::RememberError(e);
    throw e;
  }
}

Variant Invoke(const Dispatch& target, std::string_view member, InvokeKind kind,
               std::vector<Variant>&& args) {
  return Invoke(target, member, kind, args);
}

}  // namespace tympora
