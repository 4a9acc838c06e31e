#include "Platform/X11/Selection/SelectionTakeover.h"

#include <utility>

#include "Base/Log.h"

namespace stowboard {

void SelectionTakeover::keep(std::shared_ptr<const ClipboardSnapshot> copy) {
  copy_ = std::move(copy);
  takeWhenReady();
}

void SelectionTakeover::begin() {
  isDue_ = false;
  settlingEnd_ = SteadyTime::clock::now() + settling_;
}

void SelectionTakeover::forget() {
  copy_.reset();
  settlingEnd_.reset();
  isDue_ = false;
}

void SelectionTakeover::expire() {
  if (!settlingEnd_ || *settlingEnd_ > SteadyTime::clock::now()) return;
  settlingEnd_.reset();
  isDue_ = true;
  takeWhenReady();
}

void SelectionTakeover::takeWhenReady() {
  if (!isDue_ || !copy_) return;
  isDue_ = false;
  const auto offer = std::make_shared<ClipboardOffer>(std::exchange(copy_, nullptr));
  if (hasOwner(connection_, connection_.atom("CLIPBOARD_MANAGER"))) return;
  Log::clipboard.info("Keeping the clipboard of a program that has ended");
  clipboard_.begin(SelectionClaim::Manner::whileUnowned);
  clipboard_.provide(offer);
}

}  // namespace stowboard
