#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace stowboard {

/// An application as the window system knows it.
struct RunningApplication {
  /// The application id (see Bundle for ours); absent for a window that does not tell.
  std::optional<std::string> bundleIdentifier;
  /// 0 when unknown.
  std::int64_t processIdentifier = 0;
  /// The window that stood for it, in the window system's own numbering.
  std::uint64_t window = 0;

  friend bool operator==(const RunningApplication&, const RunningApplication&) = default;
};

/// The user's running applications. Main thread.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// The application whose window has the focus now; absent when there is none, or when the window
  /// system does not say.
  virtual std::optional<RunningApplication> frontmostApplication() const = 0;

  /// Whether it has ended. An application whose window was closed counts as ended, whatever else
  /// runs of it.
  virtual bool isTerminated(const RunningApplication& application) const = 0;

  /// Asks the window system to bring its window to the front, on the user's behalf: from another
  /// desktop and out of its icon. Returns at once; false when it cannot be asked, as for a window
  /// that is gone. The window system may still refuse.
  virtual bool activate(const RunningApplication& application) = 0;

  /// Called on the main thread with each application that comes to the front. Our own included;
  /// the moment without any front window between two applications is not reported.
  std::function<void(const RunningApplication&)> onDidActivate;
};

}  // namespace stowboard
