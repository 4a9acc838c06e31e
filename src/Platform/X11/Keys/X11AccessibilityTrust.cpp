#include "Platform/X11/Keys/X11AccessibilityTrust.h"

#include <QProcess>
#include <QStandardPaths>
#include <QStringList>
#include <algorithm>
#include <array>

#include "Base/Log.h"
#include "Platform/X11/Keys/X11KeyInjector.h"

namespace stowboard {

namespace {

struct SettingsPage {
  /// As in XDG_CURRENT_DESKTOP.
  const char* desktop;
  const char* program;
  /// Null for a program that has one page only.
  const char* page;
};

constexpr std::array settingsPages = std::to_array<SettingsPage>({
    {"GNOME", "gnome-control-center", "universal-access"},
    {"KDE", "systemsettings", "kcm_access"},
    {"KDE", "systemsettings5", "kcm_access"},
    {"XFCE", "xfce4-accessibility-settings", nullptr},
    {"X-Cinnamon", "cinnamon-settings", "universal-access"},
    {"MATE", "mate-at-properties", nullptr},
});

bool startPage(const SettingsPage& page) {
  const QString program = QStandardPaths::findExecutable(page.program);
  if (program.isEmpty()) return false;
  const auto arguments = page.page ? QStringList(page.page) : QStringList();
  Log::paste.info("Opening {}", page.program);
  return QProcess::startDetached(program, arguments);
}

}  // namespace

bool X11AccessibilityTrust::isTrusted() const {
  return !connection_->isBroken() && X11KeyInjector::isPossible(connection_->xcb());
}

// Another desktop's settings would change nothing here, so only the running one's are opened.
void X11AccessibilityTrust::openSettings() {
  const auto desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':');
  const bool isOpened = std::ranges::any_of(settingsPages, [&](const SettingsPage& page) {
    return desktops.contains(QLatin1String(page.desktop)) && startPage(page);
  });
  if (!isOpened) Log::paste.info("This desktop has no settings page for accessibility");
}

}  // namespace stowboard
