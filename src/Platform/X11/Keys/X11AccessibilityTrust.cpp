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

// The first page of the running desktop whose program is installed, since another desktop's
// settings would change nothing here; null when there is none.
const SettingsPage* findPage() {
  const auto desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(':');
  const auto* found = std::ranges::find_if(settingsPages, [&](const SettingsPage& page) {
    return desktops.contains(QLatin1String(page.desktop)) &&
           !QStandardPaths::findExecutable(page.program).isEmpty();
  });
  return found == settingsPages.end() ? nullptr : found;
}

}  // namespace

bool X11AccessibilityTrust::isTrusted() const {
  return !connection_->isBroken() && X11KeyInjector::isPossible(connection_->xcb());
}

bool X11AccessibilityTrust::canOpenSettings() const { return findPage() != nullptr; }

void X11AccessibilityTrust::openSettings() {
  const auto* page = findPage();
  if (page == nullptr) {
    return Log::paste.info("This desktop has no settings page for accessibility");
  }
  Log::paste.info("Opening {}", page->program);
  QProcess::startDetached(page->program, page->page ? QStringList(page->page) : QStringList());
}

}  // namespace stowboard
