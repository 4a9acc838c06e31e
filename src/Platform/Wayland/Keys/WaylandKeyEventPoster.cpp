#include "Platform/Wayland/Keys/WaylandKeyEventPoster.h"

#include <unistd.h>

#include <utility>

#include "Base/Log.h"
#include "Platform/KeyPositions.h"

namespace stowboard {

namespace {

// XKB's first modifiers, the same in every keymap.
constexpr std::uint32_t shift = 1;
constexpr std::uint32_t control = 4;
constexpr std::uint8_t insertKey = 118;

bool isPaste(const KeyEvent& event) {
  return event.keyCode == virtualKeyOfV && (event.flags & KeyEventFlags::command) != 0;
}

}  // namespace

std::unique_ptr<WaylandKeyEventPoster> WaylandKeyEventPoster::create(
    std::shared_ptr<WaylandMainConnection> connection, RunLoop& loop,
    const ApplicationIdentifying& applications, Surroundings surroundings) {
  if (!VirtualKeyboard::isOffered(connection->connection())) return nullptr;
  return std::unique_ptr<WaylandKeyEventPoster>(new WaylandKeyEventPoster(
      std::move(connection), loop, applications, std::move(surroundings)));
}

WaylandKeyEventPoster::WaylandKeyEventPoster(std::shared_ptr<WaylandMainConnection> connection,
                                             RunLoop& loop,
                                             const ApplicationIdentifying& applications,
                                             Surroundings surroundings)
    : connection_(std::move(connection)),
      loop_(loop),
      applications_(applications),
      surroundings_(std::move(surroundings)) {}

std::unique_ptr<KeyEventPoster::Source> WaylandKeyEventPoster::createSource() {
  return std::make_unique<KeyPositionSource>();
}

void WaylandKeyEventPoster::post(const KeyEvent& event) {
  if (!event.isKeyDown) return;
  Entry entry;
  entry.event = event;
  entry.awaitedWindow = surroundings_.awaitedWindow();
  entries_.push_back(std::move(entry));
  pump();
}

void WaylandKeyEventPoster::whenSent(std::function<void()> done) {
  Entry entry;
  entry.done = [this, done = std::move(done)] {
    loop_.post([self = std::weak_ptr(self_), done] {
      if (!self.expired()) done();
    });
  };
  entries_.push_back(std::move(entry));
  pump();
}

// What is asked of the surroundings may lead back here.
void WaylandKeyEventPoster::pump() {
  if (std::exchange(isPumping_, true)) return;
  while (!entries_.empty()) {
    auto& entry = entries_.front();
    if (entry.event && !(isTargetReady(entry) && isClipReady(entry))) break;
    if (entry.event) {
      type(*entry.event);
    } else {
      entry.done();
    }
    entries_.pop_front();
  }
  isPumping_ = false;
}

bool WaylandKeyEventPoster::isTargetReady(Entry& entry) {
  if (entry.isAskedFor) return true;
  const auto front = surroundings_.frontmost();
  const bool isThere = front && (entry.awaitedWindow != 0 ? front->window == entry.awaitedWindow
                                                          : front->processIdentifier != ::getpid());
  if (isThere) return true;
  if (!entry.end) {
    entry.end = loop_.now() + longestWait;
    pumpAt(*entry.end);
  }
  if (!hasEnded(entry)) return false;
  Log::paste.info("The application to paste into did not come to the front");
  return true;
}

// The target would be given what was copied or selected before.
bool WaylandKeyEventPoster::isClipReady(Entry& entry) {
  if (!isPaste(*entry.event) || entry.isPublished) return true;
  if (std::exchange(entry.isAskedFor, true)) {
    if (!hasEnded(entry)) return false;
    Log::paste.info("The clipboard was slow to take the clip that is pasted");
    return true;
  }
  if (targetsChord() == PasteChord::shiftInsert) surroundings_.offerPrimary();
  entry.end = loop_.now() + longestPublishing;
  pumpAt(*entry.end);
  surroundings_.whenPublished([&loop = loop_, paste = ++asked_, self = std::weak_ptr(self_)] {
    loop.post([paste, self] {
      const auto poster = self.lock();
      if (poster) (*poster)->didPublish(paste);
    });
  });
  return false;
}

// That paste may have been typed by now, for want of this.
void WaylandKeyEventPoster::didPublish(std::uint64_t paste) {
  if (asked_ != paste || entries_.empty() || !entries_.front().isAskedFor) return;
  entries_.front().isPublished = true;
  pump();
}

void WaylandKeyEventPoster::pumpAt(Time time) {
  loop_.postAfter(time - loop_.now(), [self = std::weak_ptr(self_)] {
    if (const auto poster = self.lock()) (*poster)->pump();
  });
}

PasteChord WaylandKeyEventPoster::targetsChord() const {
  const auto front = surroundings_.frontmost();
  if (!front) return PasteChord::controlV;
  const bool isTerminal =
      front->bundleIdentifier && applications_.isTerminal(*front->bundleIdentifier);
  return pasteChord(surroundings_.windowClass(front->window), isTerminal, true);
}

void WaylandKeyEventPoster::type(const KeyEvent& event) {
  if (!keyboard_) keyboard_ = VirtualKeyboard::create(connection_->connection());
  const auto key = xkbKeyCode(event.keyCode);
  if (!keyboard_ || !key || connection_->isBroken()) {
    return Log::paste.error("The keystroke was not sent: the compositor takes none");
  }
  const bool isCommand = (event.flags & KeyEventFlags::command) != 0;
  if (!isPaste(event)) return keyboard_->type(*key, isCommand ? control : 0);
  switch (targetsChord()) {
    case PasteChord::controlV:
      return keyboard_->type(*key, control);
    case PasteChord::controlShiftV:
      return keyboard_->type(*key, control | shift);
    case PasteChord::shiftInsert:
      return keyboard_->type(insertKey, shift);
  }
}

}  // namespace stowboard
