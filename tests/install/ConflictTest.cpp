// Language and format conflicts: the dialog's texts and what each answer does.
// The system reports a language or type difference only together with a plain
// mismatch (forced silently; wine: no remark at all), so pure conflicts come
// from a seam.
#include <gtest/gtest.h>

#include <cstdio>

#include "install/Conflict.h"
#include "install/InstallFile.h"
#include "install/InstallFileSeams.h"
#include "install/InstallTestSupport.h"

namespace kv::test {
namespace {

const std::string kLanguageText =
    "Die auf Ihrer Festplatte installierte, ältere Version von x.dll liegt in einer anderen Sprache vor als die mit "
    "Testprogramm 2.0 mitgelieferte, neuere Version:";
const std::string kFormatText =
    "Die auf Ihrer Festplatte installierte, ältere Version von x.dll liegt in einem anderen Format vor als die mit "
    "Testprogramm 2.0 mitgelieferte, neuere Version:";
const std::string kWhatToDo =
    "Möchten Sie die bisherige Version behalten oder mit der neuen Version überschreiben? (Wenn Sie die bisherige "
    "Version behalten, funktioniert Testprogramm 2.0 möglicherweise nicht ordnungsgemäß)";

// Version 2 on the medium, version 1 installed. The unforced pass reports
// `conflict` and, like the system, leaves its temporary copy; with
// `alwaysConflict` the forced pass reports it too.
class ConflictInstallTest : public InstallFixture {
 protected:
  void Prepare(DWORD conflict, bool alwaysConflict = false) {
    MakeVersionedFile(Medium + "\\x.dll", {2, 0, 0, 0}, kLangGerman);
    Scratch.MakeFolder("Programme\\Testprogramm");
    MakeVersionedFile(App + "\\x.dll", {1, 0, 0, 0}, kLangEnglishUS);
    Existing = ReadFileBytes(App + "\\x.dll");
    session.Ui.SetMousePointer(MousePointer::Hourglass);
    modInstall::seams::SystemFunctions f;
    f.VerInstallFile = [=, this](DWORD flags, LPCWSTR sn, LPCWSTR dn, LPCWSTR sd, LPCWSTR dd, LPCWSTR cd, LPWSTR tf,
                                 PUINT tl) -> DWORD {
      Flags.push_back(flags);
      if (!(flags & VIFF_FORCEINSTALL) || alwaysConflict) {
        CopyFileW((std::wstring(sd) + L"\\" + sn).c_str(), (std::wstring(dd) + L"\\VER1A2B.tmp").c_str(), FALSE);
        wcscpy(tf, L"VER1A2B.tmp");
        return conflict | VIF_TEMPFILE;
      }
      return VerInstallFileW(flags, const_cast<LPWSTR>(sn), const_cast<LPWSTR>(dn), const_cast<LPWSTR>(sd),
                             const_cast<LPWSTR>(dd), const_cast<LPWSTR>(cd), tf, tl);
    };
    scope = std::make_unique<modInstall::seams::ScopedSystemFunctions>(f);
  }
  bool Replaced() { return ReadFileBytes(App + "\\x.dll") == ReadFileBytes(Medium + "\\x.dll"); }

  std::string Existing;
  std::vector<DWORD> Flags;
  std::unique_ptr<modInstall::seams::ScopedSystemFunctions> scope;
};

struct ConflictCase {
  DWORD bits;
  ConflictAnswer answer;
};
class ConflictAnswerTest : public ConflictInstallTest, public ::testing::WithParamInterface<ConflictCase> {};

TEST_P(ConflictAnswerTest, AnswerDecides) {
  const ConflictCase c = GetParam();
  Prepare(c.bits);
  ui.AnswerConflict(c.answer);
  CFile& f = AddFile("x.dll");
  Install(f);

  ASSERT_EQ(ui.Conflicts().size(), 1u);
  const ConflictQuestion& q = ui.Conflicts()[0];
  EXPECT_EQ(q.text, (c.bits & VIF_DIFFLANG) ? kLanguageText : kFormatText);
  EXPECT_EQ(q.whatToDo, kWhatToDo);
  EXPECT_EQ(q.oldDescription.rfind("Version: 1.0.0.0\r\n", 0), 0u) << q.oldDescription;
  EXPECT_EQ(q.newDescription.rfind("Version: 2.0.0.0\r\n", 0), 0u) << q.newDescription;
  EXPECT_EQ(ui.PointerAtBox, std::vector<MousePointer>{MousePointer::Default});
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(ListFolder(App), std::vector<std::string>{"x.dll"});  // no temporary copy stays

  switch (c.answer) {
    case ConflictAnswer::KeepInstalled:
      EXPECT_EQ(ReadFileBytes(App + "\\x.dll"), Existing);
      EXPECT_EQ(f.Installed, 2);
      EXPECT_EQ(f.InstalledIn, App);
      EXPECT_EQ(Flags, std::vector<DWORD>{VIFF_DONTDELETEOLD});
      EXPECT_EQ(ui.GetMousePointer(), MousePointer::Hourglass);
      break;
    case ConflictAnswer::Replace:
      EXPECT_TRUE(Replaced());
      EXPECT_EQ(f.Installed, 1);
      EXPECT_EQ(Flags, (std::vector<DWORD>{VIFF_DONTDELETEOLD, VIFF_DONTDELETEOLD | VIFF_FORCEINSTALL}));
      break;
    case ConflictAnswer::Cancel:  // the asking cancel procedure; the user confirms
      EXPECT_EQ(CancelCalls, std::vector<bool>{true});
      EXPECT_TRUE(session.Cancelled);
      EXPECT_EQ(f.Installed, 0);
      EXPECT_FALSE(session.FilesInstalled);
      EXPECT_EQ(ReadFileBytes(App + "\\x.dll"), Existing);
      break;
  }
}

INSTANTIATE_TEST_SUITE_P(LanguageAndFormat, ConflictAnswerTest,
                         ::testing::Values(ConflictCase{VIF_DIFFLANG, ConflictAnswer::KeepInstalled},
                                           ConflictCase{VIF_DIFFLANG, ConflictAnswer::Replace},
                                           ConflictCase{VIF_DIFFLANG, ConflictAnswer::Cancel},
                                           ConflictCase{VIF_DIFFTYPE, ConflictAnswer::Replace},
                                           ConflictCase{VIF_DIFFCODEPG, ConflictAnswer::Replace}));

TEST_F(ConflictInstallTest, ASecondConflictAfterForcingFailsSilently) {
  Prepare(VIF_DIFFLANG, true);
  ui.AnswerConflict(ConflictAnswer::Replace);
  CFile& f = AddFile("x.dll");
  Install(f);
  EXPECT_EQ(ui.Conflicts().size(), 1u);
  EXPECT_TRUE(ui.Boxes().empty());
  EXPECT_EQ(f.Installed, 0);
  EXPECT_EQ(ReadFileBytes(App + "\\x.dll"), Existing);
}

TEST_F(ConflictInstallTest, MismatchWinsOverTheConflictBits) {
  Prepare(VIF_MISMATCH | VIF_DIFFTYPE);  // what the system itself reports
  CFile& f = AddFile("x.dll");
  Install(f);
  EXPECT_TRUE(ui.Conflicts().empty());
  EXPECT_TRUE(Replaced());
  EXPECT_EQ(f.Installed, 1);
  EXPECT_EQ(ListFolder(App), std::vector<std::string>{"x.dll"});
}

// What the system's own functions report for two files that differ in
// language only, measured rather than assumed: never a language difference
// without a plain mismatch (wine copies without a remark, 0), so the copy
// goes on without the dialog.
TEST(SystemVersionFunctions, ALanguageDifferenceNeverComesAlone) {
  ScratchFolder dir;
  std::wstring src = win::Widen(dir.MakeFolder("neu")), dst = win::Widen(dir.MakeFolder("alt")), name = L"x.dll";
  for (uint16_t newer : {1, 2}) {
    MakeVersionedFile(dir / "neu\\x.dll", {newer, 0, 0, 0}, kLangGerman);
    MakeVersionedFile(dir / "alt\\x.dll", {1, 0, 0, 0}, kLangEnglishUS);
    wchar_t temp[MAX_PATH] = {};
    UINT length = MAX_PATH;
    const DWORD result = VerInstallFileW(VIFF_DONTDELETEOLD, name.data(), name.data(), src.data(), dst.data(),
                                         dst.data(), temp, &length);
    std::printf("version %u.0 in German over 1.0 in English: VerInstallFileW = 0x%lx\n", newer, result);
    EXPECT_TRUE(!(result & (VIF_DIFFLANG | VIF_DIFFCODEPG | VIF_DIFFTYPE)) || (result & VIF_MISMATCH)) << result;
    EXPECT_EQ(result & ~DWORD{VIF_MISMATCH | VIF_DIFFLANG | VIF_TEMPFILE}, 0u) << "a copy error";
    if (result & VIF_TEMPFILE) DeleteFileW((dst + L"\\" + temp).c_str());
  }
}

TEST_F(ConflictInstallTest, FailingVersionSearchCancelsUnconditionally) {
  Prepare(0);
  modInstall::seams::SystemFunctions fns;
  fns.VerFindFile = [](DWORD, LPCWSTR, LPCWSTR, LPCWSTR, LPWSTR, PUINT, LPWSTR, PUINT) -> DWORD {
    throw std::runtime_error("version library unusable");
  };
  scope.reset();
  modInstall::seams::ScopedSystemFunctions failing(fns);
  CFile& f = AddFile("x.dll");
  Install(f);
  EXPECT_EQ(CancelCalls, std::vector<bool>{false});
  EXPECT_EQ(f.Installed, 0);
  EXPECT_TRUE(ui.Boxes().empty());
}

}  // namespace
}  // namespace kv::test
