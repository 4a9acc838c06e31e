#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Models/AppSettings.h"
#include "Platform/Image.h"
#include "Platform/KeyEventPoster.h"
#include "Platform/Pasteboard.h"
#include "Platform/RunLoop.h"
#include "Platform/Workspace.h"
#include "Services/ClipboardMonitoring.h"
#include "Services/PasteSimulating.h"
#include "Utils/PermissionHelper.h"

namespace stowboard {

/// The one road of a paste: writes the clip, has the monitor skip that write, brings the user's
/// application back to the front, and sends it the paste keystroke 80 ms later. Follows the
/// workspace's activations from its construction on, so that it knows that application even while
/// the program's own panel has the focus. Main thread.
///
/// Pastes that are asked for while one is under way wait for their turn, each with its clip on the
/// clipboard when its keystroke arrives.
class PasteSimulator : public PasteSimulating {
 public:
  using SettingsProvider = std::function<AppSettings()>;

  /// What a paste needs of the desktop; all must outlive the simulator.
  struct Ports {
    Pasteboard& pasteboard;
    ImageCodec& imageCodec;
    Workspace& workspace;
    KeyEventPoster& keyEventPoster;
    RunLoop& runLoop;
    /// This application's own identifier.
    std::optional<std::string> ownIdentifier;
  };

  PasteSimulator(Ports ports, ClipboardMonitoring& monitor, PermissionHelper& permission,
                 SettingsProvider settingsProvider);
  ~PasteSimulator() override;
  PasteSimulator(const PasteSimulator&) = delete;
  PasteSimulator& operator=(const PasteSimulator&) = delete;

  void activate(const ClipItem& clip) override;
  /// How many pastes may wait; what is asked for beyond that is left out, as the log says.
  static constexpr std::size_t mostWaiting = 32;

  /// Called once a paste, right after the clip was written. Absent at first.
  std::function<void()> onDidActivate;

 private:
  using Application = std::optional<RunningApplication>;

  void paste(const ClipItem& clip);
  void later(RunLoop::Duration delay, void (PasteSimulator::*step)());
  void pasteNext();
  void observeWorkspace();
  bool isForeign(const Application& application) const;
  Application target(const Application& frontmost) const;
  void postPasteKeystroke();

  const Ports ports_;
  ClipboardMonitoring& monitor_;
  PermissionHelper& permission_;
  const SettingsProvider settingsProvider_;
  /// The last application other than this one that came to the front; it may have ended since.
  Application lastForeignApplication_;
  bool isUnderWay_ = false;
  std::deque<ClipItem> waiting_;
  /// What delayed steps hold weakly.
  const std::shared_ptr<PasteSimulator*> self_ = std::make_shared<PasteSimulator*>(this);
};

}  // namespace stowboard
