#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Base/Published.h"
#include "Core/AppState.h"
#include "Platform/RunLoop.h"
#include "Services/LoginItemServicing.h"
#include "Utils/PermissionHelper.h"

namespace stowboard {

/// The logic of the settings window: what its controls show, and what using them changes. Keeps no
/// settings of its own; whoever applies or saves them observes the state. Main thread.
class SettingsViewModel {
 public:
  /// All must outlive the view model.
  SettingsViewModel(std::shared_ptr<AppState> appState, PermissionHelper& permission,
                    LoginItemServicing& loginItem, RunLoop& runLoop);
  SettingsViewModel(const SettingsViewModel&) = delete;
  SettingsViewModel& operator=(const SettingsViewModel&) = delete;

  /// Whether the user is being asked to confirm that the history is to be cleared.
  bool showClearConfirmation() const { return showClearConfirmation_; }
  void setShowClearConfirmation(bool isShowing);

  /// As of the last refresh.
  bool permissionGranted() const { return permissionGranted_; }
  /// As of construction, or of the last change made here.
  bool launchAtLogin() const { return launchAtLogin_; }
  /// Why the last change of launching at login failed; absent when it did not.
  const std::optional<std::string>& loginItemError() const { return loginItemError_; }

  const AppSettings& settings() const { return appState_->settings(); }
  AppLanguage language() const { return settings().language; }
  bool isDirectPaste() const { return settings().pasteMode == PasteMode::directPaste; }

  std::string hotKeyFullDisplay() const { return settings().hotKey.fullDisplayString(); }
  /// The same as this keyboard calls it.
  std::string hotKeyOnKeyboard() const { return settings().hotKey.keyboardString(); }
  /// Never none.
  ModifierKeyOption hotKeyModifier1() const;
  /// The shortcut's second modifier; a third and a fourth are not told.
  ModifierKeyOption hotKeyModifier2() const;
  /// May be a key that `KeyOption::allOptions` lacks.
  KeyOption hotKeyKeyOption() const;
  DirectPasteModifierPair directPastePair() const;
  std::string directPasteFullDisplay() const { return fullDisplayString(directPastePair()); }

  std::string directPasteOnKeyboard() const { return keyboardString(directPastePair()); }

  void setLanguage(AppLanguage language);
  void setDirectPastePair(DirectPasteModifierPair pair);
  /// Bounds the count into 1 to 1000; the history is trimmed to it at once.
  void setMaxRecordsInt(std::int64_t count);
  /// A shortcut without any modifier becomes one with Command.
  void updateHotKeyComponents(ModifierKeyOption mod1, ModifierKeyOption mod2, KeyOption key);
  /// A failure shows in `loginItemError`, and `launchAtLogin` tells what the system says then.
  void setLaunchAtLogin(bool isEnabled);

  /// Asks the system.
  void refreshPermissionStatus();
  bool canOpenAccessibilitySettings() const { return permission_.canOpenAccessibilitySettings(); }
  void openAccessibilitySettings() { permission_.openAccessibilitySettings(); }

  /// Empties the history and ends the confirmation.
  void clearHistory();

  /// Announced after every assignment of a field above, also of an unchanged value, and when the
  /// settings have changed anywhere: everything is to be read again.
  ChangeAnnouncer& changes() { return changes_; }

 private:
  template <typename Value>
  void set(Value AppSettings::* field, Value value);

  bool showClearConfirmation_ = false;
  bool permissionGranted_;
  bool launchAtLogin_;
  std::optional<std::string> loginItemError_;
  const std::shared_ptr<AppState> appState_;
  PermissionHelper& permission_;
  LoginItemServicing& loginItem_;
  ChangeAnnouncer changes_;
  Cancellables cancellables_;
};

}  // namespace stowboard
