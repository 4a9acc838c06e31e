#pragma once

#include <QSocketNotifier>
#include <QTimer>
#include <chrono>
#include <functional>
#include <memory>

struct sd_bus;

namespace stowboard {

/// Runs a bus connection from the main thread's event loop. Main thread.
class BusNotifier {
 public:
  /// The connection must outlive this. `onBroken` is called with the negative error number when the
  /// bus goes away; nothing runs after that.
  explicit BusNotifier(sd_bus* bus, std::function<void(int error)> onBroken = nullptr);

  /// Deals with what has been read from the socket already, which would not wake anybody, and sends
  /// what waits to be sent. To be called after calls and subscriptions have been made. Of very much
  /// it leaves a part for later turns of the loop.
  void process();
  /// The same on a later turn. To be called after calls that waited for their answers, beside which
  /// others may have been read.
  void processSoon() { goOn_.start(); }

 private:
  sd_bus* const bus_;
  const std::function<void(int)> onBroken_;
  QSocketNotifier readable_;
  QSocketNotifier writable_;
  QTimer goOn_;
};

/// A connection to the session bus that is made again, from time to time, after the bus went away.
/// Main thread.
class LastingBus {
 public:
  /// Takes the connection over. `onJoin` is called for it at once and for each later one, which it
  /// may use until it is called for the next; `onLost` with the negative error number.
  LastingBus(sd_bus* bus, std::function<void(sd_bus*)> onJoin,
             std::function<void(int error)> onLost = nullptr);
  ~LastingBus();
  /// See BusNotifier.
  void processSoon() { notifier_->processSoon(); }
  LastingBus(const LastingBus&) = delete;
  LastingBus& operator=(const LastingBus&) = delete;

 private:
  void join();
  void didLose(int error);
  void tryAgain();

  const std::function<void(sd_bus*)> onJoin_;
  const std::function<void(int)> onLost_;
  sd_bus* bus_;
  std::unique_ptr<BusNotifier> notifier_;
  QTimer retry_;
  std::chrono::milliseconds patience_;
  std::chrono::steady_clock::time_point joined_;
};

}  // namespace stowboard
