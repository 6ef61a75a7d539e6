// The identity table of the component, made from the registration table,
// and the lookups in it.
#include "tympora/component/identity.hpp"

#include <array>
#include <cctype>
#include <tuple>

#include "tympora/component/registration.hpp"
#include "tympora/version.h"

namespace tympora {
namespace {

// The identity table, in the order of the registration table; the
// interfaces in the order of their positions there.
constexpr auto kClasses = std::apply(
    [](const auto&... row) { return std::array<ClassIdentity, sizeof...(row)>{row.Identity()...}; },
    registration::kClasses);

constexpr auto kInterfaces = [] {
  std::array<InterfaceIdentity, registration::kClassCount> out{};
  registration::ForEachClass([&out](const auto& row) {
    if (row.interface_position < out.size()) out[row.interface_position] = row.Interface();
  });
  return out;
}();

// What the registration table must satisfy, checked as it is compiled.
constexpr bool IsUuid(std::string_view text) {
  if (text.size() != 38 || text.front() != '{' || text.back() != '}') return false;
  for (size_t i = 1; i + 1 < text.size(); ++i) {
    const char c = text[i];
    const bool hyphen = i == 9 || i == 14 || i == 19 || i == 24;
    const bool hex = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F');
    if (hyphen ? c != '-' : !hex) return false;
  }
  return true;
}

constexpr bool EveryInterfaceHasItsPlace() {
  for (const InterfaceIdentity& itf : kInterfaces) {
    if (itf.name.empty()) return false;
  }
  return true;
}

// Identifiers in upper case with braces, none used twice; names not used
// twice; a helper class without an identifier, every other class with one;
// a record's interface named after its class.
constexpr bool IdentifiersAreWellFormedAndDistinct() {
  std::array<std::string_view, 2 + 3 * registration::kClassCount> ids{};
  size_t n = 0;
  ids[n++] = registration::kLibraryId;
  ids[n++] = registration::kStatusNumId;
  for (const ClassIdentity& cls : kClasses) {
    if (cls.clsid.empty() != (cls.role == ClassRole::Helper)) return false;
    if (!cls.clsid.empty()) ids[n++] = cls.clsid;
    if (cls.node_interface && cls.default_interface.substr(1) != cls.name) return false;
  }
  for (const InterfaceIdentity& itf : kInterfaces) {
    ids[n++] = itf.iid;
    if (!itf.earlier_iid.empty()) ids[n++] = itf.earlier_iid;
  }
  for (size_t i = 0; i < n; ++i) {
    if (!IsUuid(ids[i])) return false;
    for (size_t j = i + 1; j < n; ++j) {
      if (ids[i] == ids[j]) return false;
    }
  }
  for (size_t i = 0; i < kClasses.size(); ++i) {
    for (size_t j = i + 1; j < kClasses.size(); ++j) {
      if (kClasses[i].name == kClasses[j].name) return false;
    }
  }
  return true;
}

static_assert(EveryInterfaceHasItsPlace(),
              "the interface positions of the registration table are not 0, 1, 2 ... each once");
static_assert(IdentifiersAreWellFormedAndDistinct(),
              "an identifier of the registration table is malformed or used twice, or a name is");

// The 32 hex digits of a UUID text, upper case, or the empty text when
// `text` is not one (with or without braces, with its four hyphens).
std::string Digits(std::string_view text) {
  if (text.size() == 38 && text.front() == '{' && text.back() == '}') {
    text = text.substr(1, 36);
  }
  if (text.size() != 36) return {};
  std::string out;
  out.reserve(32);
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (i == 8 || i == 13 || i == 18 || i == 23) {
      if (c != '-') return {};
    } else if (std::isxdigit(static_cast<unsigned char>(c))) {
      out += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    } else {
      return {};
    }
  }
  return out;
}

}  // namespace

std::string_view LibraryId() noexcept { return registration::kLibraryId; }
std::string_view StatusNumId() noexcept { return registration::kStatusNumId; }

std::span<const ClassIdentity> ClassIdentities() noexcept { return kClasses; }
std::span<const InterfaceIdentity> InterfaceIdentities() noexcept { return kInterfaces; }

bool SameId(std::string_view a, std::string_view b) noexcept {
  try {
    const std::string da = Digits(a);
    return !da.empty() && da == Digits(b);
  } catch (...) {
    return false;
  }
}

const ClassIdentity* FindClassIdentity(std::string_view name_or_id) noexcept {
  const std::string_view prefix = kComponentName;
  const bool prefixed = name_or_id.size() > prefix.size() + 1 &&
                        name_or_id.substr(0, prefix.size()) == prefix &&
                        name_or_id[prefix.size()] == '.';
  const std::string_view bare = prefixed ? name_or_id.substr(prefix.size() + 1) : name_or_id;
  for (const ClassIdentity& cls : kClasses) {
    if (cls.role == ClassRole::Helper ? (bare == cls.name && !prefixed)
                                      : (prefixed && bare == cls.name)) {
      return &cls;
    }
  }
  for (const ClassIdentity& cls : kClasses) {
    if (SameId(name_or_id, cls.clsid)) return &cls;
  }
  return nullptr;
}

const InterfaceIdentity* FindInterfaceIdentity(std::string_view name_or_id) noexcept {
  for (const InterfaceIdentity& itf : kInterfaces) {
    if (name_or_id == itf.name || SameId(name_or_id, itf.iid) ||
        (!itf.earlier_iid.empty() && SameId(name_or_id, itf.earlier_iid))) {
      return &itf;
    }
  }
  return nullptr;
}

std::string ProgId(const ClassIdentity& cls) {
  return std::string(kComponentName) + "." + std::string(cls.name);
}

std::string_view Version() noexcept { return TYMPORA_VERSION_STRING; }

}  // namespace tympora
