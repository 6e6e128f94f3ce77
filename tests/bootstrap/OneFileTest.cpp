// The one-file medium from both ends: kvpack's writer packs a scratch medium
// onto the real setup.exe, the start checks it (in-process). A damaged file
// must end with the damage message before anything is unpacked or run.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>

#include "Archive.h"
#include "app/setup/OneFile.h"
#include "onefile/Sha256.h"
#include "platform/WinString.h"
#include "support/ScratchFolder.h"

namespace kv::test {
namespace {

// The private folders under the temporary folder, by name.
int UnpackedFolders() {
  wchar_t temp[MAX_PATH + 1];
  GetTempPathW(MAX_PATH + 1, temp);
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW((std::wstring(temp) + L"KVSetup-*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return 0;
  int count = 0;
  do ++count;
  while (FindNextFileW(search, &found));
  FindClose(search);
  return count;
}

class OneFile : public testing::Test {
 protected:
  void SetUp() override {
    dir.MakeFolder("medium\\Bin");
    files = {{"setup.ini", "<header>\r\n Name=Demo\r\n</header>\r\n"},
             {"Bin\\helfer.dll", std::string(300000, 'x')},  // packs well
             {"eula.txt", "Lizenz f\xC3\xBCr alle"}};
    std::vector<kvpack::ArchiveFile> entries;
    for (const auto& [name, bytes] : files) {
      dir.WriteFile("medium\\" + name, bytes);
      std::string slashed = name;
      std::replace(slashed.begin(), slashed.end(), '\\', '/');
      entries.push_back({win::Widen(dir / ("medium\\" + name)), slashed});
    }
    kvpack::ArchiveSize size;
    std::string error;
    ASSERT_TRUE(kvpack::WriteSingleFile(win::Widen(KV_SETUP_EXE), entries, win::Widen(download), size, error))
        << error;
    EXPECT_LT(size.packed, size.plain / 10);
  }
  int Run(std::vector<std::string>& told, bool& ran) {
    return setupexe::RunOneFile(download, "", [&](const std::string& text) { told.push_back(text); },
                                [&](const std::string&) { return ran = true, 42; });
  }

  ScratchFolder dir;
  std::string download = dir / "Kivra Demo Setup.exe";
  std::vector<std::pair<std::string, std::string>> files;
  int before = UnpackedFolders();
};

// Unpacking, running and removing the private folder run end to end (one-file
// scenario); here every kind of damage, found before anything is unpacked.
TEST_F(OneFile, ADamagedDownloadIsToldAndNothingRuns) {
  struct Case {
    const char* what;
    long long at;       // byte to flip, from the end; 0: none
    long long cut;      // bytes cut off the end
    bool fixDigest;     // recompute the whole-file digest after the flip
    const char* reason;
  };
  // From the end: the trailer (64 bytes), the table (232 bytes for these
  // names), then the last entry, eula.txt, stored as it is.
  const long long inLicence = 64 + 232 + 5;
  const Case cases[] = {
      {"flipped payload byte", inLicence, 0, false, "Prüfsumme stimmt nicht"},
      {"flipped digest byte", 1, 0, false, "Prüfsumme stimmt nicht"},
      {"truncated download", 0, 5000, false, "kürzer als erwartet"},
      {"entry changed, digest made to fit", inLicence, 0, true, "enthaltene Datei \"eula.txt\""},
  };
  const std::string good = ReadFileBytes(download);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::string bytes = good.substr(0, good.size() - c.cut);
    if (c.at) bytes[bytes.size() - c.at] ^= 1;
    if (c.fixDigest) {
      onefile::Digest digest = onefile::Sha256Of(bytes.data(), bytes.size() - 32);
      bytes.replace(bytes.size() - 32, 32, reinterpret_cast<const char*>(digest.data()), 32);
    }
    dir.WriteFile("Kivra Demo Setup.exe", bytes);
    std::vector<std::string> told;
    bool ran = false;
    EXPECT_EQ(Run(told, ran), setupexe::kMediumDamaged);
    EXPECT_FALSE(ran);
    ASSERT_EQ(told.size(), 1u);
    EXPECT_NE(told[0].find("\"" + download + "\" ist beschädigt oder unvollständig"), std::string::npos) << told[0];
    EXPECT_NE(told[0].find(c.reason), std::string::npos) << told[0];
    EXPECT_EQ(UnpackedFolders(), before);
  }
}

}  // namespace
}  // namespace kv::test
