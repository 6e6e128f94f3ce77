// How the interpreter walks a macro: command names, what is skipped, the
// prompt's Abort and Retry, and installfile through the file installation.
#include <gtest/gtest.h>

#include "macro/MacroTestSupport.h"

namespace kv::test {
namespace {

using MacroFlow = MacroTest;

TEST_F(MacroFlow, CommandNamesIgnoreBlanksAndCaseAndOnlySquareBracketGroupsRun) {
  Run("[ MakeDir ]\nPath=*appdir*\\eins\n[/ MakeDir ]\n"
      "[MAKEDIR]\nPath=*appdir*\\zwei\n[/makedir]\n"
      "Path=*appdir*\\wert\n"
      "<makedir>\nPath=*appdir*\\benannt\n</makedir>\n"
      "[gibtesnicht]\nPath=*appdir*\\unbekannt\n[/gibtesnicht]\n"
      "[make dir]\nPath=*appdir*\\getrennt\n[/make dir]\n"
      "[makedir]\nPath=*appdir*\\drei\n[/makedir]");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_TRUE(Exists(App + "\\eins"));
  EXPECT_TRUE(Exists(App + "\\zwei"));
  EXPECT_TRUE(Exists(App + "\\drei"));
  EXPECT_EQ(ListFolder(App).size(), 3u);
}

TEST_F(MacroFlow, AbortAtThePromptEndsTheWalk) {
  ui.Answer(MsgResult::Abort);
  Run("[makedir]\nPath=*appdir*\\vorher\n[/makedir]\n"
      "[makedir]\nPath=*appdir*\\fehlt\\x\n[/makedir]\n"
      "[makedir]\nPath=*appdir*\\nachher\n[/makedir]");
  EXPECT_TRUE(session.Cancelled);
  EXPECT_EQ(CancelCalls, std::vector<bool>{true});  // the asking form of the cancel procedure
  EXPECT_EQ(ui.Boxes().size(), 1u);
  EXPECT_TRUE(Exists(App + "\\vorher"));
  EXPECT_FALSE(Exists(App + "\\nachher"));
}

TEST_F(MacroFlow, AbortInsideANestedBlockEndsTheWholeMacro) {
  modRegTools::SetString("Software\\X", "A", "1", HKEY_CURRENT_USER);
  ui.Answer(MsgResult::Abort);
  Run("[ifregstring]\nKey=Software\\X\nValue=A\nData=1\n"
      "  [makedir]\n  Path=*appdir*\\fehlt\\x\n  [/makedir]\n"
      "  [makedir]\n  Path=*appdir*\\innen\n  [/makedir]\n"
      "[/ifregstring]\n"
      "[makedir]\nPath=*appdir*\\aussen\n[/makedir]");
  EXPECT_TRUE(session.Cancelled);
  EXPECT_FALSE(Exists(App + "\\innen"));
  EXPECT_FALSE(Exists(App + "\\aussen"));
}

TEST_F(MacroFlow, WithdrawnCancellationAsksAgain) {
  ConfirmCancel = false;
  ui.Answer(MsgResult::Abort);
  ui.Answer(MsgResult::Ignore);
  Run("[makedir]\nPath=*appdir*\\fehlt\\x\n[/makedir]\n[makedir]\nPath=*appdir*\\nachher\n[/makedir]");
  EXPECT_FALSE(session.Cancelled);
  EXPECT_EQ(ui.Boxes().size(), 2u);
  EXPECT_TRUE(Exists(App + "\\nachher"));
}

TEST_F(MacroFlow, RetryRunsTheWholeCommandAgainWithFreshParameters) {
  auto macro = Parse("[makedir]\nPath=*appdir*\\fehlt\\x\n[/makedir]");
  auto command = AsGroupPtr(macro->Items[0]);
  ASSERT_TRUE(command);
  // While the box is up, the definition changes (the same group object is
  // read again on the retry) and so does the installation folder.
  const std::string newApp = Scratch.MakeFolder("anders");
  ui.BeforeBox = [&](const MessageBoxRequest&) {
    command->SetValue("Path", "*appdir*\\neu");
    Package->InstalledIn = newApp;
  };
  ui.Answer(MsgResult::Retry);
  Package->OnInstall.SetGroup(macro);
  Package->OnInstall.Execute(session, *Package);

  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text, Prompt("Der Ordner konnte nicht erstellt werden.\r\n" + App + "\\fehlt\\x"));
  EXPECT_TRUE(Exists(newApp + "\\neu"));
}

TEST_F(MacroFlow, RetryRepeatsUntilTheProblemIsGone) {
  const std::string source = Scratch.WriteFile("medium\\src.txt", "S");
  const std::string target = App + "\\dst.txt";
  HANDLE held = CreateFileW(win::Widen(source).c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  int boxes = 0;
  ui.BeforeBox = [&](const MessageBoxRequest&) {
    if (++boxes == 2) CloseHandle(held);  // the program holding the file ends
  };
  ui.Answer(MsgResult::Retry);
  ui.Answer(MsgResult::Retry);
  Run("[copyfile]\nFromPath=" + source + "\nToPath=" + target + "\n[/copyfile]");
  EXPECT_EQ(ui.Boxes().size(), 2u);
  EXPECT_EQ(Read(target), "S");
}

TEST_F(MacroFlow, InstallfileInstallsAPackageFileUnderItsNewName) {
  Scratch.WriteFile("medium\\daten.txt", "D");
  CFile& record = AddFile("daten.txt");
  Run("[installfile]\nSrcName=daten.txt\nDestName=kopie.txt\nToPath=*appdir*\\Unterordner\n[/installfile]");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(Read(App + "\\Unterordner\\kopie.txt"), "D");
  EXPECT_EQ(record.Installed, 1);
  EXPECT_TRUE(EqualsNoCase(record.InstalledIn, App + "\\Unterordner"));
}

TEST_F(MacroFlow, InstallfileShowsOnlyTheFileInstallationsOwnPrompt) {
  AddFile("fehlt.txt");
  ui.Answer(MsgResult::Ignore);
  Run("[installfile]\nSrcName=fehlt.txt\nToPath=*appdir*\n[/installfile]\n"
      "[makedir]\nPath=*appdir*\\danach\n[/makedir]");
  ASSERT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ui.Boxes()[0].request.text.rfind("Eine Quelldatei konnte nicht gefunden werden:", 0), 0u);
  EXPECT_TRUE(Exists(App + "\\danach"));
}

}  // namespace
}  // namespace kv::test
