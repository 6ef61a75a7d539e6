// The component's identity, creation by name and by class id, the two
// interfaces of a record, and registration in a registry folder.
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "test_util.hpp"
#include "tympora/component/component.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/status.hpp"

namespace tympora {
namespace {

using testing::ErrorOf;
constexpr InvokeKind kGet = InvokeKind::PropertyGet, kPut = InvokeKind::PropertyPut,
                     kMethod = InvokeKind::Method;
using namespace std::string_literals;

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// The classes (name, class id, interface) and the interfaces (name, id,
// earlier id) that hosts have seen, in their order: none of this ever
// changes, and there are no others. (That the identifiers are well-formed
// and distinct is checked as the library is compiled.)
constexpr char kFixedClasses[] =
    R"(CDistortionDatum {3037C0A5-35F3-415D-88D6-7D0A5DA18602} _CDistortionDatum
CStatus {58002170-B86B-4806-87EB-9176BFF906DC} _CStatus
CCurveDatum {CFA66417-FF15-4BA6-B809-D04DC9B8DA47} _CCurveDatum
CCurve {D08FF897-1C6F-4F45-89A5-0C2420CC029F} _CCurve
CExamination {3298D3F0-9753-45D7-A7FE-AFCC91F9170E} _CExamination
CTestDefinition {896CC064-C845-4FD4-9D5F-AAE6E49C267E} _CTestDefinition
CClientAid {E914EB44-D890-479F-94B4-EDFA5E3BFB2D} _CClientAid
CClient {44D86246-8444-4C6B-9910-7D2F907EC916} _CClient
CClients {F19A97FA-16B9-4C95-86AC-5F6C8D443D56} _CClients
CSpeechMapDatum {EFC432EC-DABA-4C3C-A5C5-67D6CFC9D1AD} _CSpeechMapDatum
CNode {5CD7058E-72AE-4368-9AE7-DDE12A1B0447} _CNode
Collection - Collection
DOMDocument - DOMDocument
DOMNode - DOMNode
)";
constexpr char kFixedInterfaces[] = R"(_CStatus {5B4B3772-A9E7-4B4B-9417-89897D905763}
_CNode {75F38419-9B84-4705-9C63-1DF4DE7AD8DE}
_CCurveDatum {188C2B04-EC31-4EF9-834C-128AEAE5B512} earlier {E68F3AB6-F29A-4375-88B6-4A3163E8C3CC}
_CDistortionDatum {99615660-22B9-45FE-A7FF-E8C8AFA9D80D}
_CSpeechMapDatum {B13CBF02-6AF0-4AFC-9AAD-48EFE56CAB54}
_CCurve {631A3AF0-722F-46D9-B8D9-9EDDEE3BC1ED}
_CExamination {3E6D27DE-6F38-4F75-B714-616B1C4AB668}
_CTestDefinition {D56C2705-F4FF-4128-8879-5B7AE6633AF6} earlier {422A93B1-EC4A-455A-A1AE-AF9F55C2832C}
_CClientAid {34212EAA-53EA-4016-BFD2-75E2BC56EAF2} earlier {9C3B777D-282E-4815-A3E2-BBC80B1B3149}
_CClient {27F07845-FD63-468E-A266-C12B35F74009}
_CClients {B970AA5C-B2B0-43ED-A614-8E058B64ECE9}
Collection {84946C08-C24A-4280-AE53-4AEFF13BB417}
DOMDocument {60710D3F-390D-475F-9D02-0020EC37D147}
DOMNode {DE0EFCA6-E72A-47F6-83E7-2DF909463717}
)";

TEST(IdentityTest, IdentifiersAndOrderAreTheFixedOnes) {
  // The library's identity, versions and status enumeration head the description.
  const std::string head =
      "component Tympora {C6AF55A8-68A3-42A4-A7AC-F18F07D93E78} description 1.3 version 0.7.0.0 "
      "(0.07)\n\nenum StatusNum {8710D609-4D45-46CD-BEB2-4B77B97F0A92}\n";
  EXPECT_EQ(DescribeInterfaces().substr(0, head.size()), head);
  // Every identifier is also found without braces and in lower case.
  auto found_bare = [](std::string_view id) {
    const std::string bare(id.substr(1, 36));
    return SameId(id, bare) && SameId(id, Lower(bare));
  };
  std::string classes, interfaces;
  for (const ClassIdentity& cls : ClassIdentities()) {
    classes += std::string(cls.name) + " " + std::string(cls.clsid.empty() ? "-" : cls.clsid) +
               " " + std::string(cls.default_interface) + "\n";
    EXPECT_TRUE(cls.clsid.empty() || found_bare(cls.clsid)) << cls.clsid;
  }
  for (const InterfaceIdentity& itf : InterfaceIdentities()) {
    interfaces += std::string(itf.name) + " " + std::string(itf.iid) +
                  (itf.earlier_iid.empty() ? "" : " earlier " + std::string(itf.earlier_iid)) +
                  "\n";
    EXPECT_EQ(FindInterfaceIdentity(itf.name), &itf);
    EXPECT_TRUE(found_bare(itf.iid)) << itf.iid;
  }
  // The published identities never change; classes added later follow them.
  EXPECT_EQ(classes.substr(0, sizeof kFixedClasses - 1), kFixedClasses);
  EXPECT_EQ(interfaces.substr(0, sizeof kFixedInterfaces - 1), kFixedInterfaces);
  for (std::string_view bad : {"", "{}", "C6AF55A8-68A3-42A4-A7AC-F18F07D93E7", "Tympora.CClients",
                               "{C6AF55A8-68A3-42A4-A7AC-F18F07D93E78"}) {
    EXPECT_FALSE(SameId(bad, LibraryId())) << bad;
  }
  // The members added after an earlier id close their interfaces, where a
  // host built against the earlier version never looks; only IsNull, beyond
  // the published members, follows them.
  const std::pair<std::string_view, std::string> later_members[] = {
      {"_CCurveDatum", " maxOutputVal maxOutputVal minOutputVal minOutputVal IsNull"},
      {"_CTestDefinition", " TestTypeNumber TestTypeNumber IsNull"},
      {"_CClientAid", " ManufacturerAddress ManufacturerAddress IsNull"},
  };
  for (const auto& [name, tail] : later_members) {
    std::string names;
    for (const MemberInfo& m : Library().FindInterface(name)->members)
      names += " " + std::string(m.name);
    EXPECT_TRUE(names.ends_with(tail) && names.size() > tail.size()) << names;
  }
}

// Each creatable class by name and by id, through its factory, and each
// record through its own interface and the node interface.
TEST(FactoryTest, EveryCreatableClassByNameAndByIdWithItsInterfaces) {
  for (const ClassIdentity& cls : ClassIdentities()) {
    if (cls.role != ClassRole::Creatable) continue;
    SCOPED_TRACE(cls.name);
    const std::string clsid(cls.clsid);
    for (const std::string& key : {ProgId(cls), clsid, Lower(clsid.substr(1, 36))}) {
      const ObjectPtr object = CreateObject(key);
      const ClassInfo* found = object ? Library().ClassOf(*object) : nullptr;
      ASSERT_TRUE(found && found->identity == &cls) << key;
      const Dispatch own = QueryInterface(object);
      EXPECT_EQ(own.Interface()->Name(), cls.default_interface);
      // A new object is in its reset state.
      EXPECT_EQ(Invoke(own, cls.node_interface ? "ID" : "Number", kGet), Variant(int32_t{0}));
    }
    const std::shared_ptr<ClassFactory> factory = GetClassFactory(ProgId(cls));
    const ObjectPtr object = factory->CreateInstance(), other = factory->CreateInstance();
    EXPECT_NE(object, other);
    EXPECT_EQ(Library().ClassOf(*object)->identity, &cls);
    if (!cls.node_interface) continue;
    const InterfaceIdentity& own_id = *FindInterfaceIdentity(cls.default_interface);
    const Dispatch node = QueryInterface(object, "_CNode");
    EXPECT_EQ(node.Interface()->Name(), "_CNode");
    EXPECT_EQ(Invoke(node, "NodeName", kGet),
              Variant(std::string(dynamic_cast<CNode&>(*object).NodeName())));
    Invoke(node, "ID", kPut, {Variant(int32_t{42})});
    const Variant status = Invoke(node, "ExportTXT", kMethod, {Variant(int16_t{1})});
    EXPECT_EQ(std::dynamic_pointer_cast<CStatus>(status.AsObject())->Number(), 2001);
    // Back to the record's own interface, all its members, by name, by id and by earlier id.
    for (std::string_view key : {own_id.name, own_id.iid, own_id.earlier_iid}) {
      if (key.empty()) continue;
      const Dispatch own = QueryInterface(node.Target(), key);
      EXPECT_EQ(own.Interface(), QueryInterface(object).Interface()) << key;
      EXPECT_EQ(Invoke(own, "ID", kGet), Variant(int32_t{42}));
    }
    EXPECT_EQ(ErrorOf([&] { QueryInterface(object, "_CStatus"); }), kErrNoInterface);
  }
}

TEST(FactoryTest, NonCreatableAndUnknownNamesAndInterfacesAreRefused) {
  const std::string node_id(FindClassIdentity("Tympora.CNode")->clsid);
  for (const std::string& name :
       {"Tympora.CNode"s, node_id, "Tympora.Collection"s, "Tympora.DOMDocument"s, "CClients"s,
        "Tympora.cclients"s, "Tympora."s, ""s, "Other.CClients"s,
        "{00000000-0000-0000-0000-000000000000}"s}) {
    SCOPED_TRACE(name);
    try {
      CreateObject(name);
      ADD_FAILURE() << "created";
    } catch (const Error& e) {
      EXPECT_EQ(e.Number(), kErrCannotCreate);
      EXPECT_NE(e.Description().find('"' + name + '"'), std::string::npos) << e.Description();
      EXPECT_EQ(e.Source(), kLibrarySource);
    }
    EXPECT_EQ(ErrorOf([&] { GetClassFactory(name); }), kErrCannotCreate);
  }
  const ObjectPtr status = CreateObject("Tympora.CStatus");
  EXPECT_EQ(ErrorOf([&] { QueryInterface(status, "_CNode"); }), kErrNoInterface);
  EXPECT_EQ(ErrorOf([&] { QueryInterface(nullptr); }), kErrObjectNotSet);
  EXPECT_EQ(ErrorOf([&] { QueryInterface(status, "_cstatus"); }), kErrNoInterface);
}

// Names and contents of the files in `folder`.
std::map<std::string, std::string> Snapshot(const std::filesystem::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    files[entry.path().filename().string()] = testing::ReadFile(entry.path());
  }
  return files;
}

// Sets (or, for NULL, unsets) an environment variable for the life of the
// guard.
struct EnvGuard {
  EnvGuard(const char* name, const char* value) : name(name) {
    if (const char* was = std::getenv(name)) old = was;
    value ? setenv(name, value, 1) : unsetenv(name);
  }
  ~EnvGuard() { old.empty() ? unsetenv(name) : setenv(name, old.c_str(), 1); }
  const char* name;
  std::string old;
};

TEST(RegistryTest, RegisterThenUnregisterLeavesTheFolderAsItWas) {
  testing::TempDir dir;
  std::ofstream(dir / "other.manifest") << "another component\n";
  const EnvGuard guard("TYMPORA_REGISTRY", dir.path().c_str());
  const auto before = Snapshot(dir.path());

  ASSERT_EQ(DllRegisterServer(), TYMPORA_S_OK);
  const auto during = Snapshot(dir.path());
  ASSERT_EQ(during.size(), before.size() + 2);
  const std::string& manifest = during.at("Tympora.manifest");
  EXPECT_NE(manifest.find("component=Tympora\n"), std::string::npos);
  EXPECT_NE(manifest.find("version=0.07\n"), std::string::npos);
  for (const ClassIdentity& cls : ClassIdentities()) {
    const std::string line = "class=" + ProgId(cls) + " " + std::string(cls.clsid) + " ";
    EXPECT_EQ(manifest.find(line) != std::string::npos, cls.role == ClassRole::Creatable) << line;
  }
  EXPECT_EQ(manifest.find("Tympora.CNode"), std::string::npos);
  std::string interfaces;  // the fixed lines, each behind "interface="
  for (std::string_view rest = kFixedInterfaces; !rest.empty();
       rest.remove_prefix(rest.find('\n') + 1))
    interfaces += "interface=" + std::string(rest.substr(0, rest.find('\n') + 1));
  EXPECT_NE(manifest.find(interfaces), std::string::npos) << manifest;
  const size_t at = manifest.find("library=") + 8;
  const std::string library = manifest.substr(at, manifest.find('\n', at) - at);
  EXPECT_TRUE(std::filesystem::exists(library)) << library;
  EXPECT_EQ(during.at("Tympora.interfaces"), DescribeInterfaces());

  EXPECT_EQ(DllRegisterServer(), TYMPORA_S_OK);  // registering again replaces the files
  EXPECT_EQ(Snapshot(dir.path()), during);
  EXPECT_EQ(DllUnregisterServer(), TYMPORA_S_OK);
  EXPECT_EQ(Snapshot(dir.path()), before);
  EXPECT_EQ(DllUnregisterServer(), TYMPORA_S_FALSE);
}

TEST(RegistryTest, FolderFallsBackToTheDataHome) {
  testing::TempDir dir;
  const EnvGuard registry("TYMPORA_REGISTRY", nullptr);
  const EnvGuard data("XDG_DATA_HOME", dir.path().c_str());
  ASSERT_EQ(DllRegisterServer(), TYMPORA_S_OK);
  EXPECT_TRUE(std::filesystem::exists(dir.path() / "tympora/registry/Tympora.manifest"));
  EXPECT_EQ(DllUnregisterServer(), TYMPORA_S_OK);
  EXPECT_TRUE(std::filesystem::is_empty(dir.path() / "tympora/registry"));
  {
    // Without HOME, the folder is under the password entry's home, where
    // nothing is registered unless this user registered the library.
    const EnvGuard no_data("XDG_DATA_HOME", nullptr), no_home("HOME", nullptr);
    const passwd* user = ::getpwuid(::getuid());
    if (user && !std::filesystem::exists(user->pw_dir + "/.local/share/tympora/registry"s)) {
      EXPECT_EQ(DllUnregisterServer(), TYMPORA_S_FALSE);
    }
  }
  // A registry path that cannot be a folder fails cleanly.
  const EnvGuard blocked("TYMPORA_REGISTRY", (dir / "file").c_str());
  std::ofstream(dir / "file") << "x";
  EXPECT_EQ(DllRegisterServer(), TYMPORA_E_FAIL);
}

}  // namespace
}  // namespace tympora
