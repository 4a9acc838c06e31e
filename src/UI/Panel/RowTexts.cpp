#include "UI/Panel/RowTexts.h"

#include <fmt/format.h>

#include "UI/Panel/ClipPreview.h"
#include "Utils/L10n.h"

namespace stowboard {

RowTexts::RowTexts(const AppSettings& settings)
    : language_(settings.language),
      pair_(directPasteModifierPairFrom(settings.directPasteModifiers)),
      dateFormat_(L10n::dateFormat(language_), L10n::dateLocaleIdentifier(language_)) {}

bool RowTexts::matches(const AppSettings& settings) const {
  return language_ == settings.language &&
         pair_ == directPasteModifierPairFrom(settings.directPasteModifiers);
}

QString RowTexts::date(const ClipItem& clip) const {
  return QString::fromUtf8(dateFormat_.format(clip.timestamp()));
}

QString RowTexts::shortcutSymbols() const { return QString::fromUtf8(symbolString(pair_)); }

QString RowTexts::description(const ClipItem& clip, int row) const {
  const std::string shortcut =
      row < shortcutCount ? fmt::format("{} + {}", modifierDisplayString(pair_), row + 1) : "";
  const QString preview = printablePreview(clip).replace(QChar::LineSeparator, u' ');
  return QString::fromUtf8(L10n::historyRow(language_, preview.toStdString(),
                                            dateFormat_.format(clip.timestamp()), shortcut));
}

}  // namespace stowboard
