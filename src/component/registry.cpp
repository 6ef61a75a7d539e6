// The library's four entry points with their Linux meanings: registration
// writes a manifest and the interface description into a registry folder,
// unregistration removes them, the class object is a factory handle, and the
// library may be unloaded when no object of it is alive.
#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <system_error>

#include "component/c_handles.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/object.hpp"

namespace {

namespace fs = std::filesystem;

constexpr const char* kManifestFile = "Tympora.manifest";
constexpr const char* kDescriptionFile = "Tympora.interfaces";

// An address inside this library, to ask the loader for its path.
const char kAnchor = 0;

std::string HomeFolder() {
  if (const char* home = std::getenv("HOME"); home && *home) return home;
  struct passwd entry {};
  struct passwd* found = nullptr;
  char buffer[4096];
  if (getpwuid_r(getuid(), &entry, buffer, sizeof buffer, &found) == 0 && found && found->pw_dir) {
    return found->pw_dir;
  }
  return {};
}

// $TYMPORA_REGISTRY, else $XDG_DATA_HOME/tympora/registry, else
// ~/.local/share/tympora/registry; empty when no home folder is known.
fs::path RegistryFolder() {
  if (const char* folder = std::getenv("TYMPORA_REGISTRY"); folder && *folder) return folder;
  if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data == '/') {
    return fs::path(data) / "tympora" / "registry";
  }
  const std::string home = HomeFolder();
  if (home.empty()) return {};
  return fs::path(home) / ".local" / "share" / "tympora" / "registry";
}

std::string LibraryPath() {
  Dl_info info{};
  if (dladdr(&kAnchor, &info) == 0 || !info.dli_fname) return {};
  std::error_code ec;
  const fs::path path = fs::weakly_canonical(fs::absolute(info.dli_fname, ec), ec);
  return ec ? std::string(info.dli_fname) : path.string();
}

std::string Manifest() {
  using namespace tympora;
  std::string out = "# Registration of the Tympora component\n";
  out += "component=" + std::string(kComponentName) + "\n";
  out += "library=" + LibraryPath() + "\n";
  out += "libid=" + std::string(LibraryId()) + "\n";
  out += "description_version=" + std::string(kDescriptionVersion) + "\n";
  out += "file_version=" + std::string(kFileVersion) + "\n";
  out += "version=" + std::string(kVersionText) + "\n";
  out += "statusnum=" + std::string(StatusNumId()) + "\n";
  for (const ClassIdentity& cls : ClassIdentities()) {
    if (cls.role != ClassRole::Creatable) continue;
    out += "class=" + ProgId(cls) + " " + std::string(cls.clsid) + " " +
           std::string(cls.default_interface) + (cls.node_interface ? " _CNode" : "") + "\n";
  }
  for (const InterfaceIdentity& itf : InterfaceIdentities()) {
    out += "interface=" + std::string(itf.name) + " " + std::string(itf.iid);
    if (!itf.earlier_iid.empty()) out += " earlier " + std::string(itf.earlier_iid);
    out += "\n";
  }
  return out;
}

// Writes `text` to `path` through a temporary file and a rename, so that a
// reader never sees half a file.
bool WriteFile(const fs::path& path, const std::string& text) {
  const fs::path temporary = path.string() + ".tmp";
  {
    std::ofstream file(temporary, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) {
      std::error_code ec;
      fs::remove(temporary, ec);
      return false;
    }
  }
  std::error_code ec;
  fs::rename(temporary, path, ec);
  if (ec) fs::remove(temporary, ec);
  return !ec;
}

}  // namespace

extern "C" {

int DllRegisterServer(void) {
  try {
    const fs::path folder = RegistryFolder();
    if (folder.empty()) return TYMPORA_E_FAIL;
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (ec) return TYMPORA_E_FAIL;
    const bool written = WriteFile(folder / kManifestFile, Manifest()) &&
                         WriteFile(folder / kDescriptionFile, tympora::DescribeInterfaces());
    return written ? TYMPORA_S_OK : TYMPORA_E_FAIL;
  } catch (const std::bad_alloc&) {
    return TYMPORA_E_OUTOFMEMORY;
  } catch (...) {
    return TYMPORA_E_FAIL;
  }
}

int DllUnregisterServer(void) {
  try {
    const fs::path folder = RegistryFolder();
    if (folder.empty()) return TYMPORA_E_FAIL;
    std::error_code ec;
    bool removed = false;
    for (const char* name : {kManifestFile, kDescriptionFile}) {
      removed = fs::remove(folder / name, ec) || removed;
      if (ec) return TYMPORA_E_FAIL;
    }
    return removed ? TYMPORA_S_OK : TYMPORA_S_FALSE;
  } catch (...) {
    return TYMPORA_E_FAIL;
  }
}

int DllGetClassObject(const char* rclsid, const char* riid, void** ppv) {
  if (!ppv) return TYMPORA_E_INVALIDARG;
  *ppv = nullptr;
  if (!rclsid) return TYMPORA_E_INVALIDARG;
  const std::string_view iid = riid ? riid : "";
  if (!iid.empty() && iid != "IUnknown" && iid != "IClassFactory") return TYMPORA_E_NOINTERFACE;
  try {
    *ppv = new tympora_factory{tympora::GetClassFactory(rclsid)};
    return TYMPORA_S_OK;
  } catch (const tympora::Error&) {
    return TYMPORA_E_CLASSNOTAVAILABLE;
  } catch (const std::bad_alloc&) {
    return TYMPORA_E_OUTOFMEMORY;
  } catch (...) {
    return TYMPORA_E_FAIL;
  }
}

int DllCanUnloadNow(void) {
  return tympora::Object::LiveCount() == 0 ? TYMPORA_S_OK : TYMPORA_S_FALSE;
}

}  // extern "C"
