// A clinic that looks like a real one, for the command-line demo and for
// plots a person looks at.
#include <algorithm>
#include <cmath>
#include <string>

#include "tree.hpp"
#include "tympora/node/conversions.hpp"
#include "tympora/records/client.hpp"

namespace tympora::support {
namespace {

class Dice {
 public:
  explicit Dice(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ull + 1) {}
  // A whole number from 0 to n - 1.
  int Below(int n) {
    state_ = state_ * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<int>((state_ >> 33) % static_cast<uint64_t>(n));
  }
  template <size_t N>
  const char* Pick(const char* const (&items)[N]) {
    return items[Below(static_cast<int>(N))];
  }

 private:
  uint64_t state_;
};

const char* const kFirstNames[] = {"Anna",  "James", "Maria",    "Robert", "Linda", "Peter",
                                   "Susan", "David", "Helen",    "Thomas", "Karen", "Paul",
                                   "Ruth",  "Frank", "Margaret", "George", "Alice", "Walter"};
const char* const kLastNames[] = {"Smith",  "Miller", "Brown",  "Wilson", "Taylor", "Clark",
                                  "Hall",   "Young",  "Walker", "Baker",  "Turner", "Cooper",
                                  "Fisher", "Hughes", "Palmer", "Porter", "Harris", "Lewis"};
const char* const kCities[] = {"Springfield", "Riverside", "Fairview", "Greenville", "Madison"};
const char* const kStreets[] = {"Oak Street", "Maple Avenue", "Church Road", "Mill Lane",
                                "Park Road"};
const char* const kLosses[] = {"Sensorineural, mild", "Sensorineural, moderate",
                               "Sensorineural, moderately severe", "Mixed, moderate"};
const char* const kMakers[] = {"Northwind Hearing", "Bellwood Audio", "Clearsound"};
struct Model {
  const char* name;
  const char* type;
  const char* battery;
};
const Model kModels[] = {{"BTE 200", "BTE", "13"},
                         {"BTE 300 Power", "BTE", "675"},
                         {"RIC 312", "RIC", "312"},
                         {"ITE 10", "ITE", "10"}};
const char* const kDoctors[] = {"Dr. L. Meyer", "Dr. R. Patel", "Dr. S. Okafor"};
const char* const kCurveNames[] = {"Input 50 dB SPL", "Input 65 dB SPL", "Input 80 dB SPL",
                                   "OSPL90"};
const int kCurveInputs[] = {50, 65, 80, 90};
// Distortion is measured at these frequencies, in Hz.
const int kDistortionFrequencies[] = {250, 500, 800, 1600, 3200};

void Set(RecordBase& record, std::string_view element, const Variant& value) {
  for (const PropertyDef& p : record.Info().properties) {
    if (p.element == element) return record.SetProperty(p, value);
  }
}

Date Day(int year, int month, int day) { return MakeDate(year, month, day, 0, 0, 0); }

// Frequency `i` of `n` points spread evenly on a logarithmic scale from
// 125 Hz to 8 kHz, rounded to whole hertz.
int32_t PointFrequency(int i, int n) {
  if (n == 1) return 1000;
  return static_cast<int32_t>(std::lround(125.0 * std::pow(64.0, double(i) / (n - 1))));
}

// A hearing aid's gain in dB at `frequency`: highest near 2.5 kHz, falling
// towards both ends to none at the lowest frequencies, less for loud inputs.
double Gain(double frequency, double peak, int input) {
  const double octaves = std::log2(frequency / 2500.0);
  const double compression = input > 50 ? (input - 50) * 0.3 : 0;
  const double gain = std::max(0.0, peak - 2.0 * octaves * octaves - compression);
  return std::round(gain * 10) / 10;
}

void FillCurve(CCurve& curve, int number, const TreeShape& shape, double peak, Dice& dice) {
  const int kind = (number - 1) % 4;
  const int input = kCurveInputs[kind];
  Set(curve, "Name", kCurveNames[kind]);
  Set(curve, "CurveNumber", number);
  Set(curve, "FxDataPoints", shape.curve_points);
  Set(curve, "FxSrcAmp", input);
  for (int i = 0; i < shape.curve_points; ++i) {
    auto point = std::make_shared<CCurveDatum>();
    point->ID(i + 1);
    const int32_t frequency = PointFrequency(i, shape.curve_points);
    const double wobble = (dice.Below(21) - 10) / 10.0;
    const double output = kind == 3 ? 100 + Gain(frequency, peak, 50) / 2 + wobble
                                    : input + Gain(frequency, peak, input) + wobble;
    point->Frequency(frequency);
    point->InputVal(input);
    point->OutputVal(std::round(output * 10) / 10);
    curve.AddCurveDatum(point);
  }
  for (int i = 0; i < shape.distortion_points; ++i) {
    auto point = std::make_shared<CDistortionDatum>();
    point->ID(i + 1);
    point->Frequency(kDistortionFrequencies[i % 5] * (1 << (i / 5)));
    point->Distortion((5 + dice.Below(25)) / 10.0);
    curve.AddDistortionDatum(point);
  }
}

std::shared_ptr<CClientAid> MakeAid(int id, const TreeShape& shape, int client, Dice& dice) {
  auto aid = std::make_shared<CClientAid>();
  aid->ID(id);
  const Model& model = kModels[dice.Below(4)];
  Set(*aid, "AidEar", id % 2 ? "Left" : "Right");
  Set(*aid, "AidSerialNumber", "SN" + std::to_string(100000 + client * 10 + id));
  Set(*aid, "HearingAidBatterySize", model.battery);
  Set(*aid, "HearingAidModel", model.name);
  Set(*aid, "HearingAidType", model.type);
  Set(*aid, "HearingAidFMIsActivated", false);
  Set(*aid, "HearingAidPurchaseDate",
      Day(2019 + dice.Below(5), 1 + dice.Below(12), 1 + dice.Below(28)));
  Set(*aid, "ManufacturerName", dice.Pick(kMakers));
  const double peak = 20 + dice.Below(16);
  for (int s = 1; s <= shape.sessions; ++s) {
    auto session = std::make_shared<CTestDefinition>();
    session->ID(s);
    const Date date = Day(2024 + dice.Below(2), 1 + dice.Below(12), 1 + dice.Below(28));
    Set(*session, "TestDate", date);
    Set(*session, "TestType", s % 2 ? "REM" : "Coupler");
    Set(*session, "Deleted", false);
    for (int e = 1; e <= shape.examinations; ++e) {
      auto exam = std::make_shared<CExamination>();
      exam->ID(e);
      Set(*exam, "TestName", e % 2 ? "Real-ear aided response" : "Coupler frequency response");
      Set(*exam, "CreateDate", date);
      Set(*exam, "Doctor", dice.Pick(kDoctors));
      Set(*exam, "NumberOfCurves", shape.curves);
      for (int c = 1; c <= shape.curves; ++c) {
        auto curve = std::make_shared<CCurve>();
        curve->ID(c);
        FillCurve(*curve, c + (e - 1) * shape.curves, shape, peak, dice);
        exam->AddCurve(curve);
      }
      session->AddExamination(exam);
    }
    aid->AddTestDefinition(session);
  }
  return aid;
}

}  // namespace

std::shared_ptr<CClients> BuildDemoClinic(const TreeShape& shape) {
  auto clients = std::make_shared<CClients>();
  clients->ID(1);
  Dice dice(shape.seed);
  for (int i = 1; i <= shape.clients; ++i) {
    auto client = std::make_shared<CClient>();
    client->ID(i);
    Set(*client, "FirstName", dice.Pick(kFirstNames));
    Set(*client, "LastName", dice.Pick(kLastNames));
    Set(*client, "Number", "C-" + std::to_string(1000 + i));
    Set(*client, "Gender", dice.Below(2) ? "F" : "M");
    Set(*client, "BirthDate", Day(1935 + dice.Below(60), 1 + dice.Below(12), 1 + dice.Below(28)));
    Set(*client, "StreetAddress", std::to_string(1 + dice.Below(200)) + " " + dice.Pick(kStreets));
    Set(*client, "City", dice.Pick(kCities));
    Set(*client, "Phone1", "555-0" + std::to_string(100 + dice.Below(900)));
    Set(*client, "HearingLoss", dice.Pick(kLosses));
    Set(*client, "RegistrationDate",
        Day(2015 + dice.Below(9), 1 + dice.Below(12), 1 + dice.Below(28)));
    Set(*client, "Deleted", false);
    for (int a = 1; a <= shape.aids; ++a) client->AddAid(MakeAid(a, shape, i, dice));
    clients->AddClient(client);
  }
  return clients;
}

}  // namespace tympora::support
