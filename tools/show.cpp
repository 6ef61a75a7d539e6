// tympora show: a record file as an indented outline a person can read.
#include <algorithm>
#include <climits>
#include <initializer_list>
#include <iostream>

#include "commands.hpp"
#include "tympora/node/conversions.hpp"

namespace tympora::cli {
namespace {

// The non-empty parts joined by `separator`.
std::string Join(std::initializer_list<std::string> parts, std::string_view separator) {
  std::string out;
  for (const std::string& part : parts) {
    if (part.empty()) continue;
    if (!out.empty()) out += separator;
    out += part;
  }
  return out;
}

std::string Or(std::string text, std::string_view fallback) {
  return text.empty() ? std::string(fallback) : text;
}

std::string Head(std::string_view indent, std::string_view what, const CNode& record) {
  return std::string(indent) + std::string(what) + " " + std::to_string(record.ID()) + ": ";
}

std::string CurveLine(const CCurve& curve) {
  const std::string name = ValueText(curve, "Name");
  std::string line = "          Curve " + std::to_string(curve.ID()) + " " +
                     (name.empty() ? "(no name)" : "\"" + name + "\"") + ": ";
  const auto& points = *curve.CurveData();
  line += std::to_string(points.Count()) + (points.Count() == 1 ? " point" : " points");
  if (points.Count() > 0) {
    int32_t low = INT32_MAX, high = INT32_MIN;
    for (const auto& point : points) {
      low = std::min(low, point->Frequency());
      high = std::max(high, point->Frequency());
    }
    line += ", " + std::to_string(low) + (low == high ? "" : "-" + std::to_string(high)) + " Hz";
  }
  const int32_t distortion = curve.DistortionData()->Count();
  return line + ", " + std::to_string(distortion) +
         (distortion == 1 ? " distortion point" : " distortion points");
}

void ShowExamination(const CExamination& exam, std::string& out) {
  out +=
      Head("        ", "Examination", exam) + Or(ValueText(exam, "TestName"), "(no name)") + "\n";
  for (const auto& curve : *exam.Curves()) {
    out += CurveLine(*curve) + "\n";
  }
}

void ShowClient(const CClient& client, std::string& out) {
  const std::string name =
      Join({ValueText(client, "FirstName"), ValueText(client, "LastName")}, " ");
  const std::string number = ValueText(client, "Number");
  out += Head("  ", "Client", client) +
         Join({Or(name, "(no name)"), number.empty() ? "" : "number " + number}, ", ") + "\n";
  for (const auto& aid : *client.Aids()) {
    const std::string model =
        Join({ValueText(*aid, "ManufacturerName"), ValueText(*aid, "HearingAidModel")}, " ");
    const std::string ear = ValueText(*aid, "AidEar");
    out += Head("    ", "Aid", *aid) +
           Join({Or(model, "(no model)"), ear.empty() ? "" : ear + " ear"}, ", ") + "\n";
    for (const auto& session : *aid->TestDefinitions()) {
      out +=
          Head("      ", "Session", *session) +
          Join({Or(ValueText(*session, "TestDate"), "(no date)"), ValueText(*session, "TestType")},
               ", ") +
          "\n";
      for (const auto& exam : *session->Examinations()) ShowExamination(*exam, out);
    }
  }
}

}  // namespace

const CommandSpec& ShowSpec() {
  static const CommandSpec spec{
      .name = "show",
      .operands = "FILE",
      .min_operands = 1,
      .max_operands = 1,
      .summary = "print the records of a file as an indented outline",
      .details =
          "Imports FILE into a new client list and prints one line per record: each\n"
          "client's name and number, each aid's manufacturer, model and ear, each test\n"
          "session's date and type, each examination's name, and each curve with its\n"
          "number of points and its frequency range. Dates and numbers follow the\n"
          "user's locale.",
      .options = {{"client", "ID", "show only the client whose id is ID"}},
  };
  return spec;
}

int RunShow(const Arguments& args) {
  const std::string& path = args.operands[0];
  std::optional<int32_t> only;
  if (auto id = args.Value("client")) only = ParseCount(*id, INT32_MIN, INT32_MAX, "--client");
  std::shared_ptr<CClients> clients;
  {
    Progress shown("importing " + path, WantProgress(FileSize(path)));
    clients = ImportClients(LoadFile(path));
  }
  const auto& list = *clients->Clients();
  if (only && !list.Contains(std::to_string(*only))) {
    throw CommandFailure("no client with id " + std::to_string(*only) + " in " + path);
  }
  const int32_t count = list.Count();
  std::cout << "Clients " << clients->ID() << ": " << count << (count == 1 ? " client" : " clients")
            << "\n";
  for (const auto& client : list) {
    if (only && client->ID() != *only) continue;
    std::string out;
    ShowClient(*client, out);
    std::cout << out;
  }
  return 0;
}

}  // namespace tympora::cli
