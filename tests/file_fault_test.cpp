// File faults around an export and a save: what stands at the path, a
// symbolic link planted there, a full disk, writers racing for one path or
// holding a file open, in this process or in another, and a save killed
// half way.
#include <signal.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <random>
#include <thread>

#include "probe_node.hpp"
#include "test_util.hpp"
#include "tree.hpp"
#include "tympora/records/clients.hpp"

namespace tympora {

namespace {

using testing::FolderNames;
using testing::ReadFile;
using testing::ReapChild;
using testing::SpawnChild;
using testing::TempDir;

std::shared_ptr<CClients> SmallClinic() {
  return support::BuildScrambledClinic({.clients = 2, .curve_points = 2, .distortion_points = 1});
}

// What stands at `path`: inode, type, device and size, all 0 when nothing.
auto Look(const std::string& path) {
  struct stat s {};
  ::lstat(path.c_str(), &s);
  return std::tuple(s.st_ino, s.st_mode, s.st_rdev, s.st_size);
}

// The two roads that write a record to a path.
StatusPtr Write(bool save, RecordBase& record, const std::string& path) {
  return save ? record.SaveXMLPath(path) : record.ExportXMLPath(path);
}

// Only a regular file or a link is ever replaced; anything else at the path
// is refused and stays as it was, and a save leaves no temporary file.
TEST(FileFaultTest, WhatStandsAtThePathDecides) {
  const bool root = ::geteuid() == 0;
  // What is made at the path (0: nothing, in a folder that is missing too).
  const std::tuple<const char*, mode_t, int32_t> rows[] = {
      {"folder", S_IFDIR, kErrPathFileAccess},
      {"fifo", S_IFIFO, kErrPathFileAccess},
      {"socket", S_IFSOCK, kErrPathFileAccess},
      {"device", S_IFCHR, kErrPathFileAccess},
      {"file in a read-only folder", S_IFREG, kErrPermissionDenied},
      {"missing folder", 0, kErrPathNotFound},
  };
  for (const auto& [name, type, expected] : rows) {
    // Permissions do not bind root, and only root makes a device.
    if (expected == kErrPermissionDenied ? root : !root && type == S_IFCHR) continue;
    for (const bool save : {false, true}) {
      SCOPED_TRACE(std::string(name) + (save ? " by SaveXMLPath" : " by ExportXMLPath"));
      TempDir dir;
      const std::string path = type ? dir / "out.xml" : dir / "missing/out.xml";
      if (type == S_IFDIR) ::mkdir(path.c_str(), 0700);
      if (type == S_IFIFO || type == S_IFSOCK || type == S_IFCHR)
        ::mknod(path.c_str(), type | 0600, makedev(1, 3));
      if (type == S_IFREG) testing::WriteFile(path, "keep");
      if (type == S_IFREG) ::chmod(dir.path().c_str(), 0555);
      const auto before = Look(path);  // something stands there, but for the missing folder
      EXPECT_EQ(std::get<0>(before) == 0, expected == kErrPathNotFound);
      const std::vector<std::string> names = FolderNames(dir.path());
      const StatusPtr status = Write(save, *SmallClinic(), path);
      EXPECT_EQ(status->Number(), expected) << status->Description();
      EXPECT_NE(status->Description().find(path), std::string::npos) << status->Description();
      EXPECT_EQ(Look(path), before);
      EXPECT_EQ(FolderNames(dir.path()), names);
      ::chmod(dir.path().c_str(), 0755);
    }
  }
}

// A full device fails an export through a number, of a library record and
// of a host's node alike, and the status names the device. A disk that fills
// up half way: the export leaves an empty file, never a partial document;
// the save leaves the old file byte for byte and no temporary file.
TEST(FileFaultTest, AFullDeviceOrDiskLeavesNoPartialDocument) {
  const auto clinic = SmallClinic();
  testing::Probe probe;
  for (CNode* node : std::initializer_list<CNode*>{clinic.get(), &probe}) {
    if (!std::filesystem::exists("/dev/full")) break;
    const int16_t number = FreeFile();
    OpenFile(number, "/dev/full");
    const StatusPtr status = node->ExportXMLFileHandle(number);
    FileClose(number);
    EXPECT_EQ(status->Number(), kErrDiskFull) << status->Description();
    EXPECT_NE(status->Description().find("/dev/full"), std::string::npos) << status->Description();
  }
  if (::geteuid() != 0) GTEST_SKIP() << "mounting a small tmpfs needs root";
  TempDir dir;
  if (::mount("tmpfs", dir.path().c_str(), "tmpfs", 0, "size=256k") != 0) {
    GTEST_SKIP() << "cannot mount a tmpfs: " << std::strerror(errno);
  }
  const std::shared_ptr<void> unmount(nullptr,
                                      [&](void*) { ::umount2(dir.path().c_str(), MNT_DETACH); });
  const std::string path = dir / "clinic.xml";
  ASSERT_EQ(clinic->SaveXMLPath(path)->Number(), 0);
  const std::string old = ReadFile(path);
  const auto big = support::BuildScrambledClinic({});  // far more than 256 KiB
  for (const bool save : {true, false}) {
    SCOPED_TRACE(save);
    const StatusPtr status = Write(save, *big, path);
    EXPECT_EQ(status->Number(), kErrDiskFull) << status->Description();
    EXPECT_EQ(FolderNames(dir.path()), std::vector<std::string>{"clinic.xml"});
    EXPECT_EQ(ReadFile(path), save ? old : "");
  }
}

// What two racing writers share, also across a fork.
struct Shared {
  std::atomic<int> ready{0}, inside{0}, done{0};
};

// One writer of a round: starts with its rival, exports, and returns the
// status number (255 for a number that an exit code cannot hold). Once
// inside its export, it keeps its file open until the rival has finished or
// is inside too; both inside would mean that both own the path at once.
int RaceOnce(Shared& shared, const std::string& path, const char* name) {
  struct HoldingProbe : testing::Probe {
    Shared* shared = nullptr;
    StatusPtr ExportXMLFileHandle(int16_t n) override {
      shared->inside.fetch_add(1);
      const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
      while (shared->done.load() == 0 && shared->inside.load() < 2 &&
             std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::microseconds(20));
      }
      return Probe::ExportXMLFileHandle(n);
    }
  } probe;
  probe.shared = &shared;
  probe.name = name;
  shared.ready.fetch_add(1);
  while (shared.ready.load() < 2) std::this_thread::yield();
  const int32_t number = probe.ExportXMLPath(path)->Number();
  shared.done.fetch_add(1);
  return number >= 0 && number < 255 ? number : 255;
}

// Two writers, in two processes or two threads, export to one path at once,
// many times: one wins and its file is the one at the path; the other gets
// 55 or 70.
TEST(FileFaultTest, TwoWritersToOnePathNeverBothSucceed) {
  TempDir dir;
  const std::string path = dir / "race.xml";
  auto* shared = static_cast<Shared*>(
      ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(shared, MAP_FAILED);
  const std::function<std::pair<int, int>()> runs[] = {
      [&] {
        const pid_t a = SpawnChild([&] { return RaceOnce(*shared, path, "A"); });
        const pid_t b = SpawnChild([&] { return RaceOnce(*shared, path, "B"); });
        return std::pair(ReapChild(a), ReapChild(b));
      },
      [&] {
        int b = 0;
        std::thread other([&] { b = RaceOnce(*shared, path, "B"); });
        const int a = RaceOnce(*shared, path, "A");
        other.join();
        return std::pair(a, b);
      },
  };
  for (const auto& run : runs) {
    SCOPED_TRACE(&run == &runs[0] ? "processes" : "threads");
    for (int round = 0; round < 300 && !HasFailure(); ++round) {
      new (shared) Shared();
      const auto [a, b] = run();
      const int loser = a == 0 ? b : a;
      EXPECT_TRUE((a == 0 || b == 0) &&
                  (loser == kErrFileAlreadyOpen || loser == kErrPermissionDenied))
          << "round " << round << ": " << a << " and " << b;
      const std::string winner = a == 0 ? "<Name>A</Name>" : "<Name>B</Name>";
      EXPECT_NE(ReadFile(path).find(winner), std::string::npos) << "round " << round;
    }
  }
  ::munmap(shared, sizeof(Shared));
}

// A link at the path is replaced by the export's file, whether its target
// exists or not. A thread that keeps planting links while exports run makes
// each export either win the race or fail with 75. The targets are never
// created or written.
TEST(FileFaultTest, ALinkAtThePathIsNeverFollowed) {
  TempDir dir;
  const std::string target = dir / "target.txt", missing = dir / "missing.txt",
                    path = dir / "out.xml";
  testing::WriteFile(target, "TARGET");
  const auto clinic = SmallClinic();
  for (const std::string& to : {target, missing}) {
    SCOPED_TRACE(to);
    ASSERT_EQ(::symlink(to.c_str(), path.c_str()), 0);
    const StatusPtr status = clinic->ExportXMLPath(path);
    EXPECT_EQ(status->Number(), 0) << status->Description();
    EXPECT_FALSE(std::filesystem::is_symlink(path));
    EXPECT_NE(ReadFile(path).find("<Clients"), std::string::npos);
    std::filesystem::remove(path);
  }
  std::atomic<bool> stop{false};
  std::thread planter([&] {
    while (!stop.load()) {
      ::symlink(target.c_str(), path.c_str());
      ::symlink(missing.c_str(), path.c_str());
    }
  });
  for (int i = 0; i < 200; ++i) {
    const StatusPtr status = clinic->ExportXMLPath(path);
    EXPECT_TRUE(status->Number() == 0 || status->Number() == kErrPathFileAccess)
        << status->Description();
  }
  stop = true;
  planter.join();
  EXPECT_EQ(ReadFile(target), "TARGET");
  EXPECT_FALSE(std::filesystem::exists(missing));
}

// A second writer of a file that a number holds, in this process (55) or in
// a forked one (70), as the same user or as another one who may not even
// read the file: its OpenFile, ExportXMLPath and SaveXMLPath are refused and
// leave the file alone. Once the file is closed, an export replaces it.
TEST(FileFaultTest, ASecondWriterIsKeptOut) {
  const uid_t me = ::geteuid();
  const std::tuple<bool, uid_t, int32_t> writers[] = {
      {false, me, kErrFileAlreadyOpen},
      {true, me, kErrPermissionDenied},
      {true, 65534, kErrPermissionDenied},
  };
  for (const auto& [forked, user, expected] : writers) {
    SCOPED_TRACE(::testing::Message() << (forked ? "forked, user " : "here, user ") << user);
    if (user != me && me != 0) continue;  // only root writes as another user
    TempDir dir;
    ::chmod(dir.path().c_str(), 0777);
    const std::string path = dir / "busy.xml";
    const int16_t number = FreeFile();
    OpenFile(number, path);
    ::chmod(path.c_str(), 0600);
    FileWrite(number, "first writer");
    // 0, or a bit for each of the three calls that was not refused as expected.
    const auto second_writer = [&, user = user, expected = expected] {
      if (user != me && (::setgid(user) != 0 || ::setuid(user) != 0)) return 8;
      const int32_t opened = testing::ErrorOf([&] { OpenFile(FreeFile(), path); });
      const int32_t exported = SmallClinic()->ExportXMLPath(path)->Number();
      const int32_t saved = SmallClinic()->SaveXMLPath(path)->Number();
      return (opened != expected) | ((exported != expected) << 1) | ((saved != expected) << 2);
    };
    EXPECT_EQ(forked ? ReapChild(SpawnChild(second_writer)) : second_writer(), 0);
    FileWrite(number, ", still");
    FileClose(number);
    EXPECT_EQ(ReadFile(path), "first writer, still");
    EXPECT_EQ(FolderNames(dir.path()), std::vector<std::string>{"busy.xml"});
    EXPECT_EQ(SmallClinic()->ExportXMLPath(path)->Number(), 0);
  }
}

// A save killed at random points: the path holds, every time, the complete
// old document or the complete new one. TYMPORA_KILL_TEST_CLIENTS sets the
// clinic's size (about 100 KB a client; 1000 make 100 MB).
TEST(FileFaultTest, AKilledSaveLeavesTheOldOrTheNewFile) {
  const char* clients = std::getenv("TYMPORA_KILL_TEST_CLIENTS");
  support::TreeShape shape{.clients = clients ? std::atoi(clients) : 10};
  const auto older = support::BuildScrambledClinic(shape);
  shape.seed = 2;
  const auto newer = support::BuildScrambledClinic(shape);
  TempDir dir;
  const std::string path = dir / "clinic.xml";
  auto save_newer = [&] { return newer->SaveXMLPath(path)->Number() == 0 ? 0 : 1; };
  // One save runs to its end, as the killed ones would: how long it takes
  // sets the range of the kill times.
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(ReapChild(SpawnChild(save_newer)), 0);
  const auto save_time = std::chrono::steady_clock::now() - start;
  const std::string new_text = testing::WithoutCreationDate(ReadFile(path));
  ASSERT_EQ(older->SaveXMLPath(path)->Number(), 0);
  const std::string old_text = testing::WithoutCreationDate(ReadFile(path));
  ASSERT_NE(old_text, new_text);
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  std::uniform_int_distribution<int64_t> delay(0, save_time.count() * 12 / 10);
  for (int round = 0; round < 40; ++round) {
    const pid_t child = SpawnChild(save_newer);
    std::this_thread::sleep_for(std::chrono::steady_clock::duration(delay(random)));
    ::kill(child, SIGKILL);
    ReapChild(child);
    for (const std::string& name : FolderNames(dir.path())) {  // a killed save's temporary file
      if (name != "clinic.xml") std::filesystem::remove(dir / name);
    }
    const std::string text = testing::WithoutCreationDate(ReadFile(path));
    const bool old = text == old_text, fresh = text == new_text;
    EXPECT_TRUE(old || fresh) << "round " << round << ": " << text.size() << " bytes";
    ASSERT_EQ(old ? 0 : older->SaveXMLPath(path)->Number(), 0);  // the old file back
  }
}

}  // namespace
}  // namespace tympora
