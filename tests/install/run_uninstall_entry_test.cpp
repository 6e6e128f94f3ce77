// The uninstall entry: exactly three string values, the icon only with a
// program; a package that names its Publisher also gets what package managers
// read.
#include <gtest/gtest.h>

#include "install/InstallTestSupport.h"
#include "install/UninstallEntry.h"
#include "platform/RegTools.h"

namespace kv::test {
namespace {

using UninstallEntry = InstallFixture;

const std::string kKey = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Kivra Setup - Testprogramm_2.0";

// Value names and types of the entry, sorted by name ("-" without the key).
std::string ValueList() {
  HKEY h = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, win::Widen(kKey).c_str(), 0, KEY_READ, &h) != ERROR_SUCCESS) return "-";
  std::vector<std::string> names;
  wchar_t name[256];
  DWORD length = 256, type = 0, subkeys = 0;
  for (DWORD i = 0; RegEnumValueW(h, i, name, &length, nullptr, &type, nullptr, nullptr) == 0; ++i, length = 256)
    names.push_back(win::Narrow(name) + (type == REG_DWORD ? ":dword" : type == REG_SZ ? "" : ":other"));
  RegQueryInfoKeyW(h, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  RegCloseKey(h);
  std::sort(names.begin(), names.end());
  std::string out = subkeys ? "subkeys " : "";
  for (const auto& n : names) out += n + " ";
  return out;
}

std::string Value(const char* name) { return modRegTools::GetString(kKey, name, "-", HKEY_LOCAL_MACHINE); }

TEST_F(UninstallEntry, ThreeStringValuesWithAProgramNoIconWithout) {
  Package->EXEFile = "Prog.exe";
  modInstall::WriteUninstallEntry(session, *Package);
  EXPECT_EQ(modInstall::UninstallEntryKey(*Package), kKey);
  EXPECT_EQ(Value("DisplayName"), "Testprogramm 2.0 (Version 2.0)");
  EXPECT_EQ(Value("UninstallString"), "\"" + session.AppDir + "KVSetup.exe\" -m \"Testprogramm_2.0\"");
  EXPECT_EQ(Value("DisplayIcon"), App + "\\Prog.exe,0");
  EXPECT_EQ(ValueList(), "DisplayIcon DisplayName UninstallString ");

  modRegTools::DeleteTree(kKey, HKEY_LOCAL_MACHINE);
  Package->EXEFile = "";
  Package->HelpLink = "https://kivra.example/hilfe";  // only with a Publisher
  modInstall::WriteUninstallEntry(session, *Package);
  EXPECT_EQ(ValueList(), "DisplayName UninstallString ");
}

// The size counts what is on record as installed, where it lies (also under
// another name in a subfolder), rounded up to whole KiB.
TEST_F(UninstallEntry, WithAPublisherTheValuesPackageManagersRead) {
  Scratch.MakeFolder("Programme\\Testprogramm\\Daten");
  Scratch.WriteFile("Programme\\Testprogramm\\a.dll", std::string(1500, 'a'));
  Scratch.WriteFile("Programme\\Testprogramm\\Daten\\c.dat", "c");
  Scratch.WriteFile("Programme\\Testprogramm\\nie.dll", std::string(5000, 'n'));
  struct { const char *name, *dest; std::string folder; int installed; } files[] = {
      {"a.dll", "", App, 1}, {"b.dll", "c.dat", App + "\\Daten", 1}, {"nie.dll", "", App, 0}, {"fehlt.dll", "", App, 1}};
  for (const auto& r : files) {
    CFile& f = AddFile(r.name, "*appdir*", r.dest);
    f.Installed = r.installed;
    f.InstalledIn = r.folder;
  }
  Package->Publisher = "Kivra Software GmbH";
  Package->HelpLink = "https://kivra.example/hilfe";
  modInstall::WriteUninstallEntry(session, *Package);
  EXPECT_EQ(ValueList(),
            "DisplayName DisplayVersion EstimatedSize:dword HelpLink InstallLocation NoRepair:dword Publisher "
            "QuietUninstallString UninstallString ");
  EXPECT_EQ(Value("DisplayVersion"), "2.0");
  EXPECT_EQ(Value("Publisher"), "Kivra Software GmbH");
  EXPECT_EQ(Value("InstallLocation"), App);
  EXPECT_EQ(Value("HelpLink"), "https://kivra.example/hilfe");
  EXPECT_EQ(modRegTools::GetNumber(kKey, "EstimatedSize", -1, HKEY_LOCAL_MACHINE), 2);
  EXPECT_EQ(modRegTools::GetNumber(kKey, "NoRepair", -1, HKEY_LOCAL_MACHINE), 1);
  EXPECT_EQ(Value("QuietUninstallString"),
            "\"" + session.AppDir + "KVSetup.exe\" /quiet /uninstall -m \"Testprogramm_2.0\"");
}

}  // namespace
}  // namespace kv::test
