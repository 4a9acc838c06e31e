#include "UI/Settings/SettingsSection.h"

#include <QAccessible>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>
#include <span>

#include "UI/Controls/IntegerField.h"
#include "UI/Controls/Picker.h"
#include "UI/Controls/Stepper.h"
#include "UI/Controls/SymbolView.h"
#include "UI/Looks/Fonts.h"
#include "Utils/L10n.h"

namespace stowboard {

namespace {

constexpr auto idOf = [](auto option) { return id(option); };

/// What this keyboard calls a choice of modifiers; empty for any other choice.
constexpr auto onKeyboard = [](auto option) {
  if constexpr (requires { carbonMask(option); }) {
    return keyboardNames(carbonMask(option));
  } else {
    return std::string();
  }
};

/// A drop-down list that shows `current` and calls `choose` with another one of the options. A
/// current value that is not among the options is shown all the same.
template <typename Options, typename Text, typename Current, typename Choose>
Picker* makePicker(SettingsSection& section, Options options, Text text, Current current,
                   Choose choose) {
  auto* picker = new Picker;
  for (const auto& option : options)
    picker->addChoice(std::invoke(text, option), onKeyboard(option));
  picker->onChoose = [options, choose](int index) {
    choose(options[static_cast<std::size_t>(index)]);
  };
  section.onRefresh([=] {
    const auto shown = current();
    const auto found = std::ranges::find(options, shown);
    const auto index = found == options.end() ? -1 : found - options.begin();
    picker->showChoice(static_cast<int>(index), std::invoke(text, shown));
  });
  return picker;
}

void fillGeneral(SettingsSection& section, SettingsViewModel* model) {
  section.showTitle(L10n::generalSection);
  auto* language = makePicker(
      section, std::span(allAppLanguages), displayName, [=] { return model->language(); },
      [=](AppLanguage chosen) { model->setLanguage(chosen); });
  section.addLabelledRow(L10n::language, {language});
  auto* launchAtLogin = new Switch;
  QObject::connect(launchAtLogin, &QCheckBox::toggled, &section,
                   [=](bool isOn) { model->setLaunchAtLogin(isOn); });
  section.addLabelledRow(L10n::launchAtLogin, {launchAtLogin});
  auto* error = new FormNote(&Colors::red);
  auto* errorRow = FormRow::filledWith(error);
  section.addRow(errorRow);
  section.onRefresh([=] {
    const QSignalBlocker silent(launchAtLogin);
    launchAtLogin->setChecked(model->launchAtLogin());
    error->setText(QString::fromStdString(model->loginItemError().value_or("")));
    errorRow->setVisible(model->loginItemError().has_value());
  });
}

template <typename Shortcut, typename Words>
void addKeyCap(SettingsSection& section, const SettingsSection::Localized& label, Shortcut shortcut,
               Words words) {
  auto* cap = new KeyCap;
  section.addLabelledRow(label, {cap});
  section.onRefresh([=] {
    cap->setText(QString::fromStdString(shortcut()));
    cap->setToolTip(QString::fromStdString(words()));
    cap->setAccessibleName(cap->toolTip());
  });
}

/// A row of drop-down lists, whose names only a screen reader tells.
void addPickers(SettingsSection& section,
                const std::vector<std::pair<Picker*, SettingsSection::Localized>>& pickers) {
  std::vector<QWidget*> widgets;
  for (const auto& [picker, label] : pickers) widgets.push_back(picker);
  auto* row = new FormRow(widgets);
  section.addRow(row);
  section.onRefresh([&section, row, pickers] {
    for (const auto& [picker, label] : pickers)
      row->setUnseenLabel(picker, label(section.language()));
  });
}

void fillShortcuts(SettingsSection& section, SettingsViewModel* model) {
  const auto first = [=] { return model->hotKeyModifier1(); };
  const auto second = [=] { return model->hotKeyModifier2(); };
  const auto key = [=] { return model->hotKeyKeyOption(); };
  const auto setHotKey = [=](ModifierKeyOption mod1, ModifierKeyOption mod2, KeyOption chosen) {
    model->updateHotKeyComponents(mod1, mod2, chosen);
  };
  const std::span modifiers(allModifierKeyOptions);
  section.showTitle(L10n::hotKeySection);
  addKeyCap(
      section, L10n::showHistoryPanel, [=] { return model->hotKeyFullDisplay(); },
      [=] { return model->hotKeyOnKeyboard(); });
  // The first modifier is never none, which is the last option.
  addPickers(section, {{makePicker(section, modifiers.first(modifiers.size() - 1), idOf, first,
                                   [=](auto chosen) { setHotKey(chosen, second(), key()); }),
                        L10n::firstModifier},
                       {makePicker(section, modifiers, idOf, second,
                                   [=](auto chosen) { setHotKey(first(), chosen, key()); }),
                        L10n::secondModifier},
                       {makePicker(section, KeyOption::allOptions(), &KeyOption::name, key,
                                   [=](auto chosen) { setHotKey(first(), second(), chosen); }),
                        L10n::hotKeyKey}});
  addKeyCap(
      section, L10n::directPasteSection, [=] { return model->directPasteFullDisplay(); },
      [=] { return model->directPasteOnKeyboard(); });
  addPickers(section, {{makePicker(
                            section, std::span(allDirectPasteModifierPairs), idOf,
                            [=] { return model->directPastePair(); },
                            [=](auto chosen) { model->setDirectPastePair(chosen); }),
                        L10n::directPasteModifiers}});
}

void fillHistory(SettingsSection& section, SettingsViewModel* model, const Pasteboard& pasteboard) {
  section.showTitle(L10n::historySection);
  auto* field = new IntegerField(1000, 55, pasteboard);
  auto* stepper = new Stepper(10, 100, 5);
  section.addLabelledRow(L10n::maxRecords, {field, stepper}, 6);
  // The change is announced on a later turn, when a held stepper may already have taken another
  // step.
  const auto setMaxRecords = [&section, model](std::int64_t count) {
    model->setMaxRecordsInt(count);
    section.refresh();
  };
  field->onCommit = setMaxRecords;
  stepper->onStep = setMaxRecords;
  section.onRefresh([=] {
    field->setLanguage(model->language());
    field->showValue(model->settings().maxRecords);
    stepper->setNumber(model->settings().maxRecords);
    stepper->setAccessibleName(QString::fromUtf8(L10n::maxRecords(model->language())));
  });
}

/// Whether the system lets the program paste, and the way to the system's settings when it does
/// not. Only where the settings ask for direct pasting.
void fillPermission(SettingsSection& section, SettingsViewModel* model) {
  section.showTitle(L10n::permissionSection);
  // The text beside the symbol says the same.
  auto* symbol = new SymbolView(Symbol::warning, 16, &Colors::orange);
  auto* status = new QLabel;
  section.addLabelledRow(L10n::permissionStatus, {symbol, status}, 6);
  auto* openSettings = new FormButton;
  QObject::connect(openSettings, &FormButton::clicked, &section,
                   [=] { model->openAccessibilitySettings(); });
  auto* prompt = new FormNote(&Colors::secondary);
  auto* remedy = new QWidget;
  auto* column = new QVBoxLayout(remedy);
  column->setContentsMargins(0, 4, 0, 4);
  column->addWidget(openSettings, 0, Qt::AlignLeading);
  column->addWidget(prompt);
  auto* remedyRow = FormRow::filledWith(remedy);
  section.addRow(remedyRow);
  section.onRefresh([=, &section] {
    const AppLanguage language = model->language();
    const bool isGranted = model->permissionGranted();
    symbol->show(isGranted ? Symbol::checkmark : Symbol::warning,
                 isGranted ? &Colors::green : &Colors::orange);
    status->setText(QString::fromUtf8(isGranted ? L10n::permissionGranted(language)
                                                : L10n::permissionNotGranted(language)));
    openSettings->setText(QString::fromUtf8(L10n::openSystemSettings(language)));
    const bool canOpen = model->canOpenAccessibilitySettings();
    openSettings->setEnabled(canOpen);
    openSettings->setToolTip(canOpen ? QString()
                                     : QString::fromUtf8(L10n::noSystemSettings(language)));
    prompt->setText(QString::fromUtf8(L10n::permissionPrompt(language)));
    remedyRow->setVisible(!isGranted);
    section.setVisible(model->isDirectPaste());
  });
}

/// Asks whether the whole history is to be cleared; accepted when it is. Cancelling is the default.
class ClearHistoryDialog : public QDialog {
 public:
  explicit ClearHistoryDialog(QWidget* parent) : QDialog(parent) {
    Fonts::useFamilies(*this);
    QFont bold;
    bold.setBold(true);
    title_->setFont(bold);
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(confirm_, QDialogButtonBox::DestructiveRole);
    buttons->addButton(cancel_, QDialogButtonBox::RejectRole);
    tint(*confirm_, QPalette::ButtonText, &Colors::red);
    cancel_->setDefault(true);
    connect(confirm_, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(20, 20, 20, 16);
    grid->setHorizontalSpacing(16);
    grid->setVerticalSpacing(6);
    grid->addWidget(new SymbolView(Symbol::warning, 40, &Colors::orange), 0, 0, 2, 1, Qt::AlignTop);
    grid->addWidget(title_, 0, 1, Qt::AlignBottom);
    grid->addWidget(message_, 1, 1, Qt::AlignTop);
    grid->setRowMinimumHeight(2, 10);
    grid->addWidget(buttons, 3, 0, 1, 2);
    grid->setColumnStretch(1, 1);
    grid->setSizeConstraint(QLayout::SetFixedSize);
  }

  /// Also while it is open.
  void setLanguage(AppLanguage language) {
    setWindowTitle(QString::fromUtf8(L10n::clearHistoryConfirm(language)));
    title_->setText(QString::fromUtf8(L10n::clearHistoryDialogTitle(language)));
    message_->setText(QString::fromUtf8(L10n::cannotBeUndone(language)));
    confirm_->setText(QString::fromUtf8(L10n::clearHistoryConfirm(language)));
    cancel_->setText(QString::fromUtf8(L10n::cancel(language)));
    // What a screen reader reads when the question appears.
    setAccessibleName(title_->text());
    setAccessibleDescription(message_->text());
  }

 protected:
  void showEvent(QShowEvent* event) override {
    QDialog::showEvent(event);
    cancel_->setFocus();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
  }

 private:
  QLabel* title_ = new QLabel;
  QLabel* message_ = new QLabel;
  QPushButton* confirm_ = new FormButton;
  QPushButton* cancel_ = new FormButton;
};

void fillClearHistory(SettingsSection& section, SettingsViewModel* model) {
  auto* clear = new FormButton;
  tint(*clear, QPalette::ButtonText, &Colors::red);
  section.addRow(FormRow::filledWith(clear, Qt::AlignLeading));
  auto* dialog = new ClearHistoryDialog(&section);
  QObject::connect(clear, &FormButton::clicked, &section,
                   [=] { model->setShowClearConfirmation(true); });
  QObject::connect(dialog, &QDialog::finished, &section, [=](int result) {
    if (result == QDialog::Accepted) return model->clearHistory();
    model->setShowClearConfirmation(false);
  });
  section.onRefresh([=] {
    clear->setText(QString::fromUtf8(L10n::clearAllHistory(model->language())));
    dialog->setLanguage(model->language());
    const bool isAsked = model->showClearConfirmation();
    if (isAsked == dialog->isVisible()) return;
    isAsked ? dialog->open() : dialog->reject();
  });
}

}  // namespace

std::vector<SettingsSection*> SettingsSection::makeAll(SettingsViewModel& viewModel,
                                                       const Pasteboard& pasteboard) {
  std::vector<SettingsSection*> sections;
  const auto add = [&](auto fill) {
    sections.push_back(new SettingsSection(viewModel));
    fill(*sections.back(), &viewModel);
  };
  add(fillGeneral);
  add(fillShortcuts);
  add([&](auto& section, auto* model) { fillHistory(section, model, pasteboard); });
  add(fillPermission);
  add(fillClearHistory);
  return sections;
}

void SettingsSection::showTitle(Localized title) {
  onRefresh([this, title = std::move(title)] { setTitle(title(language())); });
}

void SettingsSection::addLabelledRow(Localized label, const std::vector<QWidget*>& trailing,
                                     int gap) {
  auto* row = new FormRow(trailing, gap);
  addRow(row);
  onRefresh([this, row, label = std::move(label)] { row->setLabel(label(language())); });
}

void SettingsSection::refresh() {
  for (const auto& update : updates_) update();
}

}  // namespace stowboard
