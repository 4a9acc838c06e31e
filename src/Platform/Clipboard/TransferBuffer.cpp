#include "Platform/Clipboard/TransferBuffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "Base/Unicode/Utf8.h"

namespace stowboard {

namespace {

constexpr std::size_t longestCharacter = 4;

}  // namespace

void Utf8Checker::feed(std::string_view piece) {
  while (!isBroken_ && !carry_.empty() && !piece.empty()) {
    carry_ += piece.front();
    piece.remove_prefix(1);
    if (scanUtf8(carry_).validLength == carry_.size()) {
      carry_.clear();
    } else {
      isBroken_ = carry_.size() == longestCharacter;
    }
  }
  if (isBroken_ || piece.empty()) return;
  carry_ = piece.substr(scanUtf8(piece).validLength).substr(0, longestCharacter);
  isBroken_ = carry_.size() == longestCharacter;
}

bool ByteBudget::take(std::size_t bytes) {
  std::size_t used = used_;
  do {
    if (bytes > limit_ - used) return false;
  } while (!used_.compare_exchange_weak(used, used + bytes));
  return true;
}

bool ByteShare::grow(std::size_t bytes) {
  if (!budget_->take(bytes)) return false;
  size_ += bytes;
  return true;
}

void TransferBuffer::Unmap::operator()(char* block) const { munmap(block, blockSize); }

bool TransferBuffer::addBlock() {
  void* block =
      mmap(nullptr, blockSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (block == MAP_FAILED) return false;
  blocks_.emplace_back(static_cast<char*>(block));
  lastBlockUsed_ = 0;
  return true;
}

bool TransferBuffer::append(std::string_view piece) {
  if (piece.size() > limit_ - size_ || !share_->grow(piece.size())) return false;
  utf8_.feed(piece);
  const auto inHead = blocks_.empty() ? std::min(piece.size(), headSize - head_.size()) : 0;
  head_.append(piece.substr(0, inHead));
  for (auto rest = piece.substr(inHead); !rest.empty();) {
    if (lastBlockUsed_ == blockSize && !addBlock()) return false;
    const auto part = std::min(rest.size(), blockSize - lastBlockUsed_);
    std::memcpy(blocks_.back().get() + lastBlockUsed_, rest.data(), part);
    lastBlockUsed_ += part;
    rest.remove_prefix(part);
  }
  size_ += piece.size();
  return true;
}

std::string TransferBuffer::take() {
  std::string whole = std::exchange(head_, {});
  if (!blocks_.empty()) whole.reserve(size_);
  for (auto& block : blocks_) {
    const bool isLast = &block == &blocks_.back();
    whole.append(block.get(), isLast ? lastBlockUsed_ : blockSize);
    block.reset();
  }
  blocks_.clear();
  size_ = 0;
  return whole;
}

}  // namespace stowboard
