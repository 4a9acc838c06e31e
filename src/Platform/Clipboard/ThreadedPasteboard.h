#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "Platform/Clipboard/ClipboardThread.h"
#include "Platform/Clipboard/PublishingPasteboard.h"
#include "Platform/Clipboard/SnapshotPasteboard.h"

namespace stowboard {

/// A pasteboard whose other side is a session on a ClipboardThread, which fetches what other
/// programs copy and serves what we write. Each content that is whole, decoded and within its
/// bounds becomes the current one on the main thread; content of an owner that fails is announced
/// with what came. This class belongs to the main thread. Besides what the thread wants of it, a
/// session has
///   void provide(std::uint64_t write, std::shared_ptr<ClipboardOffer>);  the content of a write
///   void offerPrimary(std::shared_ptr<ClipboardOffer>);
///   void whenPublished(std::function<void()> done);
///   void keep(std::shared_ptr<const ClipboardSnapshot>);
///   void reread(std::uint64_t copyNumber);
template <typename Session>
class ThreadedPasteboard : public SnapshotPasteboard, public PublishingPasteboard {
 public:
  /// Publishes what was written in this turn, hands our content over to whoever keeps it, where
  /// there is somebody, for which it waits within the session's bound, and ends the thread. Nothing
  /// is called any more once this returns.
  ~ThreadedPasteboard() override {
    if (!thread_) return;
    ThreadedPasteboard::commit();
    thread_->end();
  }

  void offerPrimary() override {
    isPrimaryWanted_ = true;
    this->scheduleCommit();
  }

  void whenPublished(std::function<void()> done) override {
    commit();
    thread_->post([done = std::move(done)](Session& session) { session.whenPublished(done); });
  }

 protected:
  using SnapshotPasteboard::SnapshotPasteboard;

  /// False when there can be no session. `loss` is logged, on the main thread, when the connection
  /// is lost.
  bool start(RunLoop& runLoop, const typename ClipboardThread<Session>::MakeSession& makeSession,
             const char* loss) {
    thread_ = ClipboardThread<Session>::create(makeSession, [&runLoop, loss] {
      runLoop.post([loss] { Log::clipboard.error("{}", loss); });
    });
    return thread_ != nullptr;
  }
  Session& session() { return thread_->session(); }
  void post(typename ClipboardThread<Session>::Command command) {
    thread_->post(std::move(command));
  }

 private:
  void keep(std::shared_ptr<const ClipboardSnapshot> copy) override {
    thread_->post([copy = std::move(copy)](Session& session) { session.keep(copy); });
  }
  void askAgain(std::uint64_t copyNumber) override {
    thread_->post([copyNumber](Session& session) { session.reread(copyNumber); });
  }
  void publish(std::uint64_t writeNumber, std::shared_ptr<ClipboardOffer> offer) override {
    published_ = offer;
    thread_->post([writeNumber, offer = std::move(offer)](Session& session) {
      session.provide(writeNumber, offer);
    });
  }
  void commit() override {
    SnapshotPasteboard::commit();
    if (std::exchange(isPrimaryWanted_, false) && published_) {
      thread_->post([offer = published_](Session& session) { session.offerPrimary(offer); });
    }
  }

  // The thread's; handed back to it when the primary selection is to be offered.
  std::shared_ptr<ClipboardOffer> published_;
  bool isPrimaryWanted_ = false;
  std::unique_ptr<ClipboardThread<Session>> thread_;
};

}  // namespace stowboard
