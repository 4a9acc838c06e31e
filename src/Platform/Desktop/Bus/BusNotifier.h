#pragma once

#include <QSocketNotifier>
#include <functional>

struct sd_bus;

namespace stowboard {

/// Runs a bus connection from the main thread's event loop. Main thread.
class BusNotifier {
 public:
  /// The connection must outlive this. `onBroken` is called with the negative error number when the
  /// bus goes away; nothing runs after that.
  explicit BusNotifier(sd_bus* bus, std::function<void(int error)> onBroken = nullptr);

  /// Deals with what has been read from the socket already, which would not wake anybody, and sends
  /// what waits to be sent. To be called after calls and subscriptions have been made.
  void process();

 private:
  sd_bus* const bus_;
  const std::function<void(int)> onBroken_;
  QSocketNotifier readable_;
  QSocketNotifier writable_;
};

}  // namespace stowboard
