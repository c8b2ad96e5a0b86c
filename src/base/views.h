#pragma once
// One-based views over storage that somebody else owns. The range is asserted in debug builds; in a
// release build an access is the pointer arithmetic it stands for.

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <ranges>
#include <type_traits>

namespace tarnix::core {

// A count as a caller passed it; a negative one stands for none.
constexpr int32_t countOf(const int32_t* count) {
  return *count > 0 ? *count : 0;
}

template <class T>
class BasicVector {
 public:
  BasicVector() = default;
  BasicVector(T* data, int size) : data_(data), size_(size) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  BasicVector(const BasicVector<U>& other) : data_(other.data()), size_(other.size()) {}

  T& operator()(int i) const {
    assert(1 <= i && i <= size_);
    return data_[i - 1];
  }
  T* data() const { return data_; }
  int size() const { return size_; }
  T* begin() const { return data_; }
  T* end() const { return data_ + (size_ > 0 ? size_ : 0); }
  // The first entries, and a stretch of them that begins at one.
  BasicVector head(int count) const { return part(1, count); }
  BasicVector part(int first, int count) const {
    assert(first >= 1 && first - 1 + (count > 0 ? count : 0) <= (size_ > 0 ? size_ : 0));
    return {data_ + (first - 1), count};
  }

 private:
  T* data_ = nullptr;
  int size_ = 0;
};

using VectorView = BasicVector<double>;
using ConstVector = BasicVector<const double>;
using IndexVector = BasicVector<int32_t>;
using ConstIndex = BasicVector<const int32_t>;

// Column-major matrix, leading dimension ld >= rows.
template <class T>
class BasicMatrix {
 public:
  BasicMatrix() = default;
  BasicMatrix(T* data, int ld, int rows, int columns)
      : data_(data), ld_(ld), rows_(rows), columns_(columns) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  BasicMatrix(const BasicMatrix<U>& other)
      : data_(other.data()), ld_(other.ld()), rows_(other.rows()), columns_(other.columns()) {}

  T& operator()(int i, int j) const {
    assert(1 <= i && i <= rows_ && 1 <= j && j <= columns_);
    return data_[static_cast<std::ptrdiff_t>(j - 1) * ld_ + (i - 1)];
  }
  BasicVector<T> column(int j) const {
    assert(1 <= j && j <= columns_);
    return {data_ + static_cast<std::ptrdiff_t>(j - 1) * ld_, rows_};
  }
  // The leading rows and columns.
  BasicMatrix block(int rows, int columns) const {
    assert(rows <= rows_ && columns <= columns_);
    return {data_, ld_, rows, columns};
  }
  T* data() const { return data_; }
  int ld() const { return ld_; }
  int rows() const { return rows_; }
  int columns() const { return columns_; }

 private:
  T* data_ = nullptr;
  int ld_ = 0;
  int rows_ = 0;
  int columns_ = 0;
};

using MatrixView = BasicMatrix<double>;
using ConstMatrix = BasicMatrix<const double>;

// Upper triangle of a symmetric matrix, column after column: (i, k), i <= k, stands at
// k(k-1)/2 + i, so a column is contiguous.
template <class T>
class BasicPacked {
 public:
  BasicPacked() = default;
  BasicPacked(T* data, int order) : data_(data), order_(order) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  BasicPacked(const BasicPacked<U>& other) : data_(other.data()), order_(other.order()) {}

  T& operator()(int i, int k) const {
    assert(1 <= i && i <= k && k <= order_);
    return data_[start(k) + (i - 1)];
  }
  BasicVector<T> column(int k) const {
    assert(1 <= k && k <= order_);
    return {data_ + start(k), k};
  }
  T* data() const { return data_; }
  int order() const { return order_; }

 private:
  static std::ptrdiff_t start(int k) { return static_cast<std::ptrdiff_t>(k) * (k - 1) / 2; }

  T* data_ = nullptr;
  int order_ = 0;
};

using PackedUpper = BasicPacked<double>;
using ConstPacked = BasicPacked<const double>;

// Doubles that the packed upper triangle of a matrix of this order takes.
constexpr int64_t packedSize(int64_t order) {
  return order * (order + 1) / 2;
}

}  // namespace tarnix::core

// Iterators outlive the view that gave them: it owns nothing.
template <class T>
inline constexpr bool std::ranges::enable_borrowed_range<tarnix::core::BasicVector<T>> = true;
