#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "Platform/Gnome/GnomeShell.h"
#include "Platform/Pasteboard.h"
#include "Platform/RunLoop.h"

namespace stowboard {

/// GNOME Shell passes what an X11 program owns on to Wayland programs, some time after the X server
/// has taken it. This knows when our content has come through. Main thread.
class GnomeClipboardBridge {
 public:
  static constexpr std::chrono::milliseconds longestWait{300};

  /// All must outlive it.
  GnomeClipboardBridge(GnomeShell& shell, const Pasteboard& pasteboard, RunLoop& loop)
      : shell_(shell), pasteboard_(pasteboard), loop_(loop) {
    shell_.onClipboardDidChange = [this] { didChange(); };
  }
  ~GnomeClipboardBridge() { shell_.onClipboardDidChange = nullptr; }
  GnomeClipboardBridge(const GnomeClipboardBridge&) = delete;
  GnomeClipboardBridge& operator=(const GnomeClipboardBridge&) = delete;

  /// Calls `done` once the shell has what was written, longestWait from now at the latest. Only the
  /// last that was given waits.
  void whenThrough(std::function<void()> done) {
    if (throughCount_ == pasteboard_.changeCount()) return done();
    waiting_ = std::move(done);
    loop_.postAfter(longestWait, [weak = std::weak_ptr(self_), wait = ++waits_] {
      const auto self = weak.lock();
      if (self && (*self)->waits_ == wait) (*self)->finish();
    });
  }

 private:
  void didChange() {
    throughCount_ = pasteboard_.changeCount();
    finish();
  }
  void finish() {
    if (const auto done = std::exchange(waiting_, nullptr)) done();
  }

  GnomeShell& shell_;
  const Pasteboard& pasteboard_;
  RunLoop& loop_;
  std::int64_t throughCount_ = -1;
  std::function<void()> waiting_;
  std::uint64_t waits_ = 0;
  const std::shared_ptr<GnomeClipboardBridge*> self_ =
      std::make_shared<GnomeClipboardBridge*>(this);
};

}  // namespace stowboard
