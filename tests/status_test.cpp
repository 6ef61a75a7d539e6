#include "tympora/node/status.hpp"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <tuple>

#include "test_util.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/frames.hpp"

namespace tympora {
namespace {

// Number, Description, HelpFile, HelpContext, Source.
using Values = std::tuple<int32_t, std::string, std::string, int32_t, std::string>;

Values Of(const CStatus& s) {
  return {s.Number(), s.Description(), s.HelpFile(), s.HelpContext(), s.Source()};
}

// SetError sequences applied to a new status (a null source: none given),
// and the number, description and source they leave; the help stays empty.
TEST(StatusTest, SetErrorTable) {
  using Steps = std::vector<std::pair<int32_t, const char*>>;
  const std::tuple<Steps, int32_t, const char*, const char*> cases[] = {
      {{}, 0, "", ""},
      {{{2002, nullptr}}, 2002, "Supplied path invalid or missing.", ""},
      {{{2001, "s"}, {2000, nullptr}}, 2000, "Not implemented.", "s"},  // text and source kept
      {{{2001, "x"}, {0, nullptr}}, 0, "", "x"},
      {{{2003, nullptr}, {7, nullptr}}, 7, "Invalid file handle.", ""},  // unknown: text kept
      {{{2005, "a"}, {2006, ""}}, 2006, "Object parameter 2 is not initialized.", ""},
      {{{2004, nullptr}}, 2004, "Unspecified object is not initialized.", ""},
      {{{2005, "s"}}, 2005, "Object parameter 1 is not initialized.", "s"},
      {{{-1, nullptr}}, -1, "", ""},
  };
  for (const auto& [steps, number, description, source] : cases) {
    SCOPED_TRACE(::testing::PrintToString(steps));
    CStatus s;
    for (const auto& [code, from] : steps) from ? s.SetError(code, from) : s.SetError(code);
    EXPECT_EQ(Of(s), (Values{number, description, "", 0, source}));
  }
}

// What a raised error carries through OperatorEqualsErr, for each kind of
// exception a frame may catch; frame A returns it in its status, frame B
// raises it again unchanged, each after its cleanup, whose own errors are
// ignored and which runs only after a failure. OperatorEquals copies all
// five values too, and refuses an absent status.
TEST(StatusTest, OperatorEqualsErrAndOperatorEqualsCopyAllFive) {
  const auto full = std::make_shared<CStatus>();
  full->SetError(2005, "Supplied This Node Parameter");
  full->HelpFile("help.chm");
  full->HelpContext(42);
  const Values all_five{2005, "Object parameter 1 is not initialized.", "help.chm", 42,
                        "Supplied This Node Parameter"};
  int cleanups = 0;
  const auto cleanup = [&] { throw std::runtime_error(std::to_string(++cleanups)); };
  const std::tuple<const char*, std::function<void()>, Values> cases[] = {
      {"status raised", [&] { full->RaiseError(); }, all_five},
      {"through frame B", [&] { RunFrameB([&] { full->RaiseError(); }, cleanup); }, all_five},
      {"through frame A",
       [&] { RunFrameA([&](StatusPtr&) { full->RaiseError(); }, cleanup)->RaiseError(); },
       all_five},
      {"number 0", [] { CStatus().RaiseError(); }, {0, "", "", 0, ""}},
      {"platform", [] { RaisePlatformError(kErrOverflow); }, {6, "Overflow", "", 0, "Tympora"}},
      {"bad_alloc", [] { throw std::bad_alloc(); }, {7, "Out of memory", "", 0, "Tympora"}},
      {"std exception",
       [] { throw std::runtime_error("boom"); },
       {51, "Internal error: boom", "", 0, "Tympora"}},
      {"anything else", [] { throw 17; }, {51, "Internal error", "", 0, "Tympora"}},
  };
  for (const auto& [name, raise, expected] : cases) {
    SCOPED_TRACE(name);
    CStatus s;
    s.SetError(2003, "old");
    try {
      raise();
      ADD_FAILURE() << "nothing raised";
    } catch (...) {
      s.OperatorEqualsErr();
    }
    EXPECT_EQ(Of(s), expected);
  }
  EXPECT_EQ(cleanups, 2);
  RunFrameB([] {}, cleanup);
  EXPECT_EQ(RunFrameA([](StatusPtr&) {}, cleanup)->Number(), 0);
  EXPECT_EQ(cleanups, 2);
  // A status that frame A's steps took over is the one returned, holding the error.
  const auto child = std::make_shared<CStatus>();
  EXPECT_EQ(RunFrameA([&](StatusPtr& st) {
              st = child;
              RaisePlatformError(kErrOverflow);
            }),
            child);
  EXPECT_EQ(child->Number(), 6);
  CStatus copy;
  copy.OperatorEquals(full);
  EXPECT_EQ(Of(copy), all_five);
  EXPECT_EQ(testing::ErrorOf([&] { copy.OperatorEquals(nullptr); }), kErrObjectNotSet);
  EXPECT_EQ(Of(copy), all_five);
}

}  // namespace
}  // namespace tympora
