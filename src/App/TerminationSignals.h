#pragma once

#include <QObject>
#include <functional>

class QSocketNotifier;

namespace stowboard {

/// Turns SIGTERM, SIGINT and SIGHUP into a call on the main thread, so that the program ends the
/// way its menu ends it. SIGPIPE is ignored. At most one at a time; needs an event loop.
class TerminationSignals : public QObject {
 public:
  explicit TerminationSignals(std::function<void()> onSignal);
  ~TerminationSignals() override;

 private:
  int eventDescriptor_ = -1;
  QSocketNotifier* notifier_ = nullptr;
};

}  // namespace stowboard
