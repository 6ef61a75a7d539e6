// File faults around an export: a symbolic link planted at the path, a
// device that takes no more bytes, and a second writer of a file that is
// being written, in this process or in another.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "test_util.hpp"
#include "tree.hpp"
#include "tympora/node/error.hpp"
#include "tympora/node/file_layer.hpp"
#include "tympora/records/clients.hpp"

namespace tympora {
namespace {

using testing::ReadFile;
using testing::TempDir;

std::shared_ptr<CClients> SmallClinic() {
  support::TreeShape shape;
  shape.clients = 2;
  shape.curve_points = 2;
  shape.distortion_points = 1;
  return support::BuildScrambledClinic(shape);
}

bool IsLink(const std::string& path) {
  struct stat st {};
  return ::lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

TEST(FileFaultTest, ALinkAtThePathIsReplacedAndItsTargetUntouched) {
  TempDir dir;
  const std::string target = dir / "target.txt", path = dir / "out.xml";
  testing::WriteFile(target, "TARGET");
  for (const char* to : {"target.txt", "missing.txt"}) {
    SCOPED_TRACE(to);
    ASSERT_EQ(::symlink(to, path.c_str()), 0);
    const StatusPtr status = SmallClinic()->ExportXMLPath(path);
    EXPECT_EQ(status->Number(), 0) << status->Description();
    EXPECT_FALSE(IsLink(path));
    EXPECT_NE(ReadFile(path).find("<Clients"), std::string::npos);
    EXPECT_EQ(ReadFile(target), "TARGET");
    EXPECT_FALSE(std::filesystem::exists(dir / "missing.txt"));
    std::filesystem::remove(path);
  }
}

// The file layer creates the export's file new, without following a link:
// a link that appears at the path is refused, never written through.
TEST(FileFaultTest, CreateNewRefusesALink) {
  TempDir dir;
  const std::string target = dir / "target.txt", path = dir / "link.xml";
  testing::WriteFile(target, "TARGET");
  ASSERT_EQ(::symlink(target.c_str(), path.c_str()), 0);
  const int16_t number = FreeFile();
  EXPECT_EQ(testing::ErrorOf([&] { OpenFile(number, path, FileOpenMode::CreateNew); }),
            kErrPathFileAccess);
  EXPECT_EQ(ReadFile(target), "TARGET");
  EXPECT_EQ(testing::ErrorOf([&] { FileLength(number); }), kErrBadFileNumber);
}

// A thread keeps planting a link at the path while exports run: each export
// either wins the race and writes a regular file, or finds the link and
// fails with 75; the link's targets are never created or written.
TEST(FileFaultTest, ALinkPlantedDuringTheExportIsNeverFollowed) {
  TempDir dir;
  const std::string target = dir / "target.txt", path = dir / "out.xml";
  testing::WriteFile(target, "TARGET");
  const auto clinic = SmallClinic();
  std::atomic<bool> stop{false};
  std::thread planter([&] {
    while (!stop.load()) {
      ::symlink(target.c_str(), path.c_str());
      ::symlink((dir / "created-through-link.txt").c_str(), path.c_str());
    }
  });
  int written = 0, refused = 0;
  for (int i = 0; i < 200; ++i) {
    const StatusPtr status = clinic->ExportXMLPath(path);
    if (status->Number() == 0) {
      ++written;
    } else {
      EXPECT_EQ(status->Number(), kErrPathFileAccess) << status->Description();
      ++refused;
    }
  }
  stop = true;
  planter.join();
  EXPECT_EQ(written + refused, 200);
  EXPECT_EQ(ReadFile(target), "TARGET");
  EXPECT_FALSE(std::filesystem::exists(dir / "created-through-link.txt"));
}

TEST(FileFaultTest, AFullDeviceFailsTheExport) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
  const int16_t number = FreeFile();
  OpenFile(number, "/dev/full");
  const StatusPtr status = SmallClinic()->ExportXMLFileHandle(number);
  FileClose(number);
  EXPECT_EQ(status->Number(), kErrDiskFull) << status->Description();
  EXPECT_NE(status->Description().find("/dev/full"), std::string::npos) << status->Description();
}

// While this process writes a file under a number, an export to the same
// path neither deletes nor replaces it.
TEST(FileFaultTest, AnExportToAFileOpenHereIsKeptOut) {
  TempDir dir;
  const std::string path = dir / "busy.xml";
  const int16_t number = FreeFile();
  OpenFile(number, path);
  FileWrite(number, "first writer");
  const StatusPtr status = SmallClinic()->ExportXMLPath(path);
  EXPECT_EQ(status->Number(), kErrFileAlreadyOpen) << status->Description();
  FileWrite(number, ", still");
  FileClose(number);
  EXPECT_EQ(ReadFile(path), "first writer, still");
}

// A forked process is the second writer: while the parent holds the file,
// the child's OpenFile and ExportXMLPath get 70 and leave the file alone.
TEST(FileFaultTest, AWriterInAnotherProcessIsKeptOut) {
  TempDir dir;
  const std::string path = dir / "busy.xml";
  const int16_t number = FreeFile();
  OpenFile(number, path);
  FileWrite(number, "parent");
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // The child inherits the parent's table; what it tests is a process
    // of its own, so it lets go of the inherited entries first.
    FileCloseAll();
    const int32_t open_error = testing::ErrorOf([&] { OpenFile(1, path); });
    const StatusPtr status = SmallClinic()->ExportXMLPath(path);
    ::_exit(open_error == kErrPermissionDenied && status->Number() == kErrPermissionDenied ? 0 : 1);
  }
  int wait_status = 0;
  ASSERT_EQ(::waitpid(child, &wait_status, 0), child);
  EXPECT_TRUE(WIFEXITED(wait_status));
  EXPECT_EQ(WEXITSTATUS(wait_status), 0);
  FileClose(number);
  EXPECT_EQ(ReadFile(path), "parent");
  // Once the writer is done, an export replaces the file.
  EXPECT_EQ(SmallClinic()->ExportXMLPath(path)->Number(), 0);
}

}  // namespace
}  // namespace tympora
