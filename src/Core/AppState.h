#pragma once

#include <string_view>
#include <vector>

#include "Base/Published.h"
#include "Models/AppSettings.h"
#include "Models/ClipItem.h"

namespace stowboard {

/// The one shared, observable state of the running program: the history, the settings, and whether
/// the history panel is on screen. Keeps the history in shape: newest first, no repetition of the
/// newest clip, never longer than `settings().maxRecords`. Main thread.
///
/// Every assignment of a field notifies the field's subscribers synchronously, in subscription
/// order, also when the value is unchanged.
class AppState {
 public:
  using Clips = std::vector<ClipItem>;

  /// `clips` as loaded, newest first; those beyond the settings' maximum are dropped.
  AppState(Clips clips, AppSettings settings);

  const Clips& clips() const { return clips_.value(); }
  const AppSettings& settings() const { return settings_.value(); }
  bool isPanelVisible() const { return isPanelVisible_.value(); }

  Publisher<Clips> clipsPublisher() { return clips_.publisher(); }
  Publisher<AppSettings> settingsPublisher() { return settings_.publisher(); }
  Publisher<bool> isPanelVisiblePublisher() { return isPanelVisible_.publisher(); }

  /// Puts a captured clip at the head of the history. False, and nobody is notified, when it has
  /// the same content as the newest clip. A capture that overflows the history notifies twice: with
  /// one clip too many, then trimmed.
  bool append(const ClipItem& item);

  /// Whether a new clip only repeats the newest one; `last` is null for an empty history.
  static bool shouldSkip(const ClipItem& newItem, const ClipItem* last);

  /// The clips whose text contains the query, in history order; all of them when nothing but white
  /// space is asked for. See SearchQuery for the rules.
  Clips filteredClips(std::string_view query) const;
  /// Whether there is one among them; looks no further than the first.
  bool hasFilteredClips(std::string_view query) const;

  /// Takes one clip out; nobody is notified when it is not there.
  void remove(const Uuid& id);
  void clearAll();

  /// Replaces the settings and trims the history to their maximum.
  void updateSettings(AppSettings settings);

  /// For the history panel only.
  void setPanelVisible(bool isVisible) { isPanelVisible_.assign(isVisible); }

 private:
  void truncateIfNeeded();

  Published<Clips> clips_;
  Published<AppSettings> settings_;
  Published<bool> isPanelVisible_{false};
};

}  // namespace stowboard
