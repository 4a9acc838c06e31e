#include "Platform/Desktop/Bus/SessionLock.h"

#include <fmt/format.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <utility>

namespace stowboard {

namespace {

// For matches that are added without waiting: without a handler, the bus library closes the
// connection when the bus's answer comes too late, as to a program that was stopped for a while.
int ignoreMatchOutcome(sd_bus_message* /*answer*/, void* /*data*/, sd_bus_error* /*error*/) {
  return 0;
}

constexpr auto answersTake = std::chrono::seconds(2);

// Each has its object at the path that its name makes, and an interface of that name.
constexpr const char* screenSavers[] = {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver",
                                        "org.cinnamon.ScreenSaver", "org.mate.ScreenSaver",
                                        "org.xfce.ScreenSaver"};

std::string pathOf(std::string name) {
  std::replace(name.begin(), name.end(), '.', '/');
  return "/" + name;
}

// A boolean, in a variant where it is a property's; false for an error.
bool readBoolean(sd_bus_message* answer) {
  if (sd_bus_message_is_method_error(answer, nullptr) > 0) return false;
  int value = 0;
  sd_bus_message_enter_container(answer, SD_BUS_TYPE_VARIANT, "b");
  return sd_bus_message_read_basic(answer, SD_BUS_TYPE_BOOLEAN, &value) > 0 && value != 0;
}

}  // namespace

/// One that knows, what it is asked, and what its sign of a change is.
struct SessionLock::Source {
  SessionLock* lock;
  sd_bus* bus;
  std::string name;
  std::string path;
  std::string interface;
  std::string method;
  std::string signal;
  bool isLocked = false;
  bool hasAnswered = false;

  bool ask() {
    sd_bus_message* question = nullptr;
    int status = sd_bus_message_new_method_call(bus, &question, name.c_str(), path.c_str(),
                                                interface.c_str(), method.c_str());
    if (status < 0) return false;
    sd_bus_message_set_auto_start(question, false);
    if (method == "Get") {
      sd_bus_message_append(question, "ss", "org.freedesktop.login1.Session", "LockedHint");
    }
    status = sd_bus_call_async(bus, nullptr, question, onAnswer, this, 0);
    sd_bus_message_unref(question);
    return status >= 0;
  }

  bool follow() {
    const std::string rules[] = {
        signal, fmt::format("type='signal',sender='org.freedesktop.DBus',"
                            "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='{}'",
                            name)};
    for (const auto& rule : rules) {
      if (sd_bus_add_match_async(bus, nullptr, rule.c_str(), onChange, ignoreMatchOutcome, this) <
          0)
        return false;
    }
    return ask();
  }

  static int onChange(sd_bus_message*, void* source, sd_bus_error*) {
    static_cast<Source*>(source)->ask();
    return 0;
  }
  static int onAnswer(sd_bus_message* answer, void* source, sd_bus_error*) {
    auto& self = *static_cast<Source*>(source);
    self.lock->didAnswer(self, readBoolean(answer));
    return 0;
  }
};

SessionLock::SessionLock(sd_bus* sessionBus, RunLoop& runLoop)
    : deadline_(runLoop.startTimer(answersTake, [this] { becomeKnown(); })) {
  for (const std::string name : screenSavers) {
    follow(
        {this, sessionBus, name, pathOf(name), name, "GetActive",
         fmt::format("type='signal',sender='{0}',interface='{0}',member='ActiveChanged'", name)});
  }
  if (sd_bus_open_system(&systemBus_) < 0) return;
  // The session that the program runs in. Its signals come from its other path.
  follow({this, systemBus_, "org.freedesktop.login1", "/org/freedesktop/login1/session/auto",
          "org.freedesktop.DBus.Properties", "Get",
          "type='signal',sender='org.freedesktop.login1',member='PropertiesChanged',"
          "arg0='org.freedesktop.login1.Session'"});
  systemNotifier_ = std::make_unique<BusNotifier>(systemBus_);
  systemNotifier_->process();
}

SessionLock::~SessionLock() {
  systemNotifier_.reset();
  sd_bus_close_unref(systemBus_);
}

void SessionLock::ask(Answer answer) {
  if (!deadline_) return answer(isLocked());
  waiting_.push_back(std::move(answer));
}

void SessionLock::follow(Source source) {
  auto& kept = sources_.emplace_back(std::move(source));
  kept.hasAnswered = !kept.follow();
}

void SessionLock::didAnswer(Source& source, bool isLocked) {
  source.isLocked = isLocked;
  source.hasAnswered = true;
  if (deadline_ && std::ranges::all_of(sources_, &Source::hasAnswered)) becomeKnown();
}

bool SessionLock::isLocked() const { return std::ranges::any_of(sources_, &Source::isLocked); }

void SessionLock::becomeKnown() {
  deadline_.reset();
  for (const auto& answer : std::exchange(waiting_, {})) answer(isLocked());
}

}  // namespace stowboard
