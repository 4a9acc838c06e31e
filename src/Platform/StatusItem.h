#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace stowboard {

/// One line of the status item's menu, whatever shows it.
struct StatusMenuEntry {
  /// Empty for a separator.
  std::string title;
  /// The key that goes with Ctrl; empty for none.
  std::string keyEquivalent;
  /// Null for an entry that cannot be chosen.
  std::function<void()> action;

  bool isSeparator() const { return title.empty(); }
  bool isEnabled() const { return action != nullptr; }
};

/// The menu from top to bottom.
using StatusMenu = std::vector<StatusMenuEntry>;

/// The program's icon in the desktop's panel: the primary click activates it, the secondary one
/// opens its menu. Other clicks do nothing. Main thread.
class StatusItem {
 public:
  /// A picture, line by line; each pixel is 0xAARRGGBB with colours that are not multiplied by
  /// alpha.
  struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::uint32_t> pixels;
  };

  /// In the coordinates that windows are placed by. Empty where the panel does not tell.
  struct Rectangle {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    friend bool operator==(const Rectangle&, const Rectangle&) = default;
  };

  struct Content {
    /// Draws the icon for a square of `size` pixels.
    std::function<Picture(int size)> icon;
    /// Gives the menu of the moment.
    std::function<StatusMenu()> menu;
    /// The primary click; `button` is where the icon is.
    std::function<void(const Rectangle& button)> onActivate;
  };

  virtual ~StatusItem() = default;

  /// Returns at once. The icon appears when the desktop has a place for it, moves on when that ends
  /// or another one takes over, and stays until hide(). Where there is no place yet, the log says
  /// so once. Nothing changes where it is shown already.
  virtual void show(Content content) = 0;

  /// Ends what show() began; nothing of the content is called afterwards.
  virtual void hide() = 0;

  /// For panels that keep a copy of the menu.
  virtual void menuDidChange() = 0;
};

}  // namespace stowboard
