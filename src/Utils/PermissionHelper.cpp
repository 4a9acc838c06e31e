#include "Utils/PermissionHelper.h"

#include "Base/Log.h"

namespace stowboard {

bool PermissionHelper::requestIfNeeded() {
  if (isGranted()) return true;
  Log::paste.error(
      "Accessibility permission missing — simulated Cmd+V will be dropped by the system");
  if (!hasGuidedToSettings_) {
    hasGuidedToSettings_ = true;
    openAccessibilitySettings();
  }
  return false;
}

}  // namespace stowboard
