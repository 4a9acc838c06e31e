#include "Platform/Wayland/Selection/DataFetch.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <utility>

#include "Platform/Clipboard/SecretMemory.h"

namespace stowboard {

namespace {

// What a pipe holds unless it is told otherwise (pipe(7)): an owner can have written that much and
// ended since.
constexpr std::size_t pipeSize = 64 * 1024;
constexpr int largePipeSize = 1 << 20;
// In one go, so that an owner without end does not hold off the others.
constexpr int mostChunks = 64;

}  // namespace

DataFetch::DataFetch(std::shared_ptr<const DataOffer> offer, const TransferLimits& limits,
                     std::uint64_t copyNumber, std::shared_ptr<ByteShare> share,
                     Surroundings surroundings)
    : offer_(std::move(offer)),
      limits_(limits),
      copyNumber_(copyNumber),
      share_(std::move(share)),
      surroundings_(std::move(surroundings)),
      deadline_(SteadyTime::clock::now() + limits.totalTimeout) {
  auto plan = planForTargets(offer_->types());
  plan.isSecret |= surroundings_.isSecret;
  if (plan.isSecret) {
    requestSecret(plan);
  } else {
    content_ = ContentBuilder(plan);
    requestNext();
  }
}

void DataFetch::read() {
  if (!isPending() || !pipe_.isOpen()) return;
  try {
    for (int count = 0; count < mostChunks && isPending() && readChunk(); ++count) {
    }
  } catch (const std::bad_alloc&) {
    fail("there is not enough memory for it");
  }
}

bool DataFetch::readChunk() {
  std::array<char, pipeSize> chunk;
  const auto count = ::read(pipe_.number(), chunk.data(), chunk.size());
  if (count < 0) {
    if (errno != EAGAIN && errno != EINTR) fail("its owner could not be read from");
    return errno == EINTR;
  }
  transferDeadline_ = SteadyTime::clock::now() + limits_.chunkTimeout;
  if (count == 0) {
    endTransfer();
    return false;
  }
  // A large content is on its way: fewer changes between its owner and us.
  if (buffer_->size() == 0 && count == static_cast<ssize_t>(pipeSize)) {
    ::fcntl(pipe_.number(), F_SETPIPE_SZ, largePipeSize);
  }
  const bool isTaken = buffer_->append({chunk.data(), static_cast<std::size_t>(count)});
  if (isSecret_) explicit_bzero(chunk.data(), chunk.size());
  if (!isTaken) fail("it exceeds the size that is accepted");
  return isTaken;
}

// The end of a pipe does not tell an owner that has written everything from one that has ended, or
// that was not asked because another content had come. What can have been in the pipe as a whole
// counts in any case; for nothing, and for more, the compositor's word is awaited.
void DataFetch::endTransfer() {
  close();
  if (buffer_->size() > 0 && buffer_->size() <= pipeSize) return acceptWhole();
  surroundings_.sync([this, life = std::weak_ptr(life_)] {
    if (life.expired() || !isPending()) return;
    if (hasLostOwner_) return fail("its owner ended before it handed everything over");
    if (isSuperseded_ && buffer_->size() == 0) return overtake();
    acceptWhole();
  });
}

void DataFetch::acceptWhole() {
  if (isSecret_) {
    isSecretWhole_ = true;
    state_ = FetchState::secret;
    return;
  }
  // An owner that cannot write a type closes the pipe, too. One that is there and gives nothing
  // under any name has an empty text.
  if (buffer_->size() == 0 && !content_.isLastText()) {
    content_.refuse();
  } else {
    const bool isUtf8 = buffer_->isUtf8();
    content_.accept(buffer_->take(), isUtf8, false);
  }
  requestNext();
}

void DataFetch::requestNext() {
  const auto* const type = content_.wanted();
  if (!type) {
    state_ = FetchState::complete;
  } else if (isSuperseded_) {
    overtake();
  } else if (hasLostOwner_) {
    fail("its owner ended before it handed everything over");
  } else {
    const auto room = limits_.maxBytes - std::min(limits_.maxBytes, content_.size());
    request(*type, TransferBuffer(room, share_));
  }
}

void DataFetch::requestSecret(const TargetPlan& plan) {
  isSecret_ = true;
  TransferBuffer buffer(SecretMemory::maxBytes, share_);
  buffer.makeSecret();
  if (plan.texts.empty()) {
    buffer_.emplace(std::move(buffer));
    state_ = FetchState::secret;
  } else {
    request(plan.texts.front(), std::move(buffer));
  }
}

void DataFetch::request(const std::string& type, TransferBuffer buffer) {
  buffer_.emplace(std::move(buffer));
  pipe_ = offer_->receive(type);
  transferDeadline_ = SteadyTime::clock::now() + limits_.replyTimeout;
  if (!pipe_.isOpen()) return fail("there is no pipe for it");
  surroundings_.watch(pipe_.number());
}

void DataFetch::expire(SteadyTime now) {
  if (now >= transferDeadline_) fail("its owner stopped answering");
  if (now >= deadline_) fail("its owner took too long in all");
}

void DataFetch::fail(std::string_view reason) {
  if (!isPending()) return;
  close();
  state_ = isSecret_ ? FetchState::secret : FetchState::failed;
  failure_ = reason;
}

FetchedContent DataFetch::takeContent() {
  auto content = content_.take();
  content.isWhole = state_ == FetchState::complete;
  content.copyNumber = copyNumber_;
  content.share = share_;
  content.sources = std::move(sources_);
  return content;
}

}  // namespace stowboard
