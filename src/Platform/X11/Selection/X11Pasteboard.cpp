#include "Platform/X11/Selection/X11Pasteboard.h"

#include <utility>

#include "Base/Log.h"

namespace stowboard {

std::unique_ptr<X11Pasteboard> X11Pasteboard::create(RunLoop& runLoop, ImageCodec& codec,
                                                     const ApplicationIdentifying& applications,
                                                     const SelectionOptions& options) {
  std::unique_ptr<X11Pasteboard> pasteboard(new X11Pasteboard(runLoop));
  const auto reportLostConnection = [] {
    Log::clipboard.error("The connection to the X server is lost: no copies are recorded any more");
  };
  pasteboard->thread_ = SelectionThread::create(
      codec, applications, options, pasteboard->receiver(),
      [&runLoop, reportLostConnection] { runLoop.post(reportLostConnection); });
  return pasteboard->thread_ ? std::move(pasteboard) : nullptr;
}

X11Pasteboard::~X11Pasteboard() {
  if (!thread_) return;
  X11Pasteboard::commit();
  thread_->end();
}

void X11Pasteboard::keep(std::shared_ptr<const ClipboardSnapshot> copy) {
  thread_->post([copy = std::move(copy)](SelectionSession& session) { session.keep(copy); });
}

void X11Pasteboard::askAgain(std::uint64_t copyNumber) {
  thread_->post([copyNumber](SelectionSession& session) { session.reread(copyNumber); });
}

void X11Pasteboard::publish(std::uint64_t writeNumber, std::shared_ptr<ClipboardOffer> offer) {
  published_ = offer;
  thread_->post([writeNumber, offer = std::move(offer)](SelectionSession& session) {
    session.provide(writeNumber, offer);
  });
}

void X11Pasteboard::commit() {
  SnapshotPasteboard::commit();
  if (std::exchange(isPrimaryWanted_, false) && published_) {
    thread_->post([offer = published_](SelectionSession& session) { session.offerPrimary(offer); });
  }
}

void X11Pasteboard::offerPrimary() {
  isPrimaryWanted_ = true;
  scheduleCommit();
}

void X11Pasteboard::whenPublished(std::function<void()> done) {
  commit();
  thread_->post(
      [done = std::move(done)](SelectionSession& session) { session.whenPublished(done); });
}

}  // namespace stowboard
