#include "unattended/UnattendedUi.h"

#include <windows.h>

#include "session/Session.h"

namespace kv::unattended {
namespace {

const char* ResultName(MsgResult r) {
  switch (r) {
    case MsgResult::OK: return "OK";
    case MsgResult::Cancel: return "Abbrechen";
    case MsgResult::Abort: return "Abbrechen";
    case MsgResult::Retry: return "Wiederholen";
    case MsgResult::Ignore: return "Ignorieren";
    case MsgResult::Yes: return "Ja";
    case MsgResult::No: return "Nein";
  }
  return "?";
}

// The first line of a message: the rest explains the buttons.
std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\r')); }

}  // namespace

void UnattendedUi::Note(const std::string& question, const std::string& answer, const std::string& why) {
  if (session_) session_->Log("Frage: " + question + " -> Antwort: " + answer + " (" + why + ")");
}

void UnattendedUi::Fail(const std::string& reason) {
  if (!failure_.empty()) return;
  failure_ = reason;
  if (session_) session_->Log("Abbruch: " + reason);
}

MsgResult UnattendedUi::MsgBox(const MessageBoxRequest& request) {
  MsgResult answer = MsgResult::Cancel;
  std::string why;
  switch (request.buttons) {
    case MsgButtons::OK:
      answer = MsgResult::OK;
      why = "Meldung";
      break;
    case MsgButtons::YesNo:
      // An existing folder, the uninstall confirmation, "really cancel":
      // the administrator's command has already decided each of them.
      answer = MsgResult::Yes;
      why = "durch den Aufruf entschieden";
      break;
    case MsgButtons::YesNoCancel: {
      // Undo what was installed? Yes when this run brought the package in
      // (nothing may be left behind) or the person watching cancelled; a
      // package that was there before stays, so nothing working is lost.
      const bool ownPackage = session_ && session_->IsNewInstall && !session_->PackageToRemoveFirst;
      answer = failure_.empty() || ownPackage ? MsgResult::Yes : MsgResult::No;
      why = answer == MsgResult::Yes ? "rückgängig machen" : "bisherige Installation behalten";
      break;
    }
    case MsgButtons::AbortRetryIgnore:
      // Retrying at once changes nothing and ignoring leaves a broken
      // installation behind: the run stops.
      answer = MsgResult::Abort;
      why = "keine sichere Antwort: Abbruch";
      Note(FirstLine(request.text), ResultName(answer), why);
      Fail(FirstLine(request.text));
      return answer;
    default:
      answer = MsgResult::Cancel;
      why = "keine sichere Antwort";
      break;
  }
  Note(FirstLine(request.text), ResultName(answer), why);
  return answer;
}

ConflictAnswer UnattendedUi::AskConflict(const ConflictQuestion& question) {
  Note(FirstLine(question.text) + " [installiert: " + question.oldDescription + "; neu: " + question.newDescription +
           "]",
       "vorhandene Datei behalten", "andere Programme verlassen sich auf sie");
  return ConflictAnswer::KeepInstalled;
}

std::string UnattendedUi::BrowseForFolder(const std::string& title) {
  Note(title, "keine Auswahl", "der Ordner kommt aus /dir");
  return {};
}

void UnattendedUi::ShowPage(PageId page, const std::string& caption) {
  pending_ = page;
  const bool progress = page == PageId::Installing || page == PageId::Uninstall;
  if (display_ && progress) {
    display_->ShowPage(page, caption);
    displayed_ = true;
  } else if (displayed_) {
    display_->UnloadPage();
    displayed_ = false;
  }
}

void UnattendedUi::UnloadPage() {
  pending_.reset();
  if (displayed_) display_->UnloadPage();
  displayed_ = false;
}

void UnattendedUi::LoadEmptyForm() {
  if (display_) display_->LoadEmptyForm();
}

void UnattendedUi::UnloadEmptyForm() {
  if (display_) display_->UnloadEmptyForm();
}

void UnattendedUi::DoEvents() {
  if (display_) display_->DoEvents();
}

void UnattendedUi::WaitForEvents(double seconds) {
  if (display_) {
    display_->WaitForEvents(seconds);
  } else if (seconds > 0) {
    skipped_ += seconds;
  }
}

void UnattendedUi::SetMousePointer(MousePointer pointer) {
  pointer_ = pointer;
  if (display_) display_->SetMousePointer(pointer);
}

double UnattendedUi::Now() {
  if (display_) return display_->Now();
  return static_cast<double>(GetTickCount64()) / 1000.0 + skipped_;
}

std::optional<PageId> UnattendedUi::TakePendingPage() {
  std::optional<PageId> page = pending_;
  pending_.reset();
  return page;
}

}  // namespace kv::unattended
