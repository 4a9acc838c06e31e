#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/Clipboard/ContentBuilder.h"
#include "Platform/Clipboard/FetchQueue.h"
#include "Platform/X11/Selection/IncomingTransfer.h"

namespace stowboard {

/// Fetches the content of one new owner: asks for its targets, then, one after the other, for those
/// that a content is built of. Belongs to the selection thread.
class SelectionFetch {
 public:
  using State = FetchState;

  /// Starts at once. `time` is the server time of the change of owner; `share` keeps the bytes
  /// within bounds.
  SelectionFetch(X11Connection& connection, const TransferLimits& limits, xcb_window_t owner,
                 xcb_timestamp_t time, SteadyTime now, std::uint64_t copyNumber,
                 std::shared_ptr<ByteShare> share);

  State state() const { return state_; }
  bool isPending() const { return state_ == State::pending; }
  std::uint64_t copyNumber() const { return copyNumber_; }
  /// The window that the owner answers to. Destroying it is the caller's.
  xcb_window_t window() const { return window_; }
  /// Why the content is not whole, as the end of a sentence. A pointer to constant text.
  std::string_view failure() const { return failure_; }
  SteadyTime deadline() const { return std::min(deadline_, transfer_->deadline()); }

  void setSources(std::optional<std::vector<std::string>> sources) {
    sources_ = std::move(sources);
  }
  void handle(const xcb_selection_notify_event_t& event, SteadyTime now);
  void handle(const xcb_property_notify_event_t& event, SteadyTime now);
  void expire(SteadyTime now);

  /// The owner is gone: what it has not answered yet will never come.
  void loseOwner() {
    hasLostOwner_ = true;
    fail("its owner ended before it handed everything over");
  }
  bool hasLostOwner() const { return hasLostOwner_; }

  /// `newOwner` took over when the server had handled the requests up to `sequence`. What was asked
  /// before goes on; a later request would reach the wrong owner.
  void supersede(std::uint32_t sequence, xcb_window_t newOwner);
  /// A copy by another owner followed. False for an owner that announces its content once more.
  bool isFollowedByOther() const { return successor_ != XCB_NONE && successor_ != owner_; }
  bool isSuperseded() const { return successor_ != XCB_NONE; }
  /// Ends a fetch that a newer one has overtaken.
  void overtake() { fail("a newer copy replaced it"); }
  /// Ends a fetch whose content nobody is to see any more.
  void abandon() { fail("its content was replaced by ours"); }

  /// Wipes what came of a secret; calls `use` with its text and number before, where that is whole.
  template <typename Use>
  void useSecret(Use use) {
    if (!isSecret_) return;
    const bool isText =
        transfer_->state() == IncomingTransfer::State::done && transfer_->kind().format == 8;
    transfer_->buffer().wipe([&](std::string_view text) {
      if (isText) use(text, copyNumber_);
    });
  }
  /// What came. Ends the fetch's use of it.
  FetchedContent takeContent();

 private:
  template <typename Step>
  void advance(SteadyTime now, Step step);
  void fail(std::string_view reason);
  void proceed();
  void endTransfer();
  void readTargets();
  void receive();
  void requestNext();
  void requestSecret(const TargetPlan& plan);
  void request(xcb_atom_t target, std::size_t room);

  X11Connection& connection_;
  const TransferLimits limits_;
  const xcb_window_t owner_;
  const xcb_timestamp_t time_;
  const SteadyTime deadline_;
  const std::uint64_t copyNumber_;
  const std::shared_ptr<ByteShare> share_;
  const xcb_window_t window_;
  std::optional<std::vector<std::string>> sources_;
  State state_ = State::pending;
  std::string_view failure_;
  bool hasLostOwner_ = false;
  xcb_window_t successor_ = XCB_NONE;
  SteadyTime now_;

  // Absent until the targets are known.
  std::optional<ContentBuilder> content_;
  // The last transfer is that of a text which only serves to know it again.
  bool isSecret_ = false;
  std::optional<IncomingTransfer> transfer_;
};

}  // namespace stowboard
