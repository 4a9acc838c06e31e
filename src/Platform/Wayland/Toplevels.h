#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/ApplicationIdentifying.h"
#include "Platform/Wayland/Protocols/foreign-toplevel-client.h"
#include "Platform/Wayland/WaylandConnection.h"

namespace stowboard {

template <>
struct WaylandDestroy<zwlr_foreign_toplevel_manager_v1> {
  void operator()(zwlr_foreign_toplevel_manager_v1* manager) const {
    zwlr_foreign_toplevel_manager_v1_destroy(manager);
  }
};
template <>
struct WaylandDestroy<zwlr_foreign_toplevel_handle_v1> {
  void operator()(zwlr_foreign_toplevel_handle_v1* handle) const {
    zwlr_foreign_toplevel_handle_v1_destroy(handle);
  }
};

/// The windows of the session as the compositor tells of them (wlr-foreign-toplevel-management).
/// Belongs to the thread of its connection.
class Toplevels {
 public:
  /// Numbered as they come, from 1.
  using Number = std::uint64_t;

  /// Null when the compositor does not tell. Waits for its answer. Both must outlive this.
  static std::unique_ptr<Toplevels> create(WaylandConnection& connection,
                                           const ApplicationIdentifying& applications);
  Toplevels(const Toplevels&) = delete;
  Toplevels& operator=(const Toplevels&) = delete;

  /// The window that has the focus; 0 for none.
  Number front() const { return front_; }
  bool isOpen(Number window) const { return windows_.contains(window); }
  /// The window that came last of those that `isWanted` is true of; 0 for none.
  Number newest(const std::function<bool(Number)>& isWanted) const;
  /// What the compositor calls the application behind a window: an id, or for windows of X11
  /// programs their class. Empty when the window does not tell.
  std::string name(Number window) const;
  /// The id of the application behind a window; absent when the window does not tell.
  std::optional<std::string> applicationId(Number window) const;
  /// What a copy that is made now comes from; see Pasteboard::sources().
  std::vector<std::string> sources() const;
  /// Asks the compositor to bring it to the front. False when it is gone.
  bool activate(Number window);

  /// Called when another window has come to the front; not for none.
  std::function<void()> onDidChange;

 private:
  using Handle = zwlr_foreign_toplevel_handle_v1;
  struct Window {
    Toplevels& owner;
    Number number;
    WaylandObject<Handle> handle;
    // As announced; they count from the next "done" on.
    std::string appId;
    bool isActivated = false;
  };

  Toplevels(WaylandConnection& connection, const ApplicationIdentifying& applications)
      : connection_(connection), applications_(applications) {}

  void listen();
  void add(Handle* handle);
  void settle(const Window& window);

  WaylandConnection& connection_;
  const ApplicationIdentifying& applications_;
  WaylandObject<zwlr_foreign_toplevel_manager_v1> manager_;
  std::map<Number, Window> windows_;
  Number last_ = 0;
  Number front_ = 0;
};

}  // namespace stowboard
