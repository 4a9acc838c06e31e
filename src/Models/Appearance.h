#pragma once

namespace stowboard {

enum class ColorScheme { noPreference, light, dark };
enum class Contrast { normal, high };

/// How the user wants programs to look.
struct Appearance {
  ColorScheme colorScheme = ColorScheme::noPreference;
  Contrast contrast = Contrast::normal;

  friend bool operator==(const Appearance&, const Appearance&) = default;
};

}  // namespace stowboard
