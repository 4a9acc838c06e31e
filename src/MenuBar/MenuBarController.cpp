#include "MenuBar/MenuBarController.h"

#include <QImage>
#include <QPixmap>

#include "MenuBar/MenuBarIcon.h"
#include "Utils/L10n.h"

namespace stowboard {

namespace {

// Calls what is set; a copy, because the callee may replace it.
template <typename Callable, typename... Arguments>
void callIfSet(Callable callable, const Arguments&... arguments) {
  if (callable) callable(arguments...);
}

}  // namespace

void MenuBarController::setupStatusItem() {
  const auto showHistory = [this](const StatusItem::Rectangle& button) {
    callIfSet(onShowHistory, QRect(button.x, button.y, button.width, button.height));
  };
  statusItem_.show(
      {[this](int size) { return drawIcon(size); }, [this] { return menu(); }, showHistory});
}

StatusItem::Picture MenuBarController::drawIcon(int size) {
  QImage image = menuBarIcon(size);
  image.convertTo(QImage::Format_ARGB32);
  const auto* pixels = reinterpret_cast<const QRgb*>(image.constBits());
  return {image.width(), image.height(), {pixels, pixels + image.width() * image.height()}};
}

StatusMenu MenuBarController::menu() const {
  const AppLanguage language = languageProvider ? languageProvider() : AppLanguage::english;
  const std::string version = versionProvider ? versionProvider() : "";
  return {{std::string(L10n::menuHelp(language)), "?", [this] { callIfSet(onOpenHelp); }},
          {std::string(L10n::menuSettings(language)), ",", [this] { callIfSet(onOpenSettings); }},
          {},
          {L10n::menuVersion(language, version), "", nullptr},
          {std::string(L10n::menuQuit(language)), "Q", [this] { callIfSet(onQuit); }}};
}

}  // namespace stowboard
