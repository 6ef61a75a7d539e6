// Fuzzes late-bound dispatch: objects created by class name, interfaces asked
// for by name, and members called by name with Variant arguments of any kind.
//
// The input is a program: pick a creatable class, then up to 32 calls, each
// on an object of the pool (the created object and every object a call
// returned), through one of its interfaces or a name from the input, with a
// member name that is one of the interface's (mostly) or arbitrary bytes, a
// kind, and arguments of every Variant kind (other pool objects among them).
// Besides "no crash, leak, hang or sanitizer report" it checks that every
// failure is a tympora::Error with a description, that none is the internal
// error 51 (a std::exception escaping from a member), and that no returned
// status reports 51 either.
//
// Paths never reach the file system as the input spells them: every argument
// of a parameter named sFilePath becomes one scratch file, and the file
// number 7 is open on /dev/null for the members that take a file number.
#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_util.hpp"
#include "tympora/component/dispatch.hpp"
#include "tympora/component/identity.hpp"
#include "tympora/node/file_layer.hpp"

namespace {

using namespace tympora;
using fuzz::Broken;

constexpr int16_t kOpenFileNumber = 7;

Variant MakeArgument(FuzzedDataProvider& in, const std::vector<ObjectPtr>& pool) {
  const int kind = in.ConsumeIntegralInRange<int>(0, 9);
  if (kind == 0) return Variant();
  if (kind == 1) return Variant(kNull);
  if (kind == 2) return Variant(in.ConsumeIntegral<int16_t>());
  if (kind == 3) return Variant(in.ConsumeIntegral<int32_t>());
  if (kind == 4) return Variant(in.ConsumeFloatingPoint<double>());
  if (kind == 5) return Variant(Date(in.ConsumeFloatingPoint<double>()));
  if (kind == 6) return Variant(in.ConsumeBool());
  if (kind == 7 || (kind == 8 && pool.empty())) return Variant(ObjectPtr());
  if (kind == 8) return Variant(pool[in.ConsumeIntegralInRange<size_t>(0, pool.size() - 1)]);
  return Variant(in.ConsumeRandomLengthString(64));
}

// A member kind: a method, a get, a put, or any number at all.
InvokeKind MakeKind(FuzzedDataProvider& in) {
  const int kind = in.ConsumeIntegralInRange<int>(0, 3);
  if (kind < 3)
    return std::array{InvokeKind::Method, InvokeKind::PropertyGet, InvokeKind::PropertyPut}[kind];
  return static_cast<InvokeKind>(in.ConsumeIntegral<int32_t>());
}

// The interface to call through: the default one, one of the object's own,
// or a name from the input.
Dispatch Reach(FuzzedDataProvider& in, const ObjectPtr& object) {
  const int how = in.ConsumeIntegralInRange<int>(0, 3);
  if (how == 0) return QueryInterface(object, in.ConsumeRandomLengthString(32));
  const ClassInfo* cls = Library().ClassOf(*object);
  if (how == 1 || !cls) return QueryInterface(object);
  const auto& own = cls->interfaces;
  return QueryInterface(object, own[in.ConsumeIntegralInRange<size_t>(0, own.size() - 1)]->Name());
}

// Prints a call before it runs (with TYMPORA_FUZZ_TRACE set), so that a
// reproducer shows what it does.
void Trace(const Dispatch& itf, const std::string& name, InvokeKind kind,
           const std::vector<Variant>& args) {
  std::fprintf(stderr, "call %s.%s kind %d (", std::string(itf.Interface()->Name()).c_str(),
               name.c_str(), static_cast<int>(kind));
  for (const Variant& a : args) {
    std::fprintf(stderr, " kind %d", static_cast<int>(a.Kind()));
    if (a.Kind() == VariantKind::String) std::fprintf(stderr, " \"%s\"", a.AsString().c_str());
  }
  std::fprintf(stderr, " )\n");
}

void CallOnce(FuzzedDataProvider& in, std::vector<ObjectPtr>& pool) {
  const ObjectPtr target = pool[in.ConsumeIntegralInRange<size_t>(0, pool.size() - 1)];
  const Dispatch itf = Reach(in, target);
  const auto& members = itf.Interface()->members;
  const MemberInfo* member =
      in.ConsumeIntegralInRange<int>(0, 7) != 0 && !members.empty()
          ? &members[in.ConsumeIntegralInRange<size_t>(0, members.size() - 1)]
          : nullptr;
  const std::string name = member ? std::string(member->name) : in.ConsumeRandomLengthString(32);
  const InvokeKind kind = member && in.ConsumeBool() ? member->kind : MakeKind(in);
  // The member that Invoke will run, however its name was found: the fuzzer
  // learns names from the comparisons it sees.
  const MemberInfo* called = itf.Interface()->Find(name, kind);
  std::vector<Variant> args(in.ConsumeIntegralInRange<size_t>(0, 4));
  for (size_t i = 0; i < args.size(); ++i) {
    args[i] = MakeArgument(in, pool);
    if (called && i < called->params.size()) {
      if (called->params[i].name == "sFilePath") args[i] = Variant(fuzz::ScratchFile());
      if (called->params[i].name == "iFileHandle" && in.ConsumeBool())
        args[i] = Variant(kOpenFileNumber);
    }
  }
  static const bool tracing = std::getenv("TYMPORA_FUZZ_TRACE") != nullptr;
  if (tracing) Trace(itf, name, kind, args);
  Variant result;
  try {
    result = Invoke(itf, name, kind, args);
  } catch (const Error& e) {
    if (e.Number() == kErrInternal) Broken("the internal error escaped", e.Description());
    // A status raises whatever the host put into it, an empty text too.
    if (e.Description().empty() && name != "RaiseError")
      Broken("an error without a description", std::to_string(e.Number()));
    return;
  }
  if (result.Kind() == VariantKind::Object) {
    const auto status = std::dynamic_pointer_cast<CStatus>(result.AsObject());
    if (status && status->Number() == kErrInternal)
      Broken("a member returned the internal error", fuzz::Describe(status));
  }
  args.insert(args.begin(), result);  // pooled first, then the object arguments
  for (const Variant& a : args)
    if (a.Kind() == VariantKind::Object && a.AsObject() && pool.size() < 64)
      pool.push_back(a.AsObject());
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  OpenFile(kOpenFileNumber, "/dev/null", FileOpenMode::Binary);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider in(data, size);
  std::vector<const ClassInfo*> creatable;
  for (const ClassInfo& cls : Library().Classes())
    if (cls.create) creatable.push_back(&cls);
  std::vector<ObjectPtr> pool;
  pool.push_back(creatable[in.ConsumeIntegralInRange<size_t>(0, creatable.size() - 1)]->create());
  for (int step = 0; step < 32 && in.remaining_bytes() > 0; ++step) {
    try {
      CallOnce(in, pool);
    } catch (const Error& e) {
      // QueryInterface refusing an interface name: expected.
      if (e.Number() != kErrNoInterface) Broken("QueryInterface failed", e.Description());
    }
  }
  return 0;
}
