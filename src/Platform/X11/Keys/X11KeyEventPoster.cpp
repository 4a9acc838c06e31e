#include "Platform/X11/Keys/X11KeyEventPoster.h"

#include <unistd.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include <chrono>
#include <future>
#include <optional>
#include <thread>
#include <utility>

#include "Base/Log.h"
#include "Platform/X11/Keys/X11KeyInjector.h"
#include "Platform/X11/Keys/X11PastePlan.h"
#include "Platform/X11/X11Desktop.h"

namespace stowboard {

namespace {

constexpr std::uint32_t virtualKeyOfV = 9;
constexpr std::chrono::milliseconds betweenLooks{2};
constexpr std::chrono::milliseconds betweenWatches{50};

// Looks until the condition holds, `longest` at most; false when it does not by then.
template <typename Condition>
bool holdsWithin(std::chrono::milliseconds longest, Condition condition) {
  const auto end = std::chrono::steady_clock::now() + longest;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(betweenLooks);
  }
  return true;
}

class KeySource final : public KeyEventPoster::Source {
 public:
  std::optional<KeyEvent> createKeyEvent(std::uint32_t keyCode, bool isKeyDown) override {
    if (!x11KeyCode(keyCode)) return std::nullopt;
    return KeyEvent{keyCode, isKeyDown, KeyEventFlags::none};
  }
};

}  // namespace

/// What happens on the poster's thread.
class X11KeyEventPoster::Typing {
 public:
  Typing(const ApplicationIdentifying& applications, const Surroundings& surroundings,
         std::function<void(std::function<void()>)> onMainThread, std::string display)
      : applications_(applications),
        surroundings_(surroundings),
        onMainThread_(std::move(onMainThread)),
        display_(std::move(display)) {}

  /// Whether keys have to be watched from now on.
  bool type(const KeyEvent& event, std::uint64_t awaitedWindow) {
    if (!open()) {
      Log::paste.error("The keystroke was not sent: the X server cannot be reached");
      return false;
    }
    const auto target = awaitTarget(awaitedWindow);
    const bool isPaste =
        event.keyCode == virtualKeyOfV && (event.flags & KeyEventFlags::command) != 0;
    if (const auto stroke = isPaste ? pasteStroke(target) : plainStroke(event)) {
      injector_->send(*stroke);
    }
    return watch();
  }

  bool watch() {
    if (!injector_) return false;
    if (!desktop_->connection().isBroken() && injector_->letGo()) return true;
    close();
    return false;
  }

 private:
  using Target = std::optional<RunningApplication>;

  void close() {
    injector_.reset();
    desktop_.reset();
  }

  bool open() {
    if (desktop_ && desktop_->connection().isBroken()) close();
    if (!desktop_) desktop_ = X11Desktop::open(applications_, display_);
    if (!desktop_) return false;
    if (injector_) {
      injector_->readKeyboard();
    } else {
      injector_.emplace(desktop_->xcb());
    }
    return true;
  }

  Target awaitTarget(std::uint64_t awaitedWindow) {
    Target target;
    const bool isReached = holdsWithin(longestWait, [&] {
      target = desktop_->frontmost();
      return target && isAwaited(*target, awaitedWindow) &&
             desktop_->hasInputFocus(static_cast<xcb_window_t>(target->window));
    });
    if (!isReached) Log::paste.info("The application to paste into did not come to the front");
    return target;
  }

  static bool isAwaited(const RunningApplication& application, std::uint64_t awaitedWindow) {
    if (awaitedWindow != 0) return application.window == awaitedWindow;
    return application.processIdentifier != getpid();
  }

  std::optional<KeyStroke> pasteStroke(const Target& target) {
    const auto v = injector_->keyFor(XKB_KEY_v);
    const auto window = target ? static_cast<xcb_window_t>(target->window) : xcb_window_t{XCB_NONE};
    const auto windowClass = target ? desktop_->windowClass(window) : std::string();
    const auto chord = pasteChord(windowClass, isTerminal(target), v.has_value());
    awaitPublished(chord == PasteChord::shiftInsert);
    if (chord == PasteChord::controlV) return KeyStroke{*v, true, false};
    if (chord == PasteChord::controlShiftV) return KeyStroke{*v, true, true};
    const auto insert = injector_->keyFor(XKB_KEY_Insert);
    if (insert) return KeyStroke{*insert, false, true};
    Log::paste.error("The keystroke was not sent: the keyboard has no key for it");
    return std::nullopt;
  }

  static std::optional<KeyStroke> plainStroke(const KeyEvent& event) {
    const auto key = x11KeyCode(event.keyCode);
    if (!key) return std::nullopt;
    return KeyStroke{*key, (event.flags & KeyEventFlags::command) != 0, false};
  }

  bool isTerminal(const Target& target) const {
    return target && target->bundleIdentifier &&
           applications_.isTerminal(*target->bundleIdentifier);
  }

  // The target would be given what was copied or selected before.
  void awaitPublished(bool withPrimary) {
    const auto published = std::make_shared<std::promise<void>>();
    const auto isPublished = published->get_future();
    onMainThread_([surroundings = surroundings_, withPrimary, published] {
      if (withPrimary) surroundings.offerPrimary();
      surroundings.whenPublished([published] { published->set_value(); });
    });
    if (isPublished.wait_for(longestPublishing) == std::future_status::timeout) {
      Log::paste.info("The clipboard was slow to take the clip that is pasted");
    }
  }

  const ApplicationIdentifying& applications_;
  const Surroundings& surroundings_;
  const std::function<void(std::function<void()>)> onMainThread_;
  const std::string display_;
  std::unique_ptr<X11Desktop> desktop_;
  std::optional<X11KeyInjector> injector_;
};

std::unique_ptr<X11KeyEventPoster> X11KeyEventPoster::create(
    RunLoop& loop, const ApplicationIdentifying& applications, Surroundings surroundings,
    const std::string& display) {
  const auto connection = X11Connection::open(display);
  if (!connection || !X11KeyInjector::isPossible(connection->xcb())) return nullptr;
  return std::unique_ptr<X11KeyEventPoster>(
      new X11KeyEventPoster(loop, applications, std::move(surroundings), display));
}

X11KeyEventPoster::X11KeyEventPoster(RunLoop& loop, const ApplicationIdentifying& applications,
                                     Surroundings surroundings, const std::string& display)
    : loop_(loop),
      surroundings_(std::move(surroundings)),
      typing_(std::make_unique<Typing>(
          applications, surroundings_,
          [&loop](std::function<void()> task) { loop.post(std::move(task)); }, display)) {}

X11KeyEventPoster::~X11KeyEventPoster() = default;

std::unique_ptr<KeyEventPoster::Source> X11KeyEventPoster::createSource() {
  return std::make_unique<KeySource>();
}

void X11KeyEventPoster::post(const KeyEvent& event) {
  if (!event.isKeyDown) return;
  submit([this, event, awaited = surroundings_.awaitedWindow()] {
    return typing_->type(event, awaited);
  });
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
