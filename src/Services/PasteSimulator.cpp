#include "Services/PasteSimulator.h"

#include <array>
#include <chrono>
#include <utility>

#include "Base/Log.h"
#include "Utils/PasteboardWriter.h"

namespace stowboard {

namespace {

constexpr RunLoop::Duration keystrokeDelay = std::chrono::milliseconds(80);
// What a program may take from the keystroke to asking for the clipboard's content.
constexpr RunLoop::Duration askingTakes = std::chrono::milliseconds(100);
constexpr std::uint32_t pasteKeyCode = 9;

}  // namespace

PasteSimulator::PasteSimulator(Ports ports, ClipboardMonitoring& monitor,
                               PermissionHelper& permission, SettingsProvider settingsProvider)
    : ports_(std::move(ports)),
      monitor_(monitor),
      permission_(permission),
      settingsProvider_(std::move(settingsProvider)) {
  observeWorkspace();
}

PasteSimulator::~PasteSimulator() { ports_.workspace.onDidActivate = nullptr; }

void PasteSimulator::observeWorkspace() {
  ports_.workspace.onDidActivate = [this](const RunningApplication& application) {
    if (application.bundleIdentifier == ports_.ownIdentifier) return;
    lastForeignApplication_ = application;
  };
}

void PasteSimulator::activate(const ClipItem& clip) {
  if (!isUnderWay_) return paste(clip);
  if (waiting_.size() < mostWaiting) return waiting_.push_back(clip);
  Log::paste.error("Too many pastes are waiting: one was left out");
}

void PasteSimulator::paste(const ClipItem& clip) {
  PasteboardWriter::write(clip, ports_.pasteboard, ports_.imageCodec);
  monitor_.markSelfWrite();
  if (onDidActivate) onDidActivate();
  if (settingsProvider_().pasteMode != PasteMode::directPaste) return;

  const Application frontmost = ports_.workspace.frontmostApplication();
  const Application chosen = target(frontmost);
  Log::paste.info("Pasting into {}",
                  chosen ? chosen->bundleIdentifier.value_or("unknown") : "unknown");
  if (!isForeign(frontmost) && chosen) ports_.workspace.activate(*chosen);
  isUnderWay_ = true;
  later(keystrokeDelay, &PasteSimulator::postPasteKeystroke);
}

void PasteSimulator::later(RunLoop::Duration delay, void (PasteSimulator::*step)()) {
  ports_.runLoop.postAfter(delay, [step, weakSelf = std::weak_ptr(self_)] {
    if (const auto self = weakSelf.lock()) ((*self)->*step)();
  });
}

void PasteSimulator::pasteNext() {
  isUnderWay_ = false;
  // In the mode of copying only, one does not wait for the other.
  while (!isUnderWay_ && !waiting_.empty()) {
    const ClipItem clip = std::move(waiting_.front());
    waiting_.pop_front();
    paste(clip);
  }
}

bool PasteSimulator::isForeign(const Application& application) const {
  return application && application->bundleIdentifier &&
         application->bundleIdentifier != ports_.ownIdentifier;
}

PasteSimulator::Application PasteSimulator::target(const Application& frontmost) const {
  if (isForeign(frontmost)) return frontmost;
  if (lastForeignApplication_ && !ports_.workspace.isTerminated(*lastForeignApplication_)) {
    return lastForeignApplication_;
  }
  return std::nullopt;
}

void PasteSimulator::postPasteKeystroke() {
  if (!permission_.requestIfNeeded()) return pasteNext();
  const auto source = ports_.keyEventPoster.createSource();
  if (!source) {
    Log::paste.error("Failed to create CGEventSource");
    return pasteNext();
  }
  const std::array events{source->createKeyEvent(pasteKeyCode, true),
                          source->createKeyEvent(pasteKeyCode, false)};
  for (std::optional<KeyEvent> event : events) {
    if (!event) continue;
    event->flags = event->isKeyDown ? KeyEventFlags::command : KeyEventFlags::none;
    ports_.keyEventPoster.post(*event);
  }
  ports_.keyEventPoster.whenSent([weakSelf = std::weak_ptr(self_)] {
    if (const auto self = weakSelf.lock()) (*self)->later(askingTakes, &PasteSimulator::pasteNext);
  });
}

}  // namespace stowboard
