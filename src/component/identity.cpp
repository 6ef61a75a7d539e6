// The identity table of the component. These identifiers were generated once
// and are fixed: changing one breaks every host and registration that keeps it.
#include "tympora/component/identity.hpp"

#include <array>
#include <cctype>

#include "tympora/version.h"

namespace tympora {
namespace {

constexpr std::string_view kLibraryId = "{C6AF55A8-68A3-42A4-A7AC-F18F07D93E78}";
constexpr std::string_view kStatusNumId = "{8710D609-4D45-46CD-BEB2-4B77B97F0A92}";

constexpr std::array<InterfaceIdentity, 14> kInterfaces{{
    {"_CStatus", "{5B4B3772-A9E7-4B4B-9417-89897D905763}", {}},
    {"_CNode", "{75F38419-9B84-4705-9C63-1DF4DE7AD8DE}", {}},
    {"_CCurveDatum", "{188C2B04-EC31-4EF9-834C-128AEAE5B512}",
     "{E68F3AB6-F29A-4375-88B6-4A3163E8C3CC}"},
    {"_CDistortionDatum", "{99615660-22B9-45FE-A7FF-E8C8AFA9D80D}", {}},
    {"_CSpeechMapDatum", "{B13CBF02-6AF0-4AFC-9AAD-48EFE56CAB54}", {}},
    {"_CCurve", "{631A3AF0-722F-46D9-B8D9-9EDDEE3BC1ED}", {}},
    {"_CExamination", "{3E6D27DE-6F38-4F75-B714-616B1C4AB668}", {}},
    {"_CTestDefinition", "{D56C2705-F4FF-4128-8879-5B7AE6633AF6}",
     "{422A93B1-EC4A-455A-A1AE-AF9F55C2832C}"},
    {"_CClientAid", "{34212EAA-53EA-4016-BFD2-75E2BC56EAF2}",
     "{9C3B777D-282E-4815-A3E2-BBC80B1B3149}"},
    {"_CClient", "{27F07845-FD63-468E-A266-C12B35F74009}", {}},
    {"_CClients", "{B970AA5C-B2B0-43ED-A614-8E058B64ECE9}", {}},
    {"Collection", "{84946C08-C24A-4280-AE53-4AEFF13BB417}", {}},
    {"DOMDocument", "{60710D3F-390D-475F-9D02-0020EC37D147}", {}},
    {"DOMNode", "{DE0EFCA6-E72A-47F6-83E7-2DF909463717}", {}},
}};

constexpr std::array<ClassIdentity, 14> kClasses{{
    {"CDistortionDatum", "{3037C0A5-35F3-415D-88D6-7D0A5DA18602}", ClassRole::Creatable,
     "_CDistortionDatum", true},
    {"CStatus", "{58002170-B86B-4806-87EB-9176BFF906DC}", ClassRole::Creatable, "_CStatus", false},
    {"CCurveDatum", "{CFA66417-FF15-4BA6-B809-D04DC9B8DA47}", ClassRole::Creatable, "_CCurveDatum",
     true},
    {"CCurve", "{D08FF897-1C6F-4F45-89A5-0C2420CC029F}", ClassRole::Creatable, "_CCurve", true},
    {"CExamination", "{3298D3F0-9753-45D7-A7FE-AFCC91F9170E}", ClassRole::Creatable,
     "_CExamination", true},
    {"CTestDefinition", "{896CC064-C845-4FD4-9D5F-AAE6E49C267E}", ClassRole::Creatable,
     "_CTestDefinition", true},
    {"CClientAid", "{E914EB44-D890-479F-94B4-EDFA5E3BFB2D}", ClassRole::Creatable, "_CClientAid",
     true},
    {"CClient", "{44D86246-8444-4C6B-9910-7D2F907EC916}", ClassRole::Creatable, "_CClient", true},
    {"CClients", "{F19A97FA-16B9-4C95-86AC-5F6C8D443D56}", ClassRole::Creatable, "_CClients", true},
    {"CSpeechMapDatum", "{EFC432EC-DABA-4C3C-A5C5-67D6CFC9D1AD}", ClassRole::Creatable,
     "_CSpeechMapDatum", true},
    {"CNode", "{5CD7058E-72AE-4368-9AE7-DDE12A1B0447}", ClassRole::Published, "_CNode", false},
    // Helper classes are never created by a host and carry no identifier.
    {"Collection", {}, ClassRole::Helper, "Collection", false},
    {"DOMDocument", {}, ClassRole::Helper, "DOMDocument", false},
    {"DOMNode", {}, ClassRole::Helper, "DOMNode", false},
}};

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

std::string_view LibraryId() noexcept { return kLibraryId; }
std::string_view StatusNumId() noexcept { return kStatusNumId; }

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
