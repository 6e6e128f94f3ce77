// kvpack manifest: the installer hash, the checks of the format's ranges, and
// the manifest written from a package and a built medium.
#include <gtest/gtest.h>

#include "Manifest.h"
#include "onefile/Sha256.h"
#include "ToolsTestSupport.h"

namespace kvpack {
namespace {

using test::ScratchFolder;

// Published test vectors; the million-'a' one is fed in uneven pieces so that
// every buffering path is taken.
TEST(KvpackSha256, KnownDigests) {
  struct { std::string input; size_t piece; const char* digest; } cases[] = {
      {"", 1, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", 56,
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {std::string(1000000, 'a'), 997, "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
  };
  for (const auto& c : cases) {
    kv::onefile::Sha256 sha;
    for (size_t at = 0; at < c.input.size(); at += c.piece)
      sha.Update(c.input.data() + at, std::min(c.piece, c.input.size() - at));
    EXPECT_EQ(kv::onefile::ToHex(sha.Finish()), c.digest) << c.input.size();
  }
}

InstallerManifest Valid() {
  return {"KivraSoftware.KivraDemo", "1.0", "exe", "", "https://kivra.example/demo/setup.exe", std::string(64, 'a'),
          "Kivra Demo 1.0 (Version 1.0)", "Kivra Software", "1.0", "Kivra Setup - Kivra Demo_1.0"};
}

TEST(KvpackManifest, EveryRequiredFieldIsPresentAndInRange) {
  EXPECT_EQ(Validate(Valid()).size(), 0u);
  struct { void (*change)(InstallerManifest&); const char* field; } cases[] = {
      {[](InstallerManifest& m) { m.packageIdentifier = "KivraDemo"; }, "PackageIdentifier"},
      {[](InstallerManifest& m) { m.packageIdentifier = "Kivra..Demo"; }, "PackageIdentifier"},
      {[](InstallerManifest& m) { m.packageIdentifier = "Kivra.Demo\xC2\xA0" "2"; }, "PackageIdentifier"},
      {[](InstallerManifest& m) { m.packageIdentifier = "Kivra." + std::string(33, 'x'); }, "PackageIdentifier"},
      {[](InstallerManifest& m) { m.packageIdentifier = "a.b.c.d.e.f.g.h.i"; }, "PackageIdentifier"},
      {[](InstallerManifest& m) { m.packageVersion = ""; }, "PackageVersion"},
      {[](InstallerManifest& m) { m.packageVersion = "1.0/beta"; }, "PackageVersion"},
      {[](InstallerManifest& m) { m.installerUrl = "ftp://kivra.example/setup.exe"; }, "InstallerUrl"},
      {[](InstallerManifest& m) { m.installerUrl = "https://"; }, "InstallerUrl"},
      {[](InstallerManifest& m) { m.installerSha256.pop_back(); }, "InstallerSha256"},
      {[](InstallerManifest& m) { m.installerSha256[3] = 'g'; }, "InstallerSha256"},
      {[](InstallerManifest& m) { m.installerType = "zip"; }, "NestedInstallerFiles"},
      {[](InstallerManifest& m) { m.publisher = std::string(257, 'p'); }, "Publisher"},
      {[](InstallerManifest& m) { m.productCode.clear(); }, "ProductCode"},
  };
  for (const auto& c : cases) {
    InstallerManifest m = Valid();
    c.change(m);
    std::vector<std::string> problems = Validate(m);
    ASSERT_EQ(problems.size(), 1u) << c.field;
    EXPECT_NE(problems[0].find(c.field), std::string::npos) << problems[0];
  }
  // Lengths count characters: 32 umlauts are 64 bytes and still allowed.
  std::string umlauts;
  for (int i = 0; i < 32; ++i) umlauts += "\xC3\xBC";
  InstallerManifest m = Valid();
  m.packageIdentifier = "Kivra." + umlauts;
  EXPECT_EQ(Validate(m).size(), 0u);
  EXPECT_EQ(DerivePackageIdentifier("M\xC3\xBCller & S\xC3\xB6hne", "Mein.Programm: 2"),
            "M\xC3\xBCller&S\xC3\xB6hne.MeinProgramm2");
  EXPECT_EQ(DerivePackageIdentifier("K", umlauts + "x"), "K." + umlauts);
}

// A zip with the given entry names (stored, empty): the listing reads only
// the central directory.
std::string Zip(const std::vector<std::string>& names) {
  auto le = [](uint32_t v, int bytes) {
    std::string s;
    for (int i = 0; i < bytes; ++i) s += static_cast<char>(v >> (8 * i));
    return s;
  };
  std::string local, central;
  for (const auto& n : names) {
    central += le(0x02014b50, 4) + std::string(24, '\0') + le(static_cast<uint32_t>(n.size()), 2) +
               std::string(12, '\0') + le(static_cast<uint32_t>(local.size()), 4) + n;
    local += le(0x04034b50, 4) + std::string(22, '\0') + le(static_cast<uint32_t>(n.size()), 2) + le(0, 2) + n;
  }
  return local + central + le(0x06054b50, 4) + le(0, 4) + le(static_cast<uint32_t>(names.size()), 2) +
         le(static_cast<uint32_t>(names.size()), 2) + le(static_cast<uint32_t>(central.size()), 4) +
         le(static_cast<uint32_t>(local.size()), 4) + le(0, 2);
}

TEST(KvpackManifest, WrittenFromThePackageAndItsMedium) {
  ScratchFolder dir;
  const std::string header = "<header>\n Name=Kivra Demo\n Caption=Demo 'Plus'\n Version=1.0\n";
  test::WriteBytes(dir.Sub("setup.ini"), header + " Publisher=Kivra Software\n</header>\n");
  test::WriteBytes(dir.Sub("anonym.ini"), header + "</header>\n");
  test::WriteBytes(dir.Sub("setup.exe"), "MZ stand-in");
  test::WriteBytes(dir.Sub("medium.zip"), Zip({"Demo/", "Demo/setup.ini", "Demo/SETUP.EXE", "Demo/sub/setup.exe"}));
  test::WriteBytes(dir.Sub("kein-medium.zip"), Zip({"setup.exe", "daten/setup.ini"}));
  test::WriteBytes(dir.Sub("text.txt"), "kein Programm");
  const std::string exeHash = "4BF27B9734AEE72652F98E6CEBC95A9D0BE4D62EF2E3F47A2021EC901814966A";  // sha256sum of "MZ stand-in"
  const std::string url = "https://kivra.example/setup.exe";
  struct { std::string ini; std::optional<std::string> sha, medium; int exit; std::vector<std::string> lines; } cases[] = {
      {"setup.ini", std::string(64, 'c'), {}, 0,
       {"PackageIdentifier: KivraSoftware.KivraDemo\n", "PackageVersion: '1.0'\n", "InstallerType: exe\n",
        "  Log: /log \"<LOGPATH>\"\n", "- DisplayName: Demo 'Plus' (Version 1.0)\n",
        "ProductCode: Kivra Setup - Kivra Demo_1.0\n", "  InstallerSha256: " + std::string(64, 'C') + "\n"}},
      {"setup.ini", {}, "setup.exe", 0, {"InstallerType: exe\n", "  InstallerSha256: " + exeHash + "\n"}},
      {"setup.ini", {}, "medium.zip", 0,
       {"InstallerType: zip\nNestedInstallerType: exe\nNestedInstallerFiles:\n- RelativeFilePath: Demo\\SETUP.EXE\n"}},
      {"setup.ini", std::string(64, '0'), "setup.exe", 1, {"is not the hash of"}},
      {"setup.ini", {}, "kein-medium.zip", 1, {"holds no setup.ini beside setup.exe"}},
      {"setup.ini", {}, "text.txt", 1, {"neither a zip nor a Windows program"}},
      {"setup.ini", {}, {}, 1, {"--sha256 or the built medium"}},
      {"anonym.ini", std::string(64, 'c'), {}, 1, {"names no Publisher"}},
      {"setup.ini", "123", {}, 1, {"InstallerSha256: '123'"}},
  };
  for (const auto& c : cases) {
    ManifestOptions options{dir.Sub(c.ini), url, c.sha, {}, {}};
    if (c.medium) options.medium = dir.Sub(*c.medium);
    std::ostringstream out, err;
    EXPECT_EQ(WriteManifest(options, out, err), c.exit) << err.str();
    const std::string text = c.exit == 0 ? out.str() : err.str();
    EXPECT_EQ(c.exit == 0 ? err.str() : out.str(), "");
    for (const auto& line : c.lines) EXPECT_NE(text.find(line), std::string::npos) << line << "\nin:\n" << text;
  }
}

}  // namespace
}  // namespace kvpack
