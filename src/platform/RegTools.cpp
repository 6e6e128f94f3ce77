#include "platform/RegTools.h"

#include <cstring>

#include "platform/WinString.h"

namespace kv::modRegTools {

namespace {

using win::Narrow;
using win::Widen;

// The caller's variable loses one trailing backslash; every operation starts so.
void TrimTrailingBackslash(std::string& keyPath) {
  if (!keyPath.empty() && keyPath.back() == '\\') keyPath.pop_back();
}

// Closes the key when the scope ends, whatever path the operation took.
class OpenKey {
 public:
  OpenKey() = default;
  ~OpenKey() {
    if (key_) RegCloseKey(key_);
  }
  OpenKey(const OpenKey&) = delete;
  OpenKey& operator=(const OpenKey&) = delete;
  bool Open(HKEY root, const std::string& path, REGSAM access) {
    return RegOpenKeyExW(root, Widen(path).c_str(), 0, access, &key_) == ERROR_SUCCESS;
  }
  bool Create(HKEY root, const std::string& path) {
    wchar_t emptyClass[] = L"";
    return RegCreateKeyExW(root, Widen(path).c_str(), 0, emptyClass, REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr,
                           &key_, nullptr) == ERROR_SUCCESS;
  }
  HKEY get() const { return key_; }
  void Adopt(HKEY key) { key_ = key; }

 private:
  HKEY key_ = nullptr;
};

// The run log's view of the registry: these routines know no session, so
// the installer's entry point hands them one observer for the process.
ChangeObserver& Observer() {
  static ChangeObserver observer;
  return observer;
}

const char* RootName(HKEY root) {
  if (root == HKEY_LOCAL_MACHINE) return "HKLM";
  if (root == HKEY_CURRENT_USER) return "HKCU";
  if (root == HKEY_CLASSES_ROOT) return "HKCR";
  if (root == HKEY_USERS) return "HKU";
  return "HKEY";
}

void Notify(const char* what, HKEY root, const std::string& keyPath, const std::string& detail) {
  if (Observer()) Observer()(std::string("Registrierung: ") + what + " " + RootName(root) + "\\" + keyPath + detail);
}

}  // namespace

void SetChangeObserver(ChangeObserver observer) { Observer() = std::move(observer); }

std::string GetString(std::string& keyPath, const std::string& valueName, const std::string& def, HKEY root) {
  TrimTrailingBackslash(keyPath);
  OpenKey key;
  if (!key.Open(root, keyPath, KEY_QUERY_VALUE)) return def;
  const std::wstring name = Widen(valueName);
  DWORD size = 0;
  if (RegQueryValueExW(key.get(), name.c_str(), nullptr, nullptr, nullptr, &size) != ERROR_SUCCESS) return def;
  if (size == 0) return std::string();
  // Whatever the type, the stored bytes are taken as text; an odd trailing
  // byte cannot form a character and is dropped.
  std::wstring buffer((size + 1) / sizeof(wchar_t), L'\0');
  DWORD got = static_cast<DWORD>(buffer.size() * sizeof(wchar_t));
  if (RegQueryValueExW(key.get(), name.c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(buffer.data()), &got) !=
      ERROR_SUCCESS)
    return std::string();
  buffer.resize(got / sizeof(wchar_t));
  // The value's characters without their terminating zero.
  if (!buffer.empty() && buffer.back() == L'\0') buffer.pop_back();
  return Narrow(buffer);
}

int32_t GetNumber(std::string& keyPath, const std::string& valueName, int32_t def, HKEY root) {
  TrimTrailingBackslash(keyPath);
  OpenKey key;
  if (!key.Open(root, keyPath, KEY_QUERY_VALUE)) return def;
  const std::wstring name = Widen(valueName);
  DWORD size = 0, type = 0;
  if (RegQueryValueExW(key.get(), name.c_str(), nullptr, &type, nullptr, &size) != ERROR_SUCCESS) return def;
  // A value of another type reads as 0, not as the default: callers treat
  // "exists but unusable" differently from "missing".
  if (size == 0 || type != REG_DWORD) return 0;
  DWORD value = 0;
  DWORD got = sizeof(value);
  if (RegQueryValueExW(key.get(), name.c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(&value), &got) !=
      ERROR_SUCCESS)
    return 0;
  return static_cast<int32_t>(value);
}

void SetString(std::string& keyPath, const std::string& valueName, const std::string& data, HKEY root) {
  TrimTrailingBackslash(keyPath);
  OpenKey key;
  if (!key.Create(root, keyPath)) return;
  const std::wstring text = Widen(data);
  // The size counts the characters only, not the terminating zero.
  if (RegSetValueExW(key.get(), Widen(valueName).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                     static_cast<DWORD>(text.size() * sizeof(wchar_t))) == ERROR_SUCCESS) {
    Notify("Wert gesetzt", root, keyPath, " \"" + valueName + "\" = \"" + data + "\"");
  }
}

void SetNumber(std::string& keyPath, const std::string& valueName, int32_t data, HKEY root) {
  TrimTrailingBackslash(keyPath);
  OpenKey key;
  if (!key.Create(root, keyPath)) return;
  const DWORD value = static_cast<DWORD>(data);
  if (RegSetValueExW(key.get(), Widen(valueName).c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                     sizeof(value)) == ERROR_SUCCESS) {
    Notify("Wert gesetzt", root, keyPath, " \"" + valueName + "\" = " + std::to_string(data));
  }
}

void Delete(std::string& keyPath, const std::string& valueName, HKEY root) {
  TrimTrailingBackslash(keyPath);
  if (!valueName.empty()) {
    OpenKey key;
    if (key.Open(root, keyPath, KEY_SET_VALUE) && RegDeleteValueW(key.get(), Widen(valueName).c_str()) == ERROR_SUCCESS) {
      Notify("Wert entfernt", root, keyPath, " \"" + valueName + "\"");
    }
    return;
  }
  std::string last;
  const std::string parent = SplitPath(keyPath, last);
  OpenKey key;
  // RegDeleteKey refuses keys that still have subkeys; that is what we want here.
  if (key.Open(root, parent, KEY_ALL_ACCESS) && RegDeleteKeyW(key.get(), Widen(last).c_str()) == ERROR_SUCCESS) {
    Notify("Schlüssel entfernt", root, keyPath, "");
  }
}

void DeleteTree(std::string& keyPath, HKEY root) {
  TrimTrailingBackslash(keyPath);
  if (keyPath.empty()) return;
  for (const std::string& sub : ListSubkeys(keyPath, root)) DeleteTree(keyPath + "\\" + sub, root);
  Delete(keyPath, std::string(), root);
}

std::vector<std::string> ListSubkeys(std::string& keyPath, HKEY root) {
  TrimTrailingBackslash(keyPath);
  return TryListSubkeys(keyPath, root).value_or(std::vector<std::string>());
}

std::optional<std::vector<std::string>> TryListSubkeys(const std::string& keyPath, HKEY root) {
  std::string path = keyPath;
  TrimTrailingBackslash(path);
  std::vector<std::string> names;
  HKEY raw = nullptr;
  LONG opened = RegOpenKeyExW(root, Widen(path).c_str(), 0, KEY_READ, &raw);
  if (opened == ERROR_FILE_NOT_FOUND) return names;
  if (opened != ERROR_SUCCESS) return std::nullopt;
  OpenKey key;
  key.Adopt(raw);
  DWORD count = 0, longest = 0;
  if (RegQueryInfoKeyW(key.get(), nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr, nullptr, nullptr,
                       nullptr, nullptr) != ERROR_SUCCESS)
    return std::nullopt;
  names.reserve(count);
  std::wstring buffer(longest + 1, L' ');
  for (DWORD i = 0; i < count; ++i) {
    DWORD length = static_cast<DWORD>(buffer.size());
    if (RegEnumKeyExW(key.get(), i, buffer.data(), &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
      return std::nullopt;
    names.push_back(Narrow(std::wstring_view(buffer.data(), length)));
  }
  return names;
}

std::string SplitPath(const std::string& keyPath, std::string& lastPart) {
  const size_t pos = keyPath.rfind('\\');
  if (pos == std::string::npos) {
    lastPart = keyPath;
    return std::string();
  }
  lastPart = keyPath.substr(pos + 1);
  return keyPath.substr(0, pos);
}

std::string SplitRoot(const std::string& fullPath, HKEY& root, bool* matched) {
  struct Prefix {
    const char* text;
    HKEY root;
  };
  static const Prefix prefixes[] = {{kRootPrefixHKCU, HKEY_CURRENT_USER},
                                    {kRootPrefixHKLM, HKEY_LOCAL_MACHINE},
                                    {kRootPrefixHKCR, HKEY_CLASSES_ROOT}};
  for (const Prefix& p : prefixes) {
    const size_t n = std::strlen(p.text);
    if (fullPath.size() >= n && CompareStringOrdinal(Widen(fullPath.substr(0, n)).c_str(), -1,
                                                     Widen(p.text).c_str(), -1, TRUE) == CSTR_EQUAL) {
      root = p.root;
      if (matched) *matched = true;
      return fullPath.substr(n);
    }
  }
  if (matched) *matched = false;
  return fullPath;
}

// Callers holding a literal or a const string get the same behaviour on a copy.
std::string GetString(const std::string& keyPath, const std::string& valueName, const std::string& def, HKEY root) {
  std::string path = keyPath;
  return GetString(path, valueName, def, root);
}
int32_t GetNumber(const std::string& keyPath, const std::string& valueName, int32_t def, HKEY root) {
  std::string path = keyPath;
  return GetNumber(path, valueName, def, root);
}
void SetString(const std::string& keyPath, const std::string& valueName, const std::string& data, HKEY root) {
  std::string path = keyPath;
  SetString(path, valueName, data, root);
}
void SetNumber(const std::string& keyPath, const std::string& valueName, int32_t data, HKEY root) {
  std::string path = keyPath;
  SetNumber(path, valueName, data, root);
}
void Delete(const std::string& keyPath, const std::string& valueName, HKEY root) {
  std::string path = keyPath;
  Delete(path, valueName, root);
}
void DeleteTree(const std::string& keyPath, HKEY root) {
  std::string path = keyPath;
  DeleteTree(path, root);
}
std::vector<std::string> ListSubkeys(const std::string& keyPath, HKEY root) {
  std::string path = keyPath;
  return ListSubkeys(path, root);
}

}  // namespace kv::modRegTools
