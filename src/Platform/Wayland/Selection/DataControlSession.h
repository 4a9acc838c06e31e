#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Clipboard/ClipboardThread.h"
#include "Platform/Clipboard/CopyDelivery.h"
#include "Platform/Clipboard/FetchQueue.h"
#include "Platform/Wayland/Selection/DataControl.h"
#include "Platform/Wayland/Selection/DataFetch.h"
#include "Platform/Wayland/Selection/OutgoingPipes.h"
#include "Platform/Wayland/Toplevels.h"
#include "Platform/Wayland/WaylandConnection.h"

namespace stowboard {

/// How a compositor's clipboard is read and served.
struct DataControlOptions {
  /// The compositor's socket; empty means $WAYLAND_DISPLAY.
  std::string display = {};
  TransferLimits limits = {};
  /// What a requester may take from one piece of a transfer to the next.
  std::chrono::milliseconds requesterTimeout{30000};
  /// How long the clipboard may be empty before we offer the last copy again.
  std::chrono::milliseconds settling{150};
  /// Whether an X11 program has a secret on the clipboard, whose mark may not have come with it.
  /// Called on the selection thread, for each copy; may wait a little.
  std::function<bool()> isSecretOnX11 = {};
  /// The size in pixels for which images are prepared.
  int thumbnailDimension = 300;
};

/// All that the selection thread, whose own it is, has to do with a compositor's clipboard, over a
/// connection of its own: reads what other programs copy, offers and serves what we write, and
/// keeps content alive whose program has ended. The order of the compositor's events decides which
/// of two copies came later.
class DataControlSession {
 public:
  /// Null when no compositor answers, or one without data control or a seat. What is passed by
  /// reference must outlive the session. `receiver` is called on its thread.
  static std::unique_ptr<DataControlSession> create(ImageCodec& codec,
                                                    const ApplicationIdentifying& applications,
                                                    const DataControlOptions& options,
                                                    ClipboardBackgrounds backgrounds,
                                                    SnapshotReceiver receiver);

  int fileDescriptor() const { return events_.number(); }
  bool handleEvents();
  void flush() { connection_->flush(); }
  bool isBroken() const { return connection_->isBroken(); }
  std::optional<SteadyTime> deadline() const;
  void expire();
  /// The compositor keeps nothing of a program that ends. Copies are not read any more.
  void handOver();
  bool isHandingOver() const { return false; }

  /// Begins write `number`, counted from 1: as of this moment the clipboard is meant to be ours,
  /// and what other programs copied before does not count any more.
  void beginWrite(std::uint64_t number);
  /// The content of the write that was begun last. Can be called again. Without effect when another
  /// program has copied since.
  void provide(std::uint64_t number, std::shared_ptr<ClipboardOffer> offer);
  /// Takes the primary selection too, until somebody else does.
  void offerPrimary(const std::shared_ptr<ClipboardOffer>& offer);
  /// Calls `done` once the compositor knows of everything provided and offered so far.
  void whenPublished(std::function<void()> done);
  /// Lets the copy be offered when its program ends. Without effect for an older one than the last,
  /// or one that is not whole.
  void keep(std::shared_ptr<const ClipboardSnapshot> copy);
  /// Asks the owner of that copy once more; the outcome goes to the receiver, whatever it is.
  void reread(std::uint64_t copyNumber);

 private:
  DataControlSession(std::unique_ptr<WaylandConnection> connection, ImageCodec& codec,
                     const ApplicationIdentifying& applications, const DataControlOptions& options,
                     ClipboardBackgrounds backgrounds, SnapshotReceiver receiver);

  void watch(int descriptor, std::uint32_t events) const;
  bool handle(int descriptor);
  void select(const std::shared_ptr<const DataOffer>& offer);
  void beginFetch();
  bool isOurs(const DataOffer& offer) const;
  void takeWrite(std::uint64_t number);
  std::unique_ptr<DataControl::Source> makeSource(const std::shared_ptr<ClipboardOffer>& offer);
  void offerClipboard(const std::shared_ptr<ClipboardOffer>& offer);
  void loseSelection();
  void takeOverWhenReady();

  const std::unique_ptr<WaylandConnection> connection_;
  // What the thread sleeps on: the connection and every pipe.
  const FileDescriptor events_;
  const DataControlOptions options_;
  // A type that tells our own content from everybody else's.
  const std::string mark_;
  CopyDelivery delivery_;
  FetchQueue<DataFetch> fetches_;
  OutgoingPipes outgoing_;
  const std::unique_ptr<Toplevels> toplevels_;
  // The clipboard's content, other programs' only.
  std::shared_ptr<const DataOffer> offer_;
  bool isSecretOnX11_ = false;
  std::optional<std::vector<std::string>> sources_;
  std::uint64_t copyCount_ = 0;
  // The last write that was begun, and that the compositor's events have come to.
  std::uint64_t begunWrite_ = 0;
  std::uint64_t writeNumber_ = 0;
  bool isOvertaken_ = false;
  // The content of a write that they have not come to.
  std::shared_ptr<ClipboardOffer> early_;
  // What is there when we start is not a copy.
  bool isWatching_ = false;
  std::unique_ptr<DataControl::Source> source_;
  std::unique_ptr<DataControl::Source> primary_;
  // For the case that the last copy's program ends.
  std::shared_ptr<const ClipboardSnapshot> kept_;
  std::optional<SteadyTime> settlingEnd_;
  bool isTakeoverDue_ = false;
  // Last: its listeners call all of these.
  DataControl control_;
};

}  // namespace stowboard
