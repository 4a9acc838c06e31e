#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace stowboard {

/// An immutable buffer of bytes. Copies share the storage, so handing one to another thread or
/// keeping it in several places costs a reference count. Safe to read from any thread.
class Bytes {
 public:
  Bytes() = default;
  explicit Bytes(std::string content)
      : storage_(std::make_shared<const std::string>(std::move(content))) {}

  std::string_view view() const {
    return storage_ ? std::string_view(*storage_) : std::string_view();
  }
  std::size_t size() const { return storage_ ? storage_->size() : 0; }
  bool empty() const { return size() == 0; }

  /// True when both are the same buffer in memory; two empty defaults are.
  bool sharesStorageWith(const Bytes& other) const { return storage_ == other.storage_; }

  friend bool operator==(const Bytes& left, const Bytes& right) {
    return left.storage_ == right.storage_ || left.view() == right.view();
  }

 private:
  friend class Text;
  std::shared_ptr<const std::string> storage_;
};

}  // namespace stowboard
