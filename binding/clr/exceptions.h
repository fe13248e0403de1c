#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <utility>

namespace zivra::clr {

/// Which .NET exception a fault is. The numbers cross the boundary: add, never change.
enum class Fault : std::int32_t {
  none = 0,
  api = 1,
  indexOutOfRange = 2,
  nullReference = 3,
  argumentNull = 4,
  argument = 5,
  argumentOutOfRange = 6,
  notSupported = 7,
  external = 8,     ///< a native exception that nobody translated
  outOfMemory = 9,  ///< std::bad_alloc and std::length_error
};

/// Base of what this layer throws; the text is UTF-8.
class ManagedException : public std::exception {
 public:
  ManagedException(Fault fault, std::string text) : fault_(fault), text_(std::move(text)) {}
  Fault fault() const noexcept { return fault_; }
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  Fault fault_;
  std::string text_;
};

/// A native exception where a facade catches one; base System.ApplicationException.
struct ApiException : ManagedException {
  explicit ApiException(std::string text) : ManagedException(Fault::api, std::move(text)) {}
};

/// The index error of arrays.
struct IndexOutOfRangeException : ManagedException {
  IndexOutOfRangeException()
      : ManagedException(Fault::indexOutOfRange, "Index was outside the bounds of the array.") {}
};

struct NullReferenceException : ManagedException {
  NullReferenceException()
      : ManagedException(Fault::nullReference, "Object reference not set to an instance of an object.") {}
};

struct ArgumentNullException : ManagedException {
  explicit ArgumentNullException(std::string text) : ManagedException(Fault::argumentNull, std::move(text)) {}
};

struct ArgumentException : ManagedException {
  explicit ArgumentException(std::string text) : ManagedException(Fault::argument, std::move(text)) {}
};

/// Also the index error of lists.
struct ArgumentOutOfRangeException : ManagedException {
  explicit ArgumentOutOfRangeException(
      std::string text =
          "Index was out of range. Must be non-negative and less than the size of the collection.")
      : ManagedException(Fault::argumentOutOfRange, std::move(text)) {}
};

struct NotSupportedException : ManagedException {
  explicit NotSupportedException(std::string text) : ManagedException(Fault::notSupported, std::move(text)) {}
};

}  // namespace zivra::clr
