#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Platform/ApplicationIdentifying.h"
#include "Platform/Compositor/TypingDevice.h"
#include "Platform/KeyEventPoster.h"
#include "Platform/PasteChord.h"
#include "Platform/RunLoop.h"
#include "Platform/Workspace.h"

namespace stowboard {

/// Types on what the compositor lets this program type on.
///
/// A key-down is sent as a whole stroke, and its key-up adds nothing. Command with V becomes the
/// chord that the application in front pastes on (PasteChord.h); Command with another key is
/// Control with it. Before it types, it waits for the activation under way, longestWait at most:
/// until the window that is awaited is in front, or, when none is, any window that is not ours.
class DeviceKeyEventPoster final : public KeyEventPoster {
 public:
  static constexpr std::chrono::milliseconds longestWait{150};
  static constexpr std::chrono::milliseconds longestPublishing{500};

  /// What the poster asks of the rest of the program. All are called on the main thread, and
  /// outlive the poster.
  struct Surroundings {
    /// The application in front.
    std::function<std::optional<RunningApplication>()> frontmost;
    /// What a window is called by: its application's id, or its class.
    std::function<std::string(std::uint64_t window)> windowClass;
    /// The window whose activation is under way, 0 for none.
    std::function<std::uint64_t()> awaitedWindow;
    /// Offers the clipboard's content as the primary selection too, for targets that paste that.
    std::function<void()> offerPrimary = [] {};
    /// Calls back, on any thread, once other programs are given what was written and offered
    /// before; a paste's stroke waits for that, longestPublishing at most.
    std::function<void(std::function<void()> done)> whenPublished = [](const auto& done) {
      done();
    };
  };

  /// `loop` and `applications` must outlive the poster.
  DeviceKeyEventPoster(std::unique_ptr<TypingDevice> device, RunLoop& loop,
                       const ApplicationIdentifying& applications, Surroundings surroundings);

  std::unique_ptr<KeyEventPoster::Source> createSource() override;
  void post(const KeyEvent& event) override;
  void whenSent(std::function<void()> done) override;

  /// To be called each time that another window has come to the front.
  void frontDidChange() { pump(); }

 private:
  using Time = RunLoop::TimePoint;

  /// Something to be typed, or when there is no event, to be told once all before it has been.
  struct Entry {
    std::optional<KeyEvent> event;
    std::function<void()> done;
    // The window to be typed into, 0 for any that is not ours; and until when it is waited for.
    std::uint64_t awaitedWindow = 0;
    std::optional<Time> end;
    // A paste waits for its clip next.
    bool isAskedFor = false;
    bool isPublished = false;
    // It is being typed, or has been.
    bool isBegun = false;
    bool isTyped = false;
  };

  void pump();
  /// Whether the front is as the first entry waits for it, or has been waited for long enough.
  bool isTargetReady(Entry& entry);
  bool isClipReady(Entry& entry);
  bool hasEnded(const Entry& entry) const { return loop_.now() >= *entry.end; }
  void didPublish(std::uint64_t paste);
  void pumpAt(Time time);
  bool isTyped(Entry& entry);
  bool type(const KeyEvent& event, std::function<void()> done);
  PasteChord targetsChord() const;

  RunLoop& loop_;
  const ApplicationIdentifying& applications_;
  const Surroundings surroundings_;
  std::deque<Entry> entries_;
  bool isPumping_ = false;
  // Counts the pastes whose clip was asked for.
  std::uint64_t asked_ = 0;
  const std::shared_ptr<DeviceKeyEventPoster*> self_ =
      std::make_shared<DeviceKeyEventPoster*>(this);
  // The first to go, since it calls back.
  const std::unique_ptr<TypingDevice> device_;
};

}  // namespace stowboard
