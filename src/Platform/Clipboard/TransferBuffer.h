#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace stowboard {

using SteadyTime = std::chrono::steady_clock::time_point;

/// The bounds within which an owner has to hand its content over.
struct TransferLimits {
  /// From a request to any answer.
  std::chrono::milliseconds replyTimeout{5000};
  /// From one chunk of a transfer to the next.
  std::chrono::milliseconds chunkTimeout{5000};
  /// For all formats of one content together.
  std::chrono::milliseconds totalTimeout{60000};
  /// Of all formats of one content together.
  std::size_t maxBytes = std::size_t{512} << 20;
  /// Of all contents that are on their way, from their owners to the finished snapshot.
  std::size_t maxTotalBytes = std::size_t{1} << 30;
};

/// Counts what several contents hold together, against a bound. On any thread.
class ByteBudget {
 public:
  explicit ByteBudget(std::size_t limit) : limit_(limit) {}

  std::size_t used() const { return used_; }
  /// False, and nothing is taken, when the bound would be exceeded.
  bool take(std::size_t bytes);
  void giveBack(std::size_t bytes) { used_ -= bytes; }

 private:
  const std::size_t limit_;
  std::atomic<std::size_t> used_ = 0;
};

/// What one content has taken of a budget, to be given back with it.
class ByteShare {
 public:
  explicit ByteShare(std::shared_ptr<ByteBudget> budget) : budget_(std::move(budget)) {}
  ~ByteShare() { budget_->giveBack(size_); }
  ByteShare(const ByteShare&) = delete;
  ByteShare& operator=(const ByteShare&) = delete;

  bool grow(std::size_t bytes);

 private:
  const std::shared_ptr<ByteBudget> budget_;
  std::size_t size_ = 0;
};

/// Checks UTF-8 as it comes in, in pieces that may end within a character.
class Utf8Checker {
 public:
  void feed(std::string_view piece);
  /// True when all that was fed so far is well-formed and ends with a whole character.
  bool isValid() const { return !isBroken_ && carry_.empty(); }

 private:
  bool isBroken_ = false;
  // What may be the first bytes of a character.
  std::string carry_;
};

/// Collects content that arrives in pieces of unknown number, up to a bound. Large content is kept
/// in mapped blocks that go back to the system while they are joined, so that the peak is the
/// content and one block, not twice the content.
class TransferBuffer {
 public:
  /// The share is counted against as well, and keeps what is taken out.
  TransferBuffer(std::size_t limit, std::shared_ptr<ByteShare> share)
      : limit_(limit), share_(std::move(share)) {}

  /// False, and nothing is taken, when the content would exceed the bound.
  bool append(std::string_view piece);
  std::size_t size() const { return size_; }
  bool isUtf8() const { return utf8_.isValid(); }
  /// For content that must leave no traces behind, of a megabyte at most. To be called first:
  /// wipe() shows it as it is then, and wipes it.
  void makeSecret() {
    isSecret_ = true;
    head_.reserve(limit_);
  }
  bool isSecret() const { return isSecret_; }
  template <typename Use>
  void wipe(Use use) {
    use(std::string_view(head_));
    explicit_bzero(head_.data(), head_.capacity());
  }
  /// Hands the whole content over and leaves the buffer empty.
  std::string take();

 private:
  struct Unmap {
    void operator()(char* block) const;
  };
  static constexpr std::size_t blockSize = std::size_t{4} << 20;
  static constexpr std::size_t headSize = std::size_t{1} << 20;

  bool addBlock();

  std::size_t limit_;
  const std::shared_ptr<ByteShare> share_;
  std::size_t size_ = 0;
  bool isSecret_ = false;
  std::string head_;
  std::vector<std::unique_ptr<char, Unmap>> blocks_;
  std::size_t lastBlockUsed_ = blockSize;
  Utf8Checker utf8_;
};

}  // namespace stowboard
