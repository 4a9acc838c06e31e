#pragma once

#include <QString>
#include <QTimer>
#include <chrono>
#include <memory>
#include <thread>

#include "Platform/StatusItem.h"

namespace stowboard {

class StatusNotifierHost;
class StatusNotifierItem;

/// The status item wherever a panel takes StatusNotifier items; where none does, it is left to
/// another one. Panels may appear, end or take over at any time, and the session bus may be
/// restarted, which is then joined anew. Main thread.
class PanelStatusItem final : public StatusItem {
 public:
  /// `otherwise` is first shown when it is known that no panel takes ours, and again at each
  /// further sign of that.
  explicit PanelStatusItem(std::unique_ptr<StatusItem> otherwise);
  /// Waits for a connection to the session bus that is being made, as hide() does.
  ~PanelStatusItem() override;

  /// The icon appears when the session bus has answered.
  void show(Content content) override;
  void hide() override;
  void menuDidChange() override;

 private:
  void connect();
  void didConnect();
  void connectAgain();

  const std::unique_ptr<StatusItem> otherwise_;
  Content content_;
  /// The toolkit's name for the connection of the moment, which no other ever has.
  QString connection_;
  std::unique_ptr<StatusNotifierItem> item_;
  std::unique_ptr<StatusNotifierHost> host_;
  /// Started when the bus has gone. Ends what was posted to the main thread; outlives the thread
  /// that posts.
  std::unique_ptr<QTimer> retry_;
  std::chrono::milliseconds patience_{};
  /// There has been a bus: where there is none from the start, none is waited for.
  bool hasBus_ = false;
  std::thread connecting_;
};

}  // namespace stowboard
