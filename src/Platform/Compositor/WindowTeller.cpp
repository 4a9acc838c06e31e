#include "Platform/Compositor/WindowTeller.h"

namespace stowboard {

// Copies, because the callee may replace it.
void WindowTeller::take(std::optional<Window>& front, const std::string& what,
                        const Window& window) {
  if (what == "DidActivate") {
    front = window.id.empty() ? std::nullopt : std::optional(window);
    if (const auto callback = onFrontDidChange) callback();
  } else if (what == "DidAdd") {
    if (const auto callback = onDidAddOwn) callback(window);
  } else if (what == "DidClose") {
    if (const auto callback = onDidClose) callback(window.id);
  }
}

}  // namespace stowboard
