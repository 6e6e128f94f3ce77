#pragma once
// Real PE files with and without version resources, made at test time from a
// template DLL (built with the tests, no version resource of its own).
#include <array>
#include <cstdint>
#include <string>

namespace kv::test {

inline constexpr uint16_t kLangGerman = 0x0407;
inline constexpr uint16_t kLangEnglishUS = 0x0409;
inline constexpr uint32_t kOsNtWin32 = 0x00040004;   // VOS_NT_WINDOWS32
inline constexpr uint32_t kOsDosWin32 = 0x00010004;  // VOS__WINDOWS32 on DOS

// Writes (overwriting) a PE file whose version resource carries the file
// version a.b.c.d (any 16-bit words), the file OS code and, when
// withTranslation, one Translation entry for `language` (code page 1200).
// Throws std::runtime_error on failure.
void MakeVersionedFile(const std::string& path, std::array<uint16_t, 4> version, uint16_t language = kLangGerman,
                       uint32_t fileOS = kOsNtWin32, bool withTranslation = true);
// Writes a PE file without any version resource.
void MakeUnversionedFile(const std::string& path);
// Full path of the template DLL.
std::string VersionTemplatePath();

}  // namespace kv::test
