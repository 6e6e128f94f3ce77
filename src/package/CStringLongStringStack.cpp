#include "package/CStringLongStringStack.h"

#include <new>

#include "base/VbError.h"

namespace kv {

CStringLongStringStack::CStringLongStringStack() : growthStep_(10), numbers_(1), texts_(1), data_(1) {}

void CStringLongStringStack::SetCount(int32_t c) {
  // Smallest multiple of the step at or above c; integer division truncates
  // towards zero, which is the ceiling for negative values.
  int64_t blocks = c / growthStep_;
  if (static_cast<int64_t>(blocks) * growthStep_ < c) ++blocks;
  int64_t capacity = blocks * growthStep_;
  if (capacity > INT32_MAX) throw VbError(vberr::Overflow);
  if (capacity != capacity_) {
    if (capacity < 0) throw VbError(vberr::SubscriptOutOfRange);
    try {
      size_t size = static_cast<size_t>(capacity) + 1;
      numbers_.resize(size);
      texts_.resize(size);
      data_.resize(size);
    } catch (const std::bad_alloc&) {
      // Keep the three arrays the same length whatever happened.
      size_t size = static_cast<size_t>(capacity_) + 1;
      numbers_.resize(size);
      texts_.resize(size);
      data_.resize(size);
      throw VbError(vberr::OutOfMemory);
    }
    capacity_ = static_cast<int32_t>(capacity);
  }
  count_ = c;
}

size_t CStringLongStringStack::Position(int32_t n) const {
  if (n < 0 || n > capacity_) throw VbError(vberr::SubscriptOutOfRange);
  return static_cast<size_t>(n);
}

int32_t CStringLongStringStack::ItemIndex(int32_t n) const { return numbers_[Position(n)]; }
void CStringLongStringStack::SetItemIndex(int32_t n, int32_t value) { numbers_[Position(n)] = value; }
const std::string& CStringLongStringStack::ItemText(int32_t n) const { return texts_[Position(n)]; }
void CStringLongStringStack::SetItemText(int32_t n, std::string value) { texts_[Position(n)] = std::move(value); }
const std::string& CStringLongStringStack::ItemData(int32_t n) const { return data_[Position(n)]; }
void CStringLongStringStack::SetItemData(int32_t n, std::string value) { data_[Position(n)] = std::move(value); }

int32_t CStringLongStringStack::AddItem(const std::string& data, int32_t number, const std::string& text,
                                        bool noDuplicates) {
  if (noDuplicates) {
    for (int32_t i = 1; i <= count_; ++i)
      if (texts_[static_cast<size_t>(i)] == text) return 0;
  }
  if (count_ == INT32_MAX) throw VbError(vberr::Overflow);
  SetCount(count_ + 1);
  size_t p = Position(count_);
  numbers_[p] = number;
  texts_[p] = text;
  data_[p] = data;
  return count_;
}

}  // namespace kv
