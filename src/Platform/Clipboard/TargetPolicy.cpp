#include "Platform/Clipboard/TargetPolicy.h"

#include <algorithm>
#include <array>
#include <span>

#include "Platform/Pasteboard.h"

namespace stowboard {

namespace {

using Names = std::vector<std::string>;

// Set by password managers on content that no history should keep; its value does not matter. In
// lower case, since some toolkits do not keep that of MIME types.
constexpr std::string_view secretMarker = "x-kde-passwordmanagerhint";

constexpr auto textNames = std::to_array<std::string_view>(
    {"utf8_string", "text/plain;charset=utf-8", "text/plain", "string", "compound_text"});
constexpr auto richTextNames =
    std::to_array<std::string_view>({"text/rtf", "application/rtf", "text/richtext"});
constexpr std::string_view tiffName = "image/tiff";
constexpr std::string_view pngName = "image/png";
constexpr auto otherImageNames =
    std::to_array<std::string_view>({"image/jpeg", "image/webp", "image/bmp", "image/gif"});

// MIME types are case-insensitive, and some owners write "text/plain; charset=UTF-8".
std::string normalised(std::string_view name) {
  std::string result;
  for (const char c : name) {
    if (c != ' ') result += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return result;
}

Names offered(const Names& targets, std::span<const std::string_view> wanted) {
  Names found;
  for (const auto name : wanted) {
    const auto target = std::ranges::find(targets, name, normalised);
    if (target != targets.end()) found.push_back(*target);
  }
  return found;
}

Names publishedTypes(const TargetPlan& plan, const Names& targets) {
  Names types;
  const auto add = [&types](std::string_view type) {
    if (std::ranges::find(types, type) == types.end()) types.emplace_back(type);
  };
  if (std::ranges::any_of(plan.images, isTiffTarget)) add(PasteboardType::tiff);
  if (!std::ranges::all_of(plan.images, isTiffTarget)) add(PasteboardType::png);
  if (!plan.richTexts.empty()) add(PasteboardType::rtf);
  if (!plan.texts.empty()) add(PasteboardType::string);
  for (const auto& target : targets) add(target);
  return types;
}

}  // namespace

TargetPlan planForTargets(const Names& targets) {
  TargetPlan plan;
  plan.isSecret = std::ranges::find(targets, secretMarker, normalised) != targets.end();
  plan.texts = offered(targets, textNames);
  plan.richTexts = offered(targets, richTextNames);
  constexpr auto ownImageNames = std::to_array<std::string_view>({tiffName, pngName});
  plan.images = offered(targets, ownImageNames);
  if (plan.images.empty()) plan.images = offered(targets, otherImageNames);
  plan.types = publishedTypes(plan, targets);
  return plan;
}

TargetPlan planWithoutTargets() {
  TargetPlan plan;
  plan.texts = {"UTF8_STRING", "STRING"};
  return plan;
}

TextEncoding encodingOfTarget(std::string_view textTarget) {
  if (textTarget == "STRING") return TextEncoding::latin1;
  if (textTarget == "COMPOUND_TEXT") return TextEncoding::compoundText;
  return normalised(textTarget) == "text/plain" ? TextEncoding::unstated : TextEncoding::utf8;
}

bool isTiffTarget(std::string_view imageTarget) { return normalised(imageTarget) == tiffName; }

}  // namespace stowboard
