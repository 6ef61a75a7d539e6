// The component's identity, creation by name and by class id, the two
// interfaces of a record, and registration in a registry folder.
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "test_util.hpp"
#include "tympora/component/component.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/status.hpp"

namespace tympora {
namespace {

using testing::ErrorOf;

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

std::vector<const ClassIdentity*> Creatable() {
  std::vector<const ClassIdentity*> out;
  for (const ClassIdentity& cls : ClassIdentities()) {
    if (cls.role == ClassRole::Creatable) out.push_back(&cls);
  }
  return out;
}

TEST(IdentityTest, IdentifiersAreWellFormedAndDistinct) {
  std::vector<std::string_view> ids = {LibraryId(), StatusNumId()};
  for (const ClassIdentity& cls : ClassIdentities()) {
    if (!cls.clsid.empty()) ids.push_back(cls.clsid);
  }
  for (const InterfaceIdentity& itf : InterfaceIdentities()) {
    ids.push_back(itf.iid);
    if (!itf.earlier_iid.empty()) ids.push_back(itf.earlier_iid);
  }
  EXPECT_EQ(ids.size(), 2u + 11u + 14u + 3u);
  for (size_t i = 0; i < ids.size(); ++i) {
    SCOPED_TRACE(ids[i]);
    EXPECT_TRUE(SameId(ids[i], ids[i]));
    const std::string bare(ids[i].substr(1, 36));
    EXPECT_TRUE(SameId(ids[i], bare));
    EXPECT_TRUE(SameId(ids[i], Lower(bare)));
    for (size_t j = i + 1; j < ids.size(); ++j) EXPECT_FALSE(SameId(ids[i], ids[j]));
  }
  EXPECT_EQ(Creatable().size(), 10u);
  EXPECT_EQ(kComponentName, "Tympora");
  EXPECT_EQ(kDescriptionVersion, "1.3");
  EXPECT_EQ(kFileVersion, "0.7.0.0");
  EXPECT_EQ(kVersionText, "0.07");
  for (std::string_view bad : {"", "{}", "C6AF55A8-68A3-42A4-A7AC-F18F07D93E7", "Tympora.CClients",
                               "{C6AF55A8-68A3-42A4-A7AC-F18F07D93E78"}) {
    EXPECT_FALSE(SameId(bad, LibraryId())) << bad;
  }
}

TEST(FactoryTest, EveryCreatableClassByNameAndById) {
  for (const ClassIdentity* cls : Creatable()) {
    SCOPED_TRACE(cls->name);
    const std::string clsid(cls->clsid);
    for (const std::string& key : {ProgId(*cls), clsid, Lower(clsid.substr(1, 36))}) {
      const ObjectPtr object = CreateObject(key);
      ASSERT_TRUE(object);
      const ClassInfo* found = Library().ClassOf(*object);
      ASSERT_NE(found, nullptr);
      EXPECT_EQ(found->identity, cls);
      const Dispatch own = QueryInterface(object);
      EXPECT_EQ(own.Interface()->Name(), cls->default_interface);
      // A new object is in its reset state.
      const char* zero_member = cls->node_interface ? "ID" : "Number";
      EXPECT_EQ(Invoke(own, zero_member, InvokeKind::PropertyGet), Variant(int32_t{0}));
    }
    const std::shared_ptr<ClassFactory> factory = GetClassFactory(ProgId(*cls));
    const ObjectPtr a = factory->CreateInstance(), b = factory->CreateInstance();
    EXPECT_NE(a, b);
    EXPECT_EQ(Library().ClassOf(*a)->identity, cls);
  }
}

TEST(FactoryTest, NonCreatableAndUnknownNamesAreRefused) {
  const std::string node_id(FindClassIdentity("Tympora.CNode")->clsid);
  for (const std::string& name :
       {std::string("Tympora.CNode"), node_id, std::string("Tympora.Collection"),
        std::string("Tympora.DOMDocument"), std::string("CClients"),
        std::string("Tympora.cclients"), std::string("Tympora."), std::string(""),
        std::string("Other.CClients"), std::string("{00000000-0000-0000-0000-000000000000}")}) {
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
}

TEST(FactoryTest, EachRecordOffersItsOwnInterfaceAndTheNodeInterface) {
  for (const ClassIdentity* cls : Creatable()) {
    if (!cls->node_interface) continue;
    SCOPED_TRACE(cls->name);
    const ObjectPtr object = CreateObject(ProgId(*cls));
    const InterfaceIdentity& own_id = *FindInterfaceIdentity(cls->default_interface);
    const Dispatch node = QueryInterface(object, "_CNode");
    EXPECT_EQ(node.Interface()->Name(), "_CNode");
    const Variant name = Invoke(node, "NodeName", InvokeKind::PropertyGet);
    EXPECT_EQ(name, Variant(std::string(dynamic_cast<CNode&>(*object).NodeName())));
    Invoke(node, "ID", InvokeKind::PropertyPut, {Variant(int32_t{42})});
    const Variant status = Invoke(node, "ExportTXT", InvokeKind::Method, {Variant(int16_t{1})});
    EXPECT_EQ(std::dynamic_pointer_cast<CStatus>(status.AsObject())->Number(), 2001);
    // Back to the record's own interface by name, by id and by earlier id.
    std::vector<std::string_view> keys = {own_id.name, own_id.iid};
    if (!own_id.earlier_iid.empty()) keys.push_back(own_id.earlier_iid);
    for (std::string_view key : keys) {
      const Dispatch own = QueryInterface(node.Target(), key);
      EXPECT_EQ(own.Interface()->Name(), own_id.name) << key;
      EXPECT_EQ(Invoke(own, "ID", InvokeKind::PropertyGet), Variant(int32_t{42}));
    }
    EXPECT_EQ(ErrorOf([&] { QueryInterface(object, "_CStatus"); }), kErrNoInterface);
  }
  const ObjectPtr status = CreateObject("Tympora.CStatus");
  EXPECT_EQ(ErrorOf([&] { QueryInterface(status, "_CNode"); }), kErrNoInterface);
  EXPECT_EQ(ErrorOf([&] { QueryInterface(nullptr); }), kErrObjectNotSet);
  EXPECT_EQ(ErrorOf([&] { QueryInterface(status, "_cstatus"); }), kErrNoInterface);
}

TEST(FactoryTest, EarlierInterfacesAreOnlyThoseOfTheThreeRevisedClasses) {
  std::set<std::string_view> revised;
  for (const InterfaceIdentity& itf : InterfaceIdentities()) {
    if (!itf.earlier_iid.empty()) revised.insert(itf.name);
  }
  EXPECT_EQ(revised,
            (std::set<std::string_view>{"_CCurveDatum", "_CTestDefinition", "_CClientAid"}));
  // The members added in the later version are served under the earlier id.
  const Dispatch point =
      QueryInterface(CreateObject("Tympora.CCurveDatum"), "{E68F3AB6-F29A-4375-88B6-4A3163E8C3CC}");
  Invoke(point, "maxOutputVal", InvokeKind::PropertyPut, {Variant(90.5)});
  EXPECT_EQ(Invoke(point, "maxOutputVal", InvokeKind::PropertyGet), Variant(90.5));
  // Those members close their interfaces, where a host built against the
  // earlier version never looks; only IsNull, beyond the published members,
  // follows them.
  const std::map<std::string_view, std::vector<std::string_view>> later_members = {
      {"_CCurveDatum", {"maxOutputVal", "maxOutputVal", "minOutputVal", "minOutputVal", "IsNull"}},
      {"_CTestDefinition", {"TestTypeNumber", "TestTypeNumber", "IsNull"}},
      {"_CClientAid", {"ManufacturerAddress", "ManufacturerAddress", "IsNull"}},
  };
  for (const auto& [name, tail] : later_members) {
    SCOPED_TRACE(name);
    const InterfaceInfo* itf = Library().FindInterface(name);
    ASSERT_NE(itf, nullptr);
    ASSERT_GT(itf->members.size(), tail.size());
    const size_t first = itf->members.size() - tail.size();
    for (size_t i = 0; i < tail.size(); ++i) EXPECT_EQ(itf->members[first + i].name, tail[i]);
  }
}

// Names and contents of the files in `folder`.
std::map<std::string, std::string> Snapshot(const std::filesystem::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    files[entry.path().filename().string()] = testing::ReadFile(entry.path());
  }
  return files;
}

// Sets an environment variable for the life of the guard.
class EnvGuard {
 public:
  EnvGuard(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    value ? setenv(name, value, 1) : unsetenv(name);
  }
  ~EnvGuard() { old_.empty() ? unsetenv(name_) : setenv(name_, old_.c_str(), 1); }

 private:
  const char* name_;
  std::string old_;
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
  for (const ClassIdentity* cls : Creatable()) {
    EXPECT_NE(manifest.find("class=" + ProgId(*cls) + " " + std::string(cls->clsid)),
              std::string::npos)
        << cls->name;
  }
  EXPECT_EQ(manifest.find("Tympora.CNode"), std::string::npos);
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
  // A registry path that cannot be a folder fails cleanly.
  const EnvGuard blocked("TYMPORA_REGISTRY", (dir / "file").c_str());
  std::ofstream(dir / "file") << "x";
  EXPECT_EQ(DllRegisterServer(), TYMPORA_E_FAIL);
}

}  // namespace
}  // namespace tympora
