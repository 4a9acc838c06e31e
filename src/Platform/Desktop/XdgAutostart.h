#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "Platform/Bundle.h"
#include "Platform/LoginItems.h"

namespace stowboard {

/// Launching at login by a file in the user's autostart folder, named after the application id
/// (Desktop Application Autostart standard). Touches only a few small files at each call.
///
/// The user's file overrides one of the same name in the system-wide autostart folders. The status
/// is `enabled` only if the file that counts would really start the program in this desktop: it is
/// neither hidden nor switched off by a desktop's own key, meant for this desktop, and names a
/// program that exists; `notFound` when that is what is wrong, `notRegistered` in all other cases.
class XdgAutostart final : public LoginItems {
 public:
  /// `bundle` must outlive this.
  explicit XdgAutostart(const Bundle& bundle) : bundle_(bundle) {}

  Status status() const override;

  /// Writes the user's file for the running executable. In a file that exists, whatever belongs to
  /// the user or the desktop is kept.
  std::optional<std::string> registerApplication() override;

  /// Removes the user's file; hides the entry instead where a system-wide one would count then.
  std::optional<std::string> unregisterApplication() override;

 private:
  std::string fileName() const { return bundle_.identifier() + ".desktop"; }
  std::filesystem::path userFile() const;
  std::optional<std::filesystem::path> systemFile() const;

  const Bundle& bundle_;
};

}  // namespace stowboard
