#pragma once
// A small growable list whose entries each carry two strings and a 32-bit
// number. Positions are 1-based (position 0 exists but AddItem never fills
// it); the storage grows and shrinks in steps of ten entries, and every
// position from 0 to the capacity can be read and written, also above Count.
#include <cstdint>
#include <string>
#include <vector>

namespace kv {

class CStringLongStringStack {
 public:
  CStringLongStringStack();

  int32_t Count() const { return count_; }
  // Stores c as Count after resizing the storage to the smallest multiple of
  // ten that is at least c (rounded towards positive infinity; lowering Count
  // may drop entries above the new capacity, the rest keep their contents).
  // A capacity below zero raises SubscriptOutOfRange (9), one beyond the
  // 32-bit range Overflow (6); Count then stays as it was.
  void SetCount(int32_t c);
  // Current upper bound of the storage (a multiple of ten).
  int32_t Capacity() const { return capacity_; }

  // Entry fields at position n, 0 <= n <= Capacity(); any other n raises
  // SubscriptOutOfRange (9).
  int32_t ItemIndex(int32_t n) const;
  void SetItemIndex(int32_t n, int32_t value);
  const std::string& ItemText(int32_t n) const;
  void SetItemText(int32_t n, std::string value);
  const std::string& ItemData(int32_t n) const;
  void SetItemData(int32_t n, std::string value);

  // Appends an entry (data, number, text - the order of the class name) and
  // returns its position. With noDuplicates, a text already present at
  // positions 1..Count (exact, case-sensitive) adds nothing and returns 0.
  // Raises Overflow (6) when Count cannot grow.
  int32_t AddItem(const std::string& data, int32_t number, const std::string& text, bool noDuplicates);

 private:
  size_t Position(int32_t n) const;

  int32_t growthStep_;
  int32_t count_ = 0;
  std::vector<int32_t> numbers_;
  std::vector<std::string> texts_;
  std::vector<std::string> data_;
  int32_t capacity_ = 0;
};

}  // namespace kv
