#include "Platform/X11/SelectionThread.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "Base/SignalFreeThread.h"

namespace stowboard {

namespace {

// Between two looks at the deadlines, so that a flood of events does not hold them off.
constexpr int maxEventsAtOnce = 64;

int millisecondsUntil(std::optional<SteadyTime> deadline) {
  if (!deadline) return -1;
  const auto left = *deadline - std::chrono::steady_clock::now();
  // Rounded up: a wake-up just before the deadline would only have to sleep again.
  const auto rounded = std::chrono::ceil<std::chrono::milliseconds>(left).count();
  return static_cast<int>(std::clamp<decltype(rounded)>(rounded, 0, 1 << 30));
}

}  // namespace

std::unique_ptr<SelectionThread> SelectionThread::start(const std::string& display,
                                                        const SelectionLimits& limits,
                                                        SelectionReader::Receiver receiver,
                                                        std::function<void()> onConnectionLost) {
  auto connection = X11Connection::open(display);
  if (!connection) return nullptr;
  return std::unique_ptr<SelectionThread>(new SelectionThread(
      std::move(connection), limits, std::move(receiver), std::move(onConnectionLost)));
}

SelectionThread::SelectionThread(std::unique_ptr<X11Connection> connection,
                                 const SelectionLimits& limits, SelectionReader::Receiver receiver,
                                 std::function<void()> onConnectionLost)
    : connection_(std::move(connection)),
      reader_(*connection_, limits, std::move(receiver)),
      onConnectionLost_(std::move(onConnectionLost)),
      wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      thread_(startSignalFreeThread("selection", [this] { run(); })) {}

SelectionThread::~SelectionThread() {
  isEnding_ = true;
  wake();
  thread_.join();
  close(wakeUp_);
}

void SelectionThread::wake() {
  // Fails only when the counter is full, and then the thread wakes anyway.
  [[maybe_unused]] const int result = eventfd_write(wakeUp_, 1);
}

void SelectionThread::run() {
  while (!isEnding_) {
    xcb_flush(connection_->xcb());
    const bool didHandle = handleEvents();
    const bool didExpire = expireDeadlines();
    if (connection_->isBroken()) return onConnectionLost_();
    // Handling may have left requests unsent, or have read further events into xcb's queue, of
    // which poll() would not know.
    if (!didHandle && !didExpire) sleep();
  }
}

bool SelectionThread::handleEvents() {
  int count = 0;
  while (count < maxEventsAtOnce) {
    const auto event = connection_->nextEvent();
    if (!event) break;
    reader_.handle(*event);
    ++count;
  }
  return count > 0;
}

bool SelectionThread::expireDeadlines() {
  const auto deadline = reader_.deadline();
  if (!deadline || *deadline > std::chrono::steady_clock::now()) return false;
  reader_.expire();
  return true;
}

void SelectionThread::sleep() {
  pollfd sources[] = {{connection_->fileDescriptor(), POLLIN, 0}, {wakeUp_, POLLIN, 0}};
  poll(sources, std::size(sources), millisecondsUntil(reader_.deadline()));
}

}  // namespace stowboard
