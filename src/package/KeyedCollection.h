#pragma once
// An ordered collection whose entries may carry a key: entries stay in the
// order they were added (file order), keys are looked up without regard to
// case in O(1), and entries without a key are allowed (they are reached only
// by walking the collection). Adding a key that is already present throws
// VbError DuplicateKey (457) and leaves the collection unchanged.
//
// Small collections (most groups of a package file hold a handful of values)
// are searched linearly; a hash index is built once a collection grows past a
// few entries, so that the file list of a large package stays O(1) per lookup.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "package/Text.h"
#include "package/VbError.h"

namespace kv {

template <class T>
class KeyedCollection {
 public:
  using value_type = T;
  using iterator = typename std::vector<T>::iterator;
  using const_iterator = typename std::vector<T>::const_iterator;

  // Appends `value` under `key`; throws VbError(457) if the key is taken.
  void Add(std::string_view key, T value) {
    uint64_t hash = HashNoCase(key);
    if (FindIndex(key, hash) != npos) throw VbError(vberr::DuplicateKey, "duplicate key: " + std::string(key));
    values_.push_back(std::move(value));
    try {
      keys_.push_back(Key{std::string(key), hash, true});
    } catch (...) {
      values_.pop_back();
      throw;
    }
    IndexNewEntry();
  }
  // Appends `value` without a key.
  void Add(T value) {
    values_.push_back(std::move(value));
    try {
      keys_.push_back(Key{std::string(), 0, false});
    } catch (...) {
      values_.pop_back();
      throw;
    }
    IndexNewEntry();
  }

  // The entry under `key`, or null.
  T* Find(std::string_view key) {
    size_t i = FindIndex(key, HashNoCase(key));
    return i == npos ? nullptr : &values_[i];
  }
  const T* Find(std::string_view key) const {
    size_t i = FindIndex(key, HashNoCase(key));
    return i == npos ? nullptr : &values_[i];
  }
  bool Contains(std::string_view key) const { return FindIndex(key, HashNoCase(key)) != npos; }
  // The entry under `key`; throws VbError(5) when there is none, as a keyed
  // lookup of a missing key does.
  T& Item(std::string_view key) {
    T* v = Find(key);
    if (!v) throw VbError(vberr::InvalidProcedureCall, "no entry with key: " + std::string(key));
    return *v;
  }
  const T& Item(std::string_view key) const { return const_cast<KeyedCollection*>(this)->Item(key); }

  // Removes the entry under `key`; false when there is none.
  bool Remove(std::string_view key) {
    size_t i = FindIndex(key, HashNoCase(key));
    if (i == npos) return false;
    RemoveAt(i);
    return true;
  }
  // Removes the entry at 0-based position i (i < size()).
  void RemoveAt(size_t i) {
    values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(i));
    keys_.erase(keys_.begin() + static_cast<std::ptrdiff_t>(i));
    RebuildIndex();
  }
  void Clear() {
    values_.clear();
    keys_.clear();
    table_.clear();
  }

  size_t size() const { return values_.size(); }
  bool empty() const { return values_.empty(); }
  // 0-based positional access in collection order.
  T& operator[](size_t i) { return values_[i]; }
  const T& operator[](size_t i) const { return values_[i]; }
  // The key of the entry at position i, and whether it has one.
  const std::string& KeyAt(size_t i) const { return keys_[i].text; }
  bool HasKeyAt(size_t i) const { return keys_[i].keyed; }

  iterator begin() { return values_.begin(); }
  iterator end() { return values_.end(); }
  const_iterator begin() const { return values_.begin(); }
  const_iterator end() const { return values_.end(); }

 private:
  static constexpr size_t npos = static_cast<size_t>(-1);
  static constexpr size_t kLinearLimit = 8;

  struct Key {
    std::string text;
    uint64_t hash;
    bool keyed;
  };

  size_t FindIndex(std::string_view key, uint64_t hash) const {
    if (table_.empty()) {
      for (size_t i = 0; i < keys_.size(); ++i)
        if (keys_[i].keyed && keys_[i].hash == hash && EqualsNoCase(keys_[i].text, key)) return i;
      return npos;
    }
    size_t mask = table_.size() - 1;
    for (size_t slot = static_cast<size_t>(hash) & mask;; slot = (slot + 1) & mask) {
      uint32_t e = table_[slot];
      if (e == 0) return npos;
      const Key& k = keys_[e - 1];
      if (k.hash == hash && EqualsNoCase(k.text, key)) return e - 1;
    }
  }

  // Called after an entry was appended to keys_/values_.
  void IndexNewEntry() {
    if (table_.empty()) {
      if (keys_.size() > kLinearLimit) RebuildIndex();
      return;
    }
    if ((keys_.size() + 1) * 2 > table_.size()) {
      RebuildIndex();
      return;
    }
    if (keys_.back().keyed) Insert(keys_.size() - 1);
  }

  void RebuildIndex() {
    table_.clear();
    if (keys_.size() <= kLinearLimit) return;
    size_t cap = 16;
    while (cap < keys_.size() * 2 + 2) cap *= 2;
    table_.assign(cap, 0);
    for (size_t i = 0; i < keys_.size(); ++i)
      if (keys_[i].keyed) Insert(i);
  }

  void Insert(size_t i) {
    size_t mask = table_.size() - 1;
    size_t slot = static_cast<size_t>(keys_[i].hash) & mask;
    while (table_[slot] != 0) slot = (slot + 1) & mask;
    table_[slot] = static_cast<uint32_t>(i + 1);
  }

  std::vector<T> values_;
  std::vector<Key> keys_;
  std::vector<uint32_t> table_;  // open addressing: entry index + 1, 0 = free
};

}  // namespace kv
