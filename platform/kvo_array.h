#pragma once
// CKvoArray<T, ARG>: the growable array of the in-house utility library, with
// the MFC CArray interface. New elements are value-initialised (0.0 for
// doubles, default objects for classes). Indices are int.
#include <algorithm>
#include <vector>

template <class T, class ARG = const T&>
class CKvoArray {
 public:
  CKvoArray() = default;

  int GetSize() const { return int(v_.size()); }
  bool IsEmpty() const { return v_.empty(); }
  void SetSize(int newSize, int /*growBy*/ = -1) { v_.resize(size_t(std::max(newSize, 0))); }
  void RemoveAll() { v_.clear(); }

  T& ElementAt(int i) { return v_[size_t(i)]; }
  T& operator[](int i) { return v_[size_t(i)]; }
  const T& operator[](int i) const { return v_[size_t(i)]; }
  T* GetData() { return v_.data(); }
  const T* GetData() const { return v_.data(); }

  int Add(ARG value) {
    v_.push_back(value);
    return GetSize() - 1;
  }
  void Copy(const CKvoArray& other) {
    if (this != &other) v_ = other.v_;
  }
  void InsertAt(int i, ARG value, int count = 1) {
    if (count <= 0) return;
    if (i > GetSize()) SetSize(i);
    T copy = value;  // value may refer into this array
    v_.insert(v_.begin() + i, size_t(count), copy);
  }
  void RemoveAt(int i, int count = 1) {
    if (i < 0 || count <= 0 || i >= GetSize()) return;
    count = std::min(count, GetSize() - i);
    v_.erase(v_.begin() + i, v_.begin() + i + count);
  }

  // Iteration for our own code (range-for).
  auto begin() { return v_.begin(); }
  auto end() { return v_.end(); }
  auto begin() const { return v_.begin(); }
  auto end() const { return v_.end(); }

 private:
  std::vector<T> v_;
};
