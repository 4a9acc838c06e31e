#pragma once

#include <memory>
#include <string>

#include "Platform/Compositor/WindowTeller.h"

namespace stowboard {

/// A script of ours within KWin (org.kde.kwin.Scripting), which tells of the window in front and
/// puts our transient windows at the pointer as they come up. It is a file in $XDG_RUNTIME_DIR for
/// as long as this lives. Main thread, with Qt's event loop.
class KwinScript final : public WindowTeller {
 public:
  /// Null when KWin is not in this session, or takes no scripts. Waits for the bus to tell; the
  /// script begins some time later.
  static std::shared_ptr<KwinScript> open();
  ~KwinScript() override;
  KwinScript(const KwinScript&) = delete;
  KwinScript& operator=(const KwinScript&) = delete;

  const std::optional<Window>& front() const override { return front_; }
  void activate(const std::string& id) override;

 private:
  class Bus;

  explicit KwinScript(std::unique_ptr<Bus> bus);

  const std::unique_ptr<Bus> bus_;
  std::optional<Window> front_;
};

}  // namespace stowboard
