#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Base/FileDescriptor.h"
#include "Platform/Clipboard/ContentBuilder.h"
#include "Platform/Clipboard/FetchQueue.h"
#include "Platform/Clipboard/TransferBuffer.h"
#include "Platform/Wayland/Selection/DataControl.h"

namespace stowboard {

/// Fetches the content of one offer: one after the other, the types that a content is built of,
/// each through a pipe. Driven by what the pipe has; never waits for the owner. Belongs to the
/// selection thread.
class DataFetch {
 public:
  /// What a fetch has of its session.
  struct Surroundings {
    /// Watches a pipe of this fetch for something to read, until it is closed.
    std::function<void(int descriptor)> watch;
    /// Calls back when the compositor has handled everything so far.
    std::function<void(std::function<void()>)> sync;
    /// Whether the content is one whatever its types say.
    bool isSecret = false;
  };

  /// Starts at once. `share` keeps the bytes within bounds.
  DataFetch(std::shared_ptr<const DataOffer> offer, const TransferLimits& limits,
            std::uint64_t copyNumber, std::shared_ptr<ByteShare> share, Surroundings surroundings);

  FetchState state() const { return state_; }
  bool isPending() const { return state_ == FetchState::pending; }
  std::uint64_t copyNumber() const { return copyNumber_; }
  std::string_view failure() const { return failure_; }
  SteadyTime deadline() const { return std::min(deadline_, transferDeadline_); }
  /// The pipe that is being read; -1 for none.
  int descriptor() const { return pipe_.number(); }

  void setSources(std::optional<std::vector<std::string>> sources) {
    sources_ = std::move(sources);
  }
  /// The pipe has something.
  void read();
  void expire(SteadyTime now);

  /// The owner is gone, or has taken its content back: what is not in the pipe yet will never come.
  void loseOwner() { hasLostOwner_ = true; }
  bool hasLostOwner() const { return hasLostOwner_; }
  /// Another content is there. What was asked for goes on; later requests would be refused.
  void supersede() { isSuperseded_ = true; }
  bool isSuperseded() const { return isSuperseded_; }
  /// Offers do not tell whose they are.
  bool isFollowedByOther() const { return isSuperseded_; }
  void overtake() { fail("a newer copy replaced it"); }
  void abandon() { fail("its content was replaced by ours"); }

  /// Wipes what came of a secret; calls `use` with its text and number before, where that is whole.
  template <typename Use>
  void useSecret(Use use) {
    if (!isSecret_) return;
    buffer_->wipe([&](std::string_view text) {
      if (isSecretWhole_) use(text, copyNumber_);
    });
  }
  /// What came. Ends the fetch's use of it.
  FetchedContent takeContent();

 private:
  /// False when there is nothing more to read now.
  bool readChunk();
  void endTransfer();
  void acceptWhole();
  void requestNext();
  void requestSecret(const TargetPlan& plan);
  void request(const std::string& type, TransferBuffer buffer);
  void fail(std::string_view reason);
  void close() { pipe_ = FileDescriptor(); }

  const std::shared_ptr<const DataOffer> offer_;
  const TransferLimits limits_;
  const std::uint64_t copyNumber_;
  const std::shared_ptr<ByteShare> share_;
  const Surroundings surroundings_;
  const SteadyTime deadline_;
  SteadyTime transferDeadline_ = SteadyTime::max();
  std::optional<std::vector<std::string>> sources_;
  FetchState state_ = FetchState::pending;
  std::string_view failure_;
  bool hasLostOwner_ = false;
  bool isSuperseded_ = false;
  bool isSecret_ = false;
  bool isSecretWhole_ = false;
  ContentBuilder content_;
  FileDescriptor pipe_;
  std::optional<TransferBuffer> buffer_;
  // By which an answer of the compositor's tells whether there still is a fetch.
  const std::shared_ptr<const bool> life_ = std::make_shared<bool>(true);
};

}  // namespace stowboard
