#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "Platform/Compositor/TypingDevice.h"
#include "Platform/RunLoop.h"
#include "Platform/Wayland/KdeShortcuts.h"
#include "Platform/Wayland/Protocols/fake-input-client.h"
#include "Platform/Wayland/WaylandKeymap.h"
#include "Platform/Wayland/WaylandMainConnection.h"

namespace stowboard {

template <>
struct WaylandDestroy<org_kde_kwin_fake_input> {
  void operator()(org_kde_kwin_fake_input* input) const { org_kde_kwin_fake_input_destroy(input); }
};

/// Types on KWin, as the user's own keyboard (org_kde_kwin_fake_input), which KWin allows programs
/// whose desktop file asks for it. What is held there is held for what is typed, too, so it is
/// lifted and put back, or where KWin does not allow that (version 6), waited for.
///
/// KWin tells nobody what is held: a key that no keyboard has is typed first, whose combinations
/// with all modifiers are shortcuts of ours. The one that answers tells.
class KwinTypingDevice final : public TypingDevice {
 public:
  /// Null when KWin does not let this program type. `loop` must outlive the device.
  static std::unique_ptr<KwinTypingDevice> create(std::shared_ptr<WaylandMainConnection> connection,
                                                  std::shared_ptr<KdeShortcuts> shortcuts,
                                                  RunLoop& loop);
  ~KwinTypingDevice() override;

  static bool isAllowed(const WaylandConnection& connection);

  bool type(std::uint8_t key, std::uint32_t modifiers, std::function<void()> done) override;
  std::optional<std::uint8_t> keyOfV() const override;

 private:
  /// Modifiers by their places in a mask: Shift, Control, Alt, Super.
  using Modifiers = std::uint8_t;
  struct Stroke {
    std::uint8_t key;
    Modifiers modifiers;
    std::function<void()> done;
    /// Until then it waits for the user to let go of keys that it cannot lift.
    RunLoop::TimePoint end;
  };

  KwinTypingDevice(std::shared_ptr<WaylandMainConnection> connection,
                   std::shared_ptr<KdeShortcuts> shortcuts, RunLoop& loop);

  void askForHeld(std::function<void(Modifiers)> then);
  void answer(Modifiers held);
  void lift(Modifiers held);
  void waitForRelease();
  void typeAndPutBack(Modifiers leftOnes, Modifiers rightOnes);
  void finish();
  void press(std::uint8_t key, bool isDown);
  void pressAll(Modifiers leftOnes, Modifiers rightOnes, bool areDown);

  const std::shared_ptr<WaylandMainConnection> connection_;
  const std::shared_ptr<KdeShortcuts> shortcuts_;
  RunLoop& loop_;
  const WaylandKeymap keymap_;
  const WaylandObject<org_kde_kwin_fake_input> input_;
  bool canLift_ = true;
  Stroke stroke_{};
  // What the user held as the stroke began.
  Modifiers held_ = 0;
  // Who waits for the answer about what is held, and which question that is.
  std::function<void(Modifiers)> then_;
  std::uint64_t question_ = 0;
  const std::shared_ptr<KwinTypingDevice*> self_ = std::make_shared<KwinTypingDevice*>(this);
};

}  // namespace stowboard
