#include "App/TerminationSignals.h"

#include <sys/eventfd.h>
#include <unistd.h>
#include <QSocketNotifier>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <utility>

namespace stowboard {

namespace {

constexpr std::array terminationSignals{SIGTERM, SIGINT, SIGHUP};

// A signal handler reaches nothing but globals.
std::atomic<int> wakeDescriptor{-1};
static_assert(std::atomic<int>::is_always_lock_free);

extern "C" void wakeMainThread(int) {
  const int savedErrno = errno;
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = ::write(wakeDescriptor, &one, sizeof one);
  errno = savedErrno;
}

void handleSignal(int signal, void (*handler)(int)) {
  struct sigaction action{};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

}  // namespace

TerminationSignals::TerminationSignals(std::function<void()> onSignal)
    : eventDescriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      notifier_(new QSocketNotifier(eventDescriptor_, QSocketNotifier::Read, this)) {
  wakeDescriptor = eventDescriptor_;
  connect(notifier_, &QSocketNotifier::activated, this, [this, onSignal = std::move(onSignal)] {
    std::uint64_t count = 0;
    if (::read(eventDescriptor_, &count, sizeof count) > 0) onSignal();
  });
  for (const int signal : terminationSignals) handleSignal(signal, wakeMainThread);
  handleSignal(SIGPIPE, SIG_IGN);
}

TerminationSignals::~TerminationSignals() {
  for (const int signal : terminationSignals) handleSignal(signal, SIG_DFL);
  wakeDescriptor = -1;
  ::close(eventDescriptor_);
}

}  // namespace stowboard
