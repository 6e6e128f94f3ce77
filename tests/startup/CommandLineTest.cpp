// Mode recognition on the raw command tail, and the page texts the windows
// show (they are computed here, the windows only display them).
#include <gtest/gtest.h>

#include "package/CPackage.h"
#include "startup/CommandLine.h"
#include "startup/Elevation.h"
#include "startup/PackageIndex.h"
#include "startup/pages/StartPage.h"
#include "startup/pages/UninstallPage.h"
#include "support/ScriptedUi.h"

namespace kv::modSetup {
namespace {

TEST(ParseCommand, LaunchTakesTheTextBetweenTheQuotesInAnyCase) {
  StartCommand c = ParseCommand("-O \"C:\\Prog\\app.exe /x\" trailing \"junk\"");
  EXPECT_EQ(c.mode, StartMode::Launch);
  EXPECT_EQ(c.argument, "C:\\Prog\\app.exe /x");
  // Without a closing quote the rest of the command is the program.
  EXPECT_EQ(ParseCommand("-o \"C:\\a.exe").argument, "C:\\a.exe");
}

TEST(ParseCommand, BlankAndQuoteMustBeExact) {
  EXPECT_EQ(ParseCommand("-o  \"x\"").mode, StartMode::Unknown);
  EXPECT_EQ(ParseCommand("-o\"x\"").mode, StartMode::Unknown);
  EXPECT_EQ(ParseCommand("-ifp x").mode, StartMode::Unknown);
  EXPECT_EQ(ParseCommand("/d \"C:\\x\"").mode, StartMode::Unknown);
  EXPECT_EQ(ParseCommand("").mode, StartMode::Unknown);
  EXPECT_EQ(ParseCommand("hello").mode, StartMode::Unknown);
}

TEST(ParseCommand, InstallNeedsTheClosingQuoteAtTheVeryEnd) {
  StartCommand c = ParseCommand("-IFP \"D:\\Medium\\\"");
  EXPECT_EQ(c.mode, StartMode::Install);
  EXPECT_FALSE(c.unterminated);
  EXPECT_EQ(c.argument, "D:\\Medium");  // one trailing backslash dropped

  c = ParseCommand("-ifp \"D:\\Medium\" ");
  EXPECT_EQ(c.mode, StartMode::Install);
  EXPECT_TRUE(c.unterminated);
  EXPECT_TRUE(ParseCommand("-ifp \"").unterminated);

  EXPECT_EQ(ParseCommand("-ifp \"D:\\\"").argument, "D:");
}

TEST(ParseCommand, MaintenanceTakesTheKeyUpToTheQuote) {
  StartCommand c = ParseCommand("-M \"Demo_1.0\" whatever");
  EXPECT_EQ(c.mode, StartMode::Maintenance);
  EXPECT_EQ(c.argument, "Demo_1.0");
}

TEST(CommandTailOf, DropsTheProgramNameQuotedOrNot) {
  EXPECT_EQ(CommandTailOf("\"C:\\Program Files\\K\\KVSetup.exe\" -m \"A_1\""), "-m \"A_1\"");
  EXPECT_EQ(CommandTailOf("KVSetup.exe   -o \"x\""), "-o \"x\"");
  EXPECT_EQ(CommandTailOf("KVSetup.exe"), "");
}

TEST(VersionNumber, ReadsTheLeadingDecimalNumber) {
  EXPECT_DOUBLE_EQ(VersionNumber("1.10"), 1.1);
  EXPECT_LT(VersionNumber("1.10"), VersionNumber("1.9"));
  EXPECT_DOUBLE_EQ(VersionNumber("2.0.1"), 2.0);
  EXPECT_DOUBLE_EQ(VersionNumber(" 3 beta"), 3.0);
  EXPECT_DOUBLE_EQ(VersionNumber("v2"), 0.0);
  EXPECT_DOUBLE_EQ(VersionNumber("a"), 0.0);
  EXPECT_DOUBLE_EQ(VersionNumber(""), 0.0);
  EXPECT_DOUBLE_EQ(VersionNumber(".5"), 0.5);
}

TEST(StartPage, TextsNameTheCaptionAndNextFollowsTheOtherVersion) {
  test::ScriptedUi ui;
  Session session(ui);
  session.SetupTitle = "Kivra Setup: Rechner Pro";
  session.Package = std::make_shared<CPackage>(session.Context());
  session.Package->Caption = "Rechner Pro";
  StartPageTexts t = frmStart_Texts(session);
  EXPECT_EQ(t.title, "Herzlich willkommen bei Kivra Setup!");
  EXPECT_EQ(t.welcome,
            "Zunächst möchten wir uns dafür bedanken, dass Sie sich für Rechner Pro entschieden haben. Wir hoffen "
            "und sind davon überzeugt, dass Sie viel Freude an diesem Produkt aus unserem Hause haben werden.");
  EXPECT_EQ(t.cont,
            "Klicken Sie nun bitte auf die Schaltfläche \"Weiter\", um mit der Installation von Rechner Pro zu "
            "beginnen.");

  frmStart_cmdNext_Click(session);
  EXPECT_EQ(ui.CurrentPage(), PageId::Path);
  EXPECT_EQ(ui.LastCaption(), "Kivra Setup: Rechner Pro");
  session.OtherPackage = std::make_shared<CPackage>(session.Context());
  frmStart_cmdNext_Click(session);
  EXPECT_EQ(ui.CurrentPage(), PageId::OtherInstalled);
  EXPECT_EQ(session.CurrentPage, PageId::OtherInstalled);
}

TEST(UninstallPage, UpdateHidesTheNameAndTheLabelIsCentredWithoutClamping) {
  test::ScriptedUi ui;
  Session session(ui);
  EXPECT_EQ(frmUninstall_PleaseText(session, "Demo 1.0"), "Bitte warten Sie, während Demo 1.0 deinstalliert wird...");
  session.IsUpdate = true;
  EXPECT_EQ(frmUninstall_PleaseText(session, "Demo 1.0"),
            "Nicht mehr benötigte Dateien der alten Version werden entfernt...");

  EXPECT_EQ(frmUninstall_LabelTop(300, 100), 100);
  EXPECT_EQ(frmUninstall_LabelTop(301, 100), 100);    // 201 / 2 truncates
  EXPECT_EQ(frmUninstall_LabelTop(300.6, 100), 100);  // 200.6 rounds to 201 first
  EXPECT_EQ(frmUninstall_LabelTop(100, 301), -100);   // taller than the page: negative, cut off at the top
}

// Installing and maintenance restart elevated when the process is not; under
// wine the process already counts as elevated, so nothing restarts there.
TEST(Elevation, TheTestMachineRunsElevated) { EXPECT_TRUE(IsElevated()); }

}  // namespace
}  // namespace kv::modSetup
