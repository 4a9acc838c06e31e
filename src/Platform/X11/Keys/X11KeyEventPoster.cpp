#include "Platform/X11/Keys/X11KeyEventPoster.h"

#include <unistd.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include "Base/Log.h"
#include "Platform/KeyPositions.h"
#include "Platform/PasteChord.h"
#include "Platform/X11/Keys/X11KeyInjector.h"
#include "Platform/X11/Keys/X11PastePlan.h"
#include "Platform/X11/X11Desktop.h"

namespace stowboard {

namespace {

constexpr std::chrono::milliseconds betweenWatches{50};

}  // namespace

/// What happens on the poster's thread.
class X11KeyEventPoster::Typing {
 public:
  Typing(RunLoop& loop, const ApplicationIdentifying& applications, Surroundings surroundings,
         std::string display)
      : loop_(loop),
        applications_(applications),
        surroundings_(std::move(surroundings)),
        display_(std::move(display)) {}

  /// From any thread: nothing is waited for any more, and what has not been typed yet never is.
  void end() {
    const std::lock_guard lock(progress_->mutex);
    progress_->isEnding = true;
    progress_->changed.notify_all();
  }

  /// Releases what was pressed again for a person, whose letting go nobody would see any more.
  void leaveNothingDown() {
    if (session_ && !session_->connection->isBroken()) session_->injector.releaseRestored();
  }

  /// Whether keys have to be watched from now on.
  bool type(const KeyEvent& event, std::uint64_t awaitedWindow) {
    if (isEnding()) return false;
    if (!open()) {
      Log::paste.error("The keystroke was not sent: the X server cannot be reached");
      return false;
    }
    const auto target = awaitTarget(awaitedWindow);
    const bool isPaste =
        event.keyCode == virtualKeyOfV && (event.flags & KeyEventFlags::command) != 0;
    const auto stroke = isPaste ? pasteStroke(target) : plainStroke(event);
    if (stroke && !isEnding()) session_->injector.send(*stroke);
    return watch();
  }

  bool watch() {
    if (!session_) return false;
    // What the server tells of the front would pile up.
    while (session_->connection->nextEvent()) continue;
    if (!session_->connection->isBroken() && session_->injector.letGo()) return true;
    session_.reset();
    return false;
  }

 private:
  using Target = std::optional<RunningApplication>;
  using TimePoint = std::chrono::steady_clock::time_point;

  /// What is there while there is something to type or to watch.
  struct Session {
    Session(std::unique_ptr<X11Connection> opened, const ApplicationIdentifying& applications)
        : connection(std::move(opened)), desktop(*connection, applications) {}

    const std::unique_ptr<X11Connection> connection;
    const X11Desktop desktop;
    X11KeyInjector injector{connection->xcb()};
  };

  bool open() {
    if (session_ && session_->connection->isBroken()) session_.reset();
    if (session_) {
      session_->injector.readKeyboard();
      return true;
    }
    auto connection = X11Connection::open(display_);
    if (!connection) return false;
    session_ = std::make_unique<Session>(std::move(connection), applications_);
    session_->desktop.followFront();
    return true;
  }

  // Each event is asked for before the look that it would make wrong.
  Target awaitTarget(std::uint64_t awaitedWindow) {
    const auto end = std::chrono::steady_clock::now() + longestWait;
    for (;;) {
      const auto target = session_->desktop.frontmost();
      if (target && isAwaited(*target, awaitedWindow) && hasFocus(*target)) return target;
      if (isEnding()) return target;
      if (session_->connection->awaitEvents(end)) continue;
      Log::paste.info("The application to paste into did not come to the front");
      return target;
    }
  }

  bool hasFocus(const RunningApplication& application) const {
    const auto window = static_cast<xcb_window_t>(application.window);
    session_->desktop.followFocus(window);
    return session_->desktop.hasInputFocus(window);
  }

  static bool isAwaited(const RunningApplication& application, std::uint64_t awaitedWindow) {
    if (awaitedWindow != 0) return application.window == awaitedWindow;
    return application.processIdentifier != getpid();
  }

  std::optional<KeyStroke> pasteStroke(const Target& target) {
    const auto v = session_->injector.keyFor(XKB_KEY_v);
    const auto window = target ? static_cast<xcb_window_t>(target->window) : xcb_window_t{XCB_NONE};
    const auto windowClass = target ? session_->desktop.windowClass(window) : std::string();
    const auto chord = pasteChord(windowClass, isTerminal(target), v.has_value());
    awaitPublished(chord == PasteChord::shiftInsert);
    if (chord == PasteChord::controlV) return KeyStroke{*v, true, false};
    if (chord == PasteChord::controlShiftV) return KeyStroke{*v, true, true};
    const auto insert = session_->injector.keyFor(XKB_KEY_Insert);
    if (insert) return KeyStroke{*insert, false, true};
    Log::paste.error("The keystroke was not sent: the keyboard has no key for it");
    return std::nullopt;
  }

  static std::optional<KeyStroke> plainStroke(const KeyEvent& event) {
    const auto key = xkbKeyCode(event.keyCode);
    if (!key) return std::nullopt;
    return KeyStroke{*key, (event.flags & KeyEventFlags::command) != 0, false};
  }

  bool isTerminal(const Target& target) const {
    return target && target->bundleIdentifier &&
           applications_.isTerminal(*target->bundleIdentifier);
  }

  // The target would be given what was copied or selected before.
  void awaitPublished(bool withPrimary) {
    std::unique_lock lock(progress_->mutex);
    const auto paste = ++progress_->awaited;
    loop_.post([surroundings = surroundings_, withPrimary, paste, progress = progress_] {
      if (withPrimary) surroundings.offerPrimary();
      surroundings.whenPublished([paste, progress] {
        const std::lock_guard published(progress->mutex);
        progress->published = paste;
        progress->changed.notify_all();
      });
    });
    const bool isOver = progress_->changed.wait_for(lock, longestPublishing, [&] {
      return progress_->published == paste || progress_->isEnding;
    });
    if (!isOver) Log::paste.info("The clipboard was slow to take the clip that is pasted");
  }

  bool isEnding() const {
    const std::lock_guard lock(progress_->mutex);
    return progress_->isEnding;
  }

  /// What is heard from other threads, which may outlive this.
  struct Progress {
    std::mutex mutex;
    std::condition_variable changed;
    /// Pastes whose clip is awaited on the clipboard, counted; and the last that was told to be.
    std::uint64_t awaited = 0;
    std::uint64_t published = 0;
    bool isEnding = false;
  };

  RunLoop& loop_;
  const ApplicationIdentifying& applications_;
  const Surroundings surroundings_;
  const std::string display_;
  const std::shared_ptr<Progress> progress_ = std::make_shared<Progress>();
  std::unique_ptr<Session> session_;
};

std::unique_ptr<X11KeyEventPoster> X11KeyEventPoster::create(
    const X11MainConnection& connection, RunLoop& loop, const ApplicationIdentifying& applications,
    Surroundings surroundings) {
  if (!X11KeyInjector::isPossible(connection.xcb())) return nullptr;
  auto awaitedWindow = surroundings.awaitedWindow;
  auto typing =
      std::make_unique<Typing>(loop, applications, std::move(surroundings), connection.display());
  return std::unique_ptr<X11KeyEventPoster>(
      new X11KeyEventPoster(loop, std::move(typing), std::move(awaitedWindow)));
}

X11KeyEventPoster::X11KeyEventPoster(RunLoop& loop, std::unique_ptr<Typing> typing,
                                     std::function<std::uint64_t()> awaitedWindow)
    : loop_(loop), typing_(std::move(typing)), awaitedWindow_(std::move(awaitedWindow)) {}

X11KeyEventPoster::~X11KeyEventPoster() {
  typing_->end();
  queue_.async([typing = typing_.get()] { typing->leaveNothingDown(); });
}

std::unique_ptr<KeyEventPoster::Source> X11KeyEventPoster::createSource() {
  return std::make_unique<KeyPositionSource>();
}

void X11KeyEventPoster::post(const KeyEvent& event) {
  if (!event.isKeyDown) return;
  submit([this, event, awaited = awaitedWindow_()] { return typing_->type(event, awaited); });
}

void X11KeyEventPoster::whenSent(std::function<void()> done) {
  const auto tell = [&loop = loop_, done = std::move(done), self = std::weak_ptr(self_)] {
    loop.post([self, done] {
      if (!self.expired()) done();
    });
  };
  if (!queue_.async(tell)) tell();
}

void X11KeyEventPoster::submit(std::function<bool()> task) {
  queue_.async([this, task = std::move(task), self = std::weak_ptr(self_)] {
    if (!task()) return;
    loop_.post([self] {
      if (const auto poster = self.lock()) (*poster)->watchLater();
    });
  });
}

// Between two looks the thread is free for the next keystroke.
void X11KeyEventPoster::watchLater() {
  if (std::exchange(isWatching_, true)) return;
  loop_.postAfter(betweenWatches, [self = std::weak_ptr(self_)] {
    const auto poster = self.lock();
    if (!poster) return;
    (*poster)->isWatching_ = false;
    (*poster)->submit([typing = (*poster)->typing_.get()] { return typing->watch(); });
  });
}

}  // namespace stowboard
