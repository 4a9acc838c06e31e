#pragma once

#include <memory>
#include <utility>

#include "Platform/AccessibilityTrust.h"
#include "Platform/Gnome/GnomeShell.h"
#include "Platform/KeyEventPoster.h"
#include "Platform/TransientWindows.h"
#include "Platform/Workspace.h"

namespace stowboard {

// Each is one adapter while our extension of GNOME Shell is there, and another while it is not.

class GnomeWorkspace final : public Workspace {
 public:
  GnomeWorkspace(std::shared_ptr<GnomeShell> shell, std::unique_ptr<Workspace> told,
                 std::unique_ptr<Workspace> otherwise)
      : shell_(std::move(shell)), told_(std::move(told)), otherwise_(std::move(otherwise)) {
    const auto report = [this](const RunningApplication& application) {
      // A copy, because the callee may replace it.
      if (const auto callback = onDidActivate) callback(application);
    };
    told_->onDidActivate = report;
    otherwise_->onDidActivate = [this, report](const RunningApplication& application) {
      if (!shell_->isServing()) report(application);
    };
  }

  std::optional<RunningApplication> frontmostApplication() const override {
    return inUse().frontmostApplication();
  }
  bool isTerminated(const RunningApplication& application) const override {
    return inUse().isTerminated(application);
  }
  bool activate(const RunningApplication& application) override {
    return inUse().activate(application);
  }

 private:
  Workspace& inUse() const { return shell_->isServing() ? *told_ : *otherwise_; }

  const std::shared_ptr<GnomeShell> shell_;
  const std::unique_ptr<Workspace> told_;
  const std::unique_ptr<Workspace> otherwise_;
};

class GnomeKeyEventPoster final : public KeyEventPoster {
 public:
  GnomeKeyEventPoster(std::shared_ptr<GnomeShell> shell, std::unique_ptr<KeyEventPoster> byShell,
                      std::unique_ptr<KeyEventPoster> otherwise)
      : shell_(std::move(shell)), byShell_(std::move(byShell)), otherwise_(std::move(otherwise)) {}

  std::unique_ptr<Source> createSource() override { return inUse().createSource(); }
  void post(const KeyEvent& event) override { inUse().post(event); }
  void whenSent(std::function<void()> done) override { inUse().whenSent(std::move(done)); }

 private:
  KeyEventPoster& inUse() const { return shell_->isServing() ? *byShell_ : *otherwise_; }

  const std::shared_ptr<GnomeShell> shell_;
  const std::unique_ptr<KeyEventPoster> byShell_;
  const std::unique_ptr<KeyEventPoster> otherwise_;
};

/// Whoever enables the extension lets it type.
class GnomeAccessibilityTrust final : public AccessibilityTrust {
 public:
  GnomeAccessibilityTrust(std::shared_ptr<GnomeShell> shell,
                          std::unique_ptr<AccessibilityTrust> otherwise)
      : shell_(std::move(shell)), otherwise_(std::move(otherwise)) {}

  bool isTrusted() const override { return shell_->isServing() || otherwise_->isTrusted(); }
  bool canOpenSettings() const override { return otherwise_->canOpenSettings(); }
  void openSettings() override { otherwise_->openSettings(); }

 private:
  const std::shared_ptr<GnomeShell> shell_;
  const std::unique_ptr<AccessibilityTrust> otherwise_;
};

/// The extension puts the windows in their places as they come up.
class GnomeTransientWindows final : public TransientWindows {
 public:
  GnomeTransientWindows(std::shared_ptr<GnomeShell> shell, std::unique_ptr<TransientWindows> onX11)
      : shell_(std::move(shell)), onX11_(std::move(onX11)) {}

  void prepareToShow(std::uint64_t window, int shadowMargin) override {
    onX11_->prepareToShow(window, shadowMargin);
  }
  /// Of clicks on windows the focus tells; the X server of XWayland may think of the pointer as
  /// where it last was.
  std::unique_ptr<Watch> watch(std::uint64_t window,
                               std::function<void()> onClickOutside) override {
    auto onX11 = onX11_->watch(window, [] {});
    return std::make_unique<ShellsWatch>(*shell_, std::move(onX11), std::move(onClickOutside));
  }

 private:
  /// Ends with the one on X11 that it holds.
  class ShellsWatch final : public Watch {
   public:
    ShellsWatch(GnomeShell& shell, std::unique_ptr<Watch> onX11,
                std::function<void()> onClickOutside)
        : shell_(shell), onX11_(std::move(onX11)) {
      onX11_->onRelease = [this] { tell(onRelease); };
      onX11_->onFocus = [this] { tell(onFocus); };
      shell_.onClickElsewhere = std::move(onClickOutside);
    }
    ~ShellsWatch() override { shell_.onClickElsewhere = nullptr; }

   private:
    // A copy, because the callee may replace it or end this.
    static void tell(std::function<void()> callback) {
      if (callback) callback();
    }

    GnomeShell& shell_;
    const std::unique_ptr<Watch> onX11_;
  };

  const std::shared_ptr<GnomeShell> shell_;
  const std::unique_ptr<TransientWindows> onX11_;
};

}  // namespace stowboard
