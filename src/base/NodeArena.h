#pragma once
// Bump allocation for the nodes of one parsed file. A large package file has
// hundreds of thousands of small items; allocating and freeing each on its
// own makes freeing a tree cost more per item the larger it is (the heap
// revisits every freed block to merge it). Nodes parsed from one file share
// an arena instead: they are placed one after the other in large blocks, and
// the blocks go back in one piece when the last node of the file is gone.
// Each node's allocator holds a reference to the arena, so nodes may safely
// outlive the file object they were read with.
#include <atomic>
#include <cstddef>
#include <memory>
#include <memory_resource>
#include <new>
#include <vector>

namespace kv {

class NodeArena : public std::pmr::memory_resource {
 public:
  NodeArena() = default;
  NodeArena(const NodeArena&) = delete;
  NodeArena& operator=(const NodeArena&) = delete;

  // The arena lives as long as someone holds a reference: the file being
  // read, and every node placed in it. Kept intrusive so that each node
  // carries one pointer, not a shared_ptr.
  static NodeArena* Create() { return new NodeArena(); }
  void AddRef() noexcept { refs_.fetch_add(1, std::memory_order_relaxed); }
  void Release() noexcept {
    if (refs_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

  void* Allocate(size_t size, size_t align) {
    size_t offset = (used_ + align - 1) & ~(align - 1);
    if (blocks_.empty() || offset + size > blockSize_) {
      // Small files stay small; large ones get large blocks soon.
      nextBlock_ = blocks_.empty() ? kFirstBlock : (nextBlock_ < kMaxBlock ? nextBlock_ * 2 : kMaxBlock);
      size_t bytes = size + align > nextBlock_ ? size + align : nextBlock_;
      // Not value-initialised: nodes are constructed in place, and zeroing
      // would only touch the memory once more. new[] memory suits every node.
      blocks_.push_back(std::unique_ptr<std::byte[]>(new std::byte[bytes]));
      blockSize_ = bytes;
      offset = 0;
    }
    used_ = offset + size;
    return blocks_.back().get() + offset;
  }

  // Starts over in its one block when nothing placed here is alive any more
  // (the caller holds the only reference), so that a reader can use one
  // arena for item after item; false when it cannot.
  bool Rewind() noexcept {
    if (refs_.load(std::memory_order_acquire) != 1 || blocks_.size() != 1) return false;
    used_ = 0;
    return true;
  }

 private:
  ~NodeArena() override = default;

  // As a memory resource (for the item lists of the groups in the arena).
  // Alignments above that of new[] never occur for what is placed here.
  void* do_allocate(size_t bytes, size_t align) override { return Allocate(bytes, align); }
  void do_deallocate(void*, size_t, size_t) override {}
  bool do_is_equal(const std::pmr::memory_resource& other) const noexcept override { return this == &other; }

  static constexpr size_t kFirstBlock = 2 * 1024;
  static constexpr size_t kMaxBlock = 256 * 1024;
  size_t nextBlock_ = 0;
  std::atomic<long> refs_{1};
  std::vector<std::unique_ptr<std::byte[]>> blocks_;
  size_t blockSize_ = 0;
  size_t used_ = 0;
};

// A counted reference to an arena.
class ArenaRef {
 public:
  explicit ArenaRef(NodeArena* adopted) noexcept : arena_(adopted) {}
  ArenaRef(const ArenaRef& other) noexcept : arena_(other.arena_) { arena_->AddRef(); }
  ArenaRef& operator=(const ArenaRef& other) noexcept {
    other.arena_->AddRef();
    arena_->Release();
    arena_ = other.arena_;
    return *this;
  }
  ~ArenaRef() { arena_->Release(); }
  NodeArena* get() const noexcept { return arena_; }

 private:
  NodeArena* arena_;
};

// Allocator for std::allocate_shared; deallocation is a no-op, the arena
// releases everything at once.
template <class T>
class ArenaAllocator {
 public:
  using value_type = T;
  explicit ArenaAllocator(const ArenaRef& arena) : arena_(arena) {}
  template <class U>
  ArenaAllocator(const ArenaAllocator<U>& other) : arena_(other.arena_) {}

  T* allocate(size_t n) { return static_cast<T*>(arena_.get()->Allocate(n * sizeof(T), alignof(T))); }
  void deallocate(T*, size_t) noexcept {}

  template <class U>
  bool operator==(const ArenaAllocator<U>& other) const { return arena_.get() == other.arena_.get(); }

 private:
  template <class U>
  friend class ArenaAllocator;
  ArenaRef arena_;
};

}  // namespace kv
