#pragma once
// The work storage of the session in use, handed out as a stack. A frame notes the mark at its
// first claim and puts it back on every exit, an exception out of the callback included.

#include <algorithm>
#include <cstdint>

#include "base/views.h"
#include "state/settings.h"

namespace tarnix::core {

// Which of the two storages: its cells, their number, and its mark and capacity in the settings.
struct DoubleStorage {
  using Cell = double;
  static Storage<double>& memory() { return session().doubles; }
  static constexpr int64_t limit = VRK_DBL_STORAGE_LIMIT;
  static int32_t& used() { return settings->dblStorageUsed; }
  static int32_t capacity() { return settings->dblStorageCapacity; }
};

struct IndexStorage {
  using Cell = int32_t;
  static Storage<int32_t>& memory() { return session().indices; }
  static constexpr int64_t limit = VRK_INT_STORAGE_LIMIT;
  static int32_t& used() { return settings->intStorageUsed; }
  static int32_t capacity() { return settings->intStorageCapacity; }
};

// Cells for a count of 32 bits; a negative one stands for none.
inline int64_t cellCount(int64_t count) {
  return std::max<int64_t>(count, 0);
}

template <class Which>
class StorageFrame {
 public:
  using Cell = typename Which::Cell;

  StorageFrame() = default;
  ~StorageFrame() { release(); }
  StorageFrame(const StorageFrame&) = delete;
  StorageFrame& operator=(const StorageFrame&) = delete;

  // Claims the cells above the mark, in place of an earlier claim, or leaves the storage as it was
  // before the first one and says no. Totals are 64-bit, so that no count wraps, and a capacity
  // beyond the limit is taken as the limit. Without memory for them it sets errorFlag too.
  [[nodiscard]] bool reserve(int64_t cells) {
    release();
    mark_ = Which::used();
    const int64_t from = cellCount(mark_);
    needed_ = from + cells;
    if (needed_ > std::min<int64_t>(Which::capacity(), Which::limit)) return false;
    next_ = claim(Which::memory(), from, cells);
    if (next_ == nullptr) {
      settings->errorFlag = logicalTrue;  // out of memory
      return false;
    }
    end_ = next_ + cells;
    claimed_ = true;
    Which::used() = static_cast<int32_t>(needed_);
    return true;
  }
  void release() {
    if (!claimed_) return;
    Which::used() = mark_;
    Storage<Cell>& memory = Which::memory();
    if (memory.fixed == nullptr) memory.blocks.giveBack(top_);
    claimed_ = false;
  }
  int64_t needed() const { return needed_; }

  // The next stretch of the claim; stretches are carved in the order in which they are named.
  Cell* carve(int64_t cells) {
    Cell* stretch = next_;
    next_ += cellCount(cells);
    assert(next_ <= end_);
    return stretch;
  }
  BasicVector<Cell> vector(int size) { return {carve(size), size}; }
  BasicMatrix<Cell> matrix(int rows, int columns) {
    return {carve(cellCount(rows) * cellCount(columns)), rows, rows, columns};
  }
  BasicPacked<Cell> packed(int order) { return {carve(packedSize(order)), order}; }

 private:
  Cell* claim(Storage<Cell>& memory, int64_t from, int64_t cells) {
    if (memory.fixed != nullptr) return memory.fixed + from;
    top_ = memory.blocks.top();
    return memory.blocks.claim(cells);
  }

  bool claimed_ = false;
  int32_t mark_ = 0;
  int64_t needed_ = 0;
  typename Arena<Cell>::Position top_;
  Cell *next_ = nullptr, *end_ = nullptr;
};

using WorkFrame = StorageFrame<DoubleStorage>;
using IndexFrame = StorageFrame<IndexStorage>;

// Arrays outside the two storages, which no mark counts and no capacity limits: what the storages'
// totals have no place for.
template <class T>
class PrivateFrame {
 public:
  explicit PrivateFrame(Arena<T>& arena) : arena_(arena), top_(arena.top()) {}
  ~PrivateFrame() { arena_.giveBack(top_); }
  PrivateFrame(const PrivateFrame&) = delete;
  PrivateFrame& operator=(const PrivateFrame&) = delete;

  // Null when there is no memory for them.
  T* claim(int64_t cells) { return arena_.claim(cellCount(cells)); }

  // One claim for several vectors. Sets errorFlag when there is no memory for it.
  [[nodiscard]] bool reserve(int64_t cells) {
    next_ = claim(cells);
    if (next_ == nullptr) settings->errorFlag = logicalTrue;
    return next_ != nullptr;
  }
  T* carve(int64_t cells) {
    T* stretch = next_;
    next_ += cellCount(cells);
    return stretch;
  }
  BasicVector<T> vector(int size) { return {carve(size), size}; }

 private:
  Arena<T>& arena_;
  const typename Arena<T>::Position top_;
  T* next_ = nullptr;  // of the reserved cells
};

}  // namespace tarnix::core
