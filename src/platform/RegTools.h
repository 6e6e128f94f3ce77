#pragma once
// Registry access in the shape the rest of the installer uses: a key path as
// one string relative to a predefined root, open - work - close on every call,
// no errors passed on. Reads fall back to the caller's default, writes and
// deletions fail silently.
//
// Every operation first removes one trailing "\" from the key path. Callers
// that pass a (non-const) std::string variable see it shortened in place;
// nobody may rely on the variable keeping its backslash.
#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kv::modRegTools {

// Roots as they appear in written registry paths ("HKEY_CURRENT_USER\...").
inline constexpr const char* kRootPrefixHKCU = "HKEY_CURRENT_USER\\";
inline constexpr const char* kRootPrefixHKLM = "HKEY_LOCAL_MACHINE\\";
inline constexpr const char* kRootPrefixHKCR = "HKEY_CLASSES_ROOT\\";

// String value; the type is not checked. A missing key or value gives `def`,
// an existing empty value gives "" (not the default).
std::string GetString(std::string& keyPath, const std::string& valueName, const std::string& def, HKEY root);
std::string GetString(const std::string& keyPath, const std::string& valueName, const std::string& def, HKEY root);

// REG_DWORD value. Missing key or value gives `def`; a value of any other type
// (for example REG_SZ) gives 0.
int32_t GetNumber(std::string& keyPath, const std::string& valueName, int32_t def, HKEY root);
int32_t GetNumber(const std::string& keyPath, const std::string& valueName, int32_t def, HKEY root);

// REG_SZ value; the key is created when missing. The stored size is the text's
// length in (ANSI-compatible) characters without the terminating zero - other
// programs reading our values depend on that layout.
void SetString(std::string& keyPath, const std::string& valueName, const std::string& data, HKEY root);
void SetString(const std::string& keyPath, const std::string& valueName, const std::string& data, HKEY root);

// REG_DWORD value (4 bytes); the key is created when missing.
void SetNumber(std::string& keyPath, const std::string& valueName, int32_t data, HKEY root);
void SetNumber(const std::string& keyPath, const std::string& valueName, int32_t data, HKEY root);

// With a value name: deletes that value. With an empty value name: deletes the
// key itself - but only when it has no subkeys (use DeleteTree for those).
void Delete(std::string& keyPath, const std::string& valueName, HKEY root);
void Delete(const std::string& keyPath, const std::string& valueName, HKEY root);

// Deletes the key with all its subkeys. An empty key path does nothing.
void DeleteTree(std::string& keyPath, HKEY root);
void DeleteTree(const std::string& keyPath, HKEY root);

// Names of the direct subkeys in enumeration order; empty when there are none
// or the key cannot be opened.
std::vector<std::string> ListSubkeys(std::string& keyPath, HKEY root);
std::vector<std::string> ListSubkeys(const std::string& keyPath, HKEY root);
// The same, but a key that exists and cannot be read gives nullopt, so that
// "no subkeys" is only ever answered by a listing that worked. A key that is
// not there has no subkeys.
std::optional<std::vector<std::string>> TryListSubkeys(const std::string& keyPath, HKEY root);

// Splits at the last "\": returns the parent, `lastPart` receives the rest.
// A path without "\" gives an empty parent and the whole path as `lastPart`.
std::string SplitPath(const std::string& keyPath, std::string& lastPart);

// Recognises a leading "HKEY_CURRENT_USER\", "HKEY_LOCAL_MACHINE\" or
// "HKEY_CLASSES_ROOT\" (without regard to case). On a match sets `root`,
// returns the rest of the path and `matched` = true; otherwise returns the
// path unchanged and leaves `root` alone.
std::string SplitRoot(const std::string& fullPath, HKEY& root, bool* matched = nullptr);

// Told one line for every value written and every value or key removed (the
// run log). Empty: nobody listens.
using ChangeObserver = std::function<void(const std::string& line)>;
void SetChangeObserver(ChangeObserver observer);

}  // namespace kv::modRegTools
