#include "UI/Settings/ShortcutSettings.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "UI/Controls/FormRow.h"
#include "UI/Controls/KeyCap.h"
#include "UI/Controls/Picker.h"
#include "Utils/L10n.h"

namespace stowboard {

namespace {

template <typename Range, typename Value>
int indexIn(const Range& options, const Value& value) {
  const auto found = std::ranges::find(options, value);
  return found == std::end(options) ? -1 : static_cast<int>(found - std::begin(options));
}

template <typename Range>
auto at(const Range& options, int index) {
  return options[static_cast<std::size_t>(index)];
}

}  // namespace

ShortcutSettings::ShortcutSettings(SettingsViewModel& viewModel)
    : SettingsSection(viewModel),
      hotKeyCap_(new KeyCap),
      hotKeyRow_(new FormRow({hotKeyCap_})),
      modifier1_(new Picker),
      modifier2_(new Picker),
      key_(new Picker),
      hotKeyPickers_(new FormRow({modifier1_, modifier2_, key_})),
      directPasteCap_(new KeyCap),
      directPasteRow_(new FormRow({directPasteCap_})),
      directPastePair_(new Picker),
      directPastePickers_(new FormRow({directPastePair_})) {
  addChoices();
  connectPickers();
  addRow(hotKeyRow_);
  addRow(hotKeyPickers_);
  addRow(directPasteRow_);
  addRow(directPastePickers_);
}

void ShortcutSettings::addChoices() {
  for (const ModifierKeyOption option : allModifierKeyOptions) {
    if (option != ModifierKeyOption::none) modifier1_->addChoice(id(option));
    modifier2_->addChoice(id(option));
  }
  for (const KeyOption& option : KeyOption::allOptions()) key_->addChoice(option.name);
  for (const auto pair : allDirectPasteModifierPairs) directPastePair_->addChoice(id(pair));
}

void ShortcutSettings::connectPickers() {
  modifier1_->onChoose = [this](int index) {
    viewModel_.updateHotKeyComponents(at(allModifierKeyOptions, index),
                                      viewModel_.hotKeyModifier2(), viewModel_.hotKeyKeyOption());
  };
  modifier2_->onChoose = [this](int index) {
    viewModel_.updateHotKeyComponents(viewModel_.hotKeyModifier1(),
                                      at(allModifierKeyOptions, index),
                                      viewModel_.hotKeyKeyOption());
  };
  key_->onChoose = [this](int index) {
    viewModel_.updateHotKeyComponents(viewModel_.hotKeyModifier1(), viewModel_.hotKeyModifier2(),
                                      at(KeyOption::allOptions(), index));
  };
  directPastePair_->onChoose = [this](int index) {
    viewModel_.setDirectPastePair(at(allDirectPasteModifierPairs, index));
  };
}

void ShortcutSettings::refresh() {
  setTitle(L10n::hotKeySection(language()));
  refreshHotKey();
  refreshDirectPaste();
}

void ShortcutSettings::refreshHotKey() {
  hotKeyRow_->setLabel(L10n::showHistoryPanel(language()));
  hotKeyCap_->setText(QString::fromStdString(viewModel_.hotKeyFullDisplay()));
  hotKeyPickers_->setUnseenLabel(modifier1_, L10n::firstModifier(language()));
  hotKeyPickers_->setUnseenLabel(modifier2_, L10n::secondModifier(language()));
  hotKeyPickers_->setUnseenLabel(key_, L10n::hotKeyKey(language()));
  modifier1_->showChoice(indexIn(allModifierKeyOptions, viewModel_.hotKeyModifier1()));
  modifier2_->showChoice(indexIn(allModifierKeyOptions, viewModel_.hotKeyModifier2()));
  const KeyOption key = viewModel_.hotKeyKeyOption();
  key_->showChoice(indexIn(KeyOption::allOptions(), key), key.name);
}

void ShortcutSettings::refreshDirectPaste() {
  directPasteRow_->setLabel(L10n::directPasteSection(language()));
  directPasteCap_->setText(QString::fromStdString(viewModel_.directPasteFullDisplay()));
  directPastePickers_->setUnseenLabel(directPastePair_, L10n::directPasteModifiers(language()));
  directPastePair_->showChoice(indexIn(allDirectPasteModifierPairs, viewModel_.directPastePair()));
}

}  // namespace stowboard
