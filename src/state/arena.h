#pragma once
// Memory as a stack of blocks that a session owns. What has been claimed never moves, and nothing
// is lost when a claim is never given back: the session returns all of it.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

namespace tarnix::core {

template <class T>
class Arena {
 public:
  struct Position {
    int block = 0;
    int64_t used = 0;  // cells of that block
  };

  // keepsBlocks: an empty arena keeps its memory for the next solve; otherwise only a first block
  // of the least size.
  explicit constexpr Arena(bool keepsBlocks) : keepsBlocks_(keepsBlocks) {}
  constexpr ~Arena() { returnBlocks(); }
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  Position top() const { return top_; }

  // The next cells in one stretch; null when there is no memory for them.
  T* claim(int64_t cells) {
    const Block& block = blocks_[top_.block];
    const bool fits = block.cells != nullptr && top_.used + cells <= block.size;
    if (!fits && !nextBlock(cells)) return nullptr;
    T* stretch = blocks_[top_.block].cells + top_.used;
    top_.used += cells;
    return stretch;
  }
  // Everything that was claimed since.
  void giveBack(Position to) {
    top_ = to;
    if (!keepsBlocks_ && to.block == 0 && to.used == 0 && holdsMore()) returnBlocks();
  }

 private:
  struct Block {
    T* cells = nullptr;
    int64_t size = 0;
  };
  static constexpr int mostBlocks = 48;  // each at least doubles the memory
  static constexpr int64_t leastCells = 512;

  bool holdsMore() const { return blocksUsed_ > 1 || blocks_[0].size > leastCells; }

  constexpr void returnBlocks() {
    for (; blocksUsed_ > 0; --blocksUsed_) {
      delete[] blocks_[blocksUsed_ - 1].cells;
      blocks_[blocksUsed_ - 1] = {};
    }
  }

  // Empty blocks follow the top: one that is too small makes way for a larger one.
  bool nextBlock(int64_t cells) {
    const int next = top_.used == 0 ? top_.block : top_.block + 1;
    if (next == mostBlocks) return false;
    Block& block = blocks_[next];
    if (block.cells == nullptr || block.size < cells) {
      int64_t size = std::max(cells, leastCells);
      for (int b = 0; b < next; ++b) size = std::max(size, 2 * blocks_[b].size);
      delete[] block.cells;
      block.cells = new (std::nothrow) T[static_cast<std::size_t>(size)];
      block.size = block.cells != nullptr ? size : 0;
      if (block.cells == nullptr) return false;
      blocksUsed_ = std::max(blocksUsed_, next + 1);
    }
    top_ = {next, 0};
    return true;
  }

  Block blocks_[mostBlocks];
  int blocksUsed_ = 0;  // those behind them are empty
  Position top_;
  bool keepsBlocks_;
};

}  // namespace tarnix::core
