#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace stowboard {

/// Something of ours within a compositor that tells of its windows, those on XWayland included.
/// Main thread.
class WindowTeller {
 public:
  struct Window {
    /// The compositor's own name for it.
    std::string id;
    /// As windows tell them; may be empty.
    std::string desktopFile;
    std::string windowClass;
    std::int64_t processIdentifier = 0;
  };

  virtual ~WindowTeller() = default;

  /// The window that has the focus; absent for none, and while nothing has been told.
  virtual const std::optional<Window>& front() const = 0;
  /// Asks the compositor to bring it to the front.
  virtual void activate(const std::string& id) = 0;

  /// Called when another window has come to the front, or none is there.
  std::function<void()> onFrontDidChange;
  /// Called when a window of this program has come up, which then gets the focus.
  std::function<void(const Window&)> onDidAddOwn;
  /// Called when a window was closed.
  std::function<void(const std::string& id)> onDidClose;

 protected:
  /// What is told, by its name: "DidActivate", with an empty id for none, "DidAdd" or "DidClose".
  void take(std::optional<Window>& front, const std::string& what, const Window& window);
};

}  // namespace stowboard
