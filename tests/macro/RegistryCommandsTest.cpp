// The registry commands of the macro language, the split of "Key" into root
// and key, and the conditional block.
#include <gtest/gtest.h>

#include "macro/MacroTestSupport.h"

namespace kv::test {
namespace {

using RegistryCommands = MacroTest;
namespace reg = modRegTools;

TEST_F(RegistryCommands, SetStringAndDwordWithTheirRoots) {
  Run("[regsetstring]\nKey=hkey_local_machine\\Software\\X\nValue=Pfad\nData= C:\\Programme\\X \n[/regsetstring]\n"
      "[regsetstring]\nKey=HKEY_CLASSES_ROOT\\.xyz\nData=XyzFile\n[/regsetstring]\n"
      "[regsetdword]\nKey=HKEY_CURRENT_USER\\Software\\X\nValue=Zahl\nData=-42\n[/regsetdword]\n"
      "[regsetdword]\nKey=HKEY_CURRENT_USER\\Software\\X\nValue=Null\n[/regsetdword]\n"
      // Other roots, no root, or a root without its backslash: keys below the current user.
      "[regsetstring]\nKey=HKEY_USERS\\X\nValue=v\nData=d\n[/regsetstring]\n"
      "[regsetstring]\nKey=Software\\Ohne Wurzel\nValue=v\nData=e\n[/regsetstring]\n"
      "[regsetstring]\nKey=HKEY_LOCAL_MACHINE\nValue=v\nData=f\n[/regsetstring]\n"
      // Nothing below the root: nothing written, the number not even looked at.
      "[regsetstring]\nKey=HKEY_LOCAL_MACHINE\\\nValue=v\nData=d\n[/regsetstring]\n"
      "[regsetdword]\nKey=HKEY_CURRENT_USER\\\nValue=n\nData=kein-wert\n[/regsetdword]");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(reg::GetString("Software\\X", "Pfad", "-", HKEY_LOCAL_MACHINE), " C:\\Programme\\X");
  EXPECT_EQ(reg::GetString(".xyz", "", "-", HKEY_CLASSES_ROOT), "XyzFile");
  EXPECT_EQ(reg::GetNumber("Software\\X", "Zahl", 0, HKEY_CURRENT_USER), -42);
  DWORD type = 0;
  std::string bytes;
  ASSERT_TRUE(ReadRawValue(HKEY_CURRENT_USER, "Software\\X", "Null", type, bytes));
  EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
  EXPECT_EQ(bytes, std::string(4, '\0'));
  EXPECT_EQ(reg::GetString("HKEY_USERS\\X", "v", "-", HKEY_CURRENT_USER), "d");
  EXPECT_EQ(reg::GetString("Software\\Ohne Wurzel", "v", "-", HKEY_CURRENT_USER), "e");
  EXPECT_EQ(reg::GetString("HKEY_LOCAL_MACHINE", "v", "-", HKEY_CURRENT_USER), "f");
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, "", "v"));
  EXPECT_FALSE(ValueExists(HKEY_CURRENT_USER, "", "n"));
}

TEST_F(RegistryCommands, DwordThatIsNoNumberAsksWithTheGenericMessage) {
  ui.Answer(MsgResult::Ignore);
  ui.Answer(MsgResult::Ignore);
  Run("[regsetdword]\nKey=HKEY_CURRENT_USER\\Software\\X\nValue=n\nData=zwölf\n[/regsetdword]\n"
      "[RegSetDword]\nKey=HKEY_CURRENT_USER\\Software\\X\nValue=big\nData=4294967295\n[/RegSetDword]\n"
      "[regsetdword]\nKey=HKEY_CURRENT_USER\\Software\\X\nValue=ok\nData= 7 \n[/regsetdword]");
  const std::string text = "Ein interner Makrofehler ist aufgetreten (Befehl: regsetdword)." + kAriTail;
  EXPECT_EQ(ui.BoxTexts(), (std::vector<std::string>{text, text}));
  EXPECT_FALSE(ValueExists(HKEY_CURRENT_USER, "Software\\X", "n"));
  EXPECT_FALSE(ValueExists(HKEY_CURRENT_USER, "Software\\X", "big"));
  EXPECT_EQ(reg::GetNumber("Software\\X", "ok", 0, HKEY_CURRENT_USER), 7);
}

TEST_F(RegistryCommands, RegdeleteRemovesOnlyANamedValue) {
  for (const char* name : {"a", "b", ""}) reg::SetString("Software\\X", name, "1", HKEY_LOCAL_MACHINE);
  Run("[regdelete]\nKey=HKEY_LOCAL_MACHINE\\Software\\X\nValue=a\n[/regdelete]\n"
      "[regdelete]\nKey=HKEY_LOCAL_MACHINE\\Software\\X\n[/regdelete]\n"
      "[regdelete]\nKey=HKEY_LOCAL_MACHINE\\Software\\Fehlt\nValue=a\n[/regdelete]");
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_FALSE(ValueExists(HKEY_LOCAL_MACHINE, "Software\\X", "a"));
  EXPECT_TRUE(ValueExists(HKEY_LOCAL_MACHINE, "Software\\X", "b"));
  EXPECT_TRUE(ValueExists(HKEY_LOCAL_MACHINE, "Software\\X", ""));
}

TEST_F(RegistryCommands, IfregstringComparesExactlyAndNests) {
  reg::SetString("Software\\X", "Mode", "Full", HKEY_LOCAL_MACHINE);
  const std::string key = "Key=HKEY_LOCAL_MACHINE\\Software\\X\nValue=Mode\n";
  const struct {
    const char* mark;
    std::string condition;
    bool runs;
  } rows[] = {
      {"equal", key + "Data=Full\n", true},
      {"case", key + "Data=full\n", false},
      {"differs", key + "DataNot=Basic\n", true},
      {"same", key + "DataNot=Full\n", false},
      {"datawins", key + "Data=Full\nDataNot=Full\n", true},
      {"neither", key, false},
      {"empty", key + "Data=\nDataNot=\n", false},
      {"marker", key + "Data=\\\\\\INVALID\\\\\\\nDataNot=Basic\n", true},  // the "not given" marker written out
      {"missing", "Key=HKEY_LOCAL_MACHINE\\Software\\X\nValue=Fehlt\nDataNot=Full\n", true},  // reads as ""
      // Nested: the inner block runs only inside a running outer one.
      {"nested", key + "Data=Full\n[ifregstring]\n" + key + "Data=Full\n", true},
      {"nested-inner-false", key + "Data=Full\n[ifregstring]\n" + key + "Data=Basic\n", false},
      {"nested-outer-false", key + "Data=Basic\n[ifregstring]\n" + key + "Data=Full\n", false},
  };
  std::string macro;
  for (const auto& r : rows) {
    const bool nested = std::string(r.mark).rfind("nested", 0) == 0;
    macro += "[ifregstring]\n" + r.condition + "[regsetstring]\nKey=Software\\Marks\nValue=" + r.mark +
             "\nData=1\n[/regsetstring]\n" + (nested ? "[/ifregstring]\n" : "") + "[/ifregstring]\n";
  }
  // After a skipped inner block the outer one goes on.
  macro += "[ifregstring]\n" + key + "Data=Full\n[ifregstring]\n" + key + "Data=Basic\n[/ifregstring]\n" +
           "[regsetstring]\nKey=Software\\Marks\nValue=after-inner\nData=1\n[/regsetstring]\n[/ifregstring]\n";
  Run(macro);
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_TRUE(ValueExists(HKEY_CURRENT_USER, "Software\\Marks", "after-inner"));
  for (const auto& r : rows) {
    EXPECT_EQ(ValueExists(HKEY_CURRENT_USER, "Software\\Marks", r.mark), r.runs) << r.mark;
  }
}

}  // namespace
}  // namespace kv::test
