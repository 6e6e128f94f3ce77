#pragma once
// The real user interaction: Win32 windows for the pages and dialogs,
// message boxes with German button labels, the shell's folder browser, and
// the message pump. One instance per process, on the one UI thread.
#include <windows.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/UserInteraction.h"

namespace kv {
struct Session;
namespace modTools {
class RestartApi;
}
}  // namespace kv

namespace kv::ui {

class Form;
class frmEmpty;

class RealUi : public UserInteraction {
 public:
  explicit RealUi(HINSTANCE instance);
  ~RealUi() override;

  // The session is built after the UI (it holds a reference to it).
  void Attach(Session& session) { session_ = &session; }

  MsgResult MsgBox(const MessageBoxRequest& request) override;
  ConflictAnswer AskConflict(const ConflictQuestion& question) override;
  std::string BrowseForFolder(const std::string& title) override;
  void ShowPage(PageId page, const std::string& caption) override;
  void UnloadPage() override;
  void LoadEmptyForm() override;
  void UnloadEmptyForm() override;
  void ReportProgress(int done, int total, const std::string& item) override;
  void DoEvents() override;
  void WaitForEvents(double seconds) override;
  void SetMousePointer(MousePointer pointer) override;
  MousePointer GetMousePointer() const override { return pointer_; }
  double Now() override;

  // Runs the message loop until no form is loaded any more.
  void RunMessageLoop();
  bool AnyFormLoaded() const { return current_ != nullptr || empty_ != nullptr || modalDepth_ > 0; }

  frmEmpty* EmptyForm() const { return empty_.get(); }
  HWND CurrentWindow() const;
  // The wizard's one taskbar window: it owns every page, carries the caption
  // and icon, and hands activation on to the page on top.
  HWND AppWindow() const { return appWindow_; }

  // The finish page's two ways out of the wizard. Tests put stand-ins here so
  // that nothing restarts or starts on the machine they run on.
  modTools::RestartApi* restartApi = nullptr;            // nullptr: the system's
  std::function<bool(const std::string&, const std::string&)> startProgram;  // empty: the system's
  // The scale new windows are made for; 0: the monitor's where they appear.
  int fixedDpi = 0;
  PageId CurrentPageId() const { return currentId_; }

 private:
  std::unique_ptr<Form> CreatePage(PageId page);
  bool PumpOne(bool wait);
  void ApplyIcon(HWND hwnd);
  void EndWithoutPage(const std::string& caption);
  void EnsureAppWindow(const RECT& pageRect);
  int DpiFor(const RECT& where) const;

  HINSTANCE instance_;
  Session* session_ = nullptr;
  std::unique_ptr<Form> current_;
  PageId currentId_ = PageId::None;
  // Forms unloaded while one of their own handlers may still be running;
  // freed when the message loop is back at the top.
  std::vector<std::unique_ptr<Form>> unloaded_;
  std::unique_ptr<frmEmpty> empty_;
  HWND appWindow_ = nullptr;
  RECT lastPageRect_{};
  bool havePageRect_ = false;
  MousePointer pointer_ = MousePointer::Default;
  int modalDepth_ = 0;
};

// Message box with German button labels whatever the system language. The
// flags are the classic MB_* values.
int GermanMessageBox(HWND owner, const std::string& text, const std::string& title, UINT flags);

}  // namespace kv::ui
