// QCList: the list template that goes with QCString. Contiguous, in order of insertion.
//
// Threads: a value type. Owns its elements. An element's reference lives until the list changes.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

// A list by value; copies copy the elements.
template <typename T>
class QCList {
 public:
  using value_type = T;

  std::size_t GetCount() const noexcept { return items_.size(); }
  bool IsEmpty() const noexcept { return items_.empty(); }
  void Reserve(std::size_t count) { items_.reserve(count); }
  T& AddTail(T item) {
    items_.push_back(std::move(item));
    return items_.back();
  }
  // `index` must be below GetCount().
  const T& GetAt(std::size_t index) const noexcept { return items_[index]; }
  T& GetAt(std::size_t index) noexcept { return items_[index]; }
  const T& operator[](std::size_t index) const noexcept { return items_[index]; }
  T& operator[](std::size_t index) noexcept { return items_[index]; }
  void InsertAt(std::size_t index, T item) {
    items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(index), std::move(item));
  }
  void RemoveAt(std::size_t index) {
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(index));
  }
  void RemoveAll() noexcept { items_.clear(); }

  auto begin() const noexcept { return items_.begin(); }
  auto end() const noexcept { return items_.end(); }
  auto begin() noexcept { return items_.begin(); }
  auto end() noexcept { return items_.end(); }

 private:
  std::vector<T> items_;
};
