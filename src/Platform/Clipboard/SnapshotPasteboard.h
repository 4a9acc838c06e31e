#pragma once

#include <cstdint>
#include <memory>

#include "Platform/Clipboard/ClipboardOffer.h"
#include "Platform/Clipboard/ClipboardSnapshot.h"
#include "Platform/Pasteboard.h"
#include "Platform/RunLoop.h"

namespace stowboard {

/// The main thread's side of a clipboard that another thread reads and serves: the current content,
/// and the one that is being written. Belongs to the main thread.
///
/// What is written goes out at the end of the turn, and counts from clearContents() on. Each
/// content that comes in carries the number of the last write that it came after, so that it does
/// not replace a later one.
class SnapshotPasteboard : public Pasteboard {
 public:
  std::int64_t changeCount() const override { return changeCount_; }
  std::optional<std::vector<std::string>> types() const override { return current_->types; }
  std::optional<Bytes> data(std::string_view type) const override;
  std::optional<Text> string(std::string_view type) const override;
  bool announcesMoves() const override { return true; }
  std::optional<std::vector<std::string>> sources() const override { return current_->sources; }
  void discard() override;
  void reread() override;
  Rereading rereading() const override { return rereading_; }

  void clearContents() override;
  void setString(const Text& text, std::string_view type) override;
  void setData(const Bytes& data, std::string_view type) override;
  void writeImage(std::shared_ptr<const Image> image) override;

 protected:
  /// The run loop must outlive the pasteboard.
  explicit SnapshotPasteboard(RunLoop& runLoop) : runLoop_(runLoop) {}

  /// Where another thread puts what it has read, with the number of the write that it came after.
  SnapshotReceiver receiver();

  /// A copy was announced and not discarded: it may be offered when its program ends.
  virtual void keep(std::shared_ptr<const ClipboardSnapshot> copy) = 0;
  /// Has the owner of that copy asked once more; the receiver is given the outcome in any case.
  virtual void askAgain(std::uint64_t copyNumber) = 0;
  /// A write, counted from 1, begins: the clipboard is meant to be ours from now on. Must not wait.
  virtual void beginWrite(std::uint64_t writeNumber) = 0;
  /// The content of a write; once more when something was added in a later turn.
  virtual void publish(std::uint64_t writeNumber, std::shared_ptr<ClipboardOffer> offer) = 0;
  /// Publishes what was written, if anything was; at the end of the turn, or sooner.
  virtual void commit();
  void scheduleCommit();

 private:
  void adopt(std::shared_ptr<const ClipboardSnapshot> snapshot, std::uint64_t writeNumber);
  void clear();
  ClipboardSnapshot* draft();

  RunLoop& runLoop_;
  std::int64_t changeCount_ = 0;
  std::shared_ptr<const ClipboardSnapshot> current_ = std::make_shared<ClipboardSnapshot>();
  // Counts the calls of clearContents().
  std::uint64_t writeNumber_ = 0;
  bool isOurs_ = false;
  Rereading rereading_ = Rereading::ended;
  // The current content while it is being written.
  std::shared_ptr<ClipboardSnapshot> draft_;
  bool isCommitScheduled_ = false;
  // By which a task of the main loop tells whether there still is a pasteboard.
  const std::shared_ptr<const bool> life_ = std::make_shared<bool>(true);
};

}  // namespace stowboard
