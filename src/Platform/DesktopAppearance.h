#pragma once

#include <functional>

namespace stowboard {

enum class ColorScheme { noPreference, light, dark };
enum class Contrast { normal, high };

/// How the user wants programs to look.
struct Appearance {
  ColorScheme colorScheme = ColorScheme::noPreference;
  Contrast contrast = Contrast::normal;

  friend bool operator==(const Appearance&, const Appearance&) = default;
};

/// The user's preference for how programs look. Main thread.
class DesktopAppearance {
 public:
  virtual ~DesktopAppearance() = default;

  /// The preference as it is known now; no preference until the system has told it. Never waits.
  virtual Appearance appearance() const = 0;

  /// Called on the main thread whenever it has become another one, the first answer included.
  std::function<void(const Appearance&)> onDidChange;
};

}  // namespace stowboard
