#pragma once
// A list of one-based positions in the caller's array with the caller's count.

#include <algorithm>

#include "base/views.h"

namespace tarnix::core {

class IndexList {
 public:
  IndexList(int32_t* entries, int32_t& count) : entries_(entries), count_(&count) {}
  IndexList(IndexVector room, int32_t& count) : IndexList(room.data(), count) {}

  int32_t count() const { return *count_; }
  int32_t operator()(int k) const {
    assert(1 <= k && k <= *count_);
    return entries_[k - 1];
  }
  const int32_t* begin() const { return entries_; }
  const int32_t* end() const { return entries_ + *count_; }
  bool contains(int32_t value) const { return std::find(begin(), end(), value) != end(); }

  void clear() { *count_ = 0; }
  void truncate(int32_t count) {
    assert(count <= *count_);
    *count_ = count;
  }
  void append(int32_t value) { entries_[(*count_)++] = value; }
  void replaceAt(int k, int32_t value) {
    assert(1 <= k && k <= *count_);
    entries_[k - 1] = value;
  }
  // The later entries move up by one.
  void removeAt(int k) {
    assert(1 <= k && k <= *count_);
    std::copy(entries_ + k, entries_ + *count_, entries_ + k - 1);
    --*count_;
  }
  void removeValue(int32_t value) {
    const auto at = std::find(begin(), end(), value);
    if (at != end()) removeAt(static_cast<int>(at - begin()) + 1);
  }
  ConstIndex view() const { return {entries_, *count_}; }

 private:
  int32_t* entries_;
  int32_t* count_;
};

}  // namespace tarnix::core
