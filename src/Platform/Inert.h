#pragma once

#include "Platform/AccessibilityTrust.h"
#include "Platform/Compositing.h"
#include "Platform/DesktopAppearance.h"
#include "Platform/HotKeyCenter.h"
#include "Platform/KeyEventPoster.h"
#include "Platform/Pasteboard.h"
#include "Platform/TransientWindows.h"
#include "Platform/Workspace.h"

namespace stowboard {

/// A pasteboard that never has content, for a session whose clipboard cannot be reached.
class InertPasteboard : public Pasteboard {
 public:
  std::int64_t changeCount() const override { return 0; }
  std::optional<std::vector<std::string>> types() const override { return std::nullopt; }
  std::optional<Bytes> data(std::string_view) const override { return std::nullopt; }
  std::optional<Text> string(std::string_view) const override { return std::nullopt; }
  std::optional<std::vector<std::string>> sources() const override { return std::nullopt; }
  void discard() override {}
  void reread() override {}
  Rereading rereading() const override { return Rereading::ended; }
  void clearContents() override {}
  void setString(const Text&, std::string_view) override {}
  void setData(const Bytes&, std::string_view) override {}
  void writeImage(std::shared_ptr<const Image>) override {}
  bool announcesMoves() const override { return true; }
};

/// A workspace that knows no application.
class InertWorkspace : public Workspace {
 public:
  std::optional<RunningApplication> frontmostApplication() const override { return std::nullopt; }
  bool isTerminated(const RunningApplication&) const override { return true; }
  bool activate(const RunningApplication&) override { return false; }
};

/// Hot keys on a system without global ones: every registration is refused.
class InertHotKeyCenter : public HotKeyCenter {
 public:
  static constexpr Status unavailable = -1;
  Status installEventHandler(Handler) override { return noError; }
  Registration registerHotKey(const HotKeyConfig&, const HotKeyIdentity&) override {
    return {unavailable, 0};
  }
  void unregisterHotKey(Reference) override {}
};

/// A system to whose applications no key event can be sent.
class InertKeyEventPoster : public KeyEventPoster {
 public:
  std::unique_ptr<Source> createSource() override { return nullptr; }
  void post(const KeyEvent&) override {}
  void whenSent(std::function<void()> done) override { done(); }
};

class InertAccessibilityTrust : public AccessibilityTrust {
 public:
  bool isTrusted() const override { return false; }
  bool canOpenSettings() const override { return false; }
  void openSettings() override {}
};

/// A desktop whose user has no preference.
class InertDesktopAppearance : public DesktopAppearance {
 public:
  Appearance appearance() const override { return {}; }
};

/// Windows that are not blended.
class InertCompositing : public Compositing {
 public:
  bool isRunning() const override { return false; }
};

/// A window system that tells of no clicks.
class InertTransientWindows : public TransientWindows {
 public:
  void prepareToShow(std::uint64_t, int) override {}
  std::unique_ptr<Watch> watch(std::uint64_t, std::function<void()>) override {
    return std::make_unique<Watch>();
  }
};

}  // namespace stowboard
