#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Platform/Clipboard/ClipboardThread.h"
#include "Platform/Clipboard/CopyDelivery.h"
#include "Platform/X11/Selection/SelectionClaim.h"
#include "Platform/X11/Selection/SelectionHandOver.h"
#include "Platform/X11/Selection/SelectionReader.h"
#include "Platform/X11/Selection/SelectionServer.h"
#include "Platform/X11/Selection/SelectionTakeover.h"
#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// How selections are read and served.
struct SelectionOptions {
  /// The X server; empty means $DISPLAY.
  std::string display = {};
  SelectionLimits limits = {};
  /// What a requester may take from one chunk of an incremental transfer to the next.
  std::chrono::milliseconds requesterTimeout{30000};
  /// How long the clipboard may be without an owner before we take it.
  std::chrono::milliseconds settling{150};
  /// What the clipboard manager has for saving our content when we end.
  std::chrono::milliseconds handOver{1000};
  /// The size in pixels for which images are prepared.
  int thumbnailDimension = 300;
};

/// All that the selection thread, whose own it is, has to do with the other programs, over a
/// connection of its own: reads what they copy, owns and serves what we write, and keeps content
/// alive whose program has ended. Which of two owners came later is decided here alone, by the
/// server's times and the order of its events.
class SelectionSession {
 public:
  /// Null when there is no X server, or one without XFixes. What is passed by reference must
  /// outlive the session. `receiver` is called on its thread.
  static std::unique_ptr<SelectionSession> create(ImageCodec& codec,
                                                  const ApplicationIdentifying& applications,
                                                  const SelectionOptions& options,
                                                  ClipboardBackgrounds backgrounds,
                                                  SnapshotReceiver receiver);

  /// With connections of its own.
  SelectionSession(std::unique_ptr<X11Connection> connection,
                   std::unique_ptr<X11Connection> writeConnection, ImageCodec& codec,
                   const ApplicationIdentifying& applications, const SelectionOptions& options,
                   ClipboardBackgrounds backgrounds, SnapshotReceiver receiver);

  int fileDescriptor() const { return connection_->fileDescriptor(); }
  bool handleEvents();
  void flush() { xcb_flush(connection_->xcb()); }
  bool isBroken() const { return connection_->isBroken(); }
  /// The next moment at which expire() has something to do; absent when nothing is pending.
  std::optional<SteadyTime> deadline() const;
  void expire();

  /// Begins write `number`, counted from 1: as of this moment the clipboard is meant to be ours,
  /// and what other programs copied before does not count any more. The number goes through a
  /// property of ours, so that the server's announcement falls into line with those of their
  /// copies. Does not wait for the server. On any one thread.
  void beginWrite(std::uint32_t number);
  /// The content of write `number`, counted from 1, which may not be announced yet. Can be called
  /// again. Without effect when another program has copied since.
  void provide(std::uint64_t number, std::shared_ptr<ClipboardOffer> offer);
  /// Takes PRIMARY too, until somebody else does.
  void offerPrimary(std::shared_ptr<ClipboardOffer> offer);
  /// Calls `done` once the server knows of everything provided and offered so far, so that a
  /// program which asks from then on is given that.
  void whenPublished(std::function<void()> done);

  /// Lets the copy be offered when its program ends. Without effect for an older one than the last,
  /// or one that is not whole.
  void keep(std::shared_ptr<const ClipboardSnapshot> copy);
  /// Asks the owner of that copy once more; the outcome goes to the receiver, whatever it is.
  void reread(std::uint64_t copyNumber) { reader_.reread(copyNumber); }

  /// Has the clipboard manager save what we own. Copies are not read any more.
  void handOver();
  bool isHandingOver() const { return handOver_.isUnderWay(); }

 private:
  void handle(const xcb_generic_event_t& event);
  void dispatch(const xcb_generic_event_t& event);
  void handleProperty(const xcb_property_notify_event_t& event, std::uint32_t sequence);
  void handleOwner(const xcb_xfixes_selection_notify_event_t& event, std::uint32_t sequence);
  void takeWrite(xcb_timestamp_t time);
  bool isWriting() const { return clipboard_.isPending() || early_; }
  void settlePublished();

  const std::unique_ptr<X11Connection> connection_;
  // Carries next to nothing, so that beginWrite() never finds it full.
  const std::unique_ptr<X11Connection> writeConnection_;
  CopyDelivery delivery_;
  SelectionReader reader_;
  const xcb_window_t window_;
  const xcb_atom_t writeProperty_;
  SelectionClaim clipboard_;
  SelectionClaim primary_;
  SelectionServer server_;
  SelectionTakeover takeover_;
  SelectionHandOver handOver_;
  // The last one that beginWrite() was called for.
  std::atomic<std::uint32_t> latestWrite_ = 0;
  // The last one whose announcement has come, and those after it that were read with it.
  std::uint64_t writeNumber_ = 0;
  std::set<std::uint32_t> comingWrites_;
  // When the clipboard last changed hands, by the server.
  xcb_timestamp_t lastChange_ = XCB_CURRENT_TIME;
  // The content of the next write.
  std::shared_ptr<ClipboardOffer> early_;
  std::uint64_t earlyNumber_ = 0;
  std::vector<std::function<void()>> onPublished_;
};

}  // namespace stowboard
