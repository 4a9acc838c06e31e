#include "UI/Panel/HistoryView.h"

#include <malloc.h>

#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>
#include <algorithm>
#include <unordered_set>
#include <utility>

#include "UI/Controls/SymbolView.h"
#include "UI/Looks/Fonts.h"
#include "UI/Panel/EmptyStateView.h"
#include "UI/Panel/SearchField.h"
#include "Utils/L10n.h"

namespace stowboard {

namespace {

constexpr int searchPadding = 8;
constexpr int searchSpacing = 6;
constexpr int dividerHeight = 1;
// What a line edit leaves free at either side of its text.
constexpr int lineEditMargin = 2;

}  // namespace

HistoryView::HistoryView(std::shared_ptr<AppState> appState, HistoryViewModel& viewModel,
                         const Pasteboard& pasteboard)
    : appState_(std::move(appState)),
      viewModel_(viewModel),
      texts_(appState_->settings()),
      rowView_(texts_, thumbnails_),
      model_([this](const ClipItem& clip, int row) { return texts_.description(clip, row); }),
      preparation_(rowView_, thumbnails_),
      searchField_(new SearchField(pasteboard)),
      clearButton_(new SymbolButton(Symbol::clearField, this)),
      list_(new HistoryListView(this)),
      emptyState_(new EmptyStateView(this)) {
  setFixedSize(size);
  setLayoutDirection(Qt::LeftToRight);
  list_->setItemDelegate(&rowView_);
  list_->setModel(&model_);
  clearButton_->hide();
  emptyState_->hide();
  layOut();
  updateTexts();
  updateLooks();
  connectParts();
}

HistoryView::~HistoryView() {
  // It refers to members that are destroyed before the children are.
  delete list_;
}

void HistoryView::layOut() {
  auto* searchRow = new QHBoxLayout;
  searchRow->setContentsMargins(
      searchPadding + SymbolButton::symbolSize + searchSpacing - lineEditMargin, searchPadding,
      searchPadding, searchPadding);
  searchRow->setSpacing(searchSpacing);
  searchRow->addWidget(searchField_);
  searchRow->addWidget(clearButton_);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  column->addLayout(searchRow);
  column->addSpacing(dividerHeight);
  column->addWidget(list_, 1);
  column->activate();
  // Not in the list, where a screen reader finds rows only.
  emptyState_->setGeometry(list_->geometry());
}

void HistoryView::connectParts() {
  searchField_->onQueryChange = [this](const std::string& query) { viewModel_.setQuery(query); };
  searchField_->onCommand = [this](const PanelCommand& command) { perform(command); };
  connect(clearButton_, &QAbstractButton::clicked, this, [this] { viewModel_.setQuery(""); });
  list_->onPress = [this](int row) {
    viewModel_.moveSelection(row - viewModel_.selectedIndex().value_or(0));
  };
  list_->onClick = [this](int row) { click(row); };
  list_->onRelease = [this] {
    if (needsRefresh_) refresh();
  };
  thumbnails_.onDidLoad = [this] { list_->viewport()->update(); };
  viewModel_.changes().subscribe([this] { setNeedsRefresh(); }).storeIn(cancellables_);
  appState_->clipsPublisher()
      .dropFirst()
      .sink([this](const AppState::Clips& clips) { follow(clips); })
      .storeIn(cancellables_);
}

void HistoryView::updateLooks() {
  const Colors colors(palette());
  devicePixelRatio_ = devicePixelRatioF();
  searchField_->setFont(Fonts::body(font()));
  rowView_.setLooks(font(), palette());
  list_->setScrollBarColor(colors.secondary());
  emptyState_->updateLooks(font());
  list_->layOutAgain();
  update();
}

void HistoryView::updateTexts() {
  const AppLanguage language = appState_->settings().language;
  texts_ = RowTexts(appState_->settings());
  searchField_->showTexts(language);
  clearButton_->setAccessibleName(QString::fromUtf8(L10n::clearSearch(language)));
  list_->setAccessibleName(QString::fromUtf8(L10n::historyList(language)));
}

void HistoryView::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  const auto type = event->type();
  if (type == QEvent::FontChange || type == QEvent::PaletteChange || type == QEvent::StyleChange)
    updateLooks();
}

void HistoryView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  fitDensity();
}

void HistoryView::fitDensity() {
  if (devicePixelRatioF() != devicePixelRatio_) updateLooks();
}

// The symbol before the search field, and the divider below it.
void HistoryView::paintEvent(QPaintEvent* /*event*/) {
  const Colors colors(palette());
  const QRect field = searchField_->geometry();
  QPainter painter(this);
  Icons::paint(painter, QRectF(searchPadding, field.y(), SymbolButton::symbolSize, field.height()),
               Symbol::magnifyingGlass, SymbolButton::symbolSize, colors.secondary());
  painter.fillRect(0, list_->y() - dividerHeight, width(), dividerHeight, colors.separator());
}

void HistoryView::viewDidAppear() {
  refresh();
  list_->scrollToTop();
  searchField_->beginEditing();
}

bool HistoryView::isComposing() const { return searchField_->isComposing(); }

void HistoryView::prepare() {
  isPrepared_ = true;
  preparation_.start(appState_->clips(), devicePixelRatioF(), [this] {
    warmUp();
    // The last of the start's work: what it freed lies scattered, and the allocator would keep it.
    ::malloc_trim(0);
  });
}

// Nothing of a clip stays behind that has left the history.
void HistoryView::follow(const AppState::Clips& clips) {
  std::unordered_set<Uuid> ids;
  for (const ClipItem& clip : clips) ids.insert(clip.id());
  thumbnails_.keepOnly(ids);
  rowView_.keepOnly(ids);
  // The next appearance reads them again.
  if (!isVisible()) model_.setClips({});
  if (isPrepared_) preparation_.follow(clips, devicePixelRatioF());
}

// Lays the rows out, and has fonts, glyphs and symbols loaded by drawing once.
void HistoryView::warmUp() {
  refresh();
  if (!isVisible()) grab();
}

// The view model announces each of several assignments that make one change. While nobody looks
// there is nothing to do: each appearance reads everything.
void HistoryView::setNeedsRefresh() {
  if (!isVisible() || std::exchange(needsRefresh_, true)) return;
  QMetaObject::invokeMethod(
      this,
      [this] {
        if (needsRefresh_ && !list_->isPressed()) refresh();
      },
      Qt::QueuedConnection);
}

void HistoryView::refresh() {
  needsRefresh_ = false;
  if (!texts_.matches(appState_->settings())) {
    updateTexts();
    updateLooks();
  }
  searchField_->showQuery(viewModel_.query());
  clearButton_->setVisible(!viewModel_.query().empty());
  showClips();
}

void HistoryView::showClips() {
  rowView_.setQuery(viewModel_.query());
  list_->viewport()->update();
  model_.setClips(viewModel_.visibleClips());
  list_->showSelection(static_cast<int>(viewModel_.selectedIndex().value_or(-1)));
  showEmptyState(model_.rowCount() == 0);
}

void HistoryView::showEmptyState(bool isEmpty) {
  if (!isEmpty) return emptyState_->hide();
  const AppLanguage language = appState_->settings().language;
  const std::string& query = viewModel_.query();
  if (query.empty()) {
    emptyState_->show(Symbol::clipboard, QString::fromUtf8(L10n::noHistoryYet(language)));
  } else {
    emptyState_->show(Symbol::magnifyingGlass, QString::fromUtf8(L10n::noResults(language, query)));
  }
}

void HistoryView::perform(const PanelCommand& command) {
  using Action = PanelCommand::Action;
  switch (command.action) {
    case Action::selectPrevious:
      return viewModel_.moveSelection(-1);
    case Action::selectNext:
      return viewModel_.moveSelection(1);
    case Action::selectPageUp:
      return movePage(-1);
    case Action::selectPageDown:
      return movePage(1);
    case Action::activateSelected:
      return viewModel_.activateSelected();
    case Action::activateSelectedAsPlainText:
      return viewModel_.activateSelectedAsPlainText();
    case Action::removeSelected:
      return viewModel_.removeSelected();
    case Action::activateDigit:
      return viewModel_.activate(command.digit - 1);
    case Action::close:
      if (viewModel_.onRequestClose) viewModel_.onRequestClose();
      return;
    case Action::openSettings:
      if (onOpenSettings) onOpenSettings();
      return;
  }
}

void HistoryView::movePage(int direction) {
  if (needsRefresh_ && !list_->isPressed()) refresh();
  const int row = static_cast<int>(viewModel_.selectedIndex().value_or(0));
  viewModel_.moveSelection(direction * list_->rowsPerPage(row, direction));
}

// What was clicked is what was shown, wherever a change that is not shown yet has moved it.
void HistoryView::click(int row) {
  const Uuid id = model_.clip(row).id();
  const AppState::Clips clips = viewModel_.visibleClips();
  viewModel_.activate(std::ranges::find(clips, id, &ClipItem::id) - clips.begin());
}

}  // namespace stowboard
