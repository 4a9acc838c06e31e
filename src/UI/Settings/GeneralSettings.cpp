#include "UI/Settings/GeneralSettings.h"

#include <QSignalBlocker>

#include "UI/Controls/FormNote.h"
#include "UI/Controls/FormRow.h"
#include "UI/Controls/Picker.h"
#include "UI/Controls/Switch.h"
#include "Utils/L10n.h"

namespace stowboard {

GeneralSettings::GeneralSettings(SettingsViewModel& viewModel)
    : SettingsSection(viewModel),
      language_(new Picker),
      languageRow_(new FormRow({language_})),
      launchAtLogin_(new Switch),
      launchAtLoginRow_(new FormRow({launchAtLogin_})),
      error_(new FormNote(&Colors::red)),
      errorRow_(FormRow::filledWith(error_)) {
  for (const AppLanguage offered : allAppLanguages) language_->addChoice(displayName(offered));
  language_->onChoose = [this](int index) {
    viewModel_.setLanguage(allAppLanguages[static_cast<std::size_t>(index)]);
  };
  connect(launchAtLogin_, &QCheckBox::toggled, this,
          [this](bool isOn) { viewModel_.setLaunchAtLogin(isOn); });
  addRow(languageRow_);
  addRow(launchAtLoginRow_);
  addRow(errorRow_);
}

void GeneralSettings::refresh() {
  setTitle(L10n::generalSection(language()));
  languageRow_->setLabel(L10n::language(language()));
  language_->showChoice(static_cast<int>(language()));
  launchAtLoginRow_->setLabel(L10n::launchAtLogin(language()));
  const QSignalBlocker silent(launchAtLogin_);
  launchAtLogin_->setChecked(viewModel_.launchAtLogin());
  error_->setNote(viewModel_.loginItemError().value_or(""));
  errorRow_->setVisible(viewModel_.loginItemError().has_value());
}

}  // namespace stowboard
