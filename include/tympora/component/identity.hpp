// The identity of the Tympora component: its name and versions, and the
// fixed identifiers (UUIDs) of the library, its classes, its interfaces and
// the StatusNum enumeration, as the registration table lists them. The
// identifiers never change between builds: hosts and registrations keep them.
//
// Identifiers are written in the registry form "{XXXXXXXX-XXXX-XXXX-XXXX-
// XXXXXXXXXXXX}"; every lookup also accepts them without braces and in any
// letter case. Class and interface names are compared exactly.
#pragma once

#include "tympora/export.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tympora {

// The component name; a class is created as "Tympora.<class name>".
inline constexpr std::string_view kComponentName = "Tympora";
// The version of the interface description.
inline constexpr std::string_view kDescriptionVersion = "1.3";
// File and product version, and the way it is shown to users.
inline constexpr std::string_view kFileVersion = "0.7.0.0";
inline constexpr std::string_view kVersionText = "0.07";

// The version of the loaded library ("0.7.0"), the same as TYMPORA_VERSION_STRING
// of tympora/version.h when headers and library match. A static text.
TYMPORA_API std::string_view Version() noexcept;

// Error numbers of creation and interface queries.
inline constexpr int32_t kErrCannotCreate = 429;  // no creatable class of that name or id
inline constexpr int32_t kErrNoInterface = 430;   // the object lacks the interface asked for

// One interface: its name ("_CClient"), its identifier, and the identifier of
// its earlier version (empty when it has none), which the current interface
// answers to as well.
struct TYMPORA_API InterfaceIdentity {
  std::string_view name;
  std::string_view iid;
  std::string_view earlier_iid;
};

// What kind of class an entry describes.
enum class ClassRole {
  Creatable,  // a class a host creates by name
  Published,  // published but not creatable (CNode)
  Helper,     // an object a host receives but never creates (lists, DOM handles)
};

// One class: its name ("CClients"), identifier (empty for a helper class),
// role, the name of its default interface, and whether it also offers the
// node interface _CNode.
struct TYMPORA_API ClassIdentity {
  std::string_view name;
  std::string_view clsid;
  ClassRole role;
  std::string_view default_interface;
  bool node_interface;
};

// The identifier of the library itself and of the StatusNum enumeration.
TYMPORA_API std::string_view LibraryId() noexcept;
TYMPORA_API std::string_view StatusNumId() noexcept;

// Every class, in the fixed order of the registration table
// (tympora/component/registration.hpp).
TYMPORA_API std::span<const ClassIdentity> ClassIdentities() noexcept;
// Every interface, in the fixed order of the positions there.
TYMPORA_API std::span<const InterfaceIdentity> InterfaceIdentities() noexcept;

// True when `a` and `b` name the same identifier: letter case and
// surrounding braces do not matter. False when either is not a UUID text.
TYMPORA_API bool SameId(std::string_view a, std::string_view b) noexcept;

// The class whose name with the component prefix ("Tympora.CClients"), or
// whose identifier, is `name_or_id`; nullptr when there is none. Helper
// classes are found by their bare name ("Collection").
TYMPORA_API const ClassIdentity* FindClassIdentity(std::string_view name_or_id) noexcept;
// The interface named `name_or_id` or having it as its current or earlier
// identifier; nullptr when there is none.
TYMPORA_API const InterfaceIdentity* FindInterfaceIdentity(std::string_view name_or_id) noexcept;

// "Tympora.CClients" for the class CClients.
TYMPORA_API std::string ProgId(const ClassIdentity& cls);

}  // namespace tympora
