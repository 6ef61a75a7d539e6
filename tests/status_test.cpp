#include "tympora/node/status.hpp"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>

#include "tympora/node/error.hpp"
#include "tympora/node/frames.hpp"

namespace tympora {
namespace {

struct Values {
  int32_t number;
  std::string description, help_file;
  int32_t help_context;
  std::string source;
};

Values Of(const CStatus& s) {
  return {s.Number(), s.Description(), s.HelpFile(), s.HelpContext(), s.Source()};
}

void ExpectValues(const CStatus& s, const Values& v) {
  EXPECT_EQ(s.Number(), v.number);
  EXPECT_EQ(s.Description(), v.description);
  EXPECT_EQ(s.HelpFile(), v.help_file);
  EXPECT_EQ(s.HelpContext(), v.help_context);
  EXPECT_EQ(s.Source(), v.source);
}

TEST(StatusTest, NewStatusIsSuccessWithEmptyTexts) {
  CStatus s;
  ExpectValues(s, {0, "", "", 0, ""});
}

// SetError sequences applied to a new status and the values they leave.
TEST(StatusTest, SetErrorTable) {
  struct Step {
    int32_t code;
    const char* source;  // nullptr: source omitted
  };
  struct Case {
    const char* name;
    std::vector<Step> steps;
    Values expected;
  };
  const Case cases[] = {
      {"2002 without source",
       {{2002, nullptr}},
       {2002, "Supplied path invalid or missing.", "", 0, ""}},
      {"2001 then 2000 keeps text and source",
       {{2001, "Function ExportTXT"}, {2000, nullptr}},
       {2000, "Not implemented.", "", 0, "Function ExportTXT"}},
      {"0 clears the description", {{2001, "x"}, {0, nullptr}}, {0, "", "", 0, "x"}},
      {"unknown code keeps the description",
       {{2003, nullptr}, {7, nullptr}},
       {7, "Invalid file handle.", "", 0, ""}},
      {"empty source is stored",
       {{2005, "a"}, {2006, ""}},
       {2006, "Object parameter 2 is not initialized.", "", 0, ""}},
      {"2004", {{2004, nullptr}}, {2004, "Unspecified object is not initialized.", "", 0, ""}},
      {"2005 with source",
       {{2005, "Supplied This Node Parameter"}},
       {2005, "Object parameter 1 is not initialized.", "", 0, "Supplied This Node Parameter"}},
      {"negative code", {{-1, nullptr}}, {-1, "", "", 0, ""}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CStatus s;
    for (const Step& step : c.steps) {
      if (step.source)
        s.SetError(step.code, step.source);
      else
        s.SetError(step.code);
    }
    ExpectValues(s, c.expected);
  }
}

// What a raised error carries through OperatorEqualsErr, for each kind of
// exception a frame may catch.
TEST(StatusTest, OperatorEqualsErrCopiesWhateverIsHandled) {
  struct Case {
    const char* name;
    std::function<void()> raise;
    Values expected;
  };
  CStatus full;
  full.SetError(2005, "Supplied This Node Parameter");
  full.HelpFile("help.chm");
  full.HelpContext(42);
  const Case cases[] = {
      {"status raised and captured",
       [&] { full.RaiseError(); },
       {2005, "Object parameter 1 is not initialized.", "help.chm", 42,
        "Supplied This Node Parameter"}},
      {"number 0 raised as is", [] { CStatus().RaiseError(); }, {0, "", "", 0, ""}},
      {"platform error",
       [] { RaisePlatformError(kErrOverflow); },
       {6, "Overflow", "", 0, "Tympora"}},
      {"bad_alloc", [] { throw std::bad_alloc(); }, {7, "Out of memory", "", 0, "Tympora"}},
      {"std exception",
       [] { throw std::runtime_error("boom"); },
       {51, "Internal error: boom", "", 0, "Tympora"}},
      {"anything else", [] { throw 17; }, {51, "Internal error", "", 0, "Tympora"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    CStatus s;
    s.SetError(2003, "old");
    try {
      c.raise();
      ADD_FAILURE() << "nothing raised";
    } catch (...) {
      s.OperatorEqualsErr();
    }
    ExpectValues(s, c.expected);
  }
}

TEST(StatusTest, OperatorEqualsCopiesAllFiveAndRefusesAbsent) {
  auto other = std::make_shared<CStatus>();
  other->SetError(2002, "src");
  other->HelpFile("f");
  other->HelpContext(9);
  CStatus s;
  s.OperatorEquals(other);
  EXPECT_EQ(Of(s).description, other->Description());
  ExpectValues(s, {2002, "Supplied path invalid or missing.", "f", 9, "src"});

  CStatus untouched;
  untouched.SetError(2001, "keep");
  try {
    untouched.OperatorEquals(nullptr);
    FAIL() << "absent status accepted";
  } catch (const Error& e) {
    EXPECT_EQ(e.Number(), kErrObjectNotSet);
  }
  ExpectValues(untouched, {2001, "Not implemented.", "", 0, "keep"});
}

TEST(StatusTest, FrameAReturnsInsteadOfThrowing) {
  bool cleaned = false;
  StatusPtr s = RunFrameA([](StatusPtr&) { RaisePlatformError(kErrDuplicateKey); },
                          [&] {
                            cleaned = true;
                            throw std::runtime_error("ignored");
                          });
  ASSERT_TRUE(s);
  EXPECT_EQ(s->Number(), 457);
  EXPECT_TRUE(cleaned);

  // A status that the steps took over is the one returned, holding the error.
  auto child = std::make_shared<CStatus>();
  StatusPtr r = RunFrameA([&](StatusPtr& st) {
    st = child;
    RaisePlatformError(kErrOverflow);
  });
  EXPECT_EQ(r, child);
  EXPECT_EQ(child->Number(), 6);
}

TEST(StatusTest, FrameBRaisesTheSameValuesAfterCleanup) {
  CStatus original;
  original.SetError(2006, "Supplied Parent Node Parameter");
  original.HelpFile("h");
  original.HelpContext(3);
  int cleanups = 0;
  try {
    RunFrameB([&] { original.RaiseError(); }, [&] { ++cleanups; });
    FAIL();
  } catch (...) {
    CStatus copy;
    copy.OperatorEqualsErr();
    ExpectValues(copy, Of(original));
  }
  EXPECT_EQ(cleanups, 1);
  RunFrameB([] {}, [&] { ++cleanups; });
  EXPECT_EQ(cleanups, 1) << "cleanup runs only after a failure";
}

TEST(StatusTest, NotImplementedStatus) {
  StatusPtr s = NotImplementedStatus("Function ExportTXT");
  ExpectValues(*s, {2001, "Not implemented.", "", 0, "Function ExportTXT"});
}

}  // namespace
}  // namespace tympora
