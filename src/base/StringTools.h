#pragma once
// The pure path and text routines of the tools module. Paths are plain
// strings with "\" as separator; nothing here touches the disk, normalises
// case, "/" or "..". The routines that need the file system live in
// platform/FileTools.h.
#include <string>
#include <string_view>

#include "base/KeyedCollection.h"

namespace kv::modTools {

// folder + "\" + name, or folder + name when folder already ends in "\".
// An empty folder gives "\" + name; a name starting with "\" is not checked.
std::string JoinPath(std::string_view folder, std::string_view name);

// Everything before the last "\" (one trailing "\" is ignored first):
// "C:\A\B\" and "C:\A\B" give "C:\A"; "C:\A" gives "C:"; "x.txt" gives "".
std::string ParentFolder(std::string_view path);

// Everything after the last "\" (one trailing "\" is ignored first):
// "C:\A\B\" gives "B"; "x.dll" gives "x.dll"; "C:\" gives "C:".
std::string FileNamePart(std::string_view path);

// name without the characters * / \ : ? " < > | (removed, not replaced).
std::string ValidFileName(std::string_view name);

// The text up to, not including, its first NUL; for buffers the system filled.
std::string CutAtNull(std::string_view text);
std::wstring CutAtNull(std::wstring_view text);

// Whether `collection` holds an entry under `key` (case-insensitive).
template <class T>
bool ItemExists(const KeyedCollection<T>& collection, std::string_view key) {
  return collection.Contains(key);
}

}  // namespace kv::modTools
