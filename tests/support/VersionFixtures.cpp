#include "support/VersionFixtures.h"

#include <windows.h>

#include <cstring>
#include <stdexcept>
#include <vector>

#include "platform/WinString.h"

#ifndef KV_VERSION_TEMPLATE
#error "KV_VERSION_TEMPLATE must name the template DLL"
#endif

namespace kv::test {

namespace {

// Writes the nested, 32-bit aligned records of a VS_VERSIONINFO block.
class VersionBlock {
 public:
  // Starts a record; returns its offset for End().
  size_t Begin(const wchar_t* key, uint16_t valueLength, uint16_t type) {
    Align();
    const size_t start = bytes_.size();
    Word(0);  // wLength, patched by End()
    Word(valueLength);
    Word(type);
    for (const wchar_t* p = key;; ++p) {
      Word(static_cast<uint16_t>(*p));
      if (!*p) break;
    }
    Align();
    return start;
  }
  void End(size_t start) {
    const uint16_t length = static_cast<uint16_t>(bytes_.size() - start);
    std::memcpy(&bytes_[start], &length, sizeof(length));
  }
  void Word(uint16_t w) { Raw(&w, sizeof(w)); }
  void Dword(uint32_t d) { Raw(&d, sizeof(d)); }
  void Text(const std::wstring& s) {
    for (wchar_t c : s) Word(static_cast<uint16_t>(c));
    Word(0);
  }
  void Raw(const void* p, size_t n) {
    const auto* b = static_cast<const uint8_t*>(p);
    bytes_.insert(bytes_.end(), b, b + n);
  }
  void Align() {
    while (bytes_.size() % 4) bytes_.push_back(0);
  }
  const std::vector<uint8_t>& Bytes() const { return bytes_; }

 private:
  std::vector<uint8_t> bytes_;
};

std::vector<uint8_t> BuildVersionInfo(std::array<uint16_t, 4> v, uint16_t language, uint32_t fileOS,
                                      bool withTranslation) {
  VersionBlock b;
  const size_t root = b.Begin(L"VS_VERSION_INFO", sizeof(VS_FIXEDFILEINFO), 0);
  VS_FIXEDFILEINFO fixed = {};
  fixed.dwSignature = 0xFEEF04BD;
  fixed.dwStrucVersion = 0x00010000;
  fixed.dwFileVersionMS = (uint32_t(v[0]) << 16) | v[1];
  fixed.dwFileVersionLS = (uint32_t(v[2]) << 16) | v[3];
  fixed.dwProductVersionMS = fixed.dwFileVersionMS;
  fixed.dwProductVersionLS = fixed.dwFileVersionLS;
  fixed.dwFileFlagsMask = VS_FFI_FILEFLAGSMASK;
  fixed.dwFileOS = fileOS;
  fixed.dwFileType = VFT_DLL;
  b.Raw(&fixed, sizeof(fixed));

  wchar_t tableKey[16];
  swprintf(tableKey, 16, L"%04X04B0", language);
  const std::wstring versionText = std::to_wstring(v[0]) + L"." + std::to_wstring(v[1]) + L"." +
                                   std::to_wstring(v[2]) + L"." + std::to_wstring(v[3]);
  const size_t strings = b.Begin(L"StringFileInfo", 0, 1);
  const size_t table = b.Begin(tableKey, 0, 1);
  const size_t entry = b.Begin(L"FileVersion", static_cast<uint16_t>(versionText.size() + 1), 1);
  b.Text(versionText);
  b.End(entry);
  b.End(table);
  b.End(strings);

  if (withTranslation) {
    const size_t vars = b.Begin(L"VarFileInfo", 0, 1);
    const size_t translation = b.Begin(L"Translation", 4, 0);
    b.Word(language);
    b.Word(1200);
    b.End(translation);
    b.End(vars);
  }
  b.End(root);
  return b.Bytes();
}

void CopyTemplate(const std::string& path) {
  if (!CopyFileW(win::Widen(VersionTemplatePath()).c_str(), win::Widen(path).c_str(), FALSE))
    throw std::runtime_error("version fixture: cannot copy template to " + path);
}

}  // namespace

std::string VersionTemplatePath() { return KV_VERSION_TEMPLATE; }

void MakeUnversionedFile(const std::string& path) { CopyTemplate(path); }

void MakeVersionedFile(const std::string& path, std::array<uint16_t, 4> version, uint16_t language, uint32_t fileOS,
                       bool withTranslation) {
  CopyTemplate(path);
  const std::vector<uint8_t> info = BuildVersionInfo(version, language, fileOS, withTranslation);
  HANDLE update = BeginUpdateResourceW(win::Widen(path).c_str(), FALSE);
  if (!update) throw std::runtime_error("version fixture: BeginUpdateResource failed for " + path);
  if (!UpdateResourceW(update, RT_VERSION, MAKEINTRESOURCEW(VS_VERSION_INFO), language,
                       const_cast<uint8_t*>(info.data()), static_cast<DWORD>(info.size()))) {
    EndUpdateResourceW(update, TRUE);
    throw std::runtime_error("version fixture: UpdateResource failed for " + path);
  }
  if (!EndUpdateResourceW(update, FALSE))
    throw std::runtime_error("version fixture: EndUpdateResource failed for " + path);
}

}  // namespace kv::test
