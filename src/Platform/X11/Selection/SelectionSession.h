#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "Platform/X11/Selection/SelectionClaim.h"
#include "Platform/X11/Selection/SelectionReader.h"
#include "Platform/X11/Selection/SelectionServer.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// How we behave as an owner of selections.
struct ServingTimes {
  /// What a requester may take from one chunk of an incremental transfer to the next.
  std::chrono::milliseconds requesterTimeout{30000};
  /// How long the clipboard may be without an owner before we take it.
  std::chrono::milliseconds settling{150};
  /// What the clipboard manager has for saving our content when we end.
  std::chrono::milliseconds handOver{1000};
};

/// All that the selection thread has to do with the other programs: reads what they copy, owns and
/// serves what we write, and keeps content alive whose program has ended. Which of two owners came
/// later is decided here alone, by the server's times and the order of its events.
class SelectionSession {
 public:
  SelectionSession(X11Connection& connection, const SelectionLimits& limits,
                   const ServingTimes& times, SelectionReader::Receiver receiver,
                   SelectionServer::Background background);

  void handle(const xcb_generic_event_t& event);
  /// The next moment at which expire() has something to do; absent when nothing is pending.
  std::optional<SteadyTime> deadline() const;
  void expire();

  /// Where a write begins with an addition of no bytes, from whatever connection: as of that moment
  /// the clipboard is meant to be ours, and what other programs copied before does not count any
  /// more. The server's announcement of it falls into line with those of their copies.
  xcb_window_t writeWindow() const { return window_; }
  xcb_atom_t writeProperty() const { return writeProperty_; }
  /// The content of write `number`, counted from 1, which may not be announced yet. Can be called
  /// again. Without effect when another program has copied since.
  void provide(std::uint64_t number, std::shared_ptr<ClipboardOffer> offer);
  /// Takes PRIMARY too, until somebody else does.
  void offerPrimary(std::shared_ptr<ClipboardOffer> offer);
  /// Calls `done` once the server knows of everything provided and offered so far, so that a
  /// program which asks from then on is given that.
  void whenPublished(std::function<void()> done);
  /// What a copy, by FetchedContent::copyNumber, is to be offered as should its owner end.
  void keep(std::uint64_t copyNumber, std::shared_ptr<ClipboardOffer> offer);

  /// Has the clipboard manager save what we own; calls `done` at the end of that, which may be at
  /// once. Copies are not read any more.
  void handOver(std::function<void()> done);
  bool isHandingOver() const { return handOverEnd_.has_value(); }

 private:
  enum class Takeover {
    none,
    /// The owner has ended a moment ago.
    settling,
    /// Time is up, but the content is still being prepared.
    due,
  };

  void handleProperty(const xcb_property_notify_event_t& event, std::uint32_t sequence);
  void beginWrite(xcb_timestamp_t time);
  bool isWriting() const { return clipboard_.isPending() || early_; }
  void dispatch(const xcb_generic_event_t& event);
  void settlePublished();
  void handleOwner(const xcb_xfixes_selection_notify_event_t& event, std::uint32_t sequence);
  void handleLoss(const xcb_xfixes_selection_notify_event_t& event);
  void forgetCopy();
  void takeOverWhenReady();
  xcb_window_t clipboardManager();

  void proceedHandOver();
  void requestSaving();
  void endHandOver();

  X11Connection& connection_;
  const ServingTimes times_;
  SelectionReader reader_;
  const xcb_window_t window_;
  const xcb_atom_t writeProperty_;
  SelectionClaim clipboard_;
  SelectionClaim primary_;
  SelectionServer server_;
  std::uint64_t writeNumber_ = 0;
  // The content of the next write.
  std::shared_ptr<ClipboardOffer> early_;
  std::uint64_t earlyNumber_ = 0;

  Takeover takeover_ = Takeover::none;
  SteadyTime settlingEnd_;
  std::uint64_t keptCopy_ = 0;
  std::shared_ptr<ClipboardOffer> kept_;

  std::vector<std::function<void()>> onPublished_;
  bool isLeaving_ = false;
  bool isSavingRequested_ = false;
  std::optional<SteadyTime> handOverEnd_;
  std::vector<std::function<void()>> onHandedOver_;
};

}  // namespace stowboard
