// The interface order of each record's default interface: the order in
// which hosts that bind by position see its members, which is not the order
// of the record's file elements. The members of the later version of an
// interface stand at its end, so that hosts built against the earlier one
// keep working.
#include <algorithm>
#include <climits>
#include <string_view>
#include <vector>

#include "component/builder.hpp"

namespace tympora::component {
namespace {

// A name alone: its setter, then its getter (or the one member of that
// name). A name ending in '<': its getter first.
struct InterfaceOrder {
  std::string_view itf;
  std::vector<std::string_view> names;
};

const InterfaceOrder kOrders[] = {
    {"_CCurveDatum",
     {"ID", "InputVal", "OutputVal", "Frequency", "Other", "maxOutputVal", "minOutputVal"}},
    {"_CDistortionDatum", {"ID", "Frequency", "Distortion", "Other"}},
    {"_CSpeechMapDatum", {"ID", "maxOutputVal", "minOutputVal", "Other"}},
    {"_CCurve",
     {"CurveData",
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
      "TestNo<"}},
    {"_CExamination",
     {"Curves",
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
      "AddCurve"}},
    {"_CTestDefinition",
     {"ID<", "Examinations", "Percode<", "InsCode<", "TestType<", "TestExplanation<", "TestDate<",
      "TestTime<", "Comment<", "Deleted<", "ResetExaminations", "AddExamination",
      "TestTypeNumber<"}},
    {"_CClientAid",
     {"ID",
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
      "ManufacturerAddress<"}},
    {"_CClient",
     {"ID",
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
      "MiddleName"}},
    {"_CClients", {"ID", "Clients", "ResetClients", "AddClient"}},
};

// The position of `m` in `order`: twice the name's index, plus one for the
// second member of the name. Members the order does not name come last.
long Rank(const MemberInfo& m, const InterfaceOrder& order) {
  for (size_t i = 0; i < order.names.size(); ++i) {
    std::string_view name = order.names[i];
    const bool getter_first = name.ends_with('<');
    if (getter_first) name.remove_suffix(1);
    if (name != m.name) continue;
    const bool second =
        getter_first ? m.kind == InvokeKind::PropertyPut : m.kind == InvokeKind::PropertyGet;
    return static_cast<long>(2 * i) + (second ? 1 : 0);
  }
  return LONG_MAX;
}

}  // namespace

void SortIntoInterfaceOrder(InterfaceInfo& itf) {
  for (const InterfaceOrder& order : kOrders) {
    if (order.itf != itf.Name()) continue;
    std::stable_sort(
        itf.members.begin(), itf.members.end(),
        [&](const MemberInfo& a, const MemberInfo& b) { return Rank(a, order) < Rank(b, order); });
    return;
  }
}

}  // namespace tympora::component
