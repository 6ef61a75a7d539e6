#include "tympora/node/file_layer.hpp"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <thread>
#include <tuple>
#include <vector>

#include "node/file_internal.hpp"
#include "test_util.hpp"
#include "tympora/node/error.hpp"

namespace tympora {
namespace {

namespace fs = std::filesystem;
using enum FileOpenMode;
using testing::ErrorOf;
using testing::ReadFile;
using testing::ReapChild;
using testing::SpawnChild;
using testing::WriteFile;

// Takes a write lock on `path` through a new descriptor: 0 taken, 70 held elsewhere.
int TakeLock(const std::string& path) {
  flock lock{F_WRLCK, SEEK_SET, 0, 0, 0};  // the whole file
  if (::fcntl(::open(path.c_str(), O_WRONLY), F_SETLK, &lock) == 0) return 0;
  return errno == EACCES || errno == EAGAIN ? 70 : 1;
}

// Makes each later call of the system call `nr` in this process wait for
// `answer`, which runs in a thread of its own and must make no such call: the
// errno it returns fails the call, 0 lets it run. False when the kernel
// cannot hold calls this way.
bool Intercept(long nr, const std::function<int(const seccomp_data&)>& answer) {
  sock_filter code[] = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(nr), 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  };
  sock_fprog program{4, code};
  const long fd = ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0
                      ? -1
                      : ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER,
                                  SECCOMP_FILTER_FLAG_NEW_LISTENER, &program);
  if (fd < 0) return false;
  std::thread([fd, answer] {
    seccomp_notif call{};
    while (::ioctl(fd, SECCOMP_IOCTL_NOTIF_RECV, &call) == 0) {
      const int err = answer(call.data);
      const seccomp_notif_resp reply{call.id, 0, -err,
                                     err ? 0u : unsigned{SECCOMP_USER_NOTIF_FLAG_CONTINUE}};
      ::ioctl(fd, SECCOMP_IOCTL_NOTIF_SEND, &reply);
      call = {};
    }
  }).detach();
  return true;
}

// Each test works in a fresh temporary folder and leaves no file open.
class FileLayerTest : public ::testing::Test {
 protected:
  ~FileLayerTest() override {
    FileCloseAll();
    std::error_code ec;
    fs::permissions(dir_.path() / "ro", fs::perms::owner_all, ec);
  }
  std::string In(const std::string& name) const { return dir_ / name; }

  testing::TempDir dir_;
};

TEST_F(FileLayerTest, AllNumbersOpenAtOnceAndFreeFileTakesTheLowest) {
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
  const rlimit saved = limit;
  limit.rlim_cur = std::max<rlim_t>(limit.rlim_cur, std::min<rlim_t>(limit.rlim_max, 1024));
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
  if (limit.rlim_cur < 600) GTEST_SKIP() << "the open file limit is below 600";
  auto name = [&](int n) { return In("f" + std::to_string(n)); };
  for (int16_t n = 1; n <= kMaxFileNumber; ++n) {
    EXPECT_EQ(n <= 255 ? FreeFile() : n, n);
    OpenFile(n, name(n));
    FileWrite(n, std::to_string(n) + ";");
  }
  EXPECT_EQ(ErrorOf([] { FreeFile(); }), kErrTooManyFiles);
  FileClose(200);
  EXPECT_EQ(FreeFile(), 200);
  OpenFile(200, name(200), Append);
  FileWrite(200, "again");
  for (int16_t n = 1; n <= kMaxFileNumber; ++n) FileClose(n);
  EXPECT_EQ(FreeFile(), 1);
  for (int n = 1; n <= kMaxFileNumber; ++n)
    EXPECT_EQ(ReadFile(name(n)), std::to_string(n) + (n == 200 ? ";again" : ";")) << n;
  ::setrlimit(RLIMIT_NOFILE, &saved);
}

// Out of range, never opened, or closed: every call on the number raises 52.
TEST_F(FileLayerTest, NumbersNamingNoOpenFileRaise52) {
  OpenFile(9, In("closed"));
  FileClose(9);
  for (const int16_t number : std::initializer_list<int16_t>{0, 512, -1, INT16_MIN, 511, 9}) {
    SCOPED_TRACE(number);
    EXPECT_EQ(ErrorOf([&] { FileLength(number); }), kErrBadFileNumber);
    EXPECT_EQ(ErrorOf([&] { FileWrite(number, "x"); }), kErrBadFileNumber);
    EXPECT_EQ(ErrorOf([&] { FileFlush(number); }), kErrBadFileNumber);
    EXPECT_EQ(ErrorOf([&] { FileClose(number); }), kErrBadFileNumber);
    if (number < 1 || number > kMaxFileNumber) {
      EXPECT_EQ(ErrorOf([&] { OpenFile(number, In("out")); }), kErrBadFileNumber);
    }
  }
  EXPECT_FALSE(fs::exists(In("out")));
}

// A second open of a number or of a file is refused and leaves the first usable.
TEST_F(FileLayerTest, AlreadyOpenTable) {
  const std::string first = In("first");
  OpenFile(1, first);
  FileWrite(1, "one");
  fs::create_hard_link(first, In("hard"));
  fs::create_symlink(first, In("soft"));
  fs::create_directory(In("sub"));
  const std::tuple<int16_t, std::string, FileOpenMode> rows[] = {
      {1, In("other"), Binary}, {2, first, Binary},      {3, first, Append},
      {4, In("hard"), Binary},  {5, In("soft"), Binary}, {6, In("sub/../first"), Binary},
  };
  for (const auto& [number, path, mode] : rows) {
    SCOPED_TRACE(path);
    EXPECT_EQ(ErrorOf([&] { OpenFile(number, path, mode); }), kErrFileAlreadyOpen);
    EXPECT_EQ(FreeFile(), 2);  // the refused number was not kept
  }
  EXPECT_FALSE(fs::exists(In("other")));
  // The refused opens made and closed descriptors of the file: its lock must survive that.
  EXPECT_EQ(ReapChild(SpawnChild([&] { return TakeLock(first); })), 70);
  FileWrite(1, "two");
  FileClose(1);
  EXPECT_EQ(ReadFile(first), "onetwo");
  OpenFile(2, first, Append);  // open again once closed
}

// Failing opens and deletes, in order: the error, its text, a failed open's
// number left free, and what they must leave alone.
TEST_F(FileLayerTest, FailingOpensAndDeletes) {
  WriteFile(In("plain"), "");
  for (const char* name : {"old", "target"}) WriteFile(In(name), "keep");
  fs::create_symlink(In("target"), In("link"));
  fs::create_symlink(In("nowhere"), In("dangling"));
  fs::create_directory(In("sub"));
  ASSERT_EQ(::mkfifo(In("fifo").c_str(), 0600), 0);
  fs::create_directory(In("ro"));
  WriteFile(In("ro/kept"), "keep");
  fs::permissions(In("ro"), fs::perms::owner_read | fs::perms::owner_exec);
  const std::string too_long(300, 'n');
  // 'o' opens, 'c' creates new, 'd' deletes the name in the folder.
  const std::tuple<char, std::string, int32_t> rows[] = {
      {'o', "missing/a", 76}, {'c', "missing/a", 76}, {'o', "plain/a", 76}, {'o', "sub", 75},
      {'o', "fifo", 75},      {'c', "old", 58},       {'c', "link", 75},    {'c', "dangling", 75},
      {'o', "", 52},          {'o', too_long, 52},    {'o', "ro/a", 70},    {'d', "missing", 53},
      {'d', "sub", 75},       {'d', "plain/a", 76},   {'d', "", 52},        {'d', "ro/kept", 70},
      {'d', "link", 0},       {'d', "plain", 0},
  };
  for (const auto& [call, name, expected] : rows) {
    const std::string path = name.empty() ? name : In(name);
    SCOPED_TRACE(call + (" " + path));
    if (expected == 70 && ::geteuid() == 0) continue;  // permissions do not bind root
    std::string got = "0";
    try {
      call == 'd' ? FileDelete(path) : OpenFile(1, path, call == 'c' ? CreateNew : Binary);
    } catch (const Error& e) {
      got = std::to_string(e.Number()) + " " + e.Source() + " " + e.Description();
    }
    const std::string want = std::to_string(expected) + " Tympora " + PlatformErrorText(expected) +
                             ": " + (path.empty() ? "" : "'" + path + "': ");
    EXPECT_EQ(got.substr(0, want.size()), expected ? want : "0");
    EXPECT_EQ(FreeFile(), 1);
  }
  for (const char* name : {"old", "target", "ro/kept"}) EXPECT_EQ(ReadFile(In(name)), "keep");
  EXPECT_TRUE(fs::is_directory(In("sub")));
  EXPECT_FALSE(fs::exists(In("nowhere")));
  EXPECT_FALSE(fs::exists(fs::symlink_status(In("link"))));
  EXPECT_FALSE(fs::exists(In("plain")));
}

// What each mode keeps of a file already there (none: no file), and the
// bytes that writes leave.
TEST_F(FileLayerTest, ModeTable) {
  const std::string raw("\0\xff\r\n", 4);
  using Writes = std::vector<std::string>;
  const std::tuple<const char*, FileOpenMode, const char*, Writes, std::string> rows[] = {
      {"binary keeps the tail", Binary, "ABCDEFGH", {"xy"}, "xyCDEFGH"},
      {"binary, new file", Binary, nullptr, {"first,", "second"}, "first,second"},
      {"append", Append, "ABC", {"de", "", "f"}, "ABCdef"},
      {"new file", CreateNew, nullptr, {"one", "two"}, "onetwo"},
      {"bytes untranslated", Binary, nullptr, {raw, raw}, raw + raw},
  };
  for (const auto& [name, mode, before, writes, after] : rows) {
    SCOPED_TRACE(name);
    const std::string path = In(name);
    if (before) WriteFile(path, before);
    OpenFile(8, path, mode);
    EXPECT_EQ(FileLength(8), static_cast<int64_t>(std::string(before ? before : "").size()));
    for (const std::string& bytes : writes) FileWrite(8, bytes);
    EXPECT_EQ(FileLength(8), static_cast<int64_t>(after.size()));
    FileClose(8);
    EXPECT_EQ(ReadFile(path), after);
  }
}

// FileReplace in a child whose standard input is closed, so that the layer's
// descriptors start at 0, and whose errno is a stale EINTR: what stands at
// the target and how the system calls go decide the error and the mode the
// new file ends with. A failed replace leaves both files; so does a failed
// open of the new one.
TEST_F(FileLayerTest, ReplaceTable) {
  const std::string from = In("new"), to = In("old");
  int calls = 0;
  const auto plant = [&] {
    WriteFile(to, "old");
    ::chmod(to.c_str(), 0640);
  };
  const std::tuple<const char*, std::function<void()>, long,
                   std::function<int(const seccomp_data&)>, int, int>
      rows[] = {
          {"over a file, whose mode passes on", plant, 0, nullptr, 0, 0640},
          {"over a link, which keeps the new mode",
           [&] { fs::create_symlink(In("elsewhere"), to); }, 0, nullptr, 0, 0600},
          {"a file system without RENAME_NOREPLACE", [] {}, SYS_renameat2,
           [](auto& call) { return call.args[4] ? ENOSYS : 0; }, 0, 0600},
          {"a writer creates the target first", [] {}, SYS_renameat2,
           [&](auto&) {
             if (!calls++) plant();
             return 0;
           },
           0, 0640},
          {"another writer puts its file at the path before the lock", plant, SYS_fcntl,
           [&](auto& call) {
             if ((call.args[1] == F_OFD_SETLK || call.args[1] == F_SETLK) && !calls++) {
               WriteFile(In("other"), "other");
               fs::rename(In("other"), from);
             }
             return 0;
           },
           70, 0640},
          {"over a running program", plant, SYS_openat,
           [](auto& call) { return call.args[2] & O_CREAT ? 0 : ETXTBSY; }, 70, 0640},
      };
  for (const auto& [name, make, nr, answer, expected, mode] : rows) {
    SCOPED_TRACE(name);
    fs::remove(to);
    make();
    const int code = ReapChild(SpawnChild([&] {
      if (answer && !Intercept(nr, answer)) return 99;
      ::close(0);
      errno = EINTR;
      if (const int32_t err = ErrorOf([&] { OpenFile(1, from, CreateNew); })) return err;
      FileWrite(1, "new");
      FileClose(1);
      ::chmod(from.c_str(), 0600);
      if (const int32_t err = ErrorOf([&] { FileReplace(from, to); })) return err;
      return ::fcntl(0, F_GETFD) == -1 ? 0 : 98;  // 98: a descriptor left open
    }));
    if (code == 99) continue;
    EXPECT_EQ(code, expected);
    EXPECT_EQ(fs::status(to).permissions(), fs::perms(mode));
    EXPECT_EQ(ReadFile(to), expected ? "old" : "new");
    EXPECT_EQ(fs::exists(from), expected != 0);
    fs::remove(from);
  }
}

// A device a host may open under a number has length 0 and takes any bytes
// (a full device: FileFaultTest.AFullDeviceFailsTheExport).
TEST_F(FileLayerTest, DeviceHasLengthZero) {
  OpenFile(7, "/dev/null");
  FileWrite(7, std::string(100000, 'x'));
  EXPECT_EQ(FileLength(7), 0);
  FileClose(7);
}

// Writers in other processes are kept out while a file is open here, and in
// turn a file another process has locked is not opened.
TEST_F(FileLayerTest, LocksAgainstOtherProcesses) {
  const std::string path = In("shared");
  OpenFile(3, path);
  EXPECT_EQ(ReapChild(SpawnChild([&] { return TakeLock(path); })), 70);
  FileClose(3);
  EXPECT_EQ(ReapChild(SpawnChild([&] { return TakeLock(path); })), 0);
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t pid = SpawnChild([&] {
    const char taken = TakeLock(path) == 0 ? 'y' : 'n';
    (void)!::write(ready[1], &taken, 1);
    return ::pause();  // holds the lock until killed
  });
  char taken = 0;
  ASSERT_EQ(::read(ready[0], &taken, 1), 1);
  EXPECT_EQ(taken, 'y');
  for (FileOpenMode mode : {Binary, Append, CreateNew})
    EXPECT_EQ(ErrorOf([&] { OpenFile(1, path, mode); }), kErrPermissionDenied);
  ::kill(pid, SIGKILL);
  ReapChild(pid);
  ::close(ready[0]);
  ::close(ready[1]);
  OpenFile(1, path);
  FileClose(1);
  // A file replaced between a look at it and its lock is another writer's
  // (70); what is no file is refused as such (75).
  struct stat seen {};
  ASSERT_EQ(::lstat(path.c_str(), &seen), 0);
  fs::rename(path, In("seen"));
  WriteFile(path, "another writer's");
  EXPECT_EQ(ErrorOf([&] { detail::LockExistingFile(path, seen); }), kErrPermissionDenied);
  fs::remove(path);
  fs::create_directory(path);
  EXPECT_EQ(ErrorOf([&] { detail::LockExistingFile(path, seen); }), kErrPathFileAccess);
}

// Threads race for numbers through FreeFile; a number another thread took
// first is refused with 55 and the thread asks again.
TEST_F(FileLayerTest, OpenWriteCloseFromEightThreads) {
  constexpr int kThreads = 8, kRounds = 200;
  // Each file holds its own path.
  auto name = [&](int t, int r) { return In(std::to_string(t) + "_" + std::to_string(r)); };
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int r = 0; r < kRounds; ++r) {
        try {
          int16_t number = FreeFile();
          while (ErrorOf([&] { OpenFile(number, name(t, r), CreateNew); }) == 55)
            number = FreeFile();
          FileWrite(number, name(t, r).substr(0, 6));
          FileWrite(number, name(t, r).substr(6));
          if (FileLength(number) != static_cast<int64_t>(name(t, r).size())) ++failures;
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
  for (int t = 0; t < kThreads; ++t)
    for (int r = 0; r < kRounds; ++r) ASSERT_EQ(ReadFile(name(t, r)), name(t, r));
}

}  // namespace
}  // namespace tympora
