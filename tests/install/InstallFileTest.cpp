// Installing one file with the system's version functions under wine: the
// copy decision, files in use, questions to the user and the status record.
#include <gtest/gtest.h>

#include "install/CopyJournal.h"
#include "install/FastCopy.h"
#include "install/InstallFile.h"
#include "install/InstallFileSeams.h"
#include "install/InstallTestSupport.h"
#include "platform/RegTools.h"
#include "platform/SharedFiles.h"
#include "platform/SpecialFolders.h"

namespace kv::test {
namespace {

int32_t SharedCount(const std::string& path) {
  return modRegTools::GetNumber(modTools::kSharedDllsKey, path, -1, HKEY_LOCAL_MACHINE);
}

class InstallFileTest : public InstallFixture {
 protected:
  // Puts a file of `version` (0: unversioned text, -1: none) at `path`.
  void Put(const std::string& path, int version, uint16_t language, const std::string& text) {
    if (version > 0) MakeVersionedFile(path, {static_cast<uint16_t>(version), 0, 0, 0}, language);
    if (version == 0) Scratch.WriteFile(path.substr(Scratch.Path().size() + 1), text);
  }
  // Version 2 on the medium over version 1 in the (created) installation folder.
  void PutVersions(const std::string& name) {
    Scratch.MakeFolder("Programme\\Testprogramm");
    Put(Medium + "\\" + name, 2, kLangGerman, "");
    Put(App + "\\" + name, 1, kLangGerman, "");
  }
};

// (What a fresh copy leaves is also compared in the copy-decision table.)
TEST_F(InstallFileTest, FreshFileIsCopiedRecordedAndSaved) {
  Scratch.WriteFile("medium\\liesmich.txt", "Hallo");
  CFile& f = AddFile("liesmich.txt");
  Install(f);
  EXPECT_EQ(ListFolder(App), std::vector<std::string>{"liesmich.txt"});  // no temporary file left
  EXPECT_TRUE(session.FilesInstalled && ui.Boxes().empty());
  EXPECT_EQ(Package->CreatedPaths, std::vector<std::string>{App});
  EXPECT_EQ(SavedRecord("liesmich.txt"), std::make_pair(1, App));  // the first record goes to disk at once

  // Into the now existing folder, under another name, with an empty path.
  Scratch.WriteFile("medium\\a.txt", "A");
  CFile& g = AddFile("a.txt", "", "b.txt");
  Install(g);
  EXPECT_EQ(ReadFileBytes(App + "\\b.txt"), "A");
  EXPECT_FALSE(Exists(App + "\\a.txt"));
  EXPECT_EQ(g.InstalledIn, App);
  EXPECT_EQ(Package->CreatedPaths.size(), 1u);
}

// Whether an existing copy is replaced (version for private files, the date
// stamps for shared files outside the package's folder), and the quick copy
// of new files against the system's version-aware copy: each situation once
// through the system copy alone and once as the engine runs; what either
// leaves behind must be the same.
TEST_F(InstallFileTest, CopyDecisionAndQuickCopyLeaveWhatTheSystemCopyLeaves) {
  enum { kKept, kReplaced, kNone };
  struct Row {
    const char* label;
    int medium, existing;  // version; 0 unversioned, -1 no file
    bool shared, outside, readOnly, inUse, inSystemFolder, dontOverwrite, quick;
    int existingYear;  // the medium's copy is from 2012
    int outcome;       // the file at the destination afterwards
    int32_t count;     // shared count afterwards
    bool large = false;  // beyond the size the quick copy reads in one piece
  };
  const Row rows[] = {
      {"new file", 2, -1, false, false, false, false, false, false, true, 2010, kReplaced, -1},
      {"new large file", 0, -1, false, false, false, false, false, false, true, 2010, kReplaced, -1, true},
      {"same version, other bytes", 1, 1, false, false, false, false, false, false, false, 2010, kKept, -1},
      {"older", 1, 3, false, false, false, false, false, false, false, 2010, kKept, -1},
      {"newer", 3, 1, false, false, false, false, false, false, false, 2010, kReplaced, -1},
      {"no version either side", 0, 0, false, false, false, false, false, false, false, 2010, kReplaced, -1},
      {"shared, package folder", 1, 1, true, false, false, false, false, false, false, 2010, kReplaced, 2},
      {"shared, fresh", 1, -1, true, false, false, false, false, false, true, 2010, kReplaced, 1},
      {"shared, outside, new", 0, -1, true, true, false, false, false, false, true, 2010, kReplaced, 1},
      {"shared, outside, older stamp", 0, 0, true, true, false, false, false, false, false, 2010, kReplaced, 2},
      {"shared, outside, newer stamp", 0, 0, true, true, false, false, false, false, false, 2015, kKept, 2},
      {"shared, outside, equal stamp", 0, 0, true, true, false, false, false, false, false, 2012, kKept, 2},
      {"DontOverwrite", 0, 0, false, false, false, false, false, true, false, 2010, kKept, -1},
      {"DontOverwrite, no copy yet", 0, -1, false, false, false, false, false, true, true, 2010, kReplaced, -1},
      {"read-only destination", 2, 1, false, false, true, false, false, false, false, 2010, kReplaced, -1},
      {"in use", 2, 1, false, false, false, true, false, false, false, 2010, kKept, -1},
      {"copy in the system folder", 2, -1, false, false, false, false, true, false, false, 2010, kReplaced, -1},
      {"missing source", -1, -1, false, false, false, false, false, false, false, 2010, kNone, -1},
  };
  int n = 0;
  for (const Row& r : rows) {
    SCOPED_TRACE(r.label);
    const std::string name = "kvdiff" + std::to_string(++n) + ".dll";
    const std::string inSystem = modSpclFolder::GetSystemFolder() + "\\" + name;
    if (r.inSystemFolder) Put(inSystem, 1, kLangGerman, "");
    Put(Medium + "\\" + name, r.medium, kLangGerman, r.large ? std::string(1536 * 1024, 'M') : "vom Medium");
    if (r.medium >= 0) SetStamps(Medium + "\\" + name, 2012);
    SetReadOnly(Medium + "\\" + name);  // as on a CD: the installed copy is never write-protected
    std::string seen[2];
    int quick = 0;
    for (int way = 0; way < 2; ++way) {  // 0: system copy only, 1: as the engine runs
      modInstall::seams::SystemFunctions functions;
      functions.CopyNewFile = [&](const std::wstring& s, const std::wstring& f, const std::wstring& d,
                                  const FILETIME& t, const modInstall::Announce& announce) {
        if (way == 0) return modInstall::NewFileCopy::Failed;
        const modInstall::NewFileCopy result = modInstall::CopyNewFile(s, f, d, t, announce);
        quick += result == modInstall::NewFileCopy::Copied;
        return result;
      };
      modInstall::seams::ScopedSystemFunctions scope(functions);
      const std::string world = Scratch.MakeFolder("Welt" + std::to_string(n) + "-" + std::to_string(way));
      Package->InstalledIn = world + "\\App";
      const std::string folder = world + (r.outside ? "\\Gemeinsam" : "\\App");
      const std::string path = folder + "\\" + name;
      if (r.existing >= 0) {
        CreateDirectoryW(win::Widen(folder).c_str(), nullptr);
        // Same version: another language, so that the bytes differ.
        Put(path, r.existing, r.existing == r.medium ? kLangEnglishUS : kLangGerman, "vorhanden und länger");
        SetStamps(path, r.existingYear);
        if (r.readOnly) SetReadOnly(path);
      }
      const std::string before = ReadFileBytes(path);
      HeldOpen held(r.inUse ? path : world + "\\-");
      CStringLongStringStack pending;
      if (r.medium < 0) ui.Answer(MsgResult::Ignore);
      const size_t boxes = ui.Boxes().size();
      Package->Files.Remove(name);
      CFile& f = AddFile(name, r.outside ? folder : "*appdir*");
      f.SharedFile = r.shared;
      f.DontOverwrite = r.dontOverwrite;
      Install(f, &pending);
      held.Release();
      const std::string after = ReadFileBytes(path);
      EXPECT_EQ(r.outcome == kReplaced ? ReadFileBytes(Medium + "\\" + name) : before, after) << way;
      EXPECT_EQ(f.Installed, r.outcome == kNone ? 0 : 1);  // kept files count as installed too
      EXPECT_EQ(SharedCount(path), r.count);
      if (r.outcome == kReplaced) {
        EXPECT_FALSE(GetFileAttributesW(win::Widen(path).c_str()) & FILE_ATTRIBUTE_READONLY);
      }
      if (r.dontOverwrite) {
        EXPECT_EQ(f.InstalledIn, r.outcome == kKept ? "" : folder);  // not ours: not recorded
      }
      WIN32_FILE_ATTRIBUTE_DATA data{};
      GetFileAttributesExW(win::Widen(path).c_str(), GetFileExInfoStandard, &data);
      std::string pendingText;
      for (int i = 1; i <= pending.Count(); ++i) pendingText += pending.ItemData(i) + ">" + pending.ItemText(i) + ";";
      const uint64_t written =
          (uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32) | data.ftLastWriteTime.dwLowDateTime;
      std::string all = std::to_string(f.Installed) + "|" + f.InstalledIn + "|" + std::to_string(std::hash<std::string>()(after)) +
                        "|" + std::to_string(data.dwFileAttributes) + "|" + std::to_string(written) + "|" +
                        pendingText + "|" + std::to_string(ui.Boxes().size() - boxes);
      for (const std::string& entry : ListFolder(folder)) all += "|" + entry;
      for (size_t at; (at = all.find(world)) != std::string::npos;) all.replace(at, world.size(), "<Welt>");
      seen[way] = all;
    }
    EXPECT_EQ(seen[1], seen[0]);
    EXPECT_EQ(quick, r.quick ? 1 : 0);
    if (r.inSystemFolder) DeleteFileW(win::Widen(inSystem).c_str());
  }
}

// Whatever is at the name stays as it was; every path the quick copy
// creates is announced (for the journal) before its bytes, and only the
// file itself remains.
TEST_F(InstallFileTest, QuickCopyNeverTouchesWhatIsThere) {
  enum Place { kNothing, kFile, kFolder, kNoParent };
  struct Row {
    const char* label;
    Place place;
    bool large, compressed;
    modInstall::NewFileCopy result;
  };
  const Row rows[] = {
      {"new", kNothing, false, false, modInstall::NewFileCopy::Copied},
      {"new, large", kNothing, true, false, modInstall::NewFileCopy::Copied},
      {"file at the name", kFile, false, false, modInstall::NewFileCopy::Occupied},
      {"file at the name, large source", kFile, true, false, modInstall::NewFileCopy::Occupied},
      {"folder at the name", kFolder, false, false, modInstall::NewFileCopy::Occupied},
      {"no such folder", kNoParent, false, false, modInstall::NewFileCopy::Failed},
      {"compressed source", kNothing, false, true, modInstall::NewFileCopy::Failed},
  };
  int n = 0;
  for (const Row& r : rows) {
    SCOPED_TRACE(r.label);
    const std::string name = "quick" + std::to_string(++n) + ".dat";
    const std::string source = Medium + "\\" + name;
    const std::string head = r.compressed ? std::string("SZDD\x88\xF0\x27\x33", 8) : "";
    Scratch.WriteFile("medium\\" + name, head + std::string(r.large ? 1536 * 1024 : 100, 'q'));
    const std::string folder = r.place == kNoParent ? App + "\\fehlt" : Scratch.MakeFolder("Ziel" + std::to_string(n));
    const std::string target = folder + "\\" + name;
    if (r.place == kFile) Scratch.WriteFile("Ziel" + std::to_string(n) + "\\" + name, "schon da");
    if (r.place == kFolder) CreateDirectoryW(win::Widen(target).c_str(), nullptr);
    std::vector<std::string> announced;
    const modInstall::NewFileCopy result = modInstall::CopyNewFile(
        win::Widen(source), win::Widen(folder), win::Widen(name), FILETIME{},
        [&](const std::wstring& path) { announced.push_back(win::Narrow(path)); });
    EXPECT_EQ(result, r.result);
    if (r.result == modInstall::NewFileCopy::Copied) {
      EXPECT_NE(std::find(announced.begin(), announced.end(), target), announced.end());
      EXPECT_EQ(ListFolder(folder), std::vector<std::string>{name});
    }
    if (r.result != modInstall::NewFileCopy::Copied) {
      EXPECT_TRUE(announced.empty());
    }
    if (r.place == kFile) EXPECT_EQ(ReadFileBytes(target), "schon da");
    if (r.place == kFolder) EXPECT_TRUE(GetFileAttributesW(win::Widen(target).c_str()) & FILE_ATTRIBUTE_DIRECTORY);
    if (r.result == modInstall::NewFileCopy::Copied) EXPECT_EQ(ReadFileBytes(target), ReadFileBytes(source));
    if (r.place == kNothing || r.place == kNoParent) {
      EXPECT_EQ(Exists(target), r.result == modInstall::NewFileCopy::Copied);
    }
  }
}

TEST_F(InstallFileTest, MissingSourceTextNamesTheMedium) {
  struct Row {
    std::string source;
    UINT driveType;  // 0: the real one
    std::string hint;
  };
  const Row rows[] = {
      {Medium, 0, ""},
      {"d:\\setup", DRIVE_CDROM, "\r\nBitte stellen Sie sicher, dass das Installationsmedium in Laufwerk D: eingelegt ist."},
      {"\\\\kvnohost\\medium", 0,
       "\r\nBitte stellen Sie sicher, dass das Installationsmedium in Laufwerk \\\\ eingelegt ist."},
  };
  CFile& f = AddFile("x.dll");
  for (const Row& r : rows) {
    SCOPED_TRACE(r.source);
    modInstall::seams::SystemFunctions fake;
    std::wstring askedRoot;
    if (r.driveType) {  // wine has no removable drive
      fake.GetDriveType = [&](LPCWSTR root) {
        askedRoot = root;
        return r.driveType;
      };
    }
    modInstall::seams::ScopedSystemFunctions scope(fake);
    Package->SourcePath = r.source;
    ui.Answer(MsgResult::Ignore);
    Install(f);
    ASSERT_FALSE(ui.Boxes().empty());
    const MessageBoxRequest& box = ui.Boxes().back().request;
    EXPECT_EQ(box.text, "Eine Quelldatei konnte nicht gefunden werden:\r\n    " + r.source + "\\x.dll" + r.hint + kAriTail);
    EXPECT_TRUE(box.title == "Kivra Setup: Testprogramm" && box.buttons == MsgButtons::AbortRetryIgnore &&
                box.icon == MsgIcon::Exclamation && box.defaultButton == 2);
    if (r.driveType) {
      EXPECT_EQ(askedRoot, L"d:\\");
    }
  }
  EXPECT_EQ(ui.Boxes().size(), 3u);
  EXPECT_EQ(f.Installed, 0);
  EXPECT_FALSE(session.FilesInstalled);
  EXPECT_FALSE(Exists(App));  // nothing created for a skipped file
  EXPECT_TRUE(CancelCalls.empty());
}

TEST_F(InstallFileTest, MissingSourceAbortAndRetry) {
  CFile& f = AddFile("spaeter.txt");
  // Abbrechen, the user withdraws the cancellation, the box comes back.
  ConfirmCancel = false;
  ui.Answer(MsgResult::Abort);
  ui.Answer(MsgResult::Abort);
  int boxes = 0;
  ui.BeforeBox = [&](const MessageBoxRequest&) { ConfirmCancel = ++boxes == 2; };
  Install(f);
  EXPECT_EQ(CancelCalls, (std::vector<bool>{true, true}));  // both times the asking form
  EXPECT_TRUE(session.Cancelled);
  EXPECT_EQ(f.Installed, 0);

  // Wiederholen until the file is there; the pointer is normal at the box.
  session.Cancelled = false;
  ui.Answer(MsgResult::Retry);
  ui.Answer(MsgResult::Retry);
  boxes = 0;
  ui.BeforeBox = [&](const MessageBoxRequest&) {
    if (++boxes == 2) Scratch.WriteFile("medium\\spaeter.txt", "da");
  };
  ui.PointerAtBox.clear();
  session.Ui.SetMousePointer(MousePointer::Hourglass);
  Install(f);
  EXPECT_EQ(ui.Boxes().size(), 4u);
  EXPECT_EQ(ui.PointerAtBox, (std::vector<MousePointer>{MousePointer::Default, MousePointer::Default}));
  EXPECT_EQ(ReadFileBytes(App + "\\spaeter.txt"), "da");
  EXPECT_EQ(f.Installed, 1);
}

TEST_F(InstallFileTest, FileInUseGoesToThePendingListOrAsks) {
  PutVersions("laeuft.dll");
  const std::string old = ReadFileBytes(App + "\\laeuft.dll");
  HeldOpen held(App + "\\laeuft.dll");
  ASSERT_TRUE(held.Holding());
  CStringLongStringStack pending;
  CFile& f = AddFile("laeuft.dll");
  Install(f, &pending);
  EXPECT_TRUE(ui.Boxes().empty());
  ASSERT_EQ(pending.Count(), 1);
  EXPECT_EQ(pending.ItemData(1), App + "\\laeuft (1).dll");
  EXPECT_EQ(pending.ItemText(1), App + "\\laeuft.dll");
  EXPECT_EQ(ReadFileBytes(App + "\\laeuft (1).dll"), ReadFileBytes(Medium + "\\laeuft.dll"));
  EXPECT_EQ(f.Installed, 1);
  EXPECT_EQ(ListFolder(App).size(), 2u);  // no temporary copy of the system's left
  held.Release();
  EXPECT_EQ(ReadFileBytes(App + "\\laeuft.dll"), old);

  // Without a pending list the user is asked; Wiederholen after closing the program.
  DeleteFileW(win::Widen(App + "\\laeuft (1).dll").c_str());
  f.Installed = 0;
  HeldOpen again(App + "\\laeuft.dll");
  ui.Answer(MsgResult::Ignore);
  Install(f);
  EXPECT_EQ(f.Installed, 0);
  ui.Answer(MsgResult::Retry);
  ui.BeforeBox = [&](const MessageBoxRequest&) { again.Release(); };
  Install(f);
  EXPECT_EQ(ui.Boxes().size(), 2u);
  EXPECT_EQ(ui.Boxes()[0].request.text, "Die Datei laeuft.dll konnte nicht überschrieben werden." + kAriTail);
  EXPECT_EQ(ReadFileBytes(App + "\\laeuft.dll"), ReadFileBytes(Medium + "\\laeuft.dll"));
  EXPECT_EQ(f.Installed, 1);
  EXPECT_EQ(ListFolder(App).size(), 1u);

  // An unreadable source is a copy error.
  Scratch.WriteFile("medium\\gesperrt.txt", "x");
  HeldOpen source(Medium + "\\gesperrt.txt");
  ui.Answer(MsgResult::Ignore);
  Install(AddFile("gesperrt.txt"));
  EXPECT_EQ(ui.Boxes().back().request.text,
            "Beim Installieren von gesperrt.txt ist ein Fehler aufgetreten." + kAriTail);
  EXPECT_EQ(ListFolder(App).size(), 1u);

  // In use, and even the copy for the restart fails: asked, nothing pending.
  modInstall::seams::ScopedSystemFunctions busy({.VerInstallFile = [](auto&&...) -> DWORD { return VIF_SHARINGVIOLATION; }});
  ui.Answer(MsgResult::Ignore);
  CFile& locked = *Package->Files.Item("gesperrt.txt");
  Install(locked, &pending);
  EXPECT_EQ(ui.Boxes().back().request.text, "Die Datei gesperrt.txt konnte nicht überschrieben werden." + kAriTail);
  EXPECT_EQ(pending.Count(), 1);
  EXPECT_EQ(locked.Installed, 0);
  EXPECT_EQ(ListFolder(App).size(), 1u);
}

// Written with the first record, then at most every quarter second (longer
// after a slow write), before each question and on flush (only what is new).
TEST_F(InstallFileTest, StatusIsSavedThrottledBeforeQuestionsAndOnFlush) {
  std::vector<CFile*> files;
  for (const char* n : {"a.txt", "b.txt", "c.txt", "d.txt", "e.txt"}) {
    Scratch.WriteFile(std::string("medium\\") + n, n);
    files.push_back(&AddFile(n));
  }
  CFile& missing = AddFile("fehlt.txt");
  Install(*files[0]);
  EXPECT_EQ(SavedRecord("a.txt").first, 1);
  Install(*files[1]);  // same instant: not yet on disk
  EXPECT_EQ(SavedRecord("b.txt").first, 0);
  ui.AdvanceClock(0.3);
  Install(*files[2]);
  EXPECT_EQ(SavedRecord("b.txt").first, 1);
  Install(*files[3]);
  EXPECT_EQ(SavedRecord("d.txt").first, 0);
  int32_t dAtQuestion = -1;
  ui.BeforeBox = [&](const MessageBoxRequest&) { dAtQuestion = SavedRecord("d.txt").first; };
  ui.Answer(MsgResult::Ignore);
  Install(missing);
  EXPECT_EQ(dAtQuestion, 1);

  EXPECT_TRUE(modInstall::FlushInstallStatus(session, *Package));
  files[3]->Installed = 7;  // a change the engine did not make is not its business
  EXPECT_TRUE(modInstall::FlushInstallStatus(session, *Package));
  EXPECT_EQ(SavedRecord("d.txt").first, 1);
  Install(*files[4]);
  EXPECT_EQ(SavedRecord("e.txt").first, 0);
  EXPECT_TRUE(modInstall::FlushInstallStatus(session, *Package));
  EXPECT_EQ(SavedRecord("e.txt").first, 1);

  // A write that took long stretches the wait to fifty times its length.
  session.StatusSaveSeconds = 0.01;
  DeleteFileW(win::Widen(PackageData + "\\status.ini").c_str());
  ui.AdvanceClock(0.3);
  Install(*files[1]);
  EXPECT_FALSE(Exists(PackageData + "\\status.ini"));
  ui.AdvanceClock(0.3);
  Install(*files[2]);
  EXPECT_TRUE(Exists(PackageData + "\\status.ini"));

  Package->NoStatusSave = true;
  DeleteFileW(win::Widen(PackageData + "\\status.ini").c_str());
  Install(*files[0]);
  EXPECT_TRUE(modInstall::FlushInstallStatus(session, *Package));
  EXPECT_FALSE(Exists(PackageData + "\\status.ini"));
}

// A run ended hard between two status writes: the next start deletes the
// copies that no record on disk claims, never a file that was there before.
TEST_F(InstallFileTest, UnrecordedCopiesOfAKilledRunAreDropped) {
  Scratch.MakeFolder("Programme\\Testprogramm");
  Scratch.WriteFile("Programme\\Testprogramm\\c.txt", "fremd");
  for (const char* name : {"a.txt", "b.txt", "c.txt"}) {
    Scratch.WriteFile(std::string("medium\\") + name, "neu");
    Install(AddFile(name));
  }
  ASSERT_EQ(SavedRecord("a.txt").first, 1);  // the first record went to disk at once, the others wait
  for (const char* name : {"b.txt", "c.txt"}) (*Package->Files.Find(name))->Installed = 0;  // as read back
  modInstall::DropUnrecordedCopies(session, *Package);
  EXPECT_EQ(ListFolder(App), (std::vector<std::string>{"a.txt", "c.txt"}));
  EXPECT_FALSE(Exists(modInstall::CopyJournalPath(*Package)));
}

// Beyond the path length the version functions take (they crashed on it):
// the copy fails with the ordinary question; Ignore skips it unrecorded.
TEST_F(InstallFileTest, OverlongDestinationFailsAsACopy) {
  std::string deep = App;
  while (deep.size() < MAX_PATH) deep += "\\Unterordner mit einem langen Namen";
  Scratch.WriteFile("medium\\b.txt", "B");
  CFile& b = AddFile("b.txt", deep);
  ui.Answer(MsgResult::Ignore);
  Install(b);
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text, "Beim Installieren von b.txt ist ein Fehler aufgetreten." + kAriTail);
  EXPECT_EQ(b.Installed, 0);
}

}  // namespace
}  // namespace kv::test
