#pragma once
// The window side of a form: one top-level window of fixed size with child
// controls, a side bar on the left and the button row at the bottom. Each
// page derives from it, builds its controls in OnLoad (its Form_Load) and
// handles clicks in OnCommand.
#include <windows.h>

#include <string>

namespace kv {
struct Session;
}

namespace kv::ui {

class RealUi;

// Page geometry in 96-dpi units; everything is scaled once at creation.
struct Layout {
  static constexpr int kWidth = 600;      // client area
  static constexpr int kHeight = 400;
  static constexpr int kSideBar = 150;    // side bar width
  static constexpr int kMargin = 16;
  static constexpr int kLeft = kSideBar + kMargin;        // content column
  static constexpr int kRight = kWidth - kMargin;
  static constexpr int kButtonW = 108;
  static constexpr int kButtonH = 25;
  static constexpr int kLineY = kHeight - 50;             // separator above the buttons
  static constexpr int kButtonY = kHeight - 37;
};

enum class FontKind { Normal, Bold, Title, Small };

class Form {
 public:
  Form(RealUi& ui, Session& session, const wchar_t* className);
  virtual ~Form();
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  // Creates the (hidden) window and runs OnLoad. A page has the side bar and
  // a minimise box; a dialog has neither.
  // `dpi` is the scale of the monitor where the window will stand.
  bool Create(HWND owner, bool isPage, int dpi);
  void Destroy();
  HWND Hwnd() const { return hwnd_; }
  // The form's class name without the common prefix ("frmPath").
  const wchar_t* ClassName() const { return className_; }

  // Enter presses this button; Escape presses the cancel button, and
  // without one does what the close box does.
  int DefaultButton() const { return defaultId_; }
  int CancelButton() const { return cancelId_; }
  // Whether the close box is enabled: a page without a way to cancel has
  // none, rather than one that silently does nothing.
  virtual bool Closable() const { return cancelId_ != 0; }
  // Progress of long work, for the progress pages.
  virtual void OnProgress(int done, int total, const std::string& item) {}
  // Focus on the default button, or on the first control that takes the tab key.
  void EnsureFocus();

  static void RegisterClasses(HINSTANCE instance);

 protected:
  virtual void OnLoad() = 0;
  virtual void OnCommand(int id, int code) {}
  virtual void OnTimer(UINT_PTR id) {}
  // The close box; by default the same as the cancel button.
  virtual void OnClose();
  // Size of the client area in 96-dpi units.
  virtual SIZE DesignSize() const { return {Layout::kWidth, Layout::kHeight}; }

  int S(int v) const;  // scales a 96-dpi value to the window's dpi
  // Texts from the package are shown as they stand; `accessKey` lets an "&"
  // in our own fixed texts mark the access key of the control that follows.
  HWND Label(int id, const std::string& text, int x, int y, int w, int h, FontKind font = FontKind::Normal,
             DWORD extraStyle = 0, bool accessKey = false);
  // A label as tall as its wrapped text needs; returns the y below it.
  int FlowLabel(int id, const std::string& text, int x, int y, int w, FontKind font = FontKind::Normal,
                int gapAfter = 10);
  HWND Button(int id, const std::string& text, int x, int y, int w, int h, bool isDefault = false);
  // What a screen reader announces for the control besides its caption.
  void Describe(int id, const std::string& text);
  HWND CheckBox(int id, const std::string& text, int x, int y, int w, int h);
  HWND Option(int id, const std::string& text, int x, int y, int w, int h, bool firstInGroup);
  HWND Edit(int id, const std::string& text, int x, int y, int w, int h, DWORD extraStyle = 0,
            FontKind font = FontKind::Normal);
  // A frame of total height h, its caption (if any) in the top 18 units.
  HWND Frame(int id, const std::string& text, int x, int y, int w, int h);
  static constexpr int kFrameCaptionOffset = 10000;  // id of a frame's caption label
  // Makes the client area `h` units tall (a dialog that fits its content).
  void FitClientHeight(int h);
  // The etched separator above the button row (dLine dark, bLine light).
  void SeparatorLines(int y, int x0, int x1);
  // Height in 96-dpi units that `text` needs when wrapped to `w`.
  int MeasureText(const std::string& text, int w, FontKind font) const;

  HWND Item(int id) const { return GetDlgItem(hwnd_, id); }
  std::string Text(int id) const;
  void SetText(int id, const std::string& text);
  bool Checked(int id) const;
  void SetChecked(int id, bool on);
  void Show(int id, bool visible);
  void Enable(int id, bool enabled);

  RealUi& ui_;
  Session& session_;
  HWND hwnd_ = nullptr;
  int defaultId_ = 0;
  int cancelId_ = 0;
  HBRUSH readOnlyBrush_ = nullptr;

 private:
  static LRESULT CALLBACK WndProc(HWND hwnd, UINT msg, WPARAM wp, LPARAM lp);
  LRESULT Handle(UINT msg, WPARAM wp, LPARAM lp);
  HFONT FontFor(FontKind kind) const;
  void CreateControls();
  // Lays the page out again at another dpi, keeping what the user typed and
  // chose.
  void Relayout(int dpi);

  const wchar_t* className_;
  bool isPage_ = true;
  int dpi_ = 96;
};

}  // namespace kv::ui
