#pragma once
// The static work storage, handed out as a stack. A frame notes the mark at its first claim and puts
// it back on every exit, an exception out of the callback included.

#include <algorithm>
#include <cstdint>

#include "api/settings.h"
#include "base/views.h"

namespace tarnix {

// One of the two storages: its cells, their number, and its mark and capacity in the settings.
struct DoubleStorage {
  using Cell = double;
  static double* cells();
  static constexpr int64_t limit = VRK_DBL_STORAGE_LIMIT;
  static int32_t& used() { return settings.dblStorageUsed; }
  static int32_t capacity() { return settings.dblStorageCapacity; }
};

struct IndexStorage {
  using Cell = int32_t;
  static int32_t* cells();
  static constexpr int64_t limit = VRK_INT_STORAGE_LIMIT;
  static int32_t& used() { return settings.intStorageUsed; }
  static int32_t capacity() { return settings.intStorageCapacity; }
};

int32_t& firstIndexCell();

// Cells for a count of 32 bits; a negative one stands for none.
inline int64_t cellCount(int64_t count) { return std::max<int64_t>(count, 0); }
// Cells of a matrix, cut where the sum of a few of them would leave 64 bits.
inline int64_t cellProduct(int64_t rows, int64_t columns) {
  constexpr int64_t most = int64_t{1} << 61;
  return std::min(cellCount(rows) * cellCount(columns), most);
}

template <class Storage>
class StorageFrame {
 public:
  using Cell = typename Storage::Cell;

  StorageFrame() = default;
  ~StorageFrame() { release(); }
  StorageFrame(const StorageFrame&) = delete;
  StorageFrame& operator=(const StorageFrame&) = delete;

  // Claims the cells above the mark, in place of an earlier claim, or leaves the storage as it was
  // before the first one and says no. Totals are 64-bit, so that no count wraps, and a capacity
  // beyond the real array is taken as the array's size.
  [[nodiscard]] bool reserve(int64_t cells) {
    release();
    mark_ = Storage::used();
    next_ = cellCount(mark_);
    needed_ = next_ + cells;
    if (needed_ > std::min<int64_t>(Storage::capacity(), Storage::limit)) return false;
    claimed_ = true;
    Storage::used() = static_cast<int32_t>(needed_);
    return true;
  }
  void release() {
    if (claimed_) Storage::used() = mark_;
    claimed_ = false;
  }
  int64_t needed() const { return needed_; }

  // The next stretch of the claim; stretches are carved in the order in which they are named.
  Cell* carve(int64_t cells) {
    Cell* stretch = Storage::cells() + next_;
    next_ += cellCount(cells);
    assert(next_ <= needed_);
    return stretch;
  }
  BasicVector<Cell> vector(int size) { return {carve(size), size}; }

 private:
  bool claimed_ = false;
  int32_t mark_ = 0;
  int64_t next_ = 0;
  int64_t needed_ = 0;
};

using WorkFrame = StorageFrame<DoubleStorage>;
using IndexFrame = StorageFrame<IndexStorage>;

}  // namespace tarnix
