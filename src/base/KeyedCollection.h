#pragma once
// An ordered collection whose entries may carry a key: entries stay in the
// order they were added (file order), keys are looked up without regard to
// case in O(1), and entries without a key are allowed (they are reached only
// by walking the collection). Adding a key that is already present throws
// VbError DuplicateKey (457) and leaves the collection unchanged.
//
// Small collections (most groups of a package file hold a handful of values)
// are searched linearly; a hash index over the keyed entries is built once a
// collection grows past a few entries, so that the file list of a large
// package stays O(1) per lookup.
#include <cstddef>
#include <compare>
#include <cstdint>
#include <iterator>
#include <memory_resource>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/Text.h"
#include "base/VbError.h"

namespace kv {

// KeyOf: void (the collection keeps a copy of each key), or a function object
// that returns the key of a value. With KeyOf the key is the value's own name
// (Add checks that) and no copy is kept: the structured file's groups hold
// hundreds of thousands of items, and the copies would double their size.
// Renaming a value inside such a collection makes it unreachable by key.
template <class T, class KeyOf = void>
class KeyedCollection {
  static constexpr bool kStoresKey = std::is_void_v<KeyOf>;
  struct NoKey {};
  struct Entry {
    T value;
    uint32_t hash;
    bool keyed;
    [[no_unique_address]] std::conditional_t<kStoresKey, std::string, NoKey> key;
  };

  // Walks the entries but shows only their values.
  template <class EntryIt, class V>
  class ValueIterator {
   public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = V*;
    using reference = V&;
    ValueIterator() = default;
    explicit ValueIterator(EntryIt it) : it_(it) {}
    reference operator*() const { return it_->value; }
    pointer operator->() const { return &it_->value; }
    reference operator[](difference_type n) const { return it_[n].value; }
    ValueIterator& operator++() { ++it_; return *this; }
    ValueIterator operator++(int) { return ValueIterator(it_++); }
    ValueIterator& operator--() { --it_; return *this; }
    ValueIterator operator--(int) { return ValueIterator(it_--); }
    ValueIterator& operator+=(difference_type n) { it_ += n; return *this; }
    ValueIterator& operator-=(difference_type n) { it_ -= n; return *this; }
    friend ValueIterator operator+(ValueIterator a, difference_type n) { return a += n; }
    friend ValueIterator operator+(difference_type n, ValueIterator a) { return a += n; }
    friend ValueIterator operator-(ValueIterator a, difference_type n) { return a -= n; }
    friend difference_type operator-(const ValueIterator& a, const ValueIterator& b) { return a.it_ - b.it_; }
    friend bool operator==(const ValueIterator& a, const ValueIterator& b) { return a.it_ == b.it_; }
    friend auto operator<=>(const ValueIterator& a, const ValueIterator& b) { return a.it_ <=> b.it_; }

   private:
    EntryIt it_{};
  };

 public:
  using value_type = T;
  using iterator = ValueIterator<typename std::pmr::vector<Entry>::iterator, T>;
  using const_iterator = ValueIterator<typename std::pmr::vector<Entry>::const_iterator, const T>;

  KeyedCollection() = default;
  // Entries are placed in `memory` (the arena of a parsed file), which must
  // outlive the collection; the hash index always uses the ordinary heap. A
  // copy uses the ordinary heap again.
  explicit KeyedCollection(std::pmr::memory_resource* memory) : entries_(memory) {}

  // Appends `value` under `key`; throws VbError(457) if the key is taken.
  void Add(std::string_view key, T value) {
    uint32_t hash = Hash(key);
    if (FindIndex(key, hash) != npos) throw VbError(vberr::DuplicateKey, "duplicate key: " + std::string(key));
    if constexpr (kStoresKey) {
      Append(Entry{std::move(value), hash, true, std::string(key)});
    } else {
      if (KeyOf{}(value) != key) throw VbError(vberr::InvalidProcedureCall, "key is not the item's name");
      Append(Entry{std::move(value), hash, true, {}});
    }
  }
  // Appends `value` without a key.
  void Add(T value) { Append(Entry{std::move(value), 0, false, {}}); }

  // The entry under `key`, or null.
  T* Find(std::string_view key) {
    size_t i = FindIndex(key, Hash(key));
    return i == npos ? nullptr : &entries_[i].value;
  }
  const T* Find(std::string_view key) const {
    size_t i = FindIndex(key, Hash(key));
    return i == npos ? nullptr : &entries_[i].value;
  }
  bool Contains(std::string_view key) const { return FindIndex(key, Hash(key)) != npos; }
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
    size_t i = FindIndex(key, Hash(key));
    if (i == npos) return false;
    RemoveAt(i);
    return true;
  }
  // Removes the entry at 0-based position i (i < size()).
  void RemoveAt(size_t i) {
    if (entries_[i].keyed) --keyed_;
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(i));
    RebuildIndex();
  }
  void Clear() {
    entries_.clear();
    table_.clear();
    keyed_ = 0;
  }
  // Room for n entries without reallocation.
  void reserve(size_t n) { entries_.reserve(n); }

  size_t size() const { return entries_.size(); }
  bool empty() const { return entries_.empty(); }
  // 0-based positional access in collection order.
  T& operator[](size_t i) { return entries_[i].value; }
  const T& operator[](size_t i) const { return entries_[i].value; }
  // The key of the entry at position i, and whether it has one.
  std::string_view KeyAt(size_t i) const { return entries_[i].keyed ? KeyOfEntry(entries_[i]) : std::string_view(); }
  bool HasKeyAt(size_t i) const { return entries_[i].keyed; }

  iterator begin() { return iterator(entries_.begin()); }
  iterator end() { return iterator(entries_.end()); }
  const_iterator begin() const { return const_iterator(entries_.begin()); }
  const_iterator end() const { return const_iterator(entries_.end()); }

 private:
  static constexpr size_t npos = static_cast<size_t>(-1);
  static constexpr size_t kLinearLimit = 8;

  static uint32_t Hash(std::string_view key) { return static_cast<uint32_t>(HashNoCase(key)); }

  static std::string_view KeyOfEntry(const Entry& e) {
    if constexpr (kStoresKey)
      return e.key;
    else
      return KeyOf{}(e.value);
  }

  size_t FindIndex(std::string_view key, uint32_t hash) const {
    if (keyed_ == 0) return npos;  // e.g. a long list of collection items
    if (table_.empty()) {
      for (size_t i = 0; i < entries_.size(); ++i) {
        const Entry& e = entries_[i];
        if (e.keyed && e.hash == hash && EqualsNoCase(KeyOfEntry(e), key)) return i;
      }
      return npos;
    }
    size_t mask = table_.size() - 1;
    for (size_t slot = hash & mask;; slot = (slot + 1) & mask) {
      const Slot& t = table_[slot];
      if (t.index == 0) return npos;
      // The hash sits in the slot, so a probe that misses touches no entry.
      if (t.hash == hash && EqualsNoCase(KeyOfEntry(entries_[t.index - 1]), key)) return t.index - 1;
    }
  }

  void Append(Entry&& entry) {
    // Most groups hold a few values: one allocation for the first four.
    if (entries_.capacity() == 0) entries_.reserve(4);
    entries_.push_back(std::move(entry));
    const bool keyed = entries_.back().keyed;
    if (keyed) ++keyed_;
    if (keyed_ == 0 || entries_.size() <= kLinearLimit) return;
    if (table_.empty() || (keyed_ + 1) * 2 > table_.size())
      RebuildIndex();
    else if (keyed)
      Insert(entries_.size() - 1);
  }

  // The index covers the keyed entries only, so that a long run of entries
  // without key costs no table at all. It exists once the collection has
  // outgrown the linear search and holds at least one key.
  void RebuildIndex() {
    table_.clear();
    if (keyed_ == 0 || entries_.size() <= kLinearLimit) return;
    size_t cap = 16;
    while (cap < keyed_ * 2 + 2) cap *= 2;
    table_.assign(cap, Slot{});
    for (size_t i = 0; i < entries_.size(); ++i)
      if (entries_[i].keyed) Insert(i);
  }

  void Insert(size_t i) {
    size_t mask = table_.size() - 1;
    size_t slot = entries_[i].hash & mask;
    while (table_[slot].index != 0) slot = (slot + 1) & mask;
    table_[slot] = Slot{entries_[i].hash, static_cast<uint32_t>(i + 1)};
  }

  // Open addressing with linear probing; index is the entry's position + 1,
  // 0 marks a free slot.
  struct Slot {
    uint32_t hash = 0;
    uint32_t index = 0;
  };

  std::pmr::vector<Entry> entries_;
  std::vector<Slot> table_;
  size_t keyed_ = 0;  // entries with a key
};

}  // namespace kv
