#include "tympora/node/file_layer.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <thread>
#include <vector>

#include "test_util.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace {

namespace fs = std::filesystem;
using Call = std::function<void()>;

std::optional<Error> Raised(const Call& call) {
  try {
    call();
  } catch (const Error& e) {
    return e;
  }
  return std::nullopt;
}

int32_t NumberRaised(const Call& call) {
  std::optional<Error> e = Raised(call);
  return e ? e->Number() : 0;
}

// Runs `child` in a forked process and returns its exit code.
int RunInChild(const std::function<int()>& child) {
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit(child());
  int status = 0;
  ::waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Takes a write lock on `path` through a new descriptor: 0 taken, 70 held elsewhere.
int TakeLock(const std::string& path) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  if (::fcntl(::open(path.c_str(), O_WRONLY), F_SETLK, &lock) == 0) return 0;
  return errno == EACCES || errno == EAGAIN ? 70 : 1;
}

// Each test works in a fresh temporary folder and leaves no file open.
class FileLayerTest : public ::testing::Test {
 protected:
  FileLayerTest() {
    static std::atomic<int> counter{0};
    root_ = fs::temp_directory_path() /
            ("tympora_file_layer_" + std::to_string(::getpid()) + "_" + std::to_string(counter++));
    fs::create_directories(root_);
  }
  ~FileLayerTest() override {
    FileCloseAll();
    std::error_code ec;
    fs::permissions(root_ / "ro", fs::perms::owner_all, ec);
    fs::remove_all(root_, ec);
  }
  std::string In(const std::string& name) const { return (root_ / name).string(); }

  fs::path root_;
};

using FileLayerNumbers = FileLayerTest;
using FileLayerErrors = FileLayerTest;
using FileLayerWrite = FileLayerTest;
using FileLayerLock = FileLayerTest;
using FileLayerThreads = FileLayerTest;

TEST_F(FileLayerNumbers, AllNumbersOpenAtOnceAndFreeFileTakesTheLowest) {
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit saved = limit;
  limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, std::min<rlim_t>(limit.rlim_max, 1024));
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  if (limit.rlim_cur < 600) GTEST_SKIP() << "the open file limit is below 600";
  auto name = [&](int n) { return In("f" + std::to_string(n)); };
  for (int16_t n = 1; n <= kMaxFileNumber; ++n) {
    if (n <= 255) {
      EXPECT_EQ(FreeFile(), n);
    }
    OpenFile(n, name(n));
    FileWrite(n, std::to_string(n) + ";");
  }
  EXPECT_EQ(NumberRaised([] { FreeFile(); }), kErrTooManyFiles);
  FileClose(200);
  EXPECT_EQ(FreeFile(), 200);
  OpenFile(200, name(200), FileOpenMode::Append);
  FileWrite(200, "again");
  for (int16_t n = 1; n <= kMaxFileNumber; ++n) FileClose(n);
  EXPECT_EQ(FreeFile(), 1);
  for (int n = 1; n <= kMaxFileNumber; ++n) {
    EXPECT_EQ(testing::ReadFile(name(n)), std::to_string(n) + (n == 200 ? ";again" : ";")) << n;
  }
  ::setrlimit(RLIMIT_NOFILE, &saved);
}

TEST_F(FileLayerNumbers, NumbersNamingNoOpenFileRaise52) {
  struct Row {
    const char* name;
    int16_t number;
  };
  for (Row row : {Row{"0", 0}, Row{"512", 512}, Row{"-1", -1}, Row{"-32768", INT16_MIN},
                  Row{"never opened", 511}, Row{"closed", 9}}) {
    SCOPED_TRACE(row.name);
    const std::string path = In(row.name);
    const bool in_range = row.number >= 1 && row.number <= kMaxFileNumber;
    if (row.number == 9) {
      OpenFile(9, path);
      FileClose(9);
    }
    EXPECT_EQ(NumberRaised([&] { FileLength(row.number); }), kErrBadFileNumber);
    EXPECT_EQ(NumberRaised([&] { FileWrite(row.number, "x"); }), kErrBadFileNumber);
    EXPECT_EQ(NumberRaised([&] { FileClose(row.number); }), kErrBadFileNumber);
    if (!in_range) {
      EXPECT_EQ(NumberRaised([&] { OpenFile(row.number, path); }), kErrBadFileNumber);
    }
    EXPECT_EQ(fs::exists(path), row.number == 9);
  }
}

// A second open of a number or of a file is refused and leaves the first usable.
TEST_F(FileLayerErrors, AlreadyOpenTable) {
  const std::string first = In("first");
  OpenFile(1, first);
  FileWrite(1, "one");
  fs::create_hard_link(first, In("hard"));
  fs::create_symlink(first, In("soft"));
  fs::create_directory(In("sub"));
  struct Row {
    int16_t number;
    std::string path;
    FileOpenMode mode;
  };
  for (const Row& row :
       {Row{1, In("other"), FileOpenMode::Binary}, Row{2, first, FileOpenMode::Binary},
        Row{3, first, FileOpenMode::Append}, Row{4, In("hard"), FileOpenMode::Binary},
        Row{5, In("soft"), FileOpenMode::Binary},
        Row{6, In("sub/../first"), FileOpenMode::Binary}}) {
    SCOPED_TRACE(row.path);
    EXPECT_EQ(NumberRaised([&] { OpenFile(row.number, row.path, row.mode); }), 55);
    EXPECT_EQ(FreeFile(), 2);  // the refused number was not kept
  }
  EXPECT_FALSE(fs::exists(In("other")));
  // The refused opens made and closed descriptors of the file: its lock must survive that.
  EXPECT_EQ(RunInChild([&] { return TakeLock(first); }), 70);
  FileWrite(1, "two");
  FileClose(1);
  EXPECT_EQ(testing::ReadFile(first), "onetwo");
  OpenFile(2, first, FileOpenMode::Append);  // open again once closed
}

// Failing opens and deletes: the error, its text, and what they must leave alone.
TEST_F(FileLayerErrors, Table) {
  auto open_as = [](FileOpenMode mode) {
    return [mode](const std::string& path) { OpenFile(1, path, mode); };
  };
  const auto binary = open_as(FileOpenMode::Binary), create = open_as(FileOpenMode::CreateNew);
  const auto remove = [](const std::string& path) { FileDelete(path); };
  const auto none = [] {};
  struct Row {
    const char* name;
    Call setup;
    std::string path;
    std::function<void(const std::string&)> call;
    int32_t expected;
    Call check;
  };
  const Row rows[] = {
      {"open in missing folder", none, In("missing/a"), binary, 76, none},
      {"create in missing folder", none, In("missing/a"), create, 76, none},
      {"open under a file", [&] { testing::WriteFile(In("plain"), ""); }, In("plain/a"), binary, 76,
       none},
      {"open a folder", [&] { fs::create_directory(In("sub")); }, In("sub"), binary, 75, none},
      {"open a fifo", [&] { ::mkfifo(In("fifo").c_str(), 0600); }, In("fifo"), binary, 75, none},
      {"create over a file", [&] { testing::WriteFile(In("old"), "keep"); }, In("old"), create, 58,
       [&] { EXPECT_EQ(testing::ReadFile(In("old")), "keep"); }},
      {"create over a link",
       [&] {
         testing::WriteFile(In("target"), "keep");
         fs::create_symlink(In("target"), In("link"));
       },
       In("link"), create, 75, [&] { EXPECT_EQ(testing::ReadFile(In("target")), "keep"); }},
      {"create over a dangling link", [&] { fs::create_symlink(In("nowhere"), In("dangling")); },
       In("dangling"), create, 75, [&] { EXPECT_FALSE(fs::exists(In("nowhere"))); }},
      {"open an empty name", none, "", binary, 52, none},
      {"open a name too long", none, In(std::string(300, 'n')), binary, 52, none},
      {"open in a read-only folder", [&] { fs::create_directories(In("ro")); }, In("ro/a"), binary,
       70, none},
      {"delete a missing file", none, In("missing"), remove, 53, none},
      {"delete a folder", none, In("sub"), remove, 75,
       [&] { EXPECT_TRUE(fs::is_directory(In("sub"))); }},
      {"delete under a file", none, In("plain/a"), remove, 76, none},
      {"delete an empty name", none, "", remove, 52, none},
      {"delete in a read-only folder",
       [&] {
         fs::permissions(In("ro"), fs::perms::owner_all);
         testing::WriteFile(In("ro/a"), "keep");
       },
       In("ro/a"), remove, 70, [&] { EXPECT_EQ(testing::ReadFile(In("ro/a")), "keep"); }},
      {"delete a link, not its target", none, In("link"), remove, 0,
       [&] { EXPECT_EQ(testing::ReadFile(In("target")), "keep"); }},
      {"delete a file", none, In("old"), remove, 0, [&] { EXPECT_FALSE(fs::exists(In("old"))); }},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    row.setup();
    std::error_code no_folder_yet;
    fs::permissions(root_ / "ro", fs::perms::owner_read | fs::perms::owner_exec, no_folder_yet);
    if (row.expected == 70 && ::geteuid() == 0) continue;  // permissions do not bind root
    std::optional<Error> e = Raised([&] { row.call(row.path); });
    EXPECT_EQ(e ? e->Number() : 0, row.expected);
    if (e) {
      const std::string text = PlatformErrorText(row.expected);
      EXPECT_EQ(e->Description().substr(0, text.size() + 2), text + ": ");
      EXPECT_NE(e->Description().find(row.path), std::string::npos) << e->Description();
      EXPECT_EQ(e->Source(), "Tympora");
    }
    EXPECT_EQ(FreeFile(), 1);  // a failed open leaves its number free
    row.check();
  }
}

TEST_F(FileLayerWrite, ModeTable) {
  struct Row {
    const char* name;
    FileOpenMode mode;
    std::optional<std::string> before;
    std::vector<std::string> writes;
    std::string after;
  };
  const std::string raw("\0\xff\r\n", 4);
  const Row rows[] = {
      {"binary keeps the tail", FileOpenMode::Binary, "ABCDEFGH", {"xy"}, "xyCDEFGH"},
      {"binary, new file",
       FileOpenMode::Binary,
       std::nullopt,
       {"first,", "second"},
       "first,second"},
      {"append", FileOpenMode::Append, "ABC", {"de", "", "f"}, "ABCdef"},
      {"new file", FileOpenMode::CreateNew, std::nullopt, {"one", "two"}, "onetwo"},
      {"bytes untranslated", FileOpenMode::Binary, std::nullopt, {raw, raw}, raw + raw},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string path = In(row.name);
    if (row.before) testing::WriteFile(path, *row.before);
    OpenFile(8, path, row.mode);
    EXPECT_EQ(FileLength(8), static_cast<int64_t>(row.before.value_or("").size()));
    for (const std::string& bytes : row.writes) FileWrite(8, bytes);
    EXPECT_EQ(FileLength(8), static_cast<int64_t>(row.after.size()));
    FileClose(8);
    EXPECT_EQ(testing::ReadFile(path), row.after);
  }
}

// Devices a host may open under a number: length 0, and a full device says so.
TEST_F(FileLayerWrite, DeviceTable) {
  for (auto [path, error] :
       {std::pair<const char*, int32_t>{"/dev/full", kErrDiskFull}, {"/dev/null", 0}}) {
    SCOPED_TRACE(path);
    if (!fs::exists(path)) continue;
    OpenFile(7, path);
    EXPECT_EQ(FileLength(7), 0);
    EXPECT_EQ(NumberRaised([] { FileWrite(7, std::string(100000, 'x')); }), error);
    FileClose(7);
  }
}

// Writers in other processes are kept out while a file is open here, and in
// turn a file another process has locked is not opened.
TEST_F(FileLayerLock, OtherProcessTable) {
  const std::function<int(const std::string&)> writers[] = {
      TakeLock, [](const std::string& path) {
        FileCloseAll();  // the forked child inherited the table
        return static_cast<int>(NumberRaised([&] { OpenFile(1, path); }));
      }};
  for (const auto& writer : writers) {
    const std::string path = In("shared");
    OpenFile(3, path);
    EXPECT_EQ(RunInChild([&] { return writer(path); }), 70);
    FileClose(3);
    EXPECT_EQ(RunInChild([&] { return writer(path); }), 0);
  }
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t pid = ::fork();
  if (pid == 0) {
    const char taken = TakeLock(In("shared")) == 0 ? 'y' : 'n';
    (void)!::write(ready[1], &taken, 1);
    ::pause();  // holds the lock until killed
  }
  char taken = 0;
  ASSERT_EQ(::read(ready[0], &taken, 1), 1);
  EXPECT_EQ(taken, 'y');
  for (FileOpenMode mode : {FileOpenMode::Binary, FileOpenMode::Append}) {
    EXPECT_EQ(NumberRaised([&] { OpenFile(1, In("shared"), mode); }), kErrPermissionDenied);
  }
  ::kill(pid, SIGKILL);
  ::waitpid(pid, nullptr, 0);
  ::close(ready[0]);
  ::close(ready[1]);
  OpenFile(1, In("shared"));
}

// Threads race for numbers through FreeFile; a number another thread took
// first is refused with 55 and the thread asks again.
TEST_F(FileLayerThreads, OpenWriteCloseFromEightThreads) {
  constexpr int kThreads = 8, kRounds = 200;
  auto name = [&](int t, int r) { return In(std::to_string(t) + "_" + std::to_string(r)); };
  auto text = [](int t, int r) {
    return "thread " + std::to_string(t) + " round " + std::to_string(r);
  };
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int r = 0; r < kRounds; ++r) {
        try {
          int16_t number = FreeFile();
          while (NumberRaised([&] { OpenFile(number, name(t, r), FileOpenMode::CreateNew); }) ==
                 55) {
            number = FreeFile();
          }
          FileWrite(number, text(t, r).substr(0, 6));
          FileWrite(number, text(t, r).substr(6));
          if (FileLength(number) != static_cast<int64_t>(text(t, r).size())) ++failures;
          FileClose(number);
        } catch (const Error&) {
          ++failures;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(FreeFile(), 1);
  for (int t = 0; t < kThreads; ++t) {
    for (int r = 0; r < kRounds; ++r) ASSERT_EQ(testing::ReadFile(name(t, r)), text(t, r));
  }
}

}  // namespace
}  // namespace tympora
