#include "Base/Unicode/Text.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "Base/Unicode/CanonicalComparison.h"
#include "Base/Unicode/CaseFolding.h"
#include "Base/Unicode/Graphemes.h"
#include "Base/Unicode/SearchQuery.h"
#include "Base/Unicode/Utf8.h"

namespace stowboard {

namespace {

/// The folded form of a text in one locale class.
struct Folded {
  CaseLocale locale;
  /// Whether a search of the text itself finds the same; then `utf8` is empty.
  bool isTextItself;
  std::string utf8;
  const Folded* next;
};

bool equalsButForAsciiCase(std::string_view text, std::string_view folded) {
  return std::ranges::equal(text, folded, [](char left, char right) {
    return left == right || (left >= 'A' && left <= 'Z' && (left | 0x20) == right);
  });
}

}  // namespace

struct Text::Shared {
  Bytes bytes;
  CodePointTrait trait;
  /// A list that only grows, by at most one element a locale class.
  mutable std::atomic<const Folded*> folded = nullptr;

  Shared(Bytes content, CodePointTrait worst) : bytes(std::move(content)), trait(worst) {}
  ~Shared() {
    for (const auto* form = folded.load(); form != nullptr;) delete std::exchange(form, form->next);
  }
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;

  const Folded& foldedFor(CaseLocale locale) const;
  std::string_view searchable(CaseLocale locale, bool plainIsExact) const;

 private:
  static const Folded* find(const Folded* form, CaseLocale locale) {
    while (form != nullptr && form->locale != locale) form = form->next;
    return form;
  }
};

const Folded& Text::Shared::foldedFor(CaseLocale locale) const {
  const auto* newest = folded.load(std::memory_order_acquire);
  if (const auto* const known = find(newest, locale)) return *known;
  auto utf8 = foldCase(bytes.view(), locale);
  const bool isTextItself = equalsButForAsciiCase(bytes.view(), utf8);
  if (isTextItself) utf8 = {};
  utf8.shrink_to_fit();
  auto made = std::make_unique<Folded>(Folded{locale, isTextItself, std::move(utf8), newest});
  while (!folded.compare_exchange_weak(newest, made.get(), std::memory_order_acq_rel)) {
    // Another thread was first, perhaps with the same form.
    if (const auto* const known = find(newest, locale)) return *known;
    made->next = newest;
  }
  return *made.release();
}

std::string_view Text::Shared::searchable(CaseLocale locale, bool plainIsExact) const {
  if (trait == CodePointTrait::plain && plainIsExact) return bytes.view();
  const auto& form = foldedFor(locale);
  return form.isTextItself ? bytes.view() : std::string_view(form.utf8);
}

Text::Text(std::string utf8) {
  if (utf8.empty()) return;
  auto scan = scanUtf8(utf8);
  if (scan.validLength != utf8.size()) {
    utf8 = repairUtf8(utf8);
    scan = scanUtf8(utf8);
  }
  shared_ = std::make_shared<const Shared>(Bytes(std::move(utf8)), scan.trait);
}

std::optional<Text> Text::fromUtf8(const Bytes& bytes) {
  if (bytes.empty()) return Text();
  const auto scan = scanUtf8(bytes.view());
  if (scan.validLength != bytes.size()) return std::nullopt;
  return Text(std::make_shared<const Shared>(bytes, scan.trait));
}

std::string_view Text::view() const { return shared_ ? shared_->bytes.view() : std::string_view(); }

Bytes Text::bytes() const { return shared_ ? shared_->bytes : Bytes(); }

std::string_view Text::prefix(std::size_t count) const { return firstGraphemes(view(), count); }

bool Text::contains(const SearchQuery& query) const {
  if (query.empty()) return true;
  if (!shared_) return false;
  const auto text = shared_->searchable(query.locale_, query.plainTextIsExact_);
  return query.findIn(text, 0) != SubstringPattern::none;
}

void Text::prepareForSearch(std::string_view locale) const {
  if (shared_ && shared_->trait != CodePointTrait::plain) shared_->foldedFor(caseLocaleOf(locale));
}

bool operator==(const Text& left, const Text& right) {
  if (left.shared_ == right.shared_) return true;
  const auto leftView = left.view();
  const auto rightView = right.view();
  if (leftView.empty() || rightView.empty()) return leftView.empty() && rightView.empty();
  const auto isNfc = [](const Text& text) {
    return text.shared_->trait != CodePointTrait::complex;
  };
  if (isNfc(left) && isNfc(right)) return leftView == rightView;
  return areCanonicallyEquivalent(leftView, rightView);
}

}  // namespace stowboard
