#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Models/HotKeyConfig.h"

namespace stowboard {

/// KDE's service for global shortcuts (org.kde.kglobalaccel). Each belongs to an action of ours,
/// which has a name, and words for the system's settings. Main thread, with Qt's event loop.
class KdeShortcuts {
 public:
  /// A key with its modifiers as the service numbers them.
  using Key = std::int32_t;
  /// Any of which the user may press.
  using Keys = std::vector<Key>;
  struct Action {
    std::string name;
    /// Empty for an action that is neither shown to anybody nor remembered.
    std::string words;
  };

  /// Null when nobody in this session has the service. Waits for the bus to tell.
  static std::shared_ptr<KdeShortcuts> open(const std::string& applicationId);
  ~KdeShortcuts();
  KdeShortcuts(const KdeShortcuts&) = delete;
  KdeShortcuts& operator=(const KdeShortcuts&) = delete;

  /// The combination with the symbol that its key has on a US keyboard; also, where Shift gives
  /// another symbol, that one without Shift, as some versions of the service tell it. Empty for a
  /// key without a name.
  static Keys keysOf(const HotKeyConfig& config);

  /// Takes the keys for the action. What the user chose for it in the system's settings stays,
  /// until other keys are asked for than last time. Waits for the service's answer: the keys that
  /// the action has now, none when others have them, or when the user has switched it off. Absent
  /// when the service does not answer.
  std::optional<Keys> activate(const Action& action, const Keys& keys);
  /// Takes the keys for the action, whoever chose what. Does not wait.
  void force(const Action& action, const Keys& keys);
  /// Gives the action's keys back. The service remembers them.
  void deactivate(const Action& action);
  /// What has the key, in the user's words, as "Walk Through Windows (KWin)"; empty when that is
  /// nobody but this program. Waits for the service's answer.
  std::string otherHolder(Key key) const;

  /// Called with the name of a listed action each time that its keys are pressed; not for the
  /// repeats of a key that is held.
  std::function<void(const std::string& action)> onPress;
  /// The same for the actions that are not listed, repeats included.
  std::function<void(const std::string& action)> onUnlistedPress;

 private:
  class Bus;

  KdeShortcuts(std::string applicationId, std::unique_ptr<Bus> bus);

  void handle(const std::string& action, bool isPress);
  std::vector<std::string> idOf(const Action& action) const;

  const std::string applicationId_;
  const std::unique_ptr<Bus> bus_;
  // The action whose keys are held, and when that was last told.
  std::string held_;
  std::int64_t heldAt_ = 0;
};

}  // namespace stowboard
