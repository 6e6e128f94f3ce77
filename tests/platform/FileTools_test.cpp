// File and folder tools on real files in a scratch folder.
#include "platform/FileTools.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "platform/WinString.h"
#include "support/ScratchFolder.h"
#include "support/ScriptedUi.h"

namespace kv {
namespace {

using namespace modTools;
using test::ScratchFolder;

TEST(FileTools, UniqueFileNameCountsUp) {
  ScratchFolder dir;
  EXPECT_EQ(UniqueFileName(dir.Path(), "Readme.txt", true), "Readme.txt");
  dir.WriteFile("Readme.txt");
  dir.WriteFile("Readme (1).txt");
  EXPECT_EQ(UniqueFileName(dir.Path(), "Readme.txt", true), "Readme (2).txt");
  EXPECT_EQ(UniqueFileName(dir.Path() + "\\", "Readme.txt", true), "Readme (2).txt");
  // Without keeping the extension the counter goes at the very end.
  EXPECT_EQ(UniqueFileName(dir.Path(), "Readme.txt", false), "Readme.txt (1)");
  // The extension starts at the first dot.
  dir.WriteFile("archive.tar.gz");
  EXPECT_EQ(UniqueFileName(dir.Path(), "archive.tar.gz", true), "archive (1).tar.gz");
  // No dot: keeping the extension changes nothing.
  dir.WriteFile("Makefile");
  EXPECT_EQ(UniqueFileName(dir.Path(), "Makefile", true), "Makefile (1)");
  // A folder occupies a name just like a file; matching ignores case.
  dir.MakeFolder("data");
  dir.WriteFile("DATA (1)");
  EXPECT_EQ(UniqueFileName(dir.Path(), "Data", false), "Data (2)");
  // Counting goes on past single digits.
  for (int n = 1; n <= 10; ++n) dir.WriteFile("log (" + std::to_string(n) + ").txt");
  dir.WriteFile("log.txt");
  EXPECT_EQ(UniqueFileName(dir.Path(), "log.txt", true), "log (11).txt");
}

TEST(FileTools, MakePathCreatesMissingLevels) {
  ScratchFolder dir;
  dir.MakeFolder("A");
  MakePath(dir / "A\\B\\C");
  EXPECT_TRUE(FolderExists(dir / "A\\B"));
  EXPECT_TRUE(FolderExists(dir / "A\\B\\C"));
  // A trailing backslash and an existing chain are harmless.
  MakePath(dir / "A\\B\\C\\");
  MakePath(dir / "Ü Neu\\Ordner mit Leerzeichen\\");
  EXPECT_TRUE(FolderExists(dir / "Ü Neu\\Ordner mit Leerzeichen"));
}

TEST(FileTools, MakePathStopsQuietlyAtAFile) {
  ScratchFolder dir;
  dir.WriteFile("blocker");
  MakePath(dir / "blocker\\below\\deeper");
  EXPECT_FALSE(FileExists(dir / "blocker\\below"));
  EXPECT_FALSE(FolderExists(dir / "blocker"));
  MakePath("");  // nothing to do, nothing thrown
}

TEST(FileTools, MakePathWithLeadingSeparatorsIsRelative) {
  ScratchFolder dir;
  wchar_t previous[MAX_PATH] = {};
  GetCurrentDirectoryW(MAX_PATH, previous);
  ASSERT_TRUE(SetCurrentDirectoryW(win::Widen(dir.Path()).c_str()));
  MakePath("\\\\server\\share\\sub");
  SetCurrentDirectoryW(previous);
  EXPECT_TRUE(FolderExists(dir / "server\\share\\sub"));
}

TEST(FileTools, ExistenceTests) {
  ScratchFolder dir;
  const std::string file = dir.WriteFile("f.txt", "x");
  EXPECT_TRUE(FileExists(file));
  EXPECT_FALSE(FolderExists(file));
  EXPECT_TRUE(FileExists(dir.Path()));
  EXPECT_TRUE(FolderExists(dir.Path()));
  EXPECT_TRUE(FolderExists(dir.Path() + "\\"));
  EXPECT_FALSE(FileExists(dir / "missing"));
  EXPECT_FALSE(FolderExists(dir / "missing"));
  EXPECT_FALSE(FileExists(""));
  EXPECT_FALSE(FolderExists(""));
  EXPECT_FALSE(FileExists(dir / "a|b"));
  EXPECT_FALSE(FileExists(dir / std::string(400, 'x')));
}

TEST(FileTools, ShortPath) {
  ScratchFolder dir;
  dir.MakeFolder("Ein langer Ordnername");
  const std::string file = dir.WriteFile("Ein langer Ordnername\\Eine lange Datei.text", "inhalt");
  const std::string shortPath = GetShortPath(file);
  std::printf("short form: %s\n", shortPath.c_str());
  ASSERT_FALSE(shortPath.empty());
  EXPECT_EQ(shortPath.find(' '), std::string::npos);
  EXPECT_LT(shortPath.size(), file.size());
  EXPECT_EQ(test::ReadFileBytes(shortPath), "inhalt");
  EXPECT_EQ(GetShortPath(dir / "does not exist.txt"), "");
  EXPECT_EQ(GetShortPath(""), "");
}

SYSTEMTIME LocalStamp(const std::string& path, int which) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  GetFileAttributesExW(win::Widen(path).c_str(), GetFileExInfoStandard, &data);
  const FILETIME& t = which == kLastWriteTime ? data.ftLastWriteTime
                      : which == kCreationTime ? data.ftCreationTime
                                               : data.ftLastAccessTime;
  FILETIME local = {};
  FileTimeToLocalFileTime(&t, &local);
  SYSTEMTIME st = {};
  FileTimeToSystemTime(&local, &st);
  return st;
}

TEST(FileTools, SetFileDateStampsOneTime) {
  ScratchFolder dir;
  const std::string file = dir.WriteFile("stamp.dll", "x");
  const LocalDateTime when{2001, 2, 3, 4, 5, 6};
  SetFileDate(file, when, kLastWriteTime);
  SYSTEMTIME st = LocalStamp(file, kLastWriteTime);
  EXPECT_EQ(st.wYear, 2001);
  EXPECT_EQ(st.wMonth, 2);
  EXPECT_EQ(st.wDay, 3);
  EXPECT_EQ(st.wHour, 4);
  EXPECT_EQ(st.wMinute, 5);
  EXPECT_EQ(st.wSecond, 6);
  EXPECT_EQ(st.wDayOfWeek, 6);  // a Saturday

  SetFileDate(file, {2010, 7, 1, 12, 0, 0}, kLastAccessTime);
  EXPECT_EQ(LocalStamp(file, kLastAccessTime).wYear, 2010);
  EXPECT_EQ(LocalStamp(file, kLastWriteTime).wYear, 2001);

  // Any other selector sets nothing.
  SetFileDate(file, {2020, 1, 1, 0, 0, 0}, 4);
  SetFileDate(file, {2020, 1, 1, 0, 0, 0}, 0);
  EXPECT_EQ(LocalStamp(file, kLastWriteTime).wYear, 2001);
  EXPECT_EQ(LocalStamp(file, kLastAccessTime).wYear, 2010);

  // Creation times only survive where the file system keeps them (wine on a
  // Linux disk does not: it reports the last-write time there).
  SetFileDate(file, {1999, 12, 31, 23, 59, 58}, kCreationTime);
  EXPECT_EQ(LocalStamp(file, kLastWriteTime).wYear, 2001);
  EXPECT_EQ(LocalStamp(file, kLastAccessTime).wYear, 2010);
  if (LocalStamp(file, kCreationTime).wYear != 1999) std::printf("creation time not kept by this file system\n");

  SetFileDate(dir / "missing.dll", when, kLastWriteTime);
  EXPECT_FALSE(FileExists(dir / "missing.dll"));
}

TEST(FileTools, BrowseForFolderAsksTheUser) {
  test::ScriptedUi ui;
  ui.AnswerBrowse("C:\\Gewählt");
  ui.AnswerBrowse("");
  EXPECT_EQ(BrowseForFolder(ui, "Zielordner wählen"), "C:\\Gewählt");
  EXPECT_EQ(BrowseForFolder(ui, "Zielordner wählen"), "");
}

int IconWidth(HICON icon) {
  ICONINFO info = {};
  if (!GetIconInfo(icon, &info)) return 0;
  BITMAP bm = {};
  GetObjectW(info.hbmColor ? info.hbmColor : info.hbmMask, sizeof(bm), &bm);
  if (info.hbmColor) DeleteObject(info.hbmColor);
  if (info.hbmMask) DeleteObject(info.hbmMask);
  return bm.bmWidth;
}

TEST(FileTools, FileIcon) {
  ScratchFolder dir;
  // With file attributes the file need not exist; quotes are ignored.
  HICON small = GetFileIcon("\"" + (dir / "nicht da.txt") + "\"", 1, true);
  HICON large = GetFileIcon(dir / "nicht da.txt", 0, true);
  ASSERT_NE(small, nullptr);
  ASSERT_NE(large, nullptr);
  EXPECT_LT(IconWidth(small), IconWidth(large));
  DestroyIcon(small);
  DestroyIcon(large);
  const std::string real = dir.WriteFile("da.txt", "x");
  HICON fromFile = GetFileIcon(real, 1, false);
  EXPECT_NE(fromFile, nullptr);
  if (fromFile) DestroyIcon(fromFile);
}

}  // namespace
}  // namespace kv
