// The registry commands of the macro language, the split of "Key" into root
// and key, and the conditional block.
#include <gtest/gtest.h>

#include "macro/MacroTestSupport.h"

namespace kv::test {
namespace {

using RegistryCommands = MacroTest;
namespace reg = modRegTools;

TEST_F(RegistryCommands, SetStringAndDwordUnderEachRecognisedRoot) {
  Run("[regsetstring]\nKey=hkey_local_machine\\Software\\X\nValue=Pfad\nData= C:\\Programme\\X \n[/regsetstring]\n"
      "[regsetstring]\nKey=HKEY_CLASSES_ROOT\\.xyz\nData=XyzFile\n[/regsetstring]\n"
      "[regsetdword]\nKey=HKEY_CURRENT_USER\\Software\\X\nValue=Zahl\nData=-42\n[/regsetdword]\n"
      "[regsetdword]\nKey=HKEY_CURRENT_USER\\Software\\X\nValue=Null\n[/regsetdword]");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(reg::GetString("Software\\X", "Pfad", "-", HKEY_LOCAL_MACHINE), " C:\\Programme\\X");
  EXPECT_EQ(reg::GetString(".xyz", "", "-", HKEY_CLASSES_ROOT), "XyzFile");
  EXPECT_EQ(reg::GetNumber("Software\\X", "Zahl", 0, HKEY_CURRENT_USER), -42);
  DWORD type = 0;
  std::string bytes;
  ASSERT_TRUE(ReadRawValue(HKEY_CURRENT_USER, "Software\\X", "Null", type, bytes));
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
  EXPECT_EQ(bytes, std::string(4, '\0'));
  EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, "Software\\X\\Pfad"));
}

TEST_F(RegistryCommands, OtherRootsAreKeysBelowTheCurrentUser) {
  Run("[regsetstring]\nKey=HKEY_USERS\\X\nValue=v\nData=d\n[/regsetstring]\n"
      "[regsetstring]\nKey=Software\\Ohne Wurzel\nValue=v\nData=e\n[/regsetstring]\n"
      "[regsetstring]\nKey=HKEY_LOCAL_MACHINE\nValue=v\nData=f\n[/regsetstring]");
  EXPECT_EQ(reg::GetString("HKEY_USERS\\X", "v", "-", HKEY_CURRENT_USER), "d");
  EXPECT_EQ(reg::GetString("Software\\Ohne Wurzel", "v", "-", HKEY_CURRENT_USER), "e");
  // Without its backslash the root name is no root at all.
  EXPECT_EQ(reg::GetString("HKEY_LOCAL_MACHINE", "v", "-", HKEY_CURRENT_USER), "f");
}

TEST_F(RegistryCommands, NothingIsWrittenWithoutAKeyBelowTheRoot) {
  Run("[regsetstring]\nKey=HKEY_LOCAL_MACHINE\\\nValue=v\nData=d\n[/regsetstring]\n"
      "[regsetdword]\nKey=HKEY_CURRENT_USER\\\nValue=n\nData=kein-wert\n[/regsetdword]");
  EXPECT_TRUE(ui.Boxes().empty());  // the number is not even looked at
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, "", "v"));
  EXPECT_FALSE(ValueExists(HKEY_CURRENT_USER, "", "n"));
}

TEST_F(RegistryCommands, DwordThatIsNoNumberAsksWithTheGenericMessage) {
  ui.Answer(MsgResult::Ignore);
  ui.Answer(MsgResult::Ignore);
  Run("[regsetdword]\nKey=HKEY_CURRENT_USER\\Software\\X\nValue=n\nData=zwölf\n[/regsetdword]\n"
      "[RegSetDword]\nKey=HKEY_CURRENT_USER\\Software\\X\nValue=big\nData=4294967295\n[/RegSetDword]\n"
      "[regsetdword]\nKey=HKEY_CURRENT_USER\\Software\\X\nValue=ok\nData= 7 \n[/regsetdword]");
  ASSERT_EQ(ui.Boxes().size(), 2u);
  EXPECT_EQ(ui.Boxes()[0].request.text, Prompt("Ein interner Makrofehler ist aufgetreten (Befehl: regsetdword)."));
  EXPECT_EQ(ui.Boxes()[1].request.text, Prompt("Ein interner Makrofehler ist aufgetreten (Befehl: regsetdword)."));
  EXPECT_FALSE(ValueExists(HKEY_CURRENT_USER, "Software\\X", "n"));
  EXPECT_FALSE(ValueExists(HKEY_CURRENT_USER, "Software\\X", "big"));
  EXPECT_EQ(reg::GetNumber("Software\\X", "ok", 0, HKEY_CURRENT_USER), 7);
}

TEST_F(RegistryCommands, RegdeleteRemovesOnlyANamedValue) {
  reg::SetString("Software\\X", "a", "1", HKEY_LOCAL_MACHINE);
  reg::SetString("Software\\X", "b", "2", HKEY_LOCAL_MACHINE);
  reg::SetString("Software\\X", "", "default", HKEY_LOCAL_MACHINE);
  Run("[regdelete]\nKey=HKEY_LOCAL_MACHINE\\Software\\X\nValue=a\n[/regdelete]\n"
      "[regdelete]\nKey=HKEY_LOCAL_MACHINE\\Software\\X\n[/regdelete]\n"
      "[regdelete]\nKey=HKEY_LOCAL_MACHINE\\Software\\Fehlt\nValue=a\n[/regdelete]");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, "Software\\X", "a"));
  EXPECT_TRUE(ValueExists(HKEY_LOCAL_MACHINE, "Software\\X", "b"));
  EXPECT_EQ(reg::GetString("Software\\X", "", "-", HKEY_LOCAL_MACHINE), "default");
}

TEST_F(RegistryCommands, IfregstringComparesDataExactlyAndDataNotAsInequality) {
  reg::SetString("Software\\X", "Mode", "Full", HKEY_LOCAL_MACHINE);
  const std::string key = "Key=HKEY_LOCAL_MACHINE\\Software\\X\nValue=Mode\n";
  auto mark = [](const std::string& name) {
    return "[regsetstring]\nKey=Software\\Marks\nValue=" + name + "\nData=1\n[/regsetstring]\n";
  };
  Run("[ifregstring]\n" + key + "Data=Full\n" + mark("equal") + "[/ifregstring]\n"
      "[ifregstring]\n" + key + "Data=full\n" + mark("case") + "[/ifregstring]\n"
      "[ifregstring]\n" + key + "DataNot=Basic\n" + mark("differs") + "[/ifregstring]\n"
      "[ifregstring]\n" + key + "DataNot=Full\n" + mark("same") + "[/ifregstring]\n"
      "[ifregstring]\n" + key + "Data=Full\nDataNot=Full\n" + mark("datawins") + "[/ifregstring]\n"
      "[ifregstring]\n" + key + mark("neither") + "[/ifregstring]\n"
      "[ifregstring]\n" + key + "Data=\nDataNot=\n" + mark("empty") + "[/ifregstring]\n"
      // The "not given" marker written out is not given: DataNot decides.
      "[ifregstring]\n" + key + "Data=\\\\\\INVALID\\\\\\\nDataNot=Basic\n" + mark("marker") + "[/ifregstring]\n"
      "[ifregstring]\nKey=HKEY_LOCAL_MACHINE\\Software\\X\nValue=Fehlt\nDataNot=Full\n" + mark("missing") +
      "[/ifregstring]\n");
  auto marked = [](const char* name) { return ValueExists(HKEY_CURRENT_USER, "Software\\Marks", name); };
  EXPECT_TRUE(marked("equal"));
  EXPECT_FALSE(marked("case"));
  EXPECT_TRUE(marked("differs"));
  EXPECT_FALSE(marked("same"));
  EXPECT_TRUE(marked("datawins"));
  EXPECT_FALSE(marked("neither"));
  EXPECT_FALSE(marked("empty"));
  EXPECT_TRUE(marked("marker"));
  EXPECT_TRUE(marked("missing"));  // a missing value reads as ""
  EXPECT_TRUE(ui.Boxes().empty());
}

TEST_F(RegistryCommands, IfregstringBlocksNest) {
  reg::SetString("Software\\X", "A", "1", HKEY_CURRENT_USER);
  reg::SetString("Software\\X", "B", "2", HKEY_CURRENT_USER);
  Run("[ifregstring]\nKey=Software\\X\nValue=A\nData=1\n"
      "  [ifregstring]\n  Key=Software\\X\n  Value=B\n  Data=2\n"
      "    [makedir]\n    Path=*appdir*\\innen\n    [/makedir]\n"
      "  [/ifregstring]\n"
      "  [ifregstring]\n  Key=Software\\X\n  Value=B\n  Data=3\n"
      "    [makedir]\n    Path=*appdir*\\nicht\n    [/makedir]\n"
      "  [/ifregstring]\n"
      "  [makedir]\n  Path=*appdir*\\aussen\n  [/makedir]\n"
      "[/ifregstring]");
  EXPECT_TRUE(Exists(App + "\\innen"));
  EXPECT_TRUE(Exists(App + "\\aussen"));
  EXPECT_FALSE(Exists(App + "\\nicht"));
}

}  // namespace
}  // namespace kv::test
