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

// The nested, 32-bit aligned records of a VS_VERSIONINFO block.
struct VersionBlock {
  std::vector<uint8_t> bytes;

  void Raw(const void* p, size_t n) { bytes.insert(bytes.end(), (const uint8_t*)p, (const uint8_t*)p + n); }
  void Word(uint16_t w) { Raw(&w, 2); }
  void Align() { bytes.resize((bytes.size() + 3) & ~size_t(3)); }
  // Starts a record; returns its offset for End().
  size_t Begin(const wchar_t* key, uint16_t valueLength, uint16_t type) {
    Align();
    const size_t start = bytes.size();
    for (uint16_t w : {uint16_t(0), valueLength, type}) Word(w);  // wLength first, patched by End()
    do Word(static_cast<uint16_t>(*key));
    while (*key++);
    Align();
    return start;
  }
  void End(size_t start) {
    const uint16_t length = static_cast<uint16_t>(bytes.size() - start);
    std::memcpy(&bytes[start], &length, 2);
  }
};

std::vector<uint8_t> BuildVersionInfo(std::array<uint16_t, 4> v, uint16_t language, uint32_t fileOS,
                                      bool withTranslation) {
  VersionBlock b;
  const size_t root = b.Begin(L"VS_VERSION_INFO", sizeof(VS_FIXEDFILEINFO), 0);
  VS_FIXEDFILEINFO fixed = {};
  fixed.dwSignature = 0xFEEF04BD;
  fixed.dwStrucVersion = 0x00010000;
  fixed.dwFileVersionMS = fixed.dwProductVersionMS = (uint32_t(v[0]) << 16) | v[1];
  fixed.dwFileVersionLS = fixed.dwProductVersionLS = (uint32_t(v[2]) << 16) | v[3];
  fixed.dwFileFlagsMask = VS_FFI_FILEFLAGSMASK;
  fixed.dwFileOS = fileOS;
  fixed.dwFileType = VFT_DLL;
  b.Raw(&fixed, sizeof(fixed));

  if (withTranslation) {
    const size_t vars = b.Begin(L"VarFileInfo", 0, 1), translation = b.Begin(L"Translation", 4, 0);
    b.Word(language);
    b.Word(1200);
    b.End(translation);
    b.End(vars);
  }
  b.End(root);
  return b.bytes;
}

}  // namespace

std::string VersionTemplatePath() { return KV_VERSION_TEMPLATE; }

void MakeUnversionedFile(const std::string& path) {
  if (!CopyFileW(win::Widen(VersionTemplatePath()).c_str(), win::Widen(path).c_str(), FALSE))
    throw std::runtime_error("version fixture: cannot copy template to " + path);
}

void MakeVersionedFile(const std::string& path, std::array<uint16_t, 4> version, uint16_t language, uint32_t fileOS,
                       bool withTranslation) {
  MakeUnversionedFile(path);
  std::vector<uint8_t> info = BuildVersionInfo(version, language, fileOS, withTranslation);
  HANDLE update = BeginUpdateResourceW(win::Widen(path).c_str(), FALSE);
  if (!update) throw std::runtime_error("version fixture: BeginUpdateResource failed for " + path);
  const bool ok = UpdateResourceW(update, RT_VERSION, MAKEINTRESOURCEW(VS_VERSION_INFO), language, info.data(),
                                  static_cast<DWORD>(info.size()));
  if (!EndUpdateResourceW(update, !ok) || !ok)
    throw std::runtime_error("version fixture: cannot stamp the version resource of " + path);
}

}  // namespace kv::test
