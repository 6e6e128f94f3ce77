// The real host of the macro commands: the file system and the registry of
// this machine, the package's own path expansion and file installation, the
// installer's prompt and run log.
#include <windows.h>

#include "base/VbError.h"
#include "install/ExpandPath.h"
#include "install/InstallFile.h"
#include "macro/Interpreter.h"
#include "macro/MacroHost.h"
#include "package/CPackage.h"
#include "platform/RegTools.h"
#include "platform/WinString.h"
#include "session/Session.h"

namespace kv::macro {

namespace {

// The classic number for what the system reported; the prompt shows our own
// text, the number only helps when debugging.
[[noreturn]] void Fail(const char* what) {
  DWORD code = GetLastError();
  int32_t number = vberr::PathFileAccessError;
  if (code == ERROR_FILE_NOT_FOUND) number = vberr::FileNotFound;
  else if (code == ERROR_PATH_NOT_FOUND) number = vberr::PathNotFound;
  else if (code == ERROR_ACCESS_DENIED || code == ERROR_SHARING_VIOLATION) number = vberr::PermissionDenied;
  throw VbError(number, std::string(what) + " failed, system error " + std::to_string(code));
}

HKEY Hkey(RegistryRoot root) {
  switch (root) {
    case RegistryRoot::LocalMachine:
      return HKEY_LOCAL_MACHINE;
    case RegistryRoot::ClassesRoot:
      return HKEY_CLASSES_ROOT;
    default:
      return HKEY_CURRENT_USER;
  }
}

class SystemHost final : public MacroHost {
 public:
  SystemHost(Session& session, CPackage& package) : session_(session), package_(package) {}

  const std::string& InstallationFolder() const override { return package_.InstalledIn; }
  std::string ExpandPath(const std::string& path) override {
    return modInstall::ExpandPath(session_, path, &package_);
  }

  // A file that is not there fails too: the author asked for a deletion, and
  // silentdeletefile is the form for files that may be missing.
  void RemoveFile(const std::string& path) override {
    if (!DeleteFileW(win::Widen(path).c_str())) Fail("DeleteFile");
  }
  void CopyOver(const std::string& from, const std::string& to) override {
    if (!CopyFileW(win::Widen(from).c_str(), win::Widen(to).c_str(), FALSE)) Fail("CopyFile");
  }
  void RenamePath(const std::string& from, const std::string& to) override {
    if (!MoveFileW(win::Widen(from).c_str(), win::Widen(to).c_str())) Fail("MoveFile");
  }
  // An existing folder fails like any other refusal.
  void CreateFolder(const std::string& path) override {
    if (!CreateDirectoryW(win::Widen(path).c_str(), nullptr)) Fail("CreateDirectory");
  }
  void RemoveEmptyFolder(const std::string& path) override { RemoveDirectoryW(win::Widen(path).c_str()); }
  // No sharing, no registration, existing files replaced by the version
  // rules; a file in use is reported, not deferred.
  void InstallPackageFile(const std::string& srcName, const std::string& destName,
                          const std::string& toPath) override {
    modInstall::InstallFile(session_, package_, srcName, package_.SourcePath, destName, toPath,
                            /*sharedFile=*/false, /*registerKind=*/0, /*dontOverwrite=*/false, /*pending=*/nullptr);
  }

  std::string ReadString(RegistryRoot root, const std::string& key, const std::string& valueName) override {
    return modRegTools::GetString(key, valueName, "", Hkey(root));
  }
  void WriteString(RegistryRoot root, const std::string& key, const std::string& valueName,
                   const std::string& data) override {
    modRegTools::SetString(key, valueName, data, Hkey(root));
  }
  void WriteNumber(RegistryRoot root, const std::string& key, const std::string& valueName, int32_t data) override {
    modRegTools::SetNumber(key, valueName, data, Hkey(root));
  }
  void DeleteValue(RegistryRoot root, const std::string& key, const std::string& valueName) override {
    modRegTools::Delete(key, valueName, Hkey(root));
  }

  Answer AskAbortRetryIgnore(const std::string& message) override {
    return static_cast<Answer>(modInstall::AskAbortRetryIgnore(session_, message));
  }
  bool Cancelled() const override { return session_.Cancelled; }
  void Log(std::string_view line) override { session_.Log(line); }

 private:
  Session& session_;
  CPackage& package_;
};

}  // namespace

void Execute(const CMacro& macro, Session& session, CPackage& package) {
  SystemHost host(session, package);
  Execute(macro, host);
}

}  // namespace kv::macro
