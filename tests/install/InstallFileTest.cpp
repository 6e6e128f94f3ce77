// Installing one file with the system's version functions under wine: the
// copy decision, files in use, questions to the user and the status record.
#include <gtest/gtest.h>

#include "install/InstallFile.h"
#include "install/InstallFileSeams.h"
#include "install/InstallTestSupport.h"
#include "platform/RegTools.h"
#include "platform/SharedFiles.h"

namespace kv::test {
namespace {

using modInstall::InstallFile;

int32_t SharedCount(const std::string& path) {
  return modRegTools::GetNumber(modTools::kSharedDllsKey, path, -1, HKEY_LOCAL_MACHINE);
}

class InstallFileTest : public InstallFixture {};

TEST_F(InstallFileTest, FreshFileIsCopiedStampedRecordedAndSaved) {
  Scratch.WriteFile("medium\\liesmich.txt", "Hallo");
  CFile& f = AddFile("liesmich.txt");
  Install(f);

  EXPECT_EQ(ReadFileBytes(App + "\\liesmich.txt"), "Hallo");
  EXPECT_EQ(ListFolder(App), std::vector<std::string>{"liesmich.txt"});  // no temporary file left
  EXPECT_EQ(f.Installed, 1);
  EXPECT_EQ(f.InstalledIn, App);
  EXPECT_TRUE(session.FilesInstalled);
  ASSERT_EQ(Package->CreatedPaths.size(), 1u);
  EXPECT_EQ(Package->CreatedPaths[0], App);
  EXPECT_TRUE(ui.Boxes().empty());
  // The first record of a run goes to disk at once.
  EXPECT_EQ(SavedRecord("liesmich.txt"), std::make_pair(1, App));

  // A second file into the same, now existing folder does not record it again.
  Scratch.WriteFile("medium\\zwei.txt", "2");
  Install(AddFile("zwei.txt"));
  EXPECT_EQ(Package->CreatedPaths.size(), 1u);
}

TEST_F(InstallFileTest, DestinationNameAndEmptyDestinationPath) {
  Scratch.WriteFile("medium\\a.txt", "A");
  CFile& f = AddFile("a.txt", "", "b.txt");
  Install(f);
  EXPECT_EQ(ReadFileBytes(App + "\\b.txt"), "A");
  EXPECT_FALSE(Exists(App + "\\a.txt"));
  EXPECT_EQ(f.InstalledIn, App);
}

TEST_F(InstallFileTest, VersionDecidesForNonSharedFiles) {
  MakeVersionedFile(Medium + "\\neu.dll", {2, 0, 0, 0});
  MakeVersionedFile(Medium + "\\alt.dll", {1, 0, 0, 0});
  MakeVersionedFile(Medium + "\\gleich.dll", {1, 5, 0, 0}, kLangGerman);
  Scratch.MakeFolder("Programme\\Testprogramm");
  MakeVersionedFile(App + "\\neu.dll", {1, 0, 0, 0});
  MakeVersionedFile(App + "\\alt.dll", {3, 0, 0, 0});
  // Same version, different bytes: only the version counts.
  MakeVersionedFile(App + "\\gleich.dll", {1, 5, 0, 0}, kLangEnglishUS);
  const std::string keptOld = ReadFileBytes(App + "\\alt.dll");
  const std::string keptSame = ReadFileBytes(App + "\\gleich.dll");
  SetStamps(App + "\\alt.dll", 2001);

  CFile& newer = AddFile("neu.dll");
  CFile& older = AddFile("alt.dll");
  CFile& same = AddFile("gleich.dll");
  Install(newer);
  Install(older);
  Install(same);

  EXPECT_EQ(ReadFileBytes(App + "\\neu.dll"), ReadFileBytes(Medium + "\\neu.dll"));
  EXPECT_EQ(ReadFileBytes(App + "\\alt.dll"), keptOld);
  EXPECT_EQ(ReadFileBytes(App + "\\gleich.dll"), keptSame);
  // Kept files still count as installed, and are stamped as such.
  for (CFile* f : {&newer, &older, &same}) {
    EXPECT_EQ(f->Installed, 1) << f->Name;
    EXPECT_EQ(f->InstalledIn, App) << f->Name;
  }
  EXPECT_EQ(StampYear(App + "\\alt.dll", false), 2001);  // contents untouched
  EXPECT_EQ(ListFolder(App).size(), 3u);
  EXPECT_TRUE(ui.Boxes().empty());
}

TEST_F(InstallFileTest, UnversionedFilesAlwaysReplaceNonShared) {
  Scratch.WriteFile("medium\\daten.bin", "neu");
  Scratch.MakeFolder("Programme\\Testprogramm");
  Scratch.WriteFile("Programme\\Testprogramm\\daten.bin", "alt und länger");
  Install(AddFile("daten.bin"));
  EXPECT_EQ(ReadFileBytes(App + "\\daten.bin"), "neu");
  EXPECT_TRUE(Package->CreatedPaths.empty());  // the folder was there
}

TEST_F(InstallFileTest, SharedFileInsidePackageFolderIsRefreshedAndCounted) {
  MakeVersionedFile(Medium + "\\gemeinsam.dll", {1, 0, 0, 0}, kLangGerman);
  Scratch.MakeFolder("Programme\\Testprogramm");
  MakeVersionedFile(App + "\\gemeinsam.dll", {1, 0, 0, 0}, kLangEnglishUS);
  CFile& f = AddFile("gemeinsam.dll");
  f.SharedFile = true;
  Install(f);
  EXPECT_EQ(ReadFileBytes(App + "\\gemeinsam.dll"), ReadFileBytes(Medium + "\\gemeinsam.dll"));
  EXPECT_EQ(f.Installed, 1);
  // It was there before: one earlier user is assumed besides us.
  EXPECT_EQ(SharedCount(App + "\\gemeinsam.dll"), 2);

  CFile& fresh = AddFile("frisch.dll");
  MakeVersionedFile(Medium + "\\frisch.dll", {1, 0, 0, 0});
  fresh.SharedFile = true;
  Install(fresh);
  EXPECT_EQ(SharedCount(App + "\\frisch.dll"), 1);
}

TEST_F(InstallFileTest, SharedFileOutsidePackageFolderFollowsTheDateStamps) {
  const std::string common = Scratch.MakeFolder("Gemeinsame Dateien");
  Scratch.WriteFile("medium\\alt.dat", "vom Medium");
  Scratch.WriteFile("medium\\neu.dat", "vom Medium");
  Scratch.WriteFile("Gemeinsame Dateien\\alt.dat", "vorhanden");
  Scratch.WriteFile("Gemeinsame Dateien\\neu.dat", "vorhanden");
  // Medium copy older than the installed one: kept. Newer: replaced.
  SetStamps(Medium + "\\alt.dat", 2005);
  SetStamps(common + "\\alt.dat", 2010);
  SetStamps(Medium + "\\neu.dat", 2012);
  SetStamps(common + "\\neu.dat", 2010);
  CFile& kept = AddFile("alt.dat", common);
  CFile& replaced = AddFile("neu.dat", common);
  kept.SharedFile = replaced.SharedFile = true;
  Install(kept);
  Install(replaced);

  EXPECT_EQ(ReadFileBytes(common + "\\alt.dat"), "vorhanden");
  EXPECT_EQ(ReadFileBytes(common + "\\neu.dat"), "vom Medium");
  EXPECT_EQ(kept.Installed, 1);
  EXPECT_EQ(kept.InstalledIn, common);
  EXPECT_EQ(SharedCount(common + "\\alt.dat"), 2);
  EXPECT_EQ(SharedCount(common + "\\neu.dat"), 2);

  // Equal stamps count as "not newer": kept.
  Scratch.WriteFile("medium\\gleich.dat", "vom Medium");
  Scratch.WriteFile("Gemeinsame Dateien\\gleich.dat", "vorhanden");
  SetStamps(Medium + "\\gleich.dat", 2010);
  SetStamps(common + "\\gleich.dat", 2010);
  CFile& equal = AddFile("gleich.dat", common);
  equal.SharedFile = true;
  Install(equal);
  EXPECT_EQ(ReadFileBytes(common + "\\gleich.dat"), "vorhanden");
}

TEST_F(InstallFileTest, DontOverwriteKeepsTheFileAndRecordsAnEmptyFolder) {
  Scratch.WriteFile("medium\\config.ini", "neu");
  Scratch.MakeFolder("Programme\\Testprogramm");
  Scratch.WriteFile("Programme\\Testprogramm\\config.ini", "vom Benutzer");
  CFile& f = AddFile("config.ini");
  f.DontOverwrite = true;
  Install(f);
  EXPECT_EQ(ReadFileBytes(App + "\\config.ini"), "vom Benutzer");
  EXPECT_EQ(f.Installed, 1);
  EXPECT_EQ(f.InstalledIn, "");

  // Without an existing copy the flag changes nothing.
  Scratch.WriteFile("medium\\neu.ini", "neu");
  CFile& g = AddFile("neu.ini");
  g.DontOverwrite = true;
  Install(g);
  EXPECT_EQ(ReadFileBytes(App + "\\neu.ini"), "neu");
  EXPECT_EQ(g.InstalledIn, App);
}

TEST_F(InstallFileTest, MissingSourceOnAFixedDiskAsksAndRetries) {
  CFile& f = AddFile("spaeter.txt");
  ui.Answer(MsgResult::Retry);
  ui.Answer(MsgResult::Retry);
  int boxes = 0;
  ui.BeforeBox = [&](const MessageBoxRequest&) {
    if (++boxes == 2) Scratch.WriteFile("medium\\spaeter.txt", "da");
  };
  session.Ui.SetMousePointer(MousePointer::Hourglass);
  Install(f);

  ASSERT_EQ(ui.Boxes().size(), 2u);
  const MessageBoxRequest& box = ui.Boxes()[0].request;
  EXPECT_EQ(box.text, "Eine Quelldatei konnte nicht gefunden werden:\r\n    " + Medium + "\\spaeter.txt" + kAriTail);
  EXPECT_EQ(box.title, "Kivra Setup: Testprogramm");
  EXPECT_EQ(box.buttons, MsgButtons::AbortRetryIgnore);
  EXPECT_EQ(box.icon, MsgIcon::Exclamation);
  EXPECT_EQ(box.defaultButton, 2);
  EXPECT_EQ(ui.PointerAtBox, (std::vector<MousePointer>{MousePointer::Default, MousePointer::Default}));
  EXPECT_EQ(ui.GetMousePointer(), MousePointer::Hourglass);
  EXPECT_EQ(ReadFileBytes(App + "\\spaeter.txt"), "da");
  EXPECT_EQ(f.Installed, 1);
}

TEST_F(InstallFileTest, MissingSourceIgnoreAndAbort) {
  CFile& f = AddFile("fehlt.txt");
  ui.Answer(MsgResult::Ignore);
  Install(f);
  EXPECT_EQ(f.Installed, 0);
  EXPECT_FALSE(session.FilesInstalled);
  EXPECT_FALSE(Exists(App));  // nothing created for a skipped file
  EXPECT_TRUE(CancelCalls.empty());

  // Abbrechen, then the user withdraws the cancellation: the box comes back.
  ConfirmCancel = false;
  ui.Answer(MsgResult::Abort);
  ui.Answer(MsgResult::Abort);
  int boxes = 0;
  ui.BeforeBox = [&](const MessageBoxRequest&) { ConfirmCancel = ++boxes == 2; };
  Install(f);
  EXPECT_EQ(CancelCalls, (std::vector<bool>{true, true}));  // both times the asking form
  EXPECT_TRUE(session.Cancelled);
  EXPECT_EQ(ui.Boxes().size(), 3u);
  EXPECT_EQ(f.Installed, 0);
}

TEST_F(InstallFileTest, MissingSourceOnARemovableMediumNamesTheDrive) {
  // No removable drive exists under wine: the drive type is given by a seam.
  modInstall::seams::SystemFunctions fake;
  std::wstring askedRoot;
  fake.GetDriveType = [&](LPCWSTR root) {
    askedRoot = root;
    return static_cast<UINT>(DRIVE_CDROM);
  };
  modInstall::seams::ScopedSystemFunctions scope(fake);
  Package->SourcePath = "d:\\setup";
  ui.Answer(MsgResult::Ignore);
  Install(AddFile("x.dll"));
  EXPECT_EQ(askedRoot, L"d:\\");
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text,
            "Eine Quelldatei konnte nicht gefunden werden:\r\n    d:\\setup\\x.dll\r\nBitte stellen Sie sicher, dass das "
            "Installationsmedium in Laufwerk D: eingelegt ist." +
                std::string(kAriTail));
}

TEST_F(InstallFileTest, MissingSourceOnANetworkPathUsesItsFirstTwoCharacters) {
  Package->SourcePath = "\\\\kvnohost\\medium";
  ui.Answer(MsgResult::Ignore);
  Install(AddFile("x.dll"));
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text,
            "Eine Quelldatei konnte nicht gefunden werden:\r\n    \\\\kvnohost\\medium\\x.dll\r\nBitte stellen Sie "
            "sicher, dass das Installationsmedium in Laufwerk \\\\ eingelegt ist." +
                std::string(kAriTail));
}

TEST_F(InstallFileTest, FileInUseGoesToThePendingList) {
  MakeVersionedFile(Medium + "\\laeuft.dll", {2, 0, 0, 0});
  Scratch.MakeFolder("Programme\\Testprogramm");
  MakeVersionedFile(App + "\\laeuft.dll", {1, 0, 0, 0});
  const std::string old = ReadFileBytes(App + "\\laeuft.dll");
  HeldOpen held(App + "\\laeuft.dll");
  ASSERT_TRUE(held.Holding());

  CStringLongStringStack pending;
  CFile& f = AddFile("laeuft.dll");
  Install(f, &pending);
  held.Release();

  EXPECT_TRUE(ui.Boxes().empty());
  ASSERT_EQ(pending.Count(), 1);
  EXPECT_EQ(pending.ItemData(1), App + "\\laeuft (1).dll");
  EXPECT_EQ(pending.ItemText(1), App + "\\laeuft.dll");
  EXPECT_EQ(ReadFileBytes(App + "\\laeuft (1).dll"), ReadFileBytes(Medium + "\\laeuft.dll"));
  EXPECT_EQ(ReadFileBytes(App + "\\laeuft.dll"), old);
  EXPECT_EQ(f.Installed, 1);
  EXPECT_EQ(ListFolder(App).size(), 2u);  // no temporary copy of the system's left
}

TEST_F(InstallFileTest, FileInUseWithoutPendingListAsks) {
  MakeVersionedFile(Medium + "\\laeuft.dll", {2, 0, 0, 0});
  Scratch.MakeFolder("Programme\\Testprogramm");
  MakeVersionedFile(App + "\\laeuft.dll", {1, 0, 0, 0});
  HeldOpen held(App + "\\laeuft.dll");
  ASSERT_TRUE(held.Holding());
  CFile& f = AddFile("laeuft.dll");

  ui.Answer(MsgResult::Ignore);
  Install(f);
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text, "Die Datei laeuft.dll konnte nicht überschrieben werden." + std::string(kAriTail));
  EXPECT_EQ(f.Installed, 0);
  EXPECT_EQ(ListFolder(App).size(), 1u);

  // The user closes the program, then Wiederholen.
  ui.Answer(MsgResult::Retry);
  ui.BeforeBox = [&](const MessageBoxRequest&) { held.Release(); };
  Install(f);
  EXPECT_EQ(ui.Boxes().size(), 2u);
  EXPECT_EQ(ReadFileBytes(App + "\\laeuft.dll"), ReadFileBytes(Medium + "\\laeuft.dll"));
  EXPECT_EQ(f.Installed, 1);
  EXPECT_EQ(ListFolder(App).size(), 1u);
}

TEST_F(InstallFileTest, UnreadableSourceIsACopyError) {
  Scratch.WriteFile("medium\\gesperrt.txt", "x");
  HeldOpen held(Medium + "\\gesperrt.txt");
  CFile& f = AddFile("gesperrt.txt");
  ui.Answer(MsgResult::Ignore);
  Install(f);
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text,
            "Beim Installieren von gesperrt.txt ist ein Fehler aufgetreten." + std::string(kAriTail));
  EXPECT_EQ(f.Installed, 0);
  EXPECT_TRUE(ListFolder(App).empty());
}

TEST_F(InstallFileTest, WriteProtectedDestinationIsForcedOnceWithoutAsking) {
  MakeVersionedFile(Medium + "\\schutz.dll", {2, 0, 0, 0});
  Scratch.MakeFolder("Programme\\Testprogramm");
  MakeVersionedFile(App + "\\schutz.dll", {1, 0, 0, 0});
  SetFileAttributesW(win::Widen(App + "\\schutz.dll").c_str(), FILE_ATTRIBUTE_READONLY);
  CFile& f = AddFile("schutz.dll");
  Install(f);
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(ReadFileBytes(App + "\\schutz.dll"), ReadFileBytes(Medium + "\\schutz.dll"));
  EXPECT_EQ(Attributes(App + "\\schutz.dll") & FILE_ATTRIBUTE_READONLY, 0u);
  EXPECT_EQ(f.Installed, 1);
  EXPECT_EQ(ListFolder(App).size(), 1u);
}

TEST_F(InstallFileTest, ReadOnlySourceGivesAWritableCopy) {
  Scratch.WriteFile("medium\\cd.txt", "vom Medium");
  SetFileAttributesW(win::Widen(Medium + "\\cd.txt").c_str(), FILE_ATTRIBUTE_READONLY);
  Install(AddFile("cd.txt"));
  EXPECT_EQ(Attributes(App + "\\cd.txt") & FILE_ATTRIBUTE_READONLY, 0u);
  SetFileAttributesW(win::Widen(Medium + "\\cd.txt").c_str(), FILE_ATTRIBUTE_NORMAL);
}

// Windows 9x: the version functions see short names only.
TEST_F(InstallFileTest, NineXUsesShortNamesAndLeavesNoEmptyFile) {
  session.IsWindowsNT = false;
  MakeVersionedFile(Medium + "\\Eine lange Bibliothek.dll", {2, 0, 0, 0});
  Scratch.WriteFile("medium\\Lange Textdatei.text", "neu");
  Scratch.MakeFolder("Programme\\Testprogramm");
  MakeVersionedFile(App + "\\Eine lange Bibliothek.dll", {1, 0, 0, 0});
  CFile& lib = AddFile("Eine lange Bibliothek.dll");
  CFile& text = AddFile("Lange Textdatei.text");
  Install(lib);
  Install(text);
  EXPECT_EQ(ReadFileBytes(App + "\\Eine lange Bibliothek.dll"),
            ReadFileBytes(Medium + "\\Eine lange Bibliothek.dll"));
  EXPECT_EQ(ReadFileBytes(App + "\\Lange Textdatei.text"), "neu");
  auto names = ListFolder(App);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"Eine lange Bibliothek.dll", "Lange Textdatei.text"}));
  EXPECT_EQ(lib.InstalledIn, App);
  EXPECT_EQ(text.InstalledIn, App);

  // An uninstallable source leaves no empty placeholder at the destination.
  Scratch.WriteFile("medium\\Gesperrte Datei.text", "x");
  HeldOpen held(Medium + "\\Gesperrte Datei.text");
  CFile& again = AddFile("Gesperrte Datei.text", Scratch / "Neu");
  Scratch.MakeFolder("Neu");
  ui.Answer(MsgResult::Ignore);
  Install(again);
  EXPECT_TRUE(ListFolder(Scratch / "Neu").empty());
}

// Status durability: written when the first record arrives, then at most
// every quarter second, before each question and when the run flushes.
TEST_F(InstallFileTest, StatusIsSavedThrottledBeforeQuestionsAndOnFlush) {
  for (const char* n : {"a.txt", "b.txt", "c.txt", "d.txt"}) Scratch.WriteFile(std::string("medium\\") + n, n);
  CFile& a = AddFile("a.txt");
  CFile& b = AddFile("b.txt");
  CFile& c = AddFile("c.txt");
  CFile& d = AddFile("d.txt");
  CFile& missing = AddFile("fehlt.txt");

  Install(a);
  EXPECT_EQ(SavedRecord("a.txt").first, 1);
  Install(b);  // same instant: not yet on disk
  EXPECT_EQ(SavedRecord("b.txt").first, 0);
  ui.AdvanceClock(0.3);
  Install(c);
  EXPECT_EQ(SavedRecord("b.txt").first, 1);
  EXPECT_EQ(SavedRecord("c.txt").first, 1);

  Install(d);
  EXPECT_EQ(SavedRecord("d.txt").first, 0);
  int32_t dAtQuestion = -1;
  ui.BeforeBox = [&](const MessageBoxRequest&) { dAtQuestion = SavedRecord("d.txt").first; };
  ui.Answer(MsgResult::Ignore);
  Install(missing);
  EXPECT_EQ(dAtQuestion, 1);

  // Flush writes only what is new.
  EXPECT_TRUE(modInstall::FlushInstallStatus(session, *Package));
  d.Installed = 7;  // a change the engine did not make is not its business
  EXPECT_TRUE(modInstall::FlushInstallStatus(session, *Package));
  EXPECT_EQ(SavedRecord("d.txt").first, 1);
  Scratch.WriteFile("medium\\e.txt", "e");
  CFile& e = AddFile("e.txt");
  Install(e);
  EXPECT_EQ(SavedRecord("e.txt").first, 0);
  EXPECT_TRUE(modInstall::FlushInstallStatus(session, *Package));
  EXPECT_EQ(SavedRecord("e.txt").first, 1);
  EXPECT_EQ(SavedRecord("d.txt").first, 7);
}

TEST_F(InstallFileTest, NoStatusSaveKeepsTheDiskUntouched) {
  Package->NoStatusSave = true;
  Scratch.WriteFile("medium\\a.txt", "a");
  Install(AddFile("a.txt"));
  EXPECT_TRUE(modInstall::FlushInstallStatus(session, *Package));
  EXPECT_FALSE(Exists(PackageData + "\\status.ini"));
}

TEST_F(InstallFileTest, ReplaceExistingFile) {
  const std::string src = Scratch.WriteFile("neu.ini", "neu");
  const std::string dst = Scratch.WriteFile("alt.ini", "alt und lang");
  SetFileAttributesW(win::Widen(dst).c_str(), FILE_ATTRIBUTE_READONLY);
  modInstall::ReplaceExistingFile(src, dst);
  EXPECT_EQ(ReadFileBytes(dst), "neu");
  try {
    modInstall::ReplaceExistingFile(Scratch / "gibtsnicht.ini", dst);
    FAIL() << "no error for a missing source";
  } catch (const VbError& e) {
    EXPECT_EQ(e.Number(), vberr::FileNotFound);
  }
  EXPECT_EQ(ReadFileBytes(dst), "neu");
}

}  // namespace
}  // namespace kv::test
