#include "install/Registration.h"

#include <windows.h>
#include <oleauto.h>

#include "package/CFile.h"
#include "base/StringTools.h"
#include "platform/ProcessStart.h"
#include "platform/SharedFiles.h"
#include "platform/WinString.h"
#include "session/Session.h"

namespace kv::modInstall {

std::string RegistrationCommandLine(const std::string& appDir, int32_t kind, const std::string& filePath,
                                    bool install) {
  // Paths may hold blanks: each is quoted, the switch follows the closing quote.
  switch (kind) {
    case kRegisterComponent:
      return "\"" + appDir + "dllregsv.exe" + "\" \"" + filePath + (install ? "\" /r" : "\" /u");
    case kRegisterServer:
      return "\"" + filePath + (install ? "\" /REGSERVER" : "\" /UNREGSERVER");
    default:
      return {};
  }
}

int32_t RegisterTypeLibrary(const std::string& path) {
  std::wstring wide = win::Widen(path);
  ITypeLib* library = nullptr;
  // REGKIND_NONE: the registration is ours to make, with the path we installed.
  HRESULT hr = LoadTypeLibEx(wide.c_str(), REGKIND_NONE, &library);
  if (FAILED(hr)) return static_cast<int32_t>(hr);
  hr = RegisterTypeLib(library, wide.data(), nullptr);
  library->Release();
  return static_cast<int32_t>(hr);
}

int32_t RegisterFile(Session& session, const std::string& filePath, int32_t kind) {
  switch (kind) {
    case kRegisterComponent:
    case kRegisterServer:
      // The helper reports nothing back; we neither wait for it nor look at
      // its exit code, so a slow component cannot stall the installation.
      modTools::StartCommandLine(RegistrationCommandLine(session.AppDir, kind, filePath, true),
                                 modTools::kShowNormalFocus);
      return 0;
    case kRegisterTypeLibrary:
      return RegisterTypeLibrary(filePath);
    case kRegisterFont:
      AddFontResourceW(win::Widen(filePath).c_str());
      return 0;
    default:
      return 0;
  }
}

modTools::StartedProgram UnregisterComponent(Session& session, const std::string& filePath, int32_t kind) {
  switch (kind) {
    case kRegisterComponent:
    case kRegisterServer:
      return modTools::StartProgram(RegistrationCommandLine(session.AppDir, kind, filePath, false),
                                    modTools::kShowNormalFocus);
    case kRegisterFont:
      RemoveFontResourceW(win::Widen(filePath).c_str());
      return {};
    default:
      // Type libraries stay registered: other programs may have been built
      // against them. Unknown kinds have nothing to undo.
      return {};
  }
}

bool UnregisterFile(Session& session, CFile& file, bool keepFile) {
  if (file.Installed <= 0) return true;
  const std::string path = modTools::JoinPath(file.InstalledIn, file.DestinationName);
  if (file.DontUninstall) {
    session.FilesLeft = true;
    session.Log("Datei bleibt (nicht zu deinstallieren): " + path);
    return true;
  }
  file.Installed = 0;
  if (file.SharedFile && !modTools::ReleaseSharedFileReference(path)) {
    session.Log("Datei bleibt (von anderen Programmen benutzt): " + path);
    return false;
  }

  // An empty InstalledIn is the record of a "DontOverwrite" file that was
  // found elsewhere and left alone: the package never put it anywhere, and
  // the joined path "\name" names a file at the root of the current drive.
  // The record and the shared count (raised under the same path) follow the
  // rules; the file itself is nobody's to unregister or delete here.
  if (file.InstalledIn.empty()) return true;
  const modTools::StartedProgram helper = UnregisterComponent(session, path, file.Register);
  if (keepFile) return true;
  // The unregistration is not waited for. But the helper loads the very file
  // it works on, and a deletion that meets it there fails for that alone:
  // only then does the deletion give it a few seconds to end, and try again.
  constexpr uint32_t kHelperGraceMs = 5000;
  const std::wstring wide = win::Widen(path);
  if (DeleteFileW(wide.c_str()) || (helper && helper.EndsWithin(kHelperGraceMs) && DeleteFileW(wide.c_str()))) {
    session.Log("Datei entfernt: " + path);
  } else {
    session.FilesLeft = true;
    session.Log("Datei konnte nicht entfernt werden: " + path);
  }
  return true;
}

}  // namespace kv::modInstall
