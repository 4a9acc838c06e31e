#pragma once

#include <chrono>
#include <memory>

#include "Platform/X11/X11Connection.h"

namespace stowboard {

/// Whether what an X11 program has on the clipboard is marked as a secret. Compositors pass X11's
/// content on to Wayland programs, some of them (KWin 6) without types that are no media types, and
/// so without the mark. For one thread.
class X11SecretProbe {
 public:
  /// Null when no X server answers.
  static std::unique_ptr<X11SecretProbe> open();

  /// Asks the X11 program that owns the clipboard for its targets; waits for it, longestWait at
  /// most. False when the clipboard belongs to the compositor, which has it from a Wayland program.
  bool isSecret();

 private:
  static constexpr std::chrono::milliseconds longestWait{100};

  explicit X11SecretProbe(std::unique_ptr<X11Connection> connection);

  bool isOfX11Program(xcb_window_t owner);
  bool awaitAnswer();

  const std::unique_ptr<X11Connection> connection_;
  const xcb_atom_t clipboard_;
  const xcb_atom_t targets_;
  const xcb_window_t window_;
};

}  // namespace stowboard
