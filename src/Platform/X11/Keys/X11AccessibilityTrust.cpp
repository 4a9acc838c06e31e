#include "Platform/X11/Keys/X11AccessibilityTrust.h"

#include <QProcess>
#include <QStandardPaths>
#include <QStringList>
#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "Base/Log.h"
#include "Platform/X11/Keys/X11KeyInjector.h"

namespace stowboard {

namespace {

struct SettingsPage {
  /// As in XDG_CURRENT_DESKTOP.
  const char* desktop;
  const char* program;
  std::vector<const char*> arguments;
};

const std::vector<SettingsPage>& settingsPages() {
  static const std::vector<SettingsPage> pages{
      {"GNOME", "gnome-control-center", {"universal-access"}},
      {"KDE", "systemsettings", {"kcm_access"}},
      {"KDE", "systemsettings5", {"kcm_access"}},
      {"XFCE", "xfce4-accessibility-settings", {}},
      {"X-Cinnamon", "cinnamon-settings", {"universal-access"}},
      {"MATE", "mate-at-properties", {}},
  };
  return pages;
}

bool startPage(const SettingsPage& page) {
  const QString program = QStandardPaths::findExecutable(page.program);
  if (program.isEmpty()) return false;
  QStringList arguments;
  for (const auto* argument : page.arguments) arguments.append(argument);
  Log::paste.info("Opening {}", page.program);
  return QProcess::startDetached(program, arguments);
}

}  // namespace

std::unique_ptr<X11AccessibilityTrust> X11AccessibilityTrust::create(const std::string& display) {
  auto connection = X11Connection::open(display);
  if (!connection) return nullptr;
  return std::unique_ptr<X11AccessibilityTrust>(new X11AccessibilityTrust(std::move(connection)));
}

bool X11AccessibilityTrust::isTrusted() const {
  const bool isPossible =
      !connection_->isBroken() && X11KeyInjector::isPossible(connection_->xcb());
  // What the server announces to every connection would pile up.
  while (connection_->nextEvent()) continue;
  return isPossible;
}

// Another desktop's settings would change nothing here, so only the running one's are opened.
void X11AccessibilityTrust::openSettings() {
  const auto desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':');
  const bool isOpened = std::ranges::any_of(settingsPages(), [&](const SettingsPage& page) {
    return desktops.contains(QLatin1String(page.desktop)) && startPage(page);
  });
  if (!isOpened) Log::paste.info("This desktop has no settings page for accessibility");
}

}  // namespace stowboard
