#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Services/PasteSimulating.h"

namespace stowboard {

/// Records the previews of the clips that it was given.
class FakePasteSimulator final : public PasteSimulating {
 public:
  void activate(const ClipItem& clip) override {
    activated.emplace_back(clip.previewText());
    last = clip;
  }

  std::vector<std::string> activated;
  std::optional<ClipItem> last;
};

}  // namespace stowboard
