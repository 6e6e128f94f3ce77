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
  EXPECT_EQ(ListFolder(App), (std::vector<std::string>{"drei", "eins", "zwei"}));
}

TEST_F(MacroFlow, AbortAtThePromptEndsTheWholeWalk) {
  modRegTools::SetString("Software\\X", "A", "1", HKEY_CURRENT_USER);
  ui.Answer(MsgResult::Abort);
  Run("[makedir]\nPath=*appdir*\\vorher\n[/makedir]\n"
      "[ifregstring]\nKey=Software\\X\nValue=A\nData=1\n"
      "  [makedir]\n  Path=*appdir*\\fehlt\\x\n  [/makedir]\n"
      "  [makedir]\n  Path=*appdir*\\innen\n  [/makedir]\n"
      "[/ifregstring]\n"
      "[makedir]\nPath=*appdir*\\aussen\n[/makedir]");
  EXPECT_TRUE(session.Cancelled);
  EXPECT_EQ(CancelCalls, std::vector<bool>{true});  // the asking form of the cancel procedure
  EXPECT_EQ(ui.Boxes().size(), 1u);
  EXPECT_EQ(ListFolder(App), std::vector<std::string>{"vorher"});
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
  // While the box is up, the definition and the installation folder change.
  const std::string newApp = Scratch.MakeFolder("anders");
  ui.BeforeBox = [&](const MessageBoxRequest&) {
    command->SetValue("Path", "*appdir*\\neu");
    Package->InstalledIn = newApp;
  };
  ui.Answer(MsgResult::Retry);
  Run(macro);
  EXPECT_EQ(ui.BoxTexts(), std::vector<std::string>{"Der Ordner konnte nicht erstellt werden.\r\n" + App + "\\fehlt\\x" +
                                              kAriTail});
  EXPECT_TRUE(Exists(newApp + "\\neu"));
}

TEST_F(MacroFlow, InstallfileGoesThroughTheFileInstallation) {
  Scratch.WriteFile("medium\\daten.txt", "D");
  CFile& record = AddFile("daten.txt");
  AddFile("fehlt.txt");
  ui.Answer(MsgResult::Ignore);
  Run("[installfile]\nSrcName=daten.txt\nDestName=kopie.txt\nToPath=*appdir*\\Unterordner\n[/installfile]\n"
      "[installfile]\nSrcName=fehlt.txt\nToPath=*appdir*\n[/installfile]\n"
      "[makedir]\nPath=*appdir*\\danach\n[/makedir]");
  EXPECT_EQ(ReadFileBytes(App + "\\Unterordner\\kopie.txt"), "D");
  EXPECT_EQ(record.Installed, 1);
  EXPECT_TRUE(EqualsNoCase(record.InstalledIn, App + "\\Unterordner"));
  ASSERT_EQ(ui.Boxes().size(), 1u);  // only the file installation's own prompt
  EXPECT_EQ(ui.Boxes()[0].request.text.rfind("Eine Quelldatei konnte nicht gefunden werden:", 0), 0u);
  EXPECT_TRUE(Exists(App + "\\danach"));
}

}  // namespace
}  // namespace kv::test
