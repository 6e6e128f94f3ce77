#include "app/setup/OneFile.h"

#include <windows.h>
#include <ntsecapi.h>
#include <sddl.h>
#include <zlib.h>

#include <memory>
#include <optional>
#include <vector>

#include "onefile/Format.h"
#include "platform/WinString.h"
#include "startup/Elevation.h"

namespace kv::setupexe {
namespace {

using onefile::Entry;
using onefile::Trailer;

constexpr size_t kChunk = 1 << 20;

struct HandleCloser {
  void operator()(HANDLE h) const {
    if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
  }
};
using File = std::unique_ptr<void, HandleCloser>;

std::string SystemError(DWORD code) { return "Windows-Fehler " + std::to_string(code); }

// The downloaded file, opened so that nobody can change it between the check
// and the unpacking.
class Download {
 public:
  bool Open(const std::string& path) {
    HANDLE h = CreateFileW(win::Widen(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                           FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (h == INVALID_HANDLE_VALUE) return false;
    file_.reset(h);
    LARGE_INTEGER size;
    if (!GetFileSizeEx(h, &size)) return false;
    size_ = uint64_t(size.QuadPart);
    return true;
  }
  uint64_t Size() const { return size_; }

  bool Read(uint64_t at, void* into, size_t size) {
    LARGE_INTEGER pos;
    pos.QuadPart = LONGLONG(at);
    if (!SetFilePointerEx(file_.get(), pos, nullptr, FILE_BEGIN)) return false;
    auto* p = static_cast<char*>(into);
    while (size > 0) {
      DWORD got = 0;
      if (!ReadFile(file_.get(), p, DWORD(std::min<size_t>(size, kChunk)), &got, nullptr) || got == 0) return false;
      p += got;
      size -= got;
    }
    return true;
  }
  std::optional<std::string> ReadString(uint64_t at, size_t size) {
    std::string bytes(size, '\0');
    if (!Read(at, bytes.data(), size)) return {};
    return bytes;
  }

  // Where the program image ends, when bytes follow it.
  std::optional<uint64_t> AppendedFrom() {
    auto head = ReadString(0, size_t(std::min<uint64_t>(size_, 4096)));
    auto imageEnd = head ? onefile::PeImageEnd(*head) : std::nullopt;
    if (!imageEnd || size_ <= *imageEnd) return {};
    return imageEnd;
  }

  // Checks digest and table; fills trailer_ and entries_. Returns what is
  // wrong, as the end of a German sentence, or "" when all is well.
  std::string Check() {
    std::string problem = "die Datei ist kürzer als erwartet, der Download wurde wohl nicht vollständig beendet";
    auto imageEnd = AppendedFrom();
    if (!imageEnd || size_ - *imageEnd < onefile::kTrailerSize) return problem;
    auto tail = ReadString(size_ - onefile::kTrailerSize, onefile::kTrailerSize);
    auto trailer = tail ? onefile::DecodeTrailer(*tail, size_) : std::nullopt;
    if (!trailer || trailer->payloadStart < *imageEnd) return problem;

    problem = "ihre Prüfsumme stimmt nicht, die Datei wurde bei der Übertragung verändert";
    onefile::Sha256 hash;
    std::vector<char> buffer(kChunk);
    for (uint64_t at = 0, end = size_ - 32; at < end;) {
      size_t n = size_t(std::min<uint64_t>(kChunk, end - at));
      if (!Read(at, buffer.data(), n)) return problem;
      hash.Update(buffer.data(), n);
      at += n;
    }
    if (hash.Finish() != trailer->fileSha256) return problem;

    problem = "ihr Inhaltsverzeichnis ist fehlerhaft";
    auto toc = ReadString(trailer->tocStart, size_t(size_ - onefile::kTrailerSize - trailer->tocStart));
    auto entries = toc ? onefile::DecodeToc(*toc, trailer->entryCount, trailer->tocStart - trailer->payloadStart)
                       : std::nullopt;
    if (!entries) return problem;
    trailer_ = *trailer;
    entries_ = std::move(*entries);
    return {};
  }

  const std::vector<Entry>& Entries() const { return entries_; }

  enum class Outcome { Ok, Damaged, WriteFailed };

  // Unpacks one entry to `target`, checking its digest on the way.
  Outcome Unpack(const Entry& entry, const std::string& target, DWORD& error) {
    HANDLE h = CreateFileW(win::Widen(target).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
      error = GetLastError();
      return Outcome::WriteFailed;
    }
    File out(h);
    auto write = [&](const void* data, size_t n) {
      DWORD done = 0;
      if (n > 0 && (!WriteFile(h, data, DWORD(n), &done, nullptr) || done != n)) {
        error = GetLastError();
        return false;
      }
      return true;
    };
    onefile::Sha256 hash;
    uint64_t produced = 0;
    // Two buffers for the whole medium: thousands of small entries would
    // otherwise clear two fresh megabytes each.
    std::vector<char>& packed = packed_;
    std::vector<char>& plain = plain_;
    z_stream z{};
    if (entry.method == onefile::Method::Deflate && inflateInit2(&z, -MAX_WBITS) != Z_OK) return Outcome::Damaged;
    std::unique_ptr<z_stream, int (*)(z_stream*)> zGuard(entry.method == onefile::Method::Deflate ? &z : nullptr,
                                                         inflateEnd);
    bool ended = entry.method == onefile::Method::Stored;
    for (uint64_t at = 0; at < entry.packedSize;) {
      size_t n = size_t(std::min<uint64_t>(kChunk, entry.packedSize - at));
      if (!Read(trailer_.payloadStart + entry.offset + at, packed.data(), n)) return Outcome::Damaged;
      at += n;
      if (entry.method == onefile::Method::Stored) {
        hash.Update(packed.data(), n);
        produced += n;
        if (!write(packed.data(), n)) return Outcome::WriteFailed;
        continue;
      }
      z.next_in = reinterpret_cast<Bytef*>(packed.data());
      z.avail_in = uInt(n);
      while (z.avail_in > 0 && !ended) {
        z.next_out = reinterpret_cast<Bytef*>(plain.data());
        z.avail_out = uInt(plain.size());
        int rc = inflate(&z, Z_NO_FLUSH);
        if (rc != Z_OK && rc != Z_STREAM_END) return Outcome::Damaged;
        size_t got = plain.size() - z.avail_out;
        produced += got;
        if (produced > entry.size) return Outcome::Damaged;
        hash.Update(plain.data(), got);
        if (!write(plain.data(), got)) return Outcome::WriteFailed;
        ended = rc == Z_STREAM_END;
      }
      if (ended && (z.avail_in > 0 || at < entry.packedSize)) return Outcome::Damaged;
    }
    if (!ended || produced != entry.size || hash.Finish() != entry.sha256) return Outcome::Damaged;
    if (entry.fileTime != 0) {
      FILETIME time{DWORD(entry.fileTime), DWORD(entry.fileTime >> 32)};
      SetFileTime(h, nullptr, nullptr, &time);
    }
    return Outcome::Ok;
  }

 private:
  File file_{INVALID_HANDLE_VALUE};
  uint64_t size_ = 0;
  Trailer trailer_;
  std::vector<Entry> entries_;
  std::vector<char> packed_ = std::vector<char>(kChunk), plain_ = std::vector<char>(kChunk);
};

// Creates the folders of `name` below `root` (they inherit its access list).
// Entries of one folder follow each other: its parents are made once.
void MakeParents(const std::string& root, const std::string& name, std::string& lastMade) {
  const size_t last = name.rfind('\\');
  if (last == std::string::npos || (lastMade.size() == last && name.compare(0, last, lastMade) == 0)) return;
  for (size_t slash = name.find('\\'); slash != std::string::npos; slash = name.find('\\', slash + 1))
    CreateDirectoryW(win::Widen(root + "\\" + name.substr(0, slash)).c_str(), nullptr);
  lastMade = name.substr(0, last);
}

// The string form of the current user's SID, for the folder's access list.
std::wstring CurrentUserSid() {
  HANDLE token = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) return {};
  File guard(token);
  DWORD size = 0;
  GetTokenInformation(token, TokenUser, nullptr, 0, &size);
  std::vector<char> buffer(size);
  if (size == 0 || !GetTokenInformation(token, TokenUser, buffer.data(), size, &size)) return {};
  wchar_t* text = nullptr;
  if (!ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid, &text)) return {};
  std::wstring sid(text);
  LocalFree(text);
  return sid;
}

bool DeleteTree(const std::wstring& folder) {
  WIN32_FIND_DATAW found;
  HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      std::wstring name = found.cFileName;
      if (name == L"." || name == L"..") continue;
      std::wstring path = folder + L"\\" + name;
      SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
      if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        DeleteTree(path);
      } else if (!DeleteFileW(path.c_str())) {
        MoveFileExW(path.c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
      }
    } while (FindNextFileW(search, &found));
    FindClose(search);
  }
  if (RemoveDirectoryW(folder.c_str())) return true;
  MoveFileExW(folder.c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT);
  return false;
}

std::string DamageText(const std::string& exePath, const std::string& problem) {
  return "Das Installationsprogramm \"" + exePath + "\" ist beschädigt oder unvollständig: " + problem +
         ". Bitte laden Sie es erneut herunter. Auf Ihrem Computer wurde nichts verändert.";
}

}  // namespace

bool HasAppendedMedium(const std::string& exePath) {
  Download download;
  return download.Open(exePath) && download.AppendedFrom().has_value();
}

std::string CreatePrivateFolder(std::string& error) {
  std::wstring temp(MAX_PATH + 1, L'\0');
  temp.resize(GetTempPathW(DWORD(temp.size()), temp.data()));
  const std::wstring sid = CurrentUserSid();
  if (temp.empty() || sid.empty()) {
    error = SystemError(GetLastError());
    return {};
  }
  // Protected: nothing inherited from the temporary folder, only this user.
  const std::wstring sddl = L"D:P(A;OICI;FA;;;" + sid + L")";
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(sddl.c_str(), SDDL_REVISION_1, &descriptor, nullptr)) {
    error = SystemError(GetLastError());
    return {};
  }
  SECURITY_ATTRIBUTES attributes{sizeof(attributes), descriptor, FALSE};
  std::string result;
  for (int attempt = 0; attempt < 8 && result.empty(); ++attempt) {
    uint8_t random[16];
    if (!RtlGenRandom(random, sizeof(random))) {
      error = SystemError(GetLastError());
      break;
    }
    std::wstring name = temp + L"KVSetup-";
    for (uint8_t byte : random) name += L"0123456789abcdef"[byte >> 4], name += L"0123456789abcdef"[byte & 15];
    // CreateDirectory fails on an existing name, so a folder planted in
    // advance is never used.
    if (CreateDirectoryW(name.c_str(), &attributes)) {
      result = win::Narrow(name);
    } else if (GetLastError() != ERROR_ALREADY_EXISTS) {
      error = SystemError(GetLastError());
      break;
    }
  }
  LocalFree(descriptor);
  return result;
}

bool RemoveFolderTree(const std::string& folder) {
  const std::wstring wide = win::Widen(folder);
  // A program that has just ended may hold its files for a moment.
  for (int attempt = 0; attempt < 20; ++attempt) {
    if (GetFileAttributesW(wide.c_str()) == INVALID_FILE_ATTRIBUTES) return true;
    if (DeleteTree(wide)) return true;
    Sleep(100);
  }
  return false;
}

int RunOneFile(const std::string& exePath, const std::string& commandTail, const Tell& tell,
               const std::function<int(const std::string&)>& runMedium) {
  Download download;
  if (!download.Open(exePath)) {
    tell("Das Installationsprogramm \"" + exePath + "\" konnte nicht gelesen werden (" +
         SystemError(GetLastError()) + ").");
    return kMediumDamaged;
  }
  if (std::string problem = download.Check(); !problem.empty()) {
    tell(DamageText(exePath, problem));
    return kMediumDamaged;
  }
  // The installer needs the rights; asked for before anything is unpacked, so
  // that the unpacked files belong to the run that uses them.
  if (modSetup::NeedsRelaunch()) {
    uint32_t code = 0;
    return modSetup::RelaunchElevated(exePath, commandTail, &code) ? int(code) : kUserDeclined;
  }

  std::string error;
  const std::string folder = CreatePrivateFolder(error);
  if (folder.empty()) {
    tell("Setup konnte im temporären Ordner keinen Ordner für seine Dateien anlegen (" + error +
         "). Setup wird beendet.");
    return kMediumDamaged;
  }
  int result = kMediumDamaged;
  bool unpacked = true;
  std::string lastMade;
  for (const Entry& entry : download.Entries()) {
    MakeParents(folder, entry.name, lastMade);
    DWORD code = 0;
    auto outcome = download.Unpack(entry, folder + "\\" + entry.name, code);
    if (outcome == Download::Outcome::Damaged) {
      tell(DamageText(exePath, "die enthaltene Datei \"" + entry.name + "\" ist fehlerhaft"));
      unpacked = false;
      break;
    }
    if (outcome == Download::Outcome::WriteFailed) {
      tell("Setup konnte seine Dateien nicht in den Ordner \"" + folder + "\" entpacken (" + SystemError(code) +
           "). Bitte prüfen Sie, ob auf dem Laufwerk genügend Platz frei ist, und starten Sie Setup erneut.");
      unpacked = false;
      break;
    }
  }
  if (unpacked) {
    // The installer records the downloaded file, not this passing folder, as
    // where the package came from.
    HANDLE h = CreateFileW(win::Widen(folder + "\\" + onefile::kOriginFile).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h != INVALID_HANDLE_VALUE) {
      DWORD done = 0;
      WriteFile(h, exePath.data(), DWORD(exePath.size()), &done, nullptr);
      CloseHandle(h);
    }
    result = runMedium(folder);
  }
  RemoveFolderTree(folder);
  return result;
}

}  // namespace kv::setupexe
