#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Compositor/WindowTeller.h"

namespace stowboard {

/// Our extension of GNOME Shell, on the session bus, where it comes and goes with the user's wishes
/// and the shell. Nothing here waits for it. Main thread, with Qt's event loop.
class GnomeShell final : public WindowTeller {
 public:
  /// Null without a session bus.
  static std::shared_ptr<GnomeShell> open();
  ~GnomeShell() override;
  GnomeShell(const GnomeShell&) = delete;
  GnomeShell& operator=(const GnomeShell&) = delete;

  /// Whether the extension is there and answers to this program.
  bool isServing() const { return isServing_; }
  /// Calls it each time that the extension comes or goes, for as long as this lives.
  void follow(std::function<void()> servingDidChange) {
    followers_.push_back(std::move(servingDidChange));
  }

  const std::optional<Window>& front() const override { return front_; }
  void activate(const std::string& id) override;

  /// Takes a key by its place, as in "<Super><Shift>0x37", under a name. `done` is told whether it
  /// was to be had; nothing when the extension goes meanwhile.
  void grab(const std::string& name, const std::string& accelerator,
            std::function<void(bool isGranted)> done);
  void ungrab(const std::string& name);
  /// What has a key, as in "<Super><Alt>8", in the words of the desktop's settings: `done` is told
  /// an empty text where that is not known.
  void findHolder(const std::string& accelerator, std::function<void(const std::string&)> done);

  /// Types a key with modifiers, all by the kernel's codes, once the user holds none. `done` is
  /// told whether that came true in time.
  void type(const std::vector<std::uint32_t>& modifiers, std::uint32_t key,
            std::function<void(bool isTyped)> done);

  /// Called with the name of a grab each time that its key is pressed.
  std::function<void(const std::string& name)> onPress;
  /// Called when the clipboard has another owner for Wayland programs.
  std::function<void()> onClipboardDidChange;
  /// Called when one of the shell's own parts is clicked while a window of ours is in front.
  std::function<void()> onClickElsewhere;

 private:
  class Bus;

  GnomeShell();

  void setServing(bool isServing);

  bool isServing_ = false;
  std::optional<Window> front_;
  std::vector<std::function<void()>> followers_;
  std::unique_ptr<Bus> bus_;
};

}  // namespace stowboard
