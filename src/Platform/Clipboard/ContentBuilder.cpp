#include "Platform/Clipboard/ContentBuilder.h"

#include <algorithm>
#include <utility>

#include "Platform/ImageSignature.h"

namespace stowboard {

ContentBuilder::ContentBuilder(const TargetPlan& plan) {
  content_.types = plan.types;
  const auto add = [this](Kind kind, const std::vector<std::string>& targets) {
    for (const auto& target : targets) candidates_.push_back({kind, target});
  };
  add(Kind::text, plan.texts);
  add(Kind::richText, plan.richTexts);
  add(Kind::image, plan.images);
}

const std::string* ContentBuilder::wanted() const {
  return candidates_.empty() ? nullptr : &candidates_.front().target;
}

bool ContentBuilder::isLastText() const {
  const auto isText = [](const auto& each) { return each.kind == Kind::text; };
  return isText(candidates_.front()) && std::ranges::count_if(candidates_, isText) == 1;
}

void ContentBuilder::accept(std::string bytes, bool isUtf8, bool saysUtf8) {
  const auto candidate = std::move(candidates_.front());
  candidates_.pop_front();
  if (!use(candidate, std::move(bytes), isUtf8, saysUtf8)) return;
  std::erase_if(candidates_, [&](const auto& each) { return each.kind == candidate.kind; });
}

bool ContentBuilder::use(const Candidate& candidate, std::string bytes, bool isUtf8,
                         bool saysUtf8) {
  if (candidate.kind == Kind::image) return useImage(candidate.target, std::move(bytes));
  size_ += bytes.size();
  if (candidate.kind == Kind::text) {
    // Some owners answer STRING with UTF-8, and say so.
    const auto encoding =
        saysUtf8 && isUtf8 ? TextEncoding::utf8 : encodingOfTarget(candidate.target);
    return useText(std::move(bytes), encoding, isUtf8);
  }
  content_.richText = std::move(bytes);
  content_.richTextTarget = candidate.target;
  return true;
}

bool ContentBuilder::useText(std::string bytes, TextEncoding encoding, bool isUtf8) {
  const bool isUsable = encoding != TextEncoding::utf8 || isUtf8;
  if (isUsable) {
    content_.text = {std::move(bytes), encoding};
  } else if (!brokenText_) {
    brokenText_ = std::move(bytes);
  }
  return isUsable;
}

bool ContentBuilder::useImage(const std::string& target, std::string bytes) {
  if (imageTypeOf(bytes).empty()) return false;
  content_.image = std::move(bytes);
  content_.imageTarget = target;
  content_.isTiff = isTiffTarget(target);
  return true;
}

FetchedContent ContentBuilder::take() {
  if (!content_.text && brokenText_) content_.text = {*std::move(brokenText_), TextEncoding::utf8};
  return std::move(content_);
}

}  // namespace stowboard
