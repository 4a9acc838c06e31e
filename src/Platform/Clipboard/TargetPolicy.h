#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Clipboard/TextEncoding.h"

namespace stowboard {

/// What to ask of an owner that offers certain targets. Each list holds target names as the owner
/// spelt them, the most trusted first; one success of a list is enough.
struct TargetPlan {
  /// The owner asks that its content be left alone.
  bool isSecret = false;
  /// As Pasteboard::types() tells them; absent when the owner does not.
  std::optional<std::vector<std::string>> types = {};
  std::vector<std::string> texts;
  std::vector<std::string> richTexts;
  std::vector<std::string> images;
};

TargetPlan planForTargets(const std::vector<std::string>& targets);

/// The plan for an owner that does not tell its targets.
TargetPlan planWithoutTargets();

TextEncoding encodingOfTarget(std::string_view textTarget);

/// True for an image target that is to be published as TIFF; the others go by as PNG.
bool isTiffTarget(std::string_view imageTarget);

}  // namespace stowboard
