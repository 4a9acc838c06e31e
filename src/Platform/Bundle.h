#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace stowboard {

/// What the program knows of itself and of the user's environment. Safe to use from any thread.
class Bundle {
 public:
  virtual ~Bundle() = default;

  /// The application id: the desktop file's name without its suffix.
  virtual std::string identifier() const = 0;
  /// The version of the build, for instance 1.2.0.
  virtual std::string version() const = 0;
  /// Absolute path of the running executable; empty when the system does not tell.
  virtual std::filesystem::path executable() const = 0;
  /// The user's folder for application data, without our own folder in it; absolute. Not created.
  virtual std::filesystem::path applicationSupportFolder() const = 0;
  /// An environment variable; absent when it is not set.
  virtual std::optional<std::string> environment(const std::string& name) const = 0;
};

}  // namespace stowboard
