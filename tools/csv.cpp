// tympora csv: every curve point and distortion point of a file as CSV.
#include <charconv>
#include <iostream>

#include "commands.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora::cli {
namespace {

// A field as RFC 4180 writes it: quoted, with quotes doubled, when it holds
// a comma, a quote, a CR or an LF.
std::string Field(std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
  std::string out = "\"";
  for (const char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  return out + "\"";
}

// A value as a field: empty for Null; numbers with a period whatever the
// locale, in their shortest exact form.
std::string ValueField(const RecordBase& record, std::string_view element) {
  for (const PropertyDef& p : record.Info().properties) {
    if (p.element != element) continue;
    if (record.IsPropertyNull(p)) return {};
    const Variant value = record.GetProperty(p);
    if (p.Kind() == PropKind::Int32) return std::to_string(ToInt32(value));
    if (p.Kind() == PropKind::Double) {
      char buffer[32];
      const auto end = std::to_chars(buffer, buffer + sizeof buffer, ToDouble(value)).ptr;
      return std::string(buffer, end);
    }
    return Field(ToString(value));
  }
  return {};
}

constexpr char kHeader[] =
    "client,aid,session,examination,curve,curve_name,kind,point,frequency,input,output,"
    "max_output,min_output,distortion,other\r\n";

}  // namespace

const CommandSpec& CsvSpec() {
  static const CommandSpec spec{
      .name = "csv",
      .operands = "FILE",
      .min_operands = 1,
      .max_operands = 1,
      .summary = "print every curve point and distortion point as CSV",
      .details =
          "Imports FILE and prints one CSV row (RFC 4180, CR LF line ends) per curve\n"
          "point and per distortion point, with the ids of its client, aid, session,\n"
          "examination and curve, the curve's name, the kind (curve or distortion) and\n"
          "the point's values. Null values are empty fields; numbers use a period.",
      .options = {},
  };
  return spec;
}

int RunCsv(const Arguments& args) {
  const auto clients = ImportClients(LoadFile(args.operands[0]));
  std::string out = kHeader;
  for (const auto& client : *clients->Clients()) {
    for (const auto& aid : *client->Aids()) {
      for (const auto& session : *aid->TestDefinitions()) {
        for (const auto& exam : *session->Examinations()) {
          for (const auto& curve : *exam->Curves()) {
            const std::string ids = std::to_string(client->ID()) + "," + std::to_string(aid->ID()) +
                                    "," + std::to_string(session->ID()) + "," +
                                    std::to_string(exam->ID()) + "," + std::to_string(curve->ID()) +
                                    "," + ValueField(*curve, "Name") + ",";
            for (const auto& p : *curve->CurveData()) {
              out += ids + "curve," + std::to_string(p->ID()) + "," + ValueField(*p, "Frequency") +
                     "," + ValueField(*p, "Input") + "," + ValueField(*p, "Output") + "," +
                     ValueField(*p, "MaxOutput") + "," + ValueField(*p, "MinOutput") + ",," +
                     ValueField(*p, "Other") + "\r\n";
            }
            for (const auto& p : *curve->DistortionData()) {
              out += ids + "distortion," + std::to_string(p->ID()) + "," +
                     ValueField(*p, "Frequency") + ",,,,," + ValueField(*p, "Distortion") + "," +
                     ValueField(*p, "Other") + "\r\n";
            }
          }
        }
      }
    }
  }
  std::cout << out;
  return 0;
}

}  // namespace tympora::cli
