#pragma once

#include <memory>

#include "Platform/TransientWindows.h"

namespace stowboard {

/// Transient windows on X11: clicks are XInput 2 raw events, which the server tells of whoever has
/// the pointer. Uses the toolkit's own connection, so that a click comes in the same order with it
/// as the toolkit's events, and a window is known to the server before anything is said about it.
class X11TransientWindows final : public TransientWindows {
 public:
  /// Null when the toolkit does not run on X11, or the server has no XInput 2. Main thread, with a
  /// QGuiApplication that outlives it.
  static std::unique_ptr<X11TransientWindows> create();
  ~X11TransientWindows() override;

  void prepareToShow(std::uint64_t window, int shadowMargin) override;
  std::unique_ptr<Watch> watch(std::uint64_t window, std::function<void()> onClickOutside) override;

 private:
  class Server;
  class FilteringWatch;

  explicit X11TransientWindows(std::shared_ptr<Server> server);

  const std::shared_ptr<Server> server_;
};

}  // namespace stowboard
