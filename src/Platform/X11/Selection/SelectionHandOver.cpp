#include "Platform/X11/Selection/SelectionHandOver.h"

#include <cstdint>
#include <vector>

#include "Base/Log.h"

namespace stowboard {

void SelectionHandOver::begin() {
  hasBegun_ = true;
  end_ = SteadyTime::clock::now() + patience_;
}

void SelectionHandOver::proceed(bool isWriting) {
  if (!isUnderWay() || isSavingRequested_) return;
  if (!hasOwner(connection_, connection_.atom("CLIPBOARD_MANAGER"))) return end();
  if (isWriting) return;
  if (!clipboard_.offer()) return end();
  requestSaving();
}

void SelectionHandOver::requestSaving() {
  isSavingRequested_ = true;
  const auto saveTargets = connection_.atom("SAVE_TARGETS");
  std::vector<xcb_atom_t> targets;
  for (const auto& name : clipboard_.offer()->targets()) targets.push_back(connection_.atom(name));
  xcb_change_property(connection_.xcb(), XCB_PROP_MODE_REPLACE, window_, saveTargets, XCB_ATOM_ATOM,
                      32, static_cast<std::uint32_t>(targets.size()), targets.data());
  xcb_convert_selection(connection_.xcb(), window_, connection_.atom("CLIPBOARD_MANAGER"),
                        saveTargets, saveTargets, clipboard_.time());
}

void SelectionHandOver::expire() {
  if (!end_ || *end_ > SteadyTime::clock::now()) return;
  Log::clipboard.info("The clipboard manager took too long to save the clipboard");
  end();
}

}  // namespace stowboard
