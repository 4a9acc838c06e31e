#include "Platform/Compositor/DeviceKeyEventPoster.h"

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

DeviceKeyEventPoster::DeviceKeyEventPoster(std::unique_ptr<TypingDevice> device, RunLoop& loop,
                                           const ApplicationIdentifying& applications,
                                           Surroundings surroundings)
    : loop_(loop),
      applications_(applications),
      surroundings_(std::move(surroundings)),
      device_(std::move(device)) {}

std::unique_ptr<KeyEventPoster::Source> DeviceKeyEventPoster::createSource() {
  return std::make_unique<KeyPositionSource>();
}

void DeviceKeyEventPoster::post(const KeyEvent& event) {
  if (!event.isKeyDown) return;
  Entry entry;
  entry.event = event;
  entry.awaitedWindow = surroundings_.awaitedWindow();
  entries_.push_back(std::move(entry));
  pump();
}

void DeviceKeyEventPoster::whenSent(std::function<void()> done) {
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
void DeviceKeyEventPoster::pump() {
  if (std::exchange(isPumping_, true)) return;
  while (!entries_.empty()) {
    auto& entry = entries_.front();
    if (entry.event && !(isTargetReady(entry) && isClipReady(entry) && isTyped(entry))) break;
    if (entry.done) entry.done();
    entries_.pop_front();
  }
  isPumping_ = false;
}

bool DeviceKeyEventPoster::isTargetReady(Entry& entry) {
  if (entry.isAskedFor || entry.isBegun) return true;
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
bool DeviceKeyEventPoster::isClipReady(Entry& entry) {
  if (!isPaste(*entry.event) || entry.isPublished || entry.isBegun) return true;
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
void DeviceKeyEventPoster::didPublish(std::uint64_t paste) {
  if (asked_ != paste || entries_.empty() || !entries_.front().isAskedFor) return;
  entries_.front().isPublished = true;
  pump();
}

void DeviceKeyEventPoster::pumpAt(Time time) {
  loop_.postAfter(time - loop_.now(), [self = std::weak_ptr(self_)] {
    if (const auto poster = self.lock()) (*poster)->pump();
  });
}

PasteChord DeviceKeyEventPoster::targetsChord() const {
  const auto front = surroundings_.frontmost();
  if (!front) return pasteChord({}, false, device_->keyOfV().has_value());
  const bool isTerminal =
      front->bundleIdentifier && applications_.isTerminal(*front->bundleIdentifier);
  return pasteChord(surroundings_.windowClass(front->window), isTerminal,
                    device_->keyOfV().has_value());
}

bool DeviceKeyEventPoster::isTyped(Entry& entry) {
  if (std::exchange(entry.isBegun, true)) return entry.isTyped;
  const bool isTaken = type(*entry.event, [this, &entry] {
    entry.isTyped = true;
    pump();
  });
  if (!isTaken) Log::paste.error("The keystroke was not sent: the compositor takes none");
  return entry.isTyped || !isTaken;
}

bool DeviceKeyEventPoster::type(const KeyEvent& event, std::function<void()> done) {
  const auto key = xkbKeyCode(event.keyCode);
  if (!key) return false;
  const bool isCommand = (event.flags & KeyEventFlags::command) != 0;
  if (!isPaste(event)) return device_->type(*key, isCommand ? control : 0, std::move(done));
  switch (targetsChord()) {
    case PasteChord::controlV:
      return device_->type(*device_->keyOfV(), control, std::move(done));
    case PasteChord::controlShiftV:
      return device_->type(*device_->keyOfV(), control | shift, std::move(done));
    case PasteChord::shiftInsert:
      return device_->type(insertKey, shift, std::move(done));
  }
  return false;
}

}  // namespace stowboard
