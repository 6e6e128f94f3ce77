// The macro commands on files and folders: their effect, their messages with
// the expanded path, the silent forms and the wildcard guard.
#include <gtest/gtest.h>

#include "macro/MacroTestSupport.h"

namespace kv::test {
namespace {

using FileCommands = MacroTest;

TEST_F(FileCommands, EachCommandDoesItsWorkWithExpandedPaths) {
  Scratch.MakeFolder("medium\\voll");
  for (const char* name : {"readme.txt", "move.txt", "old.txt", "gone.txt", "voll\\keep.txt"})
    Scratch.WriteFile(std::string("medium\\") + name, std::string(1, name[0]));
  Scratch.WriteFile("Programme\\Testprogramm\\moved.txt", "older");  // replaced by the move
  Scratch.MakeFolder("medium\\leer");
  const std::string m = Medium;
  Run("[makedir]\nPath=*appdir*\\Übersicht\n[/makedir]\n"
      "[copyfile]\nFromPath=" + m + "\\readme.txt\nToPath=*appdir*\\Übersicht\\liesmich.txt\n[/copyfile]\n"
      "[movefile]\nFromPath=" + m + "\\move.txt\nToPath=*appdir*\\moved.txt\n[/movefile]\n"
      "[makedir]\nPath=  \n[/makedir]\n"
      "[renamefile]\nFromPath=" + m + "\\old.txt\nToPath=" + m + "\\new.txt\n[/renamefile]\n"
      "[deletefile]\nPath=" + m + "\\gone.txt\n[/deletefile]\n"
      "[removedir]\nPath=" + m + "\\leer\n[/removedir]\n"
      "[removedir]\nPath=" + m + "\\voll\n[/removedir]\n");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(ReadFileBytes(App + "\\Übersicht\\liesmich.txt"), "r");
  EXPECT_EQ(ReadFileBytes(m + "\\readme.txt"), "r");
  EXPECT_EQ(ReadFileBytes(App + "\\moved.txt"), "m");
  EXPECT_EQ(ReadFileBytes(m + "\\new.txt"), "o");
  EXPECT_EQ(ListFolder(m), (std::vector<std::string>{"new.txt", "readme.txt", "voll"}));
  EXPECT_TRUE(Exists(m + "\\voll\\keep.txt"));  // removedir never touches files
}

TEST_F(FileCommands, FailuresAskWithTheExpandedPath) {
  const std::string locked = Scratch.WriteFile("medium\\locked.txt", "L");
  SetReadOnly(locked);
  Scratch.WriteFile("medium\\taken.txt", "T");
  Scratch.MakeFolder("Programme\\Testprogramm\\Daten");  // as a first run (or a repair) left it
  for (int i = 0; i < 7; ++i) ui.Answer(MsgResult::Ignore);
  Run("[makedir]\nPath=*appdir*\\Daten\n[/makedir]\n"
      "[makedir]\nPath=*appdir*\\fehlt\\neu\n[/makedir]\n"
      "[deletefile]\nPath=*appdir*\\nie-da.txt\n[/deletefile]\n"
      "[deletefile]\nPath=" + locked + "\n[/deletefile]\n"
      "[copyfile]\nFromPath=*appdir*\\nicht-da.txt\nToPath=*appdir*\\x.txt\n[/copyfile]\n"
      "[renamefile]\nFromPath=" + locked + "\nToPath=" + Medium + "\\taken.txt\n[/renamefile]\n"
      // The copy succeeds, the source cannot be deleted: reported as a copy failure.
      "[movefile]\nFromPath=" + locked + "\nToPath=*appdir*\\dst.txt\n[/movefile]");
  EXPECT_EQ(ui.BoxTexts(), (std::vector<std::string>{
                         "Der Ordner konnte nicht erstellt werden.\r\n" + App + "\\Daten" + kAriTail,
                         "Der Ordner konnte nicht erstellt werden.\r\n" + App + "\\fehlt\\neu" + kAriTail,
                         "Die Datei konnte nicht gelöscht werden.\r\n" + App + "\\nie-da.txt" + kAriTail,
                         "Die Datei konnte nicht gelöscht werden.\r\n" + locked + kAriTail,
                         "Die Datei konnte nicht kopiert werden.\r\n" + App + "\\nicht-da.txt" + kAriTail,
                         "Die Datei konnte nicht umbenannt werden.\r\n" + locked + kAriTail,
                         "Die Datei konnte nicht kopiert werden.\r\n" + locked + kAriTail}));
  EXPECT_EQ(ui.Boxes()[0].request.buttons, MsgButtons::AbortRetryIgnore);
  EXPECT_EQ(ui.Boxes()[0].request.title, session.SetupTitle);
  EXPECT_FALSE(Exists(App + "\\fehlt"));  // the parent is not made
  EXPECT_EQ(ReadFileBytes(locked), "L");
  EXPECT_EQ(ReadFileBytes(Medium + "\\taken.txt"), "T");
  EXPECT_EQ(ReadFileBytes(App + "\\dst.txt"), "L");
  EXPECT_FALSE(session.Cancelled);
}

TEST_F(FileCommands, SilentFormsNeverAsk) {
  const std::string locked = Scratch.WriteFile("medium\\locked.txt", "L");
  SetReadOnly(locked);
  Scratch.WriteFile("medium\\taken.txt", "T");
  Run("[silentdeletefile]\nPath=" + locked + "\n[/silentdeletefile]\n"
      "[silentdeletefile]\nPath=*appdir*\\nie-da.txt\n[/silentdeletefile]\n"
      "[silentcopyfile]\nFromPath=*appdir*\\nicht-da.txt\nToPath=*appdir*\\x.txt\n[/silentcopyfile]\n"
      "[silentmovefile]\nFromPath=*appdir*\\nicht-da.txt\nToPath=*appdir*\\y.txt\n[/silentmovefile]\n"
      "[silentmovefile]\nFromPath=" + Medium + "\\taken.txt\nToPath=*appdir*\\fehlt\\z.txt\n[/silentmovefile]\n"
      "[silentrenamefile]\nFromPath=" + locked + "\nToPath=" + Medium + "\\taken.txt\n[/silentrenamefile]\n"
      "[removedir]\nPath=*appdir*\\nicht-da\n[/removedir]\n"
      "[makedir]\nPath=*appdir*\\danach\n[/makedir]");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_TRUE(Exists(locked));
  EXPECT_EQ(ReadFileBytes(Medium + "\\taken.txt"), "T");  // a failed move keeps its source
  EXPECT_EQ(ListFolder(App), std::vector<std::string>{"danach"});  // the walk went on
}

TEST_F(FileCommands, WildcardPathsAreRefusedSilently) {
  Scratch.WriteFile("medium\\a.tmp", "A");
  Scratch.WriteFile("medium\\b.tmp", "B");
  Scratch.MakeFolder("medium\\d1");
  Run("[deletefile]\nPath=" + Medium + "\\*.tmp\n[/deletefile]\n"
      "[deletefile]\nPath=" + Medium + "\\?.tmp\n[/deletefile]\n"
      "[removedir]\nPath=" + Medium + "\\d?\n[/removedir]\n"
      "[deletefile]\nPath=   \n[/deletefile]\n"
      "[deletefile]\n[/deletefile]\n"
      // An unknown placeholder stays as written; its asterisks are caught too.
      "[deletefile]\nPath=*unbekannt*\\a.tmp\n[/deletefile]");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(ListFolder(Medium), (std::vector<std::string>{"a.tmp", "b.tmp", "d1"}));
}

// Before the path page the installation folder is empty and "*appdir*\x"
// would be "\x" at the root of the current drive: nothing there is touched.
TEST_F(FileCommands, NoInstallationFolderYetTouchesNothingAtTheDriveRoot) {
  AtDriveRoot foreign(Scratch.Path(), "kvfremd.txt");
  Scratch.WriteFile("medium\\neu.txt", "N");
  Package->InstalledIn.clear();
  Run("[deletefile]\nPath=*appdir*\\kvfremd.txt\n[/deletefile]\n"
      "[copyfile]\nFromPath=" + Medium + "\\neu.txt\nToPath=*AppDir*\\kvfremd.txt\n[/copyfile]\n"
      "[renamefile]\nFromPath=*appdir*\\kvfremd.txt\nToPath=" + Medium + "\\weg.txt\n[/renamefile]\n"
      "[makedir]\nPath=*appdir*\\kvordner\n[/makedir]\n"
      "[installfile]\nSrcName=neu.txt\nDestName=kvfremd.txt\n[/installfile]\n"
      "[makedir]\nPath=" + Medium + "\\danach\n[/makedir]");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(ReadFileBytes(foreign.Path()), "fremd");
  EXPECT_FALSE(Exists("C:\\kvordner"));
  EXPECT_EQ(ListFolder(Medium), (std::vector<std::string>{"danach", "neu.txt"}));  // the walk went on
}

}  // namespace
}  // namespace kv::test
