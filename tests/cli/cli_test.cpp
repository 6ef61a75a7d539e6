// The command-line host run as a program, as a user runs it: every
// subcommand's output and exit status, usage errors, and the failures a user
// meets (a file that does not parse, a duplicate id, a missing client).
// TYMPORA_CLI is the path of the built program.
#include <set>

#include "../test_util.hpp"
#include "tree.hpp"

namespace {

namespace fs = std::filesystem;
using tympora::testing::ReadFile;
using tympora::testing::WriteFile;

// The exit status (-1 when the program did not exit normally) and output.
struct Result {
  int status = -1;
  std::string out, err;
};

// `text` quoted for the shell.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

// True when `text` is `parts` in order with anything between them: {X} is
// exactly X, {X, ""} starts with X, {"", X} ends with it, {"", X, ""} holds it.
bool Matches(const std::string& text, const std::vector<std::string>& parts) {
  if (parts.size() == 1) return text == parts[0];
  size_t at = parts[0].size();
  if (!text.starts_with(parts[0])) return false;
  for (size_t i = 1; i + 1 < parts.size(); ++i) {
    if ((at = text.find(parts[i], at)) == std::string::npos) return false;
    at += parts[i].size();
  }
  return text.size() >= at + parts.back().size() && text.ends_with(parts.back());
}

// Whether `text` fits `pattern`, in which # is one digit, @ one or more
// digits, _ one or more spaces and * one or more characters. (std::regex
// is avoided: GCC 12 warns inside it in the sanitizer builds.)
bool Fits(std::string_view text, std::string_view pattern) {
  if (pattern.empty()) return text.empty();
  const char p = pattern[0];
  const auto one = [&](char c) {
    return p == '#' || p == '@' ? c >= '0' && c <= '9' : p == '_' ? c == ' ' : p == '*' || c == p;
  };
  if (text.empty() || !one(text[0])) return false;
  const bool run = p == '@' || p == '_' || p == '*';
  return Fits(text.substr(1), pattern.substr(1)) || (run && Fits(text.substr(1), pattern));
}

// A file of one client whose elements are `body`, from line 4 on.
std::string Client(const std::string& body) {
  return "<?xml version=\"1.0\"?>\n<Clients id=\"1\">\n<ClientOrPatient id=\"2\">\n" + body +
         "\n</ClientOrPatient>\n</Clients>\n";
}

class CliTest : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return dir_ / name; }

  // Runs the program with `args` in the C locale, so that dates are printed
  // in ISO form, and with no input; stdout goes to `stdout_path` when given.
  Result Run(const std::vector<std::string>& args, const std::string& stdout_path = {}) const {
    const std::string out = stdout_path.empty() ? Path("stdout") : stdout_path;
    std::string command = "LC_ALL=C " + Quoted(TYMPORA_CLI);
    for (const std::string& arg : args) command += " " + Quoted(arg);
    command += " </dev/null >" + Quoted(out) + " 2>" + Quoted(Path("stderr"));
    const int status = std::system(command.c_str());
    Result result;
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    if (stdout_path.empty()) result.out = ReadFile(out);
    result.err = ReadFile(Path("stderr"));
    return result;
  }

  // Runs the demo with `clients` clients into the file `name`; returns its path.
  std::string Demo(int clients, const std::string& name) const {
    const Result r = Run({"demo", "--clients", std::to_string(clients), "--out", Path(name)});
    EXPECT_EQ(r.status, 0) << r.err;
    return Path(name);
  }

  tympora::testing::TempDir dir_;
};

// A small file whose outline is known: one value Null, one client bare, and
// a curve name that CSV must quote.
const char kOutlineFile[] = R"(<?xml version="1.0"?>
<Clients id="7">
 <ClientOrPatient id="42"><FirstName>Ann</FirstName><LastName>Smith</LastName>
  <Number>C-1001</Number><MiddleName null="true"/>
  <ClientAid id="1"><ManufacturerName>Acme Audio</ManufacturerName>
   <HearingAidModel>BTE 200</HearingAidModel><AidEar>Left</AidEar>
   <TestSession id="3"><TestDate>2024-05-06</TestDate><TestType>REM</TestType>
    <Examination id="4"><TestName>Real ear</TestName>
     <Curve id="5"><Name>OSPL90</Name>
      <CurveDatum id="1"><Frequency>250</Frequency></CurveDatum>
      <CurveDatum id="2"><Frequency>8000</Frequency></CurveDatum>
      <CurveDatum id="3"><Frequency>1000</Frequency></CurveDatum>
      <DistortionDatum id="1"><Frequency>500</Frequency></DistortionDatum>
     </Curve>
     <Curve id="6"/>
     <Curve id="7"><Name>  Gain <![CDATA[<&>]]>, "b"
c</Name><CurveDatum id="4"><Frequency>1000</Frequency><Input>-.5</Input><Output>1E3</Output>
     </CurveDatum></Curve>
    </Examination>
   </TestSession>
  </ClientAid>
 </ClientOrPatient>
 <ClientOrPatient id="43"><ClientAid id="1"/></ClientOrPatient>
</Clients>
)";

const char kClient42[] =
    "  Client 42: Ann Smith, number C-1001\n"
    "    Aid 1: Acme Audio BTE 200, Left ear\n"
    "      Session 3: 2024-05-06, REM\n"
    "        Examination 4: Real ear\n"
    "          Curve 5 \"OSPL90\": 3 points, 250-8000 Hz, 1 distortion point\n"
    "          Curve 6 (no name): 0 points, 0 distortion points\n"
    "          Curve 7 \"Gain <&>, \"b\" c\": 1 point, 1000 Hz, 0 distortion points\n";

// Command lines that ask for help or fail, with the exit status and a text:
// on success, how the output starts (the error output is empty); on a
// failure, how the error output starts (the output is empty). A usage error
// exits with 2, names the problem anywhere in its message and points to
// --help. Control characters and bidirectional overrides, in a file's
// values and in its name, reach the terminal as escapes. Then subcommands on
// small files, with their exit status and output (matched by Matches); none
// writes an error. Then the pictures that plot draws.
TEST_F(CliTest, CommandLinesGiveTheirStatusAndOutput) {
  const std::string in = Path("in.xml"), to = Path("plots"), usage = "Usage: tympora ",
                    missing = Path("missing.xml"), json = Path("json.xml"), a = Demo(2, "a.xml"),
                    b = Path("b.xml"), hostile = Path("a\x1b[2J\xE2\x81\xA6.xml");
  WriteFile(in, kOutlineFile);
  WriteFile(hostile,
            "<Clients id=\"7\"><ClientOrPatient id=\"42\"><FirstName>\x7F\xC2\x9B"
            "31m</FirstName><LastName>\xE2\x80\xAEZ\xE2\x80\x8F</LastName></ClientOrPatient></"
            "Clients>");
  WriteFile(json, Client("<Frist>Ann</Frist>"));
  const std::tuple<std::vector<std::string>, int, std::string> cases[] = {
      {{"--help"}, 0, usage + "COMMAND [OPTIONS] [OPERANDS]\n"},
      {{"help"}, 0, usage + "COMMAND [OPTIONS] [OPERANDS]\n"},
      {{"help", "show"}, 0, usage + "show [OPTIONS] FILE\n"},
      {{"demo", "--help"}, 0, usage + "demo [OPTIONS]\n"},
      {{"show", "-h"}, 0, usage + "show [OPTIONS] FILE\n"},
      {{"check", "--help"}, 0, usage + "check FILE\n"},
      {{"describe", "--help"}, 0, usage + "describe\n"},
      // Help wins over anything else on the line.
      {{"demo", "--clients", "abc", "--help"}, 0, usage + "demo [OPTIONS]\n"},
      {{}, 2, "tympora: missing command"},
      {{"frobnicate"}, 2, "tympora: unknown command 'frobnicate'"},
      {{"--bogus"}, 2, "tympora: unknown option '--bogus'"},
      {{"help", "nope"}, 2, "tympora: unknown command 'nope'"},
      {{"show"}, 2, "tympora show: missing operand (expected FILE)"},
      {{"check", "a.xml", "b.xml"}, 2, "tympora check: unexpected operand 'b.xml'"},
      {{"roundtrip", "in.xml"}, 2, "tympora roundtrip: missing operand (expected IN OUT)"},
      {{"describe", "extra"}, 2, "tympora describe: unexpected operand 'extra'"},
      {{"demo", "--clients"}, 2, "tympora demo: option '--clients' needs a value (N)"},
      {{"demo", "--clients", "abc"}, 2, "a whole number from 0 to 10000, not 'abc'"},
      {{"demo", "--clients=-1"}, 2, "--clients must be a whole number from 0 to 10000, not '-1'"},
      {{"demo", "--clients", "10001"}, 2, "not '10001'"},
      {{"demo", "--clients", "3x"}, 2, "not '3x'"},
      {{"demo", "--out="}, 2, "tympora demo: --out needs a file name"},
      {{"demo", "--verbose"}, 2, "tympora demo: unknown option '--verbose'"},
      {{"show", "f.xml", "--client"}, 2, "option '--client' needs a value (ID)"},
      {{"show", "f.xml", "--client", "x"}, 2, "--client must be a whole number"},
      {{"check", "--client=3", "f.xml"}, 2, "tympora check: unknown option '--client'"},
      {{"frob\x1b]0;x\x07\xE2\x80\xAE"}, 2, "unknown command 'frob\\x1b]0;x\\x07\\u202e'"},
      {{"diff", "a.xml"}, 2, "tympora diff: missing operand (expected A B)"},
      {{"plot", "f.xml"}, 2, "tympora plot: --out DIR is required"},
      {{"plot", "f.xml", "--out", "d", "--format", "gif"}, 2, "--format must be svg, png or pdf"},
      {{"schema", "extra"}, 2, "tympora schema: unexpected operand 'extra'"},
      {{"demo", "--clients", "1", "--out", Path("no/such/dir.xml")}, 1, "76: Path not found"},
      {{"check", missing}, 1, "53: Cannot read \"" + missing + "\""},
      {{"show", in, "--client", "8"}, 1, "tympora show: no client with id 8 in " + in},
      {{"plot", in, "--out", to, "--client", "9"}, 1, "tympora plot: no client with id 9 in " + in},
      {{"show", hostile, "--client", "8"},
       1,
       "tympora show: no client with id 8 in " + Path("a\\x1b[2J\\u2066.xml")},
  };
  for (const auto& [args, status, text] : cases) {
    SCOPED_TRACE(testing::PrintToString(args));
    const Result r = Run(args);
    EXPECT_EQ(r.status, status);
    EXPECT_TRUE(status == 0 ? r.out.starts_with(text) : r.out.empty()) << r.out;
    EXPECT_TRUE(status == 0   ? r.err.empty()
                : status == 2 ? Matches(r.err, {"", text, " --help'.\n"})
                              : r.err == text + "\n" || r.err.starts_with(text + ": "))
        << r.err;
  }
  const Result top = Run({"--help"});
  for (const char* command : {"demo", "show", "check", "roundtrip", "describe", "validate",
                              "schema", "diff", "plot", "csv"})
    EXPECT_TRUE(Matches(top.out, {"", std::string("\n  ") + command + " ", ""})) << command;
  EXPECT_EQ(Run({"--version"}).out, "tympora " TYMPORA_VERSION "\n");
  // b: a with the model of client 2's first aid changed and the last
  // distortion point removed.
  std::string text = ReadFile(a);
  const size_t at = text.find("<HearingAidModel>", text.find("<ClientOrPatient id=\"2\">")) + 17;
  const std::string model = text.substr(at, text.find('<', at) - at);
  text.replace(at, model.size(), "X, \"Y\"");
  const size_t last = text.rfind("<DistortionDatum id=\"5\">");
  text.erase(last, text.find("</DistortionDatum>", last) + 18 - last);
  WriteFile(b, text);
  const std::string clients = "Clients 7: 2 clients\n",
                    bare = "  Client 43: (no name)\n    Aid 1: (no model)\n";
  const std::tuple<int, std::vector<std::string>, std::vector<std::string>> outputs[] = {
      {0, {"show", in}, {clients + kClient42 + bare}},
      {0, {"show", "--client", "42", in}, {clients + kClient42}},
      {0, {"show", in, "--client=43"}, {clients + bare}},
      {0,
       {"show", hostile},
       {"Clients 7: 1 client\n  Client 42: \\x7f\\u009b31m \\u202eZ\xE2\x80\x8F\n"}},
      {0,
       {"csv", in},
       {"client,aid,session,examination,curve,curve_name,kind,point,frequency,input,output,"
        "max_output,min_output,distortion,other\r\n"
        "42,1,3,4,5,OSPL90,curve,1,250,,,,,,\r\n"
        "42,1,3,4,5,OSPL90,curve,2,8000,,,,,,\r\n"
        "42,1,3,4,5,OSPL90,curve,3,1000,,,,,,\r\n"
        "42,1,3,4,5,OSPL90,distortion,1,500,,,,,,\r\n"
        "42,1,3,4,7,\"  Gain <&>, \"\"b\"\"\nc\",curve,4,1000,-0.5,1000,,,,\r\n"}},
      {1,
       {"diff", a, b},
       {"Clients/ClientOrPatient[2]/ClientAid[1]/HearingAidModel: \"" + model +
        "\" -> \"X, \"Y\"\"\nClients/ClientOrPatient[2]/ClientAid[2]/TestSession[2]/"
        "Examination[2]/Curve[2]/DistortionDatum[5]: removed\n"}},
      {1, {"diff", b, a}, {"", "DistortionDatum[5]: added\n"}},
      {0, {"diff", a, a}, {"the two files hold the same records\n"}},
      {0,
       {"describe"},
       {"", "\n  STATUS_BADPATH = 2002\n", "\nclass CClients ",
        "\n  method ExportXMLPath(sFilePath As String) As CStatus\n", ""}},
      {1,
       {"validate", "--json", json},
       {"", "\n  {\"line\": 4, \"column\": 1, \"rule\": \"unknown-element\", ", ""}},
  };
  for (const auto& [status, args, out] : outputs) {
    SCOPED_TRACE(testing::PrintToString(args));
    const Result r = Run(args);
    EXPECT_EQ(r.status, status);
    EXPECT_EQ(r.err, "");
    EXPECT_TRUE(Matches(r.out, out)) << r.out;
  }
  // An output that cannot be written is a failure.
  const Result full = Run({"describe"}, "/dev/full");
  EXPECT_EQ(full.status, 1);
  EXPECT_EQ(full.err, "tympora: cannot write the output\n");
  // Plots of client 2: one picture per examination.
  for (const std::string format : {"svg", "png", "pdf"}) {
    SCOPED_TRACE(format);
    const Result r = Run({"plot", a, "--out", Path(format), "--client", "2", "--format", format});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out + r.err, "8 picture(s) written to " + Path(format) + "\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(Path(format)), fs::directory_iterator()), 8);
    const std::string bytes = ReadFile(Path(format + "/client2_aid1_session1_exam1." + format));
    EXPECT_GT(bytes.size(), 5000u);
    if (format == "png") {
      // The signature, then the header's width 900 and height 640.
      EXPECT_EQ(bytes.substr(0, 24),
                std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\x03\x84\0\0\x02\x80", 24));
    }
    if (format == "svg") {
      // Each of the two curves is stroked in a colour of its own: the first
      // two colours of the palette, each stroked in both panels.
      std::set<std::string> colours;
      for (size_t at = 0; (at = bytes.find("stroke:rgb(", at)) != std::string::npos; ++at) {
        colours.insert(bytes.substr(at, bytes.find(')', at) - at));
      }
      EXPECT_EQ(colours,
                (std::set<std::string>{"stroke:rgb(0%,0%,0%", "stroke:rgb(12%,47%,71%",
                                       "stroke:rgb(84%,15%,16%", "stroke:rgb(88%,88%,88%"}));
    }
  }
}

// A demo of 3 clients, check and roundtrip on its file.
TEST_F(CliTest, DemoCheckAndRoundtripAgree) {
  const std::string in = Path("in.xml"), out = Path("out.xml");
  const Result demo = Run({"demo", "--clients", "3", "--out", in});
  ASSERT_EQ(demo.status, 0) << demo.err;
  EXPECT_EQ(demo.err, "");  // no progress indicator: stderr is not a terminal
  // Every client has 2 aids, each 2 sessions of 2 examinations of 2 curves,
  // each curve 20 points and 5 distortion points.
  const std::string size = std::to_string(fs::file_size(in));
  const std::string counts =
      "  Clients                  1\n"
      "  ClientOrPatient          3\n"
      "  ClientAid                6\n"
      "  TestSession             12\n"
      "  Examination             24\n"
      "  Curve                   48\n"
      "  CurveDatum             960\n"
      "  DistortionDatum        240\n";
  EXPECT_TRUE(
      Matches(demo.out, {"tympora demo: 3 clients exported and imported back\nrecords per "
                         "level (in each tree):\n" +
                             counts + "file:     " + in + "\nsize:     " + size + " bytes (",
                         "\ncompare:  the two trees are equal\nstatus:   0\n"}))
      << demo.out;
  EXPECT_TRUE(Fits(demo.out, "*\nexport:_@.## s (SaveXMLPath)\nimport:_@.## s (load *"))
      << demo.out;
  const Result check = Run({"check", in}), round = Run({"roundtrip", in, out});
  EXPECT_EQ(check.status, 0);
  EXPECT_EQ(check.err + round.err, "");
  EXPECT_EQ(check.out, in + ": well-formed XML, " + size +
                           " bytes, document element \"Clients\"\nrecords:\n" + counts +
                           "status: 0\n");
  ASSERT_EQ(round.status, 0);
  EXPECT_EQ(round.out, in + ": imported 3 clients, status 0\n" + out + ": exported " +
                           std::to_string(fs::file_size(out)) + " bytes, status 0\n");
  // Equal but for the comment that dates each export.
  const std::string a = ReadFile(in), b = ReadFile(out);
  EXPECT_EQ(a.substr(a.find("-->")), b.substr(b.find("-->")));
  // Without --out, a temporary file that is removed at the end.
  const Result temporary = Run({"demo", "--clients", "0"});
  ASSERT_TRUE(Fits(temporary.out, "*  ClientOrPatient_0\n*\nfile:_*.xml (removed at the end)\n*"))
      << temporary.out;
  std::string used = temporary.out.substr(temporary.out.find("\nfile:") + 6);
  used = used.substr(used.find_first_not_of(' '));
  used.resize(used.find(" (removed at the end)"));
  EXPECT_FALSE(fs::exists(used)) << used;
}

// Inputs that do not parse, with the line of the fault, and one whose import
// fails on a duplicate id (line 0): check reports the failure (after the
// parse, for a duplicate id), and roundtrip writes nothing, neither a new
// file nor over an old one.
TEST_F(CliTest, FailingInputsAreReportedAndNothingIsWritten) {
  const std::string in = Path("in.xml"), fresh = Path("fresh.xml"), kept = Path("kept.xml");
  const std::pair<std::string, int> cases[] = {
      {R"(<Clients id="1"><ClientOrPatient id="5"/><ClientOrPatient id="5"/></Clients>)", 0},
      {"<Clients id=\"1\">\n  <ClientOrPatient id=\"2\">\n  </Clients>\n", 3},
      {"<Clients id=\"1\">\n<ClientOrPatient id=\"2\"/>\n\n<ClientOrPatient id=2/>\n</Clients>", 4},
  };
  for (const auto& [text, line] : cases) {
    SCOPED_TRACE(text);
    WriteFile(in, text);
    WriteFile(kept, "earlier");
    // A parse error's reason follows its line and column.
    const std::string error =
        line == 0 ? "457: This key is already associated with an element of this collection ("
                  : "1003: " + in + ", line " + std::to_string(line) + ", column ";
    const Result checked = Run({"check", in});
    EXPECT_EQ(checked.status, 1);
    EXPECT_EQ(checked.out, line ? ""
                                : in + ": well-formed XML, " + std::to_string(text.size()) +
                                      " bytes, document element \"Clients\"\n");
    EXPECT_TRUE(checked.err.starts_with(error) &&
                (line == 0 || Fits(checked.err.substr(error.size()), "@: * (DOMDocument)\n")))
        << checked.err;
    const Result r = Run({"roundtrip", in, fresh});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.err.starts_with(error)) << r.err;
    EXPECT_FALSE(fs::exists(fresh));
    EXPECT_EQ(Run({"roundtrip", in, kept}).status, 1);
    EXPECT_EQ(ReadFile(kept), "earlier");
  }
}

// Damaged files and what validate reports for each, as "line rule" in
// document order.
TEST_F(CliTest, ValidateReportsEveryDroppedValueWithItsLine) {
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {Client("<BirthDate>yesterday</BirthDate>"), {"4 not-a-date"}},
      {Client("<BirthDate>14.07.1950</BirthDate>"), {"4 date-in-other-locale"}},
      {Client("<Frist>Ann</Frist>\n<firstname>Ann</firstname>"),
       {"4 unknown-element", "5 letter-case"}},
      {Client("<FirstName>Ann</FirstName>\n<FirstName>Bo</FirstName>"), {"5 duplicate"}},
      {Client("<LastName null=\"true\">Smith</LastName>"), {"4 null-with-text"}},
      {Client("stray <Number>1</Number>"), {"4 text-outside"}},
      {Client("<ClientAid id=\"\"><TestSession id=\"abc\"/></ClientAid>\n<ClientAid "
              "null=\"true\"/>"),
       {"4 bad-id", "4 bad-id", "5 null-record"}},
      {Client("<ClientAid id=\"1\"><TestSession id=\"1\"><Examination id=\"1\">\n"
              "<NumberOfCurves>-2</NumberOfCurves><Curve id=\"1\">\n"
              "<CurveDatum id=\"1\"><Frequency>lots</Frequency></CurveDatum>\n"
              "<CurveDatum id=\"2\"><Frequency>200000</Frequency><Input>1,5</Input></CurveDatum>"
              "\n</Curve></Examination></TestSession></ClientAid>"),
       {"5 out-of-range", "6 not-a-number", "7 out-of-range", "7 not-a-number"}},
      {"<svg xmlns=\"http://www.w3.org/2000/svg\">\n  <rect width=\"1\"/>\n</svg>",
       {"1 document-element", "2 unknown-element"}},
  };
  for (const auto& [text, expected] : cases) {
    SCOPED_TRACE(text);
    const std::string file = Path("damaged.xml");
    WriteFile(file, text);
    const Result r = Run({"validate", file});
    EXPECT_EQ(r.status, 1) << r.err;
    // Each finding is a line "FILE:LINE:COLUMN: RULE: what was dropped".
    std::vector<std::string> found;
    std::istringstream lines(r.out);
    for (std::string line; std::getline(lines, line);) {
      const size_t at = line.find("/damaged.xml:");
      if (at == std::string::npos || line.find(':') < at) continue;
      std::istringstream fields(line.substr(at + 13));
      std::string row, column, rule;
      if (std::getline(fields, row, ':') && std::getline(fields, column, ':') &&
          std::getline(fields, rule, ':') && Fits(row + ":" + column + ":" + rule, "@:@: *")) {
        found.push_back(row + rule);
      }
    }
    EXPECT_EQ(found, expected) << r.out;
  }
}

// Runs xmllint on `file` against `schema`; true when it validates.
bool SchemaValid(const std::string& schema, const std::string& file) {
  const std::string command =
      "xmllint --noout --schema " + Quoted(schema) + " " + Quoted(file) + " >/dev/null 2>&1";
  return std::system(command.c_str()) == 0;
}

// What Tympora writes validates against the schema, and validate finds
// nothing dropped in it: golden files, scrambled trees exported in locales
// whose dates differ, and a demo.
TEST_F(CliTest, SchemaAndValidateAcceptWhatTymporaWritesAndRefuseBrokenFiles) {
  const std::string schema = Path("tympora.xsd");
  ASSERT_EQ(Run({"schema"}, schema).status, 0);
  const std::string data = TYMPORA_TEST_DATA;
  for (const char* golden : {"curve_new.xml", "curve_points.xml", "test_definition.xml"})
    EXPECT_TRUE(SchemaValid(schema, data + "/" + golden)) << golden;
  // Scrambled trees, exported in locales whose dates differ; the one in the
  // C locale, which the program runs in, is validated too.
  std::vector<std::string> files = {data + "/clients_small.xml", Demo(2, "demo.xml")};
  const auto clinic = tympora::support::BuildScrambledClinic(
      {.clients = 3, .curve_points = 3, .distortion_points = 2, .seed = 11});
  for (const std::string locale : {"C", "en_US.UTF-8", "de_DE.UTF-8"}) {
    tympora::SetLocale(locale);
    const std::string file = Path("scrambled_" + locale + ".xml");
    ASSERT_EQ(clinic->ExportXMLPath(file)->Number(), 0);
    EXPECT_TRUE(SchemaValid(schema, file)) << locale;
    if (locale == "C") files.push_back(file);
  }
  tympora::SetLocale("C");
  for (const std::string& file : files) {
    SCOPED_TRACE(file);
    EXPECT_TRUE(SchemaValid(schema, file));
    const Result r = Run({"validate", file});
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_EQ(r.out, file + ": nothing dropped\n");
  }
  // A file broken in one place each way is refused.
  const std::string text = ReadFile(files[1]);
  const std::pair<std::string, std::string> breaks[] = {
      {"<Frequency>125</Frequency>", "<Frequency>lots</Frequency>"},
      {"<FirstName>", "<Frist>"},
      {"<Deleted>False</Deleted>", "<Deleted>maybe</Deleted>"},
      {"<ClientAid id=\"1\">", "<ClientAid>"},
      {"<BirthDate>", "<LastEntryDate null=\"true\"/><BirthDate>"},
  };
  for (const auto& [from, to] : breaks) {
    SCOPED_TRACE(to);
    std::string broken = text;
    ASSERT_NE(text.find(from), std::string::npos);
    WriteFile(Path("broken.xml"), broken.replace(text.find(from), from.size(), to));
    EXPECT_FALSE(SchemaValid(schema, Path("broken.xml")));
  }
}

}  // namespace
