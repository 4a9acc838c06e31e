#include "Platform/Desktop/Tray/SystemTrayIcon.h"

#include <QIconEngine>
#include <QPainter>
#include <QSystemTrayIcon>
#include <algorithm>
#include <utility>

#include "Base/Log.h"
#include "Platform/Desktop/Tray/ToolkitMenu.h"

namespace stowboard {

namespace {

using Drawing = std::function<StatusItem::Picture(int size)>;

/// Draws the icon for each size that is asked for, which keeps it crisp.
class DrawnIcon final : public QIconEngine {
 public:
  explicit DrawnIcon(Drawing draw) : draw_(std::move(draw)) {}

  // The toolkit puts it in the middle of a place that is no square.
  QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override {
    const int side = std::min(size.width(), size.height());
    return {side, side};
  }
  void paint(QPainter* painter, const QRect& square, QIcon::Mode, QIcon::State) override {
    const auto picture = draw_(qRound(square.width() * painter->device()->devicePixelRatio()));
    const auto* bytes = reinterpret_cast<const uchar*>(picture.pixels.data());
    painter->drawImage(square, QImage(bytes, picture.width, picture.height, QImage::Format_ARGB32));
  }
  QIconEngine* clone() const override { return new DrawnIcon(draw_); }

 private:
  const Drawing draw_;
};

}  // namespace

SystemTrayIcon::SystemTrayIcon() = default;
SystemTrayIcon::~SystemTrayIcon() = default;

void SystemTrayIcon::show(Content content) {
  if (!icon_) make(content);
  icon_->show();
  if (QSystemTrayIcon::isSystemTrayAvailable() || std::exchange(missingTrayIsReported_, true))
    return;
  Log::ui.info("No panel shows status icons yet; the hot key and a second launch show the history");
}

void SystemTrayIcon::hide() {
  icon_.reset();
  menu_.reset();
}

void SystemTrayIcon::make(const Content& content) {
  menu_ = std::make_unique<ToolkitMenu>(content.menu);
  icon_ = std::make_unique<QSystemTrayIcon>(QIcon(new DrawnIcon(content.icon)));
  icon_->setContextMenu(menu_.get());
  const auto click = [this, onActivate = content.onActivate](auto reason) {
    // A second click in quick succession is told as a double click only.
    if (reason != QSystemTrayIcon::Trigger && reason != QSystemTrayIcon::DoubleClick) return;
    const QRect place = icon_->geometry();
    onActivate({place.x(), place.y(), place.width(), place.height()});
  };
  QObject::connect(icon_.get(), &QSystemTrayIcon::activated, icon_.get(), click);
}

}  // namespace stowboard
