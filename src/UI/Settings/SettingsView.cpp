#include "UI/Settings/SettingsView.h"

#include <QApplication>
#include <QScrollArea>
#include <QVBoxLayout>
#include <QWindow>
#include <chrono>

#include "UI/Looks/Fonts.h"
#include "UI/Settings/SettingsSection.h"

namespace stowboard {

namespace {

constexpr QSize formSize(560, 350);
constexpr int margin = 20;
constexpr int sectionGap = 18;

}  // namespace

SettingsView::SettingsView(SettingsViewModel& viewModel, const Pasteboard& pasteboard)
    : viewModel_(viewModel),
      scrollArea_(new QScrollArea(this)),
      sections_(SettingsSection::makeAll(viewModel, pasteboard)) {
  setFixedSize(formSize);
  Fonts::useFamilies(*this);
  layOut();
  keepFocusInSight();
  watchPermission();
  changes_ = viewModel_.changes().subscribe([this] { refresh(); });
  refresh();
}

void SettingsView::layOut() {
  auto* whole = new QVBoxLayout(this);
  whole->setContentsMargins(0, 0, 0, 0);
  whole->addWidget(scrollArea_);
  auto* form = new QWidget;
  auto* column = new QVBoxLayout(form);
  column->setContentsMargins(margin, margin, margin, margin);
  column->setSpacing(sectionGap);
  for (SettingsSection* section : sections_) column->addWidget(section);
  column->addStretch();
  scrollArea_->setFrameShape(QFrame::NoFrame);
  scrollArea_->setFocusPolicy(Qt::NoFocus);
  scrollArea_->setWidgetResizable(true);
  scrollArea_->setWidget(form);
}

// The toolkit itself does so only when Tab moves the focus.
void SettingsView::keepFocusInSight() {
  connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
    if (now && scrollArea_->widget()->isAncestorOf(now)) {
      scrollArea_->ensureWidgetVisible(now, 0, margin);
    }
  });
}

void SettingsView::watchPermission() {
  const auto ask = [this] { viewModel_.refreshPermissionStatus(); };
  permissionTimer_.setInterval(std::chrono::seconds(1));
  connect(&permissionTimer_, &QTimer::timeout, this, ask);
  connect(qApp, &QGuiApplication::applicationStateChanged, this, [ask](Qt::ApplicationState state) {
    if (state == Qt::ApplicationActive) ask();
  });
  connect(qApp, &QGuiApplication::focusWindowChanged, this, [ask](const QWindow* window) {
    if (window) ask();
  });
}

void SettingsView::refresh() {
  for (SettingsSection* section : sections_) section->refresh();
  updatePermissionTimer();
}

// A tick matters only while the permission is wanted and missing; without the timer, an idle
// program does not wake.
void SettingsView::updatePermissionTimer() {
  const bool isNeeded =
      isVisible() && viewModel_.isDirectPaste() && !viewModel_.permissionGranted();
  if (isNeeded == permissionTimer_.isActive()) return;
  isNeeded ? permissionTimer_.start() : permissionTimer_.stop();
}

void SettingsView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  // Else the toolkit gives it to the first control, where a turn of the wheel would change it.
  if (!focusWidget()) scrollArea_->setFocus();
  viewModel_.refreshPermissionStatus();
}

void SettingsView::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  updatePermissionTimer();
}

}  // namespace stowboard
