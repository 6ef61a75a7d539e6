// The registration table of the component: one row per class it publishes.
// Everything else that names a class comes from these rows: the identity
// table (class and interface names with their fixed identifiers), creation
// by name, the interfaces that dispatch serves and their member order, the
// list of the library's own record classes, and the classes of the Python
// module. Adding a class is adding its row (and its #include) here.
//
// The identifiers of a row were generated once and never change: hosts and
// registrations keep them. A new class gets new ones, and its row goes at
// the end of the table, so that the order of every existing class and
// interface stays as hosts have seen it.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "tympora/component/factory.hpp"
#include "tympora/component/identity.hpp"
#include "tympora/measurement/curve.hpp"
#include "tympora/measurement/curve_datum.hpp"
#include "tympora/measurement/distortion_datum.hpp"
#include "tympora/measurement/speech_map_datum.hpp"
#include "tympora/node/collection.hpp"
#include "tympora/node/node.hpp"
#include "tympora/node/record.hpp"
#include "tympora/node/status.hpp"
#include "tympora/records/client.hpp"
#include "tympora/records/client_aid.hpp"
#include "tympora/records/clients.hpp"
#include "tympora/records/examination.hpp"
#include "tympora/records/test_definition.hpp"

namespace tympora::registration {

// The published order of a record interface's members, the order in which
// hosts that bind by position see them (not the order of the file's
// elements). Each name stands for its setter, then its getter (or the one
// member of that name); a name ending in '<' for its getter first. Members
// it does not name follow in the order of the class's table, so an empty
// order is the table's order throughout. The members of an interface's
// later version stand at its end, where hosts built against the earlier
// version never look.
using MemberOrder = std::span<const std::string_view>;

// One class of the component. `T` is the C++ class: a creatable class is
// made with its default constructor, a record class (derived from
// RecordBase) also offers the node interface _CNode, and the interface is
// built from what `T` is (a record's from its property table).
template <class T, ClassRole Role = ClassRole::Creatable>
struct Register {
  using Class = T;
  static constexpr ClassRole kRole = Role;
  static constexpr bool kRecord = std::is_base_of_v<RecordBase, T>;
  static_assert(Role != ClassRole::Creatable ||
                    (std::is_base_of_v<Object, T> && std::is_default_constructible_v<T>),
                "a creatable class is an Object with a public default constructor");

  std::string_view name;        // "CCurveDatum"; created as "Tympora.CCurveDatum"
  std::string_view clsid = {};  // empty for a helper class
  std::string_view interface;   // the default interface's name, "_CCurveDatum"
  std::string_view iid;
  std::string_view earlier_iid = {};  // of the interface's earlier version, if any
  // The interface's place among all interfaces of the type library.
  size_t interface_position = 0;
  MemberOrder order = {};
  // One line on what the class holds (the Python module's docstring).
  std::string_view summary = {};

  // The row as an entry of the identity table.
  constexpr ClassIdentity Identity() const noexcept {
    return ClassIdentity{name, clsid, Role, interface, kRecord};
  }
  // The row's default interface as an entry of the identity table.
  constexpr InterfaceIdentity Interface() const noexcept {
    return InterfaceIdentity{interface, iid, earlier_iid};
  }
};

inline constexpr std::string_view kLibraryId = "{C6AF55A8-68A3-42A4-A7AC-F18F07D93E78}";
inline constexpr std::string_view kStatusNumId = "{8710D609-4D45-46CD-BEB2-4B77B97F0A92}";

inline constexpr std::string_view kCurveDatumOrder[] = {
    "ID", "InputVal", "OutputVal", "Frequency", "Other", "maxOutputVal", "minOutputVal"};
inline constexpr std::string_view kDistortionDatumOrder[] = {"ID", "Frequency", "Distortion",
                                                             "Other"};
inline constexpr std::string_view kSpeechMapDatumOrder[] = {"ID", "maxOutputVal", "minOutputVal",
                                                            "Other"};
inline constexpr std::string_view kCurveOrder[] = {
    "CurveData",
    "DistortionData",
    "CurveExp",
    "CurveType",
    "DateText",
    "DistType",
    "FxDataPoints",
    "FxFlag0",
    "FxFlag1",
    "FxHighestVal",
    "FxNoiseRed",
    "FxSourceAmp",
    "FxTime0",
    "FxTime1",
    "ID",
    "CurveNo",
    "MeasureType",
    "Name",
    "FxRMS",
    "ResetCurveData",
    "ResetDistortionData",
    "AddCurveDatum",
    "AddDistortionDatum",
    "Source",
    "SourceType",
    "SourceValue",
    "State",
    "TestNo<",
};
inline constexpr std::string_view kExaminationOrder[] = {
    "Curves",
    "AidClass",
    "AnalyzerAidType",
    "Category",
    "Comment",
    "CreateDate",
    "CreateTime",
    "Doctor",
    "Ear",
    "ID",
    "LastSaveDate",
    "LastSaveTime",
    "NumberOfCurves",
    "ProgramVersion",
    "Scaling",
    "TestExplanation",
    "TestName",
    "TestNumber",
    "TestType",
    "ResetCurves",
    "AddCurve",
};
inline constexpr std::string_view kTestDefinitionOrder[] = {
    "ID<",
    "Examinations",
    "Percode<",
    "InsCode<",
    "TestType<",
    "TestExplanation<",
    "TestDate<",
    "TestTime<",
    "Comment<",
    "Deleted<",
    "ResetExaminations",
    "AddExamination",
    "TestTypeNumber<",
};
inline constexpr std::string_view kClientAidOrder[] = {
    "ID",
    "TestDefinitions",
    "ResetTestDefinitions",
    "AddTestDefinition",
    "ManufacturerName<",
    "ManufacturerType<",
    "ManufacturerCity<",
    "ManufacturerState<",
    "ManufacturerZipCode<",
    "ManufacturerCountry<",
    "ManufacturerPhone<",
    "ManufacturerEmail<",
    "ManufacturerComment<",
    "ManufacturerDeleted<",
    "AidSerialNumber<",
    "AidEar<",
    "AidColor<",
    "AidShape<",
    "AidPicture<",
    "AidType<",
    "AidBatterySize<",
    "AidBatteryType<",
    "AidWarrantyDate<",
    "AidPurchaseDate<",
    "AidClass<",
    "AidModel<",
    "AidManufacturer<",
    "AidComment<",
    "AidFMType<",
    "AidFMModel<",
    "AidFMManufacturer<",
    "AidFMSerialNumber<",
    "AidFMIsActivated<",
    "AidEarmoldType<",
    "AidEarmoldMaterial<",
    "AidTubing<",
    "AidVenting<",
    "AidChannels<",
    "ManufacturerAddress<",
};
inline constexpr std::string_view kClientOrder[] = {
    "ID",
    "Aids",
    "ResetAids",
    "AddAid",
    "FirstName",
    "LastName",
    "Number",
    "SocialSecurity",
    "Picture",
    "Gender",
    "Physician",
    "InsuranceAgency",
    "InsurancePhone",
    "InsurancePolicyNumber",
    "InsuranceGroupNumber",
    "City",
    "State",
    "ZipCode",
    "OtherPostalCode",
    "StreetAddress",
    "Country",
    "Phone1",
    "Phone2",
    "CellPhone",
    "OfficePhone",
    "Illness",
    "Email",
    "Comment",
    "Deleted",
    "HearingLoss",
    "BirthDate",
    "RegistrationDate",
    "LastEntryDate",
    "ReferenceNumber",
    "MotherName",
    "FatherName",
    "MiddleName",
};
inline constexpr std::string_view kClientsOrder[] = {"ID", "Clients", "ResetClients", "AddClient"};

// Every class, in the order of the identity table: the creatable classes,
// the published node class, the helper classes, then any class added since
// (at the end, with the next interface position).
inline constexpr std::tuple kClasses{
    Register<CDistortionDatum>{.name = "CDistortionDatum",
                               .clsid = "{3037C0A5-35F3-415D-88D6-7D0A5DA18602}",
                               .interface = "_CDistortionDatum",
                               .iid = "{99615660-22B9-45FE-A7FF-E8C8AFA9D80D}",
                               .interface_position = 3,
                               .order = kDistortionDatumOrder,
                               .summary = "A distortion point of a curve."},
    Register<CStatus>{.name = "CStatus",
                      .clsid = "{58002170-B86B-4806-87EB-9176BFF906DC}",
                      .interface = "_CStatus",
                      .iid = "{5B4B3772-A9E7-4B4B-9417-89897D905763}",
                      .interface_position = 0},
    Register<CCurveDatum>{.name = "CCurveDatum",
                          .clsid = "{CFA66417-FF15-4BA6-B809-D04DC9B8DA47}",
                          .interface = "_CCurveDatum",
                          .iid = "{188C2B04-EC31-4EF9-834C-128AEAE5B512}",
                          .earlier_iid = "{E68F3AB6-F29A-4375-88B6-4A3163E8C3CC}",
                          .interface_position = 2,
                          .order = kCurveDatumOrder,
                          .summary = "A point of a curve."},
    Register<CCurve>{.name = "CCurve",
                     .clsid = "{D08FF897-1C6F-4F45-89A5-0C2420CC029F}",
                     .interface = "_CCurve",
                     .iid = "{631A3AF0-722F-46D9-B8D9-9EDDEE3BC1ED}",
                     .interface_position = 5,
                     .order = kCurveOrder,
                     .summary = "A measured curve with its curve points and distortion points."},
    Register<CExamination>{.name = "CExamination",
                           .clsid = "{3298D3F0-9753-45D7-A7FE-AFCC91F9170E}",
                           .interface = "_CExamination",
                           .iid = "{3E6D27DE-6F38-4F75-B714-616B1C4AB668}",
                           .interface_position = 6,
                           .order = kExaminationOrder,
                           .summary = "An examination with its measured curves."},
    Register<CTestDefinition>{.name = "CTestDefinition",
                              .clsid = "{896CC064-C845-4FD4-9D5F-AAE6E49C267E}",
                              .interface = "_CTestDefinition",
                              .iid = "{D56C2705-F4FF-4128-8879-5B7AE6633AF6}",
                              .earlier_iid = "{422A93B1-EC4A-455A-A1AE-AF9F55C2832C}",
                              .interface_position = 7,
                              .order = kTestDefinitionOrder,
                              .summary = "A test session with its examinations."},
    Register<CClientAid>{.name = "CClientAid",
                         .clsid = "{E914EB44-D890-479F-94B4-EDFA5E3BFB2D}",
                         .interface = "_CClientAid",
                         .iid = "{34212EAA-53EA-4016-BFD2-75E2BC56EAF2}",
                         .earlier_iid = "{9C3B777D-282E-4815-A3E2-BBC80B1B3149}",
                         .interface_position = 8,
                         .order = kClientAidOrder,
                         .summary = "A client's hearing aid with the test sessions run on it."},
    Register<CClient>{.name = "CClient",
                      .clsid = "{44D86246-8444-4C6B-9910-7D2F907EC916}",
                      .interface = "_CClient",
                      .iid = "{27F07845-FD63-468E-A266-C12B35F74009}",
                      .interface_position = 9,
                      .order = kClientOrder,
                      .summary = "A client (patient) with the client's hearing aids."},
    Register<CClients>{.name = "CClients",
                       .clsid = "{F19A97FA-16B9-4C95-86AC-5F6C8D443D56}",
                       .interface = "_CClients",
                       .iid = "{B970AA5C-B2B0-43ED-A614-8E058B64ECE9}",
                       .interface_position = 10,
                       .order = kClientsOrder,
                       .summary = "The client list: the root of a clinic's file."},
    Register<CSpeechMapDatum>{.name = "CSpeechMapDatum",
                              .clsid = "{EFC432EC-DABA-4C3C-A5C5-67D6CFC9D1AD}",
                              .interface = "_CSpeechMapDatum",
                              .iid = "{B13CBF02-6AF0-4AFC-9AAD-48EFE56CAB54}",
                              .interface_position = 4,
                              .order = kSpeechMapDatumOrder,
                              .summary = "A speech-map point; no record holds it."},
    Register<CNode, ClassRole::Published>{.name = "CNode",
                                          .clsid = "{5CD7058E-72AE-4368-9AE7-DDE12A1B0447}",
                                          .interface = "_CNode",
                                          .iid = "{75F38419-9B84-4705-9C63-1DF4DE7AD8DE}",
                                          .interface_position = 1},
    // Helper classes are never created by a host and carry no identifier.
    Register<NodeCollection, ClassRole::Helper>{.name = "Collection",
                                                .interface = "Collection",
                                                .iid = "{84946C08-C24A-4280-AE53-4AEFF13BB417}",
                                                .interface_position = 11},
    Register<DocumentObject, ClassRole::Helper>{.name = "DOMDocument",
                                                .interface = "DOMDocument",
                                                .iid = "{60710D3F-390D-475F-9D02-0020EC37D147}",
                                                .interface_position = 12},
    Register<NodeObject, ClassRole::Helper>{.name = "DOMNode",
                                            .interface = "DOMNode",
                                            .iid = "{DE0EFCA6-E72A-47F6-83E7-2DF909463717}",
                                            .interface_position = 13},
};

// The number of classes (and of interfaces: each class has its own).
inline constexpr size_t kClassCount = std::tuple_size_v<decltype(kClasses)>;

// Calls `f(row)` for every row of the table, in table order.
template <class F>
constexpr void ForEachClass(F&& f) {
  std::apply([&f](const auto&... row) { (f(row), ...); }, kClasses);
}

// Calls `f(row)` for every row of a record class, in table order; the row's
// `Class` is the record class.
template <class F>
constexpr void ForEachRecordClass(F&& f) {
  ForEachClass([&f](const auto& row) {
    if constexpr (std::remove_cvref_t<decltype(row)>::kRecord) f(row);
  });
}

}  // namespace tympora::registration
