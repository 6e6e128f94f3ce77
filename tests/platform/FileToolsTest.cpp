// File and folder tools on real files in a scratch folder.
#include "platform/FileTools.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "platform/WinString.h"
#include "support/ScratchFolder.h"

namespace kv {
namespace {

using namespace modTools;

TEST(FileTools, UniqueFileName) {
  test::ScratchFolder dir;
  for (const char* name : {"Readme.txt", "Readme (1).txt", "archive.tar.gz", "Makefile", "DATA (1)", "log.txt"})
    dir.WriteFile(name);
  for (int n = 1; n <= 10; ++n) dir.WriteFile("log (" + std::to_string(n) + ").txt");
  dir.MakeFolder("data");  // a folder occupies a name just like a file

  struct Row { const char* name; bool keep; const char* expected; };
  const Row rows[] = {{"Neu.txt", true, "Neu.txt"},
                      {"Readme.txt", true, "Readme (2).txt"},
                      {"Readme.txt", false, "Readme.txt (1)"},         // counter at the very end
                      {"archive.tar.gz", true, "archive (1).tar.gz"},  // extension from the first dot
                      {"Makefile", true, "Makefile (1)"},              // no dot: as without keeping
                      {"Data", false, "Data (2)"},                     // case ignored
                      {"log.txt", true, "log (11).txt"}};
  for (const Row& r : rows) EXPECT_EQ(UniqueFileName(dir.Path(), r.name, r.keep), r.expected) << r.name;
  EXPECT_EQ(UniqueFileName(dir.Path() + "\\", "Readme.txt", true), "Readme (2).txt");
}

TEST(FileTools, MakePathExistenceAndShortPath) {
  test::ScratchFolder dir;
  MakePath(dir / "Ü Neu\\Ordner mit Leerzeichen\\");
  EXPECT_TRUE(FolderExists(dir / "Ü Neu\\Ordner mit Leerzeichen"));
  const std::string file = dir.WriteFile("blocker", "inhalt");  // a file in the way stops it quietly
  MakePath(dir / "blocker\\below\\deeper");
  EXPECT_TRUE(FileExists(file) && !FolderExists(file) && !FileExists(dir / "blocker\\below"));
  EXPECT_TRUE(FileExists(dir.Path()) && FolderExists(dir.Path() + "\\"));
  for (const std::string& bad : {dir / "missing", std::string(), dir / "a|b", dir / std::string(400, 'x')})
    EXPECT_FALSE(FileExists(bad) || FolderExists(bad)) << bad;

  const std::string longFile = dir.WriteFile("Ü Neu\\Eine lange Datei.text", "inhalt");
  const std::string shortPath = GetShortPath(longFile);
  EXPECT_EQ(shortPath.find(' '), std::string::npos) << shortPath;
  EXPECT_EQ(test::ReadFileBytes(shortPath), "inhalt");
  EXPECT_EQ(GetShortPath(dir / "does not exist.txt"), "");
}

SYSTEMTIME Stamp(const std::string& path, int which) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  GetFileAttributesExW(win::Widen(path).c_str(), GetFileExInfoStandard, &data);
  FILETIME utc = which == kLastWriteTime ? data.ftLastWriteTime : data.ftLastAccessTime, local = {};
  SYSTEMTIME st = {};
  FileTimeToLocalFileTime(&utc, &local);
  FileTimeToSystemTime(&local, &st);
  return st;
}

TEST(FileTools, SetFileDateStampsOneTime) {
  test::ScratchFolder dir;
  const std::string file = dir.WriteFile("stamp.dll", "x");
  SetFileDate(file, {2001, 2, 3, 4, 5, 6}, kLastWriteTime);
  SetFileDate(file, {2010, 7, 1, 12, 0, 0}, kLastAccessTime);
  for (int other : {0, 4}) SetFileDate(file, {2020, 1, 1, 0, 0, 0}, other);  // sets nothing
  // Creation times survive only where the file system keeps them (not wine on
  // a Linux disk), so only the other two stamps are checked after it.
  SetFileDate(file, {1999, 12, 31, 23, 59, 58}, kCreationTime);
  const SYSTEMTIME st = Stamp(file, kLastWriteTime);
  EXPECT_EQ((std::vector<int>{st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond, st.wDayOfWeek}),
            (std::vector<int>{2001, 2, 3, 4, 5, 6, 6}));  // local time, a Saturday
  EXPECT_EQ(Stamp(file, kLastAccessTime).wYear, 2010);
}

}  // namespace
}  // namespace kv
