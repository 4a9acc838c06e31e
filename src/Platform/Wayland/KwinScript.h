#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace stowboard {

/// A script of ours within KWin (org.kde.kwin.Scripting), which tells of the window in front and
/// puts our transient windows at the pointer as they come up. It is a file in $XDG_RUNTIME_DIR for
/// as long as this lives. Main thread, with Qt's event loop.
class KwinScript {
 public:
  struct Window {
    /// KWin's own name for it.
    std::string id;
    /// As windows tell them; may be empty.
    std::string desktopFile;
    std::string windowClass;
    std::int64_t processIdentifier = 0;

    friend bool operator==(const Window&, const Window&) = default;
  };

  /// Null when KWin is not in this session, or takes no scripts. Waits for the bus to tell; the
  /// script begins some time later.
  static std::shared_ptr<KwinScript> open();
  ~KwinScript();
  KwinScript(const KwinScript&) = delete;
  KwinScript& operator=(const KwinScript&) = delete;

  /// The window that has the focus; absent for none, and before the script has told.
  const std::optional<Window>& front() const { return front_; }
  /// Asks KWin to bring it to the front.
  void activate(const std::string& id);

  /// Called when another window has come to the front, or none is there.
  std::function<void()> onFrontDidChange;
  /// Called when a window of this program has come up.
  std::function<void(const Window&)> onDidAddOwn;
  /// Called when a window was closed.
  std::function<void(const std::string& id)> onDidClose;

 private:
  class Bus;

  explicit KwinScript(std::unique_ptr<Bus> bus);
  void take(std::string_view what, const Window& window);

  const std::unique_ptr<Bus> bus_;
  std::optional<Window> front_;
};

}  // namespace stowboard
