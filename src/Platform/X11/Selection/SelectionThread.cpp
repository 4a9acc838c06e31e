#include "Platform/X11/Selection/SelectionThread.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "Base/Log.h"
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

std::unique_ptr<SelectionThread> SelectionThread::create(ImageCodec& codec,
                                                         const ApplicationIdentifying& applications,
                                                         const SelectionOptions& options,
                                                         SnapshotReceiver receiver,
                                                         std::function<void()> onConnectionLost) {
  auto connection = X11Connection::open(options.display);
  auto writeConnection = X11Connection::open(options.display);
  if (!connection || !writeConnection) return nullptr;
  return std::unique_ptr<SelectionThread>(
      new SelectionThread(std::move(connection), std::move(writeConnection), codec, applications,
                          options, std::move(receiver), std::move(onConnectionLost)));
}

SelectionThread::SelectionThread(std::unique_ptr<X11Connection> connection,
                                 std::unique_ptr<X11Connection> writeConnection, ImageCodec& codec,
                                 const ApplicationIdentifying& applications,
                                 const SelectionOptions& options, SnapshotReceiver receiver,
                                 std::function<void()> onConnectionLost)
    : connection_(std::move(connection)),
      writeConnection_(std::move(writeConnection)),
      // Nobody looks at what would be prepared at the end; a clipboard manager may still ask for
      // something that has to be encoded.
      session_(*connection_, codec, applications, options,
               {background(preparation_, isEnding_), background(encoding_, hasEnded_)},
               std::move(receiver)),
      onConnectionLost_(std::move(onConnectionLost)),
      wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  thread_ = startSignalFreeThread("selection", [this] {
    run();
    hasEnded_ = true;
  });
}

SelectionThread::~SelectionThread() {
  end();
  close(wakeUp_);
}

void SelectionThread::end() {
  if (!thread_.joinable()) return;
  post([](SelectionSession& session) { session.handOver(); });
  isEnding_ = true;
  wake();
  thread_.join();
}

void SelectionThread::beginWrite(std::uint32_t number) {
  session_.beginWrite(*writeConnection_, number);
  // Every client is sent some events, such as those of a new keyboard layout; unread, they pile up.
  while (writeConnection_->nextEvent()) {
  }
}

void SelectionThread::post(Command command) {
  {
    const std::lock_guard lock(mutex_);
    commands_.push_back(std::move(command));
  }
  wake();
}

void SelectionThread::wake() const {
  // Fails only when the counter is full, and then the thread wakes anyway.
  [[maybe_unused]] const int result = eventfd_write(wakeUp_, 1);
}

void SelectionThread::run() {
  while (!isDone()) {
    xcb_flush(connection_->xcb());
    const bool didRun = runCommands();
    const bool didHandle = handleEvents();
    const bool didExpire = expireDeadlines();
    if (connection_->isBroken()) return onConnectionLost_();
    // Handling may have left requests unsent, or have read further events into xcb's queue, of
    // which poll() would not know.
    if (!didRun && !didHandle && !didExpire) sleep();
  }
  xcb_flush(connection_->xcb());
}

bool SelectionThread::isDone() {
  if (!isEnding_) return false;
  const std::lock_guard lock(mutex_);
  return commands_.empty() && !session_.isHandingOver();
}

// What finds no memory is lost, but nothing else is.
template <typename Work>
void SelectionThread::guard(Work work) {
  try {
    work();
  } catch (const std::bad_alloc&) {
    Log::clipboard.error("There is not enough memory to go on with the clipboard's content");
  }
}

bool SelectionThread::runCommands() {
  std::vector<Command> commands;
  {
    const std::lock_guard lock(mutex_);
    commands.swap(commands_);
  }
  for (const auto& command : commands) guard([&] { command(session_); });
  return !commands.empty();
}

bool SelectionThread::handleEvents() {
  int count = 0;
  while (count < maxEventsAtOnce) {
    const auto event = connection_->nextEvent();
    if (!event) break;
    guard([&] { session_.handle(*event); });
    ++count;
  }
  return count > 0;
}

bool SelectionThread::expireDeadlines() {
  const auto deadline = session_.deadline();
  if (!deadline || *deadline > std::chrono::steady_clock::now()) return false;
  guard([&] { session_.expire(); });
  return true;
}

void SelectionThread::sleep() {
  std::array sources{pollfd{connection_->fileDescriptor(), POLLIN, 0}, pollfd{wakeUp_, POLLIN, 0}};
  poll(sources.data(), sources.size(), millisecondsUntil(session_.deadline()));
  eventfd_t ignored = 0;
  if ((sources[1].revents & POLLIN) != 0) eventfd_read(wakeUp_, &ignored);
}

Background SelectionThread::background(SerialQueue& queue, const std::atomic<bool>& isOver) {
  return [this, &queue, &isOver](auto work, auto finish) {
    queue.async([this, &isOver, work = std::move(work), finish = std::move(finish)] {
      if (isOver) return;
      guard(work);
      post([finish](SelectionSession&) { finish(); });
    });
  };
}

}  // namespace stowboard
