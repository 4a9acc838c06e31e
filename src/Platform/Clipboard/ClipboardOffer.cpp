#include "Platform/Clipboard/ClipboardOffer.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "Base/Log.h"

#include "Platform/Clipboard/TextEncoding.h"

namespace stowboard {

namespace {

// The first stands for all of a list wherever the difference does not matter.
constexpr std::string_view utf8Targets[] = {"UTF8_STRING", "text/plain;charset=utf-8",
                                            "text/plain"};
constexpr std::string_view richTextTargets[] = {"text/rtf", "application/rtf", "text/richtext"};

bool isUtf8Target(std::string_view target) { return std::ranges::count(utf8Targets, target) > 0; }

std::optional<ClipboardOffer::Conversion> converted(std::string type,
                                                    std::optional<std::string> content) {
  if (!content) return std::nullopt;
  return ClipboardOffer::Conversion{std::move(type), Bytes(*std::move(content))};
}

}  // namespace

const std::vector<std::string>& ClipboardOffer::targets() {
  if (!targets_) targets_ = findTargets();
  return *targets_;
}

bool ClipboardOffer::offers(std::string_view target) {
  return std::ranges::count(targets(), target) > 0;
}

std::vector<std::string> ClipboardOffer::findTargets() const {
  std::vector<std::string> found;
  const auto add = [&found](const auto& names) {
    for (const auto& name : names) {
      if (std::ranges::count(found, name) == 0) found.emplace_back(name);
    }
  };
  for (const auto& [name, content] : snapshot_->named) add(std::vector{name});
  if (snapshot_->image) add(snapshot_->image->representationTypes());
  if (snapshot_->richText) add(richTextTargets);
  if (!snapshot_->text) return found;
  add(utf8Targets);
  const auto text = snapshot_->text->view();
  const bool hasEscape = text.find('\x1b') != std::string_view::npos;
  if (fitsLatin1(text)) add(std::vector<std::string>{"STRING", "TEXT"});
  if (!hasEscape) add(std::vector<std::string>{"TEXT", "COMPOUND_TEXT"});
  return found;
}

const Bytes* ClipboardOffer::shared(std::string_view target) const {
  const auto named = std::ranges::find(
      snapshot_->named, target, [](const auto& each) -> std::string_view { return each.first; });
  if (named != snapshot_->named.end()) return &named->second;
  const bool isRichText = std::ranges::count(richTextTargets, target) > 0;
  return isRichText && snapshot_->richText ? &*snapshot_->richText : nullptr;
}

bool ClipboardOffer::isAtHand(std::string_view target) const {
  return isUtf8Target(target) || shared(target) != nullptr || prepared_.contains(target);
}

std::optional<ClipboardOffer::Conversion> ClipboardOffer::conversion(
    std::string_view target) const {
  const auto prepared = prepared_.find(target);
  return prepared == prepared_.end() ? convert(target) : prepared->second;
}

void ClipboardOffer::prepare(const std::string& target, const Background& background,
                             std::function<void()> done) {
  if (!underWay_.insert(target).second) return;
  const auto self = shared_from_this();
  const auto outcome = std::make_shared<std::optional<Conversion>>();
  background(
      [self, target, outcome] {
        try {
          *outcome = self->convert(target);
        } catch (const std::bad_alloc&) {
          Log::clipboard.error("There is not enough memory to convert the clipboard");
        }
      },
      [self, target, outcome, done = std::move(done)] {
        self->prepared_.emplace(target, std::move(*outcome));
        self->underWay_.erase(target);
        done();
      });
}

std::optional<ClipboardOffer::Conversion> ClipboardOffer::convert(std::string_view target) const {
  if (const Bytes* content = shared(target)) return Conversion{std::string(target), *content};
  if (snapshot_->image) {
    if (auto file = snapshot_->image->representation(target)) {
      return Conversion{std::string(target), *std::move(file)};
    }
  }
  return snapshot_->text ? convertText(target) : std::nullopt;
}

std::optional<ClipboardOffer::Conversion> ClipboardOffer::convertText(
    std::string_view target) const {
  const auto& text = *snapshot_->text;
  if (isUtf8Target(target)) return Conversion{std::string(target), text.bytes()};
  // TEXT leaves the encoding to the owner (ICCCM 2.6.2), who names it in the type.
  const bool isAnyText = target == "TEXT";
  if (target == "STRING" || (isAnyText && fitsLatin1(text.view()))) {
    return converted("STRING", utf8ToLatin1(text.view()));
  }
  if (target != "COMPOUND_TEXT" && !isAnyText) return std::nullopt;
  return converted("COMPOUND_TEXT", utf8ToCompoundText(text.view()));
}

}  // namespace stowboard
