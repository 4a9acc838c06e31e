#pragma once

#include <functional>
#include <list>
#include <memory>
#include <vector>

#include "Platform/Desktop/BusNotifier.h"
#include "Platform/RunLoop.h"

namespace stowboard {

/// Whether the user's session is locked: by logind's LockedHint of this session, and by the screen
/// savers of the usual desktops, any of which counts. Each is heard under its own name, which the
/// bus vouches for. One that is missing, or has not answered within two seconds of the start, says
/// that it is not. Main thread.
class SessionLock {
 public:
  /// The session bus and the run loop must outlive this; the bus hands out nothing in between.
  SessionLock(sd_bus* sessionBus, RunLoop& runLoop);
  ~SessionLock();
  SessionLock(const SessionLock&) = delete;
  SessionLock& operator=(const SessionLock&) = delete;

  /// Called at once, but in the first moments, when it is not known yet.
  using Answer = std::function<void(bool isLocked)>;
  void ask(Answer answer);

 private:
  struct Source;

  void follow(Source source);
  void didAnswer(Source& source, bool isLocked);
  bool isLocked() const;
  void becomeKnown();

  sd_bus* systemBus_ = nullptr;
  std::list<Source> sources_;
  std::vector<Answer> waiting_;
  /// Until everybody has answered.
  std::unique_ptr<RunLoop::Timer> deadline_;
  std::unique_ptr<BusNotifier> systemNotifier_;
};

}  // namespace stowboard
