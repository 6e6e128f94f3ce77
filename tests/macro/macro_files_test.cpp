// The macro commands on files and folders: their effect, their messages with
// the expanded path, the silent forms and the wildcard guard.
#include <gtest/gtest.h>

#include "macro/MacroTestSupport.h"

namespace kv::test {
namespace {

using FileCommands = MacroTest;

TEST_F(FileCommands, EachCommandDoesItsWorkWithExpandedPaths) {
  Scratch.WriteFile("medium\\readme.txt", "R");
  Scratch.WriteFile("Programme\\Testprogramm\\moved.txt", "older");  // replaced by the copy
  Scratch.WriteFile("medium\\move.txt", "M");
  Scratch.WriteFile("medium\\old.txt", "O");
  Scratch.WriteFile("medium\\gone.txt", "G");
  Scratch.MakeFolder("medium\\leer");
  Scratch.MakeFolder("medium\\voll");
  Scratch.WriteFile("medium\\voll\\keep.txt", "K");
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
  EXPECT_EQ(Read(App + "\\Übersicht\\liesmich.txt"), "R");
  EXPECT_EQ(Read(m + "\\readme.txt"), "R");
  EXPECT_EQ(Read(App + "\\moved.txt"), "M");
  EXPECT_FALSE(Exists(m + "\\move.txt"));
  EXPECT_EQ(Read(m + "\\new.txt"), "O");
  EXPECT_FALSE(Exists(m + "\\old.txt"));
  EXPECT_FALSE(Exists(m + "\\gone.txt"));
  EXPECT_FALSE(Exists(m + "\\leer"));
  EXPECT_TRUE(Exists(m + "\\voll\\keep.txt"));  // removedir never touches files
}

TEST_F(FileCommands, MakedirOnAnExistingFolderAndDeletefileOnAMissingFileAsk) {
  // A second run (a repair runs the macros again) meets what the first left:
  // the folder is there and the file is gone; both are refusals that ask.
  const std::string body = "[makedir]\nPath=*appdir*\\Daten\n[/makedir]\n"
                           "[deletefile]\nPath=*appdir*\\nie-da.txt\n[/deletefile]\n"
                           "[silentdeletefile]\nPath=*appdir*\\nie-da.txt\n[/silentdeletefile]";
  ui.Answer(MsgResult::Ignore);  // the first run: only deletefile complains
  Run(body);
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text, Prompt("Die Datei konnte nicht gelöscht werden.\r\n" + App + "\\nie-da.txt"));
  EXPECT_TRUE(Exists(App + "\\Daten"));

  ui.Answer(MsgResult::Ignore);
  ui.Answer(MsgResult::Ignore);
  Run(body);
  ASSERT_EQ(ui.Boxes().size(), 3u);
  EXPECT_EQ(ui.Boxes()[1].request.text, Prompt("Der Ordner konnte nicht erstellt werden.\r\n" + App + "\\Daten"));
  EXPECT_EQ(ui.Boxes()[2].request.text, Prompt("Die Datei konnte nicht gelöscht werden.\r\n" + App + "\\nie-da.txt"));
  EXPECT_EQ(ui.UnusedAnswers(), 0u);
}

TEST_F(FileCommands, FailuresShowTheirMessageWithTheExpandedPath) {
  const std::string locked = Scratch.WriteFile("medium\\locked.txt", "L");
  SetFileAttributesW(win::Widen(locked).c_str(), FILE_ATTRIBUTE_READONLY);
  Scratch.WriteFile("medium\\taken.txt", "T");
  for (int i = 0; i < 4; ++i) ui.Answer(MsgResult::Ignore);

  Run("[makedir]\nPath=*appdir*\\fehlt\\neu\n[/makedir]\n"
      "[deletefile]\nPath=" + Medium + "\\locked.txt\n[/deletefile]\n"
      "[copyfile]\nFromPath=*appdir*\\nicht-da.txt\nToPath=*appdir*\\x.txt\n[/copyfile]\n"
      "[renamefile]\nFromPath=" + Medium + "\\locked.txt\nToPath=" + Medium + "\\taken.txt\n[/renamefile]");

  ASSERT_EQ(ui.Boxes().size(), 4u);
  EXPECT_EQ(ui.Boxes()[0].request.text, Prompt("Der Ordner konnte nicht erstellt werden.\r\n" + App + "\\fehlt\\neu"));
  EXPECT_EQ(ui.Boxes()[1].request.text, Prompt("Die Datei konnte nicht gelöscht werden.\r\n" + Medium + "\\locked.txt"));
  EXPECT_EQ(ui.Boxes()[2].request.text, Prompt("Die Datei konnte nicht kopiert werden.\r\n" + App + "\\nicht-da.txt"));
  EXPECT_EQ(ui.Boxes()[3].request.text,
            Prompt("Die Datei konnte nicht umbenannt werden.\r\n" + Medium + "\\locked.txt"));
  EXPECT_EQ(ui.Boxes()[0].request.buttons, MsgButtons::AbortRetryIgnore);
  EXPECT_EQ(ui.Boxes()[0].request.title, session.SetupTitle);
  EXPECT_FALSE(Exists(App + "\\fehlt"));  // the parent is not made
  EXPECT_EQ(Read(locked), "L");
  EXPECT_EQ(Read(Medium + "\\taken.txt"), "T");
  EXPECT_FALSE(session.Cancelled);
}

TEST_F(FileCommands, MoveWhoseSourceCannotBeDeletedReportsTheCopyMessage) {
  const std::string source = Scratch.WriteFile("medium\\src.txt", "S");
  SetFileAttributesW(win::Widen(source).c_str(), FILE_ATTRIBUTE_READONLY);
  ui.Answer(MsgResult::Ignore);
  Run("[movefile]\nFromPath=" + source + "\nToPath=*appdir*\\dst.txt\n[/movefile]");
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text, Prompt("Die Datei konnte nicht kopiert werden.\r\n" + source));
  EXPECT_EQ(Read(App + "\\dst.txt"), "S");
  EXPECT_TRUE(Exists(source));
}

TEST_F(FileCommands, SilentFormsNeverAsk) {
  const std::string locked = Scratch.WriteFile("medium\\locked.txt", "L");
  SetFileAttributesW(win::Widen(locked).c_str(), FILE_ATTRIBUTE_READONLY);
  Scratch.WriteFile("medium\\taken.txt", "T");
  Run("[silentdeletefile]\nPath=" + locked + "\n[/silentdeletefile]\n"
      "[silentcopyfile]\nFromPath=*appdir*\\nicht-da.txt\nToPath=*appdir*\\x.txt\n[/silentcopyfile]\n"
      "[silentmovefile]\nFromPath=*appdir*\\nicht-da.txt\nToPath=*appdir*\\y.txt\n[/silentmovefile]\n"
      "[silentrenamefile]\nFromPath=" + locked + "\nToPath=" + Medium + "\\taken.txt\n[/silentrenamefile]\n"
      "[removedir]\nPath=*appdir*\\nicht-da\n[/removedir]\n"
      "[makedir]\nPath=*appdir*\\danach\n[/makedir]");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_TRUE(Exists(locked));
  EXPECT_FALSE(Exists(App + "\\x.txt"));
  EXPECT_FALSE(Exists(App + "\\y.txt"));
  EXPECT_TRUE(Exists(App + "\\danach"));  // the walk went on after the swallowed failures
}

TEST_F(FileCommands, SilentMoveKeepsTheSourceWhenTheCopyFails) {
  const std::string source = Scratch.WriteFile("medium\\src.txt", "S");
  Run("[silentmovefile]\nFromPath=" + source + "\nToPath=*appdir*\\fehlt\\dst.txt\n[/silentmovefile]");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(Read(source), "S");
}

TEST_F(FileCommands, WildcardPathsAreRefusedSilently) {
  Scratch.WriteFile("medium\\a.tmp", "A");
  Scratch.WriteFile("medium\\b.tmp", "B");
  Scratch.MakeFolder("medium\\d1");
  Run("[deletefile]\nPath=" + Medium + "\\*.tmp\n[/deletefile]\n"
      "[silentdeletefile]\nPath=" + Medium + "\\?.tmp\n[/silentdeletefile]\n"
      "[removedir]\nPath=" + Medium + "\\d?\n[/removedir]\n"
      "[deletefile]\nPath=   \n[/deletefile]\n"
      "[deletefile]\n[/deletefile]\n"
      // Without a package, *appdir* would stay as written; the guard catches
      // the asterisks of an unexpanded placeholder too.
      "[deletefile]\nPath=*unbekannt*\\a.tmp\n[/deletefile]");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_TRUE(Exists(Medium + "\\a.tmp"));
  EXPECT_TRUE(Exists(Medium + "\\b.tmp"));
  EXPECT_TRUE(Exists(Medium + "\\d1"));
}

}  // namespace
}  // namespace kv::test
