#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "clr/exceptions.h"

namespace zivra::clr {

/// A managed T[].
template <class T>
struct Array : std::vector<T> {
  using std::vector<T>::vector;
  Array() = default;
  explicit Array(std::vector<T> elements) : std::vector<T>(std::move(elements)) {}

  typename std::vector<T>::reference at(std::size_t index) {
    if (index >= this->size()) throw IndexOutOfRangeException();
    return (*this)[index];
  }
  typename std::vector<T>::const_reference at(std::size_t index) const {
    if (index >= this->size()) throw IndexOutOfRangeException();
    return (*this)[index];
  }
};

/// A managed List<T>; its index error is another one than an array's.
template <class T>
struct List : std::vector<T> {
  using std::vector<T>::vector;
  List() = default;
  explicit List(std::vector<T> elements) : std::vector<T>(std::move(elements)) {}

  typename std::vector<T>::reference at(std::size_t index) {
    if (index >= this->size()) throw ArgumentOutOfRangeException();
    return (*this)[index];
  }
  typename std::vector<T>::const_reference at(std::size_t index) const {
    if (index >= this->size()) throw ArgumentOutOfRangeException();
    return (*this)[index];
  }
};

/// A managed T[,], kept row by row.
template <class T>
class Array2 {
 public:
  Array2() = default;
  Array2(std::size_t rows, std::size_t columns) : rows_(rows), columns_(columns), elements_(rows * columns) {}

  std::size_t rows() const noexcept { return rows_; }
  std::size_t columns() const noexcept { return columns_; }
  T* data() noexcept { return elements_.data(); }
  const T* data() const noexcept { return elements_.data(); }

  T& at(std::size_t row, std::size_t column) { return elements_[position(row, column)]; }
  const T& at(std::size_t row, std::size_t column) const { return elements_[position(row, column)]; }

 private:
  std::size_t position(std::size_t row, std::size_t column) const {
    if (row >= rows_ || column >= columns_) throw IndexOutOfRangeException();
    return row * columns_ + column;
  }

  std::size_t rows_ = 0;
  std::size_t columns_ = 0;
  std::vector<T> elements_;
};

}  // namespace zivra::clr
