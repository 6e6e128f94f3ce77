#include "startup/Switches.h"

#include <vector>

#include "base/Text.h"

namespace kv::modSetup {
namespace {

struct Word {
  std::string text;  // without the grouping quotes
  size_t start = 0;  // where it begins in the command
};

size_t SkipBlanks(const std::string& s, size_t i) {
  while (i < s.size() && (s[i] == ' ' || s[i] == '\t')) ++i;
  return i;
}

// The next word from `i`: blanks separate, double quotes group (no escapes,
// since paths end in "\"). False at the end of the command.
bool NextWord(const std::string& s, size_t& i, Word& word) {
  i = SkipBlanks(s, i);
  if (i >= s.size()) return false;
  word = Word{{}, i};
  bool quoted = false;
  while (i < s.size() && (quoted || (s[i] != ' ' && s[i] != '\t'))) {
    if (s[i] == '"') {
      quoted = !quoted;
    } else {
      word.text += s[i];
    }
    ++i;
  }
  return true;
}

// Switches that stand alone; /log and /dir take the next word.
enum class Kind { Quiet, Passive, NoRestart, ForceRestart, Log, Dir, Repair, Uninstall, Help, Links, Unknown };

struct Known {
  const char* name;
  Kind kind;
  Choice Switches::*choice;
  Choice value;
};

const Known kKnown[] = {
    {"/quiet", Kind::Quiet, nullptr, Choice::Default},
    {"/passive", Kind::Passive, nullptr, Choice::Default},
    {"/norestart", Kind::NoRestart, nullptr, Choice::Default},
    {"/forcerestart", Kind::ForceRestart, nullptr, Choice::Default},
    {"/log", Kind::Log, nullptr, Choice::Default},
    {"/dir", Kind::Dir, nullptr, Choice::Default},
    {"/repair", Kind::Repair, nullptr, Choice::Default},
    {"/uninstall", Kind::Uninstall, nullptr, Choice::Default},
    {"/?", Kind::Help, nullptr, Choice::Default},
    {"/startmenu", Kind::Links, &Switches::startMenu, Choice::Yes},
    {"/nostartmenu", Kind::Links, &Switches::startMenu, Choice::No},
    {"/desktop", Kind::Links, &Switches::desktop, Choice::Yes},
    {"/nodesktop", Kind::Links, &Switches::desktop, Choice::No},
    {"/autostart", Kind::Links, &Switches::autoStart, Choice::Yes},
    {"/noautostart", Kind::Links, &Switches::autoStart, Choice::No},
    {"/allusers", Kind::Links, &Switches::allUsers, Choice::Yes},
    {"/currentuser", Kind::Links, &Switches::allUsers, Choice::No},
};

const Known* Find(const std::string& word) {
  const std::string lower = LowerCase(word);
  for (const Known& k : kKnown) {
    if (lower == k.name) return &k;
  }
  return nullptr;
}

bool IsFullPath(const std::string& path) {
  const bool drive = path.size() >= 3 && path[1] == ':' && path[2] == '\\' &&
                     ((path[0] >= 'a' && path[0] <= 'z') || (path[0] >= 'A' && path[0] <= 'Z'));
  const bool unc = path.size() > 2 && path[0] == '\\' && path[1] == '\\';
  return drive || unc;
}

std::string Quoted(const std::string& s) { return "\"" + s + "\""; }

void Refuse(Switches& sw, const std::string& why) {
  if (sw.error.empty()) sw.error = why;
}

// Combinations that say two different things, checked once all is read.
void CheckCombination(Switches& sw, bool quietAndPassive, bool repairAndUninstall, bool linksGiven) {
  if (quietAndPassive) Refuse(sw, "Die Schalter /quiet und /passive schließen sich gegenseitig aus.");
  if (repairAndUninstall) Refuse(sw, "Die Schalter /repair und /uninstall schließen sich gegenseitig aus.");
  if (sw.noRestart && sw.forceRestart) {
    Refuse(sw, "Die Schalter /norestart und /forcerestart schließen sich gegenseitig aus.");
  }
  if (!sw.dir.empty() && sw.action != SetupAction::Default) {
    Refuse(sw, "Der Schalter /dir kann nicht zusammen mit /repair oder /uninstall verwendet werden.");
  }
  if (linksGiven && sw.action == SetupAction::Uninstall) {
    Refuse(sw, "Verknüpfungsschalter können nicht zusammen mit /uninstall verwendet werden.");
  }
  // The wizard asks all of this itself.
  const bool answers = !sw.dir.empty() || linksGiven || sw.action != SetupAction::Default || sw.noRestart ||
                       sw.forceRestart;
  if (answers && sw.ui == UiLevel::Full && !sw.help) {
    Refuse(sw, "Die Schalter /dir, /repair, /uninstall, /norestart, /forcerestart und die Verknüpfungsschalter "
               "gelten nur zusammen mit /quiet oder /passive.");
  }
}

}  // namespace

const char* const kSwitchHelp =
    "Aufruf: setup.exe [Schalter]\r\n\r\n"
    "/quiet\t\tohne jedes Fenster installieren, keine Rückfragen\r\n"
    "/passive\t\tnur den Fortschritt zeigen, keine Rückfragen\r\n"
    "/norestart\tden Computer nicht neu starten (Exitcode 3010, wenn nötig)\r\n"
    "/forcerestart\tden Computer neu starten, wenn es nötig ist (Exitcode 1641)\r\n"
    "/log \"Datei\"\tein Protokoll in diese Datei schreiben\r\n"
    "/dir \"Pfad\"\tin diesen Ordner installieren\r\n"
    "/startmenu, /nostartmenu\tVerknüpfung im Startmenü\r\n"
    "/desktop, /nodesktop\tVerknüpfung auf dem Desktop\r\n"
    "/autostart, /noautostart\tmit Windows starten\r\n"
    "/allusers, /currentuser\tVerknüpfungen für alle Benutzer oder nur für mich\r\n"
    "/repair\t\tdas installierte Programm reparieren\r\n"
    "/uninstall\tdas installierte Programm deinstallieren\r\n"
    "/?\t\tdiese Übersicht\r\n\r\n"
    "Exitcodes: 0 Erfolg, 3010 Neustart erforderlich, 1641 Neustart eingeleitet, 1602 abgebrochen, "
    "1603 schwerer Fehler, 1605 Programm nicht installiert, 1618 eine andere Installation läuft, "
    "1638 eine neuere Version ist installiert, 87 ungültige Schalter.";

bool BeginsWithSwitch(const std::string& commandTail) {
  size_t i = 0;
  Word first;
  return NextWord(commandTail, i, first) && commandTail[first.start] == '/' && Find(first.text) != nullptr;
}

Switches ParseSwitches(const std::string& commandTail, SwitchHost host) {
  Switches sw;
  bool quiet = false, passive = false, repair = false, uninstall = false, links = false;
  size_t i = 0;
  Word word;
  while (NextWord(commandTail, i, word)) {
    if (commandTail[word.start] == '-') {
      const std::string lower = LowerCase(word.text);
      if (lower == "-o") {
        Refuse(sw, "Der Schalter -o kann nicht zusammen mit anderen Schaltern verwendet werden.");
      } else if (host == SwitchHost::Installer && (lower == "-ifp" || lower == "-m")) {
        sw.engineCommand = commandTail.substr(word.start);
        while (!sw.engineCommand.empty() && (sw.engineCommand.back() == ' ' || sw.engineCommand.back() == '\t')) {
          sw.engineCommand.pop_back();
        }
        // What follows the quoted argument would be silently dropped by the
        // start-up; an administrator's typo must not go unnoticed.
        Word argument, extra;
        size_t j = i;
        if (!NextWord(commandTail, j, argument) || commandTail[argument.start] != '"' ||
            commandTail[j - 1] != '"' || j - argument.start < 2) {
          Refuse(sw, "Nach " + word.text + " muss ein Argument in Anführungszeichen folgen.");
        } else if (NextWord(commandTail, j, extra)) {
          Refuse(sw, "Nach dem Argument von " + word.text + " darf nichts mehr folgen: " + extra.text);
        }
        break;
      } else {
        Refuse(sw, "Unbekannter Schalter: " + word.text);
      }
      break;
    }
    const Known* known = Find(word.text);
    if (!known) {
      // Read on: a /log further on still gets the reason.
      Refuse(sw, "Unbekannter Schalter: " + word.text);
      continue;
    }
    switch (known->kind) {
      case Kind::Quiet: quiet = true; break;
      case Kind::Passive: passive = true; break;
      case Kind::NoRestart: sw.noRestart = true; break;
      case Kind::ForceRestart: sw.forceRestart = true; break;
      case Kind::Repair: repair = true; break;
      case Kind::Uninstall: uninstall = true; break;
      case Kind::Help: sw.help = true; break;
      case Kind::Links: {
        Choice& slot = sw.*(known->choice);
        if (slot != Choice::Default && slot != known->value) {
          Refuse(sw, "Widersprüchliche Verknüpfungsschalter: " + word.text);
        }
        slot = known->value;
        links = true;
        break;
      }
      case Kind::Log:
      case Kind::Dir: {
        Word value;
        size_t j = i;
        const bool present = NextWord(commandTail, j, value) && commandTail[value.start] != '/' &&
                             commandTail[value.start] != '-' && !value.text.empty();
        const std::string what = known->kind == Kind::Log ? "eine Protokolldatei" : "ein Installationsordner";
        if (!present) {
          Refuse(sw, "Nach " + word.text + " muss " + what + " in Anführungszeichen folgen.");
          break;
        }
        i = j;
        if (!IsFullPath(value.text)) {
          Refuse(sw, "Nach " + word.text + " muss ein vollständiger Pfad mit Laufwerksbuchstaben folgen: " +
                         value.text);
        }
        std::string& target = known->kind == Kind::Log ? sw.logFile : sw.dir;
        if (!target.empty()) Refuse(sw, "Der Schalter " + word.text + " ist mehrfach angegeben.");
        target = value.text;
        break;
      }
      case Kind::Unknown: break;
    }
  }
  sw.ui = quiet ? UiLevel::Quiet : passive ? UiLevel::Passive : UiLevel::Full;
  sw.action = repair ? SetupAction::Repair : uninstall ? SetupAction::Uninstall : SetupAction::Default;
  if (!sw.dir.empty()) {
    while (sw.dir.size() > 3 && sw.dir.back() == '\\') sw.dir.pop_back();
    if (sw.dir.size() <= 3) Refuse(sw, "Das Programm kann nicht direkt in den Basisordner eines Laufwerks installiert werden.");
  }
  CheckCombination(sw, quiet && passive, repair && uninstall, links);
  if (host == SwitchHost::Installer && sw.engineCommand.empty() && !sw.help) {
    Refuse(sw, "Es fehlt die Angabe des Pakets (-ifp \"Medium\" oder -m \"Paket\").");
  }
  return sw;
}

std::string SwitchesCommand(const Switches& sw) {
  std::string out;
  auto add = [&out](const std::string& s) { out += (out.empty() ? "" : " ") + s; };
  if (sw.ui == UiLevel::Quiet) add("/quiet");
  if (sw.ui == UiLevel::Passive) add("/passive");
  if (sw.noRestart) add("/norestart");
  if (sw.forceRestart) add("/forcerestart");
  if (!sw.logFile.empty()) add("/log " + Quoted(sw.logFile));
  if (!sw.dir.empty()) add("/dir " + Quoted(sw.dir));
  auto choice = [&add](Choice c, const char* yes, const char* no) {
    if (c != Choice::Default) add(c == Choice::Yes ? yes : no);
  };
  choice(sw.startMenu, "/startmenu", "/nostartmenu");
  choice(sw.desktop, "/desktop", "/nodesktop");
  choice(sw.autoStart, "/autostart", "/noautostart");
  choice(sw.allUsers, "/allusers", "/currentuser");
  if (sw.action == SetupAction::Repair) add("/repair");
  if (sw.action == SetupAction::Uninstall) add("/uninstall");
  return out;
}

}  // namespace kv::modSetup
