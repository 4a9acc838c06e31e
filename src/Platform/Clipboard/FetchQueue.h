#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "Base/Log.h"
#include "Platform/Clipboard/ContentBuilder.h"
#include "Platform/Clipboard/TransferBuffer.h"

namespace stowboard {

/// How far a fetch of one content has come.
enum class FetchState {
  pending,
  complete,
  /// The owner's content is not to be kept.
  secret,
  /// Something that was on offer did not come.
  failed,
};

/// The fetches that are under way, the oldest first; all but the last are superseded by a newer
/// copy. Owners do not wait for each other, but content is handed over in the order of the copies.
/// Belongs to the thread that fetches. A fetch has
///   FetchState state() const;
///   bool isPending() const;
///   std::uint64_t copyNumber() const;
///   std::string_view failure() const;       why it failed, as the end of a sentence
///   SteadyTime deadline() const;
///   void expire(SteadyTime now);
///   void overtake();                        a newer copy is there: ends it, unless it has ended
///   void abandon();                         nobody is to see its content any more: ends it
///   bool isSuperseded() const;
///   bool isFollowedByOther() const;         by another owner's copy, not the same one's next try
///   bool hasLostOwner() const;
///   void useSecret(use);                    gives a secret's text and number to `use`, and wipes
///   it FetchedContent takeContent();           what came; ends its use
template <typename Fetch>
class FetchQueue {
 public:
  struct Receivers {
    std::function<void(FetchedContent)> content;
    /// Given the text of a secret, and which copy it was.
    std::function<void(std::string_view, std::uint64_t)> secret;
    /// Lets go of what a fetch has with the display server.
    std::function<void(const Fetch&)> retire;
  };

  /// `maxTotalBytes` bounds what all contents hold together until they are snapshots.
  FetchQueue(std::size_t maxTotalBytes, Receivers receivers)
      : maxTotalBytes_(maxTotalBytes),
        budget_(std::make_shared<ByteBudget>(maxTotalBytes)),
        receivers_(std::move(receivers)) {}

  /// For the next fetch.
  std::shared_ptr<ByteShare> makeShare() const { return std::make_shared<ByteShare>(budget_); }

  Fetch& add(std::unique_ptr<Fetch> fetch) {
    fetches_.push_back(std::move(fetch));
    if (fetches_.size() > mostFetches) fetches_.front()->overtake();
    return *fetches_.back();
  }
  const std::deque<std::unique_ptr<Fetch>>& all() const { return fetches_; }

  /// Hands over what has ended, and everything older. To be called after each event.
  void settle() {
    const auto ended = [](const auto& fetch) { return !fetch->isPending(); };
    const auto newest = std::find_if(fetches_.rbegin(), fetches_.rend(), ended);
    for (auto left = fetches_.rend() - newest; left > 0; --left) finishOldest();
    // The newest copy is not to want for room.
    while (fetches_.size() > 1 && budget_->used() > maxTotalBytes_ / 2) finishOldest();
  }

  /// Drops what is under way: nothing of it is handed over.
  void abandon() {
    for (auto& fetch : std::exchange(fetches_, {})) {
      fetch->abandon();
      fetch->useSecret([](auto, auto) {});
      Log::clipboard.info("Gave up reading the clipboard: {}", fetch->failure());
      receivers_.retire(*fetch);
    }
  }

  /// Tells that nothing more will come of that copy.
  void deliverOutOfReach(std::uint64_t copyNumber) {
    FetchedContent nothing;
    nothing.news = ClipboardNews::outOfReach;
    nothing.copyNumber = copyNumber;
    receivers_.content(std::move(nothing));
  }

  /// The next moment at which expire() has something to do; absent when nothing is pending.
  std::optional<SteadyTime> deadline() const {
    std::optional<SteadyTime> earliest;
    for (const auto& fetch : fetches_) {
      earliest = std::min(earliest.value_or(fetch->deadline()), fetch->deadline());
    }
    return earliest;
  }
  void expire() {
    const auto now = SteadyTime::clock::now();
    for (auto& fetch : fetches_) fetch->expire(now);
    settle();
  }

 private:
  // Superseded fetches that may still come in; more are a sign of owners that fight each other.
  static constexpr std::size_t mostFetches = 16;

  void finishOldest() {
    const auto fetch = std::move(fetches_.front());
    fetches_.pop_front();
    fetch->overtake();
    finish(*fetch);
  }

  void finish(Fetch& fetch) {
    if (fetch.state() == FetchState::failed) {
      Log::clipboard.info("Gave up reading the clipboard: {}", fetch.failure());
    }
    receivers_.retire(fetch);
    if (fetch.state() == FetchState::secret) {
      Log::clipboard.info("Skipped: the content is marked as a secret");
      fetch.useSecret(receivers_.secret);
      if (fetch.copyNumber() <= delivered_) deliverOutOfReach(fetch.copyNumber());
    } else {
      deliver(fetch);
    }
  }

  void deliver(Fetch& fetch) {
    auto content = fetch.takeContent();
    // Half a content counts where nothing better comes, but not before the same owner's next try.
    // Of an owner that has ended, only what it gave counts: the clipboard is empty.
    const bool isNextTry = fetch.isSuperseded() && !fetch.isFollowedByOther();
    const bool isWorthwhile = fetch.state() == FetchState::complete ||
                              (!fetch.isSuperseded() && !fetch.hasLostOwner()) ||
                              (!isNextTry && content.hasData());
    const bool isReread = content.copyNumber <= delivered_;
    if (!isWorthwhile) return isReread ? deliverOutOfReach(content.copyNumber) : void();
    delivered_ = content.copyNumber;
    receivers_.content(std::move(content));
  }

  const std::size_t maxTotalBytes_;
  const std::shared_ptr<ByteBudget> budget_;
  const Receivers receivers_;
  std::deque<std::unique_ptr<Fetch>> fetches_;
  // The last copy that was handed over.
  std::uint64_t delivered_ = 0;
};

}  // namespace stowboard
