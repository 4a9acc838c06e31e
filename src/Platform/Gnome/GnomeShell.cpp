#include "Platform/Gnome/GnomeShell.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <list>

#include "Base/Log.h"
#include "Platform/Desktop/BusNotifier.h"

namespace stowboard {

namespace {

constexpr const char* extension = "com.qarvin.stowboard.Shell";
constexpr const char* extensionPath = "/com/qarvin/stowboard/Shell";
constexpr const char* extensionComesAndGoes =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
    "interface='org.freedesktop.DBus',member='NameOwnerChanged',"
    "arg0='com.qarvin.stowboard.Shell'";

// For matches that are added without waiting: without a handler, the bus library closes the
// connection when the bus's answer comes too late, as to a program that was stopped for a while.
int ignoreMatchOutcome(sd_bus_message* /*answer*/, void* /*data*/, sd_bus_error* /*error*/) {
  return 0;
}

std::string readText(sd_bus_message* message) {
  const char* text = "";
  sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &text);
  return text;
}

bool readBoolean(sd_bus_message* message) {
  int value = 0;
  sd_bus_message_read_basic(message, SD_BUS_TYPE_BOOLEAN, &value);
  return value != 0;
}

}  // namespace

/// The connection on which the extension knows this program.
class GnomeShell::Bus {
 public:
  /// Given the answer; null for an error.
  using Answer = std::function<void(sd_bus_message*)>;

  Bus(GnomeShell& shell, sd_bus* bus)
      : shell_(shell),
        connection_(
            bus, [this](sd_bus* each) { join(each); },
            [this](int /*error*/) { shell_.setServing(false); }) {}

  sd_bus_message* message(const char* method) const {
    sd_bus_message* made = nullptr;
    sd_bus_message_new_method_call(bus_, &made, extension, extensionPath, extension, method);
    sd_bus_message_set_auto_start(made, 0);
    return made;
  }
  /// Takes the message over.
  void ask(sd_bus_message* message, Answer answer) {
    questions_.push_back({*this, std::move(answer)});
    // The extension itself knows how long it takes.
    if (sd_bus_call_async(bus_, nullptr, message, onAnswer, &questions_.back(), longestAnswer) <
        0) {
      questions_.pop_back();
    }
    sd_bus_message_unref(message);
    connection_.processSoon();
  }

 private:
  struct Question {
    Bus& bus;
    Answer answer;
  };
  static constexpr std::uint64_t longestAnswer = 60'000'000;  // in microseconds

  void join(sd_bus* bus) {
    bus_ = bus;
    questions_.clear();
    sd_bus_match_signal_async(bus_, nullptr, extension, extensionPath, extension, nullptr, onSignal,
                              ignoreMatchOutcome, this);
    sd_bus_add_match_async(bus_, nullptr, extensionComesAndGoes, onOwnerChanged, ignoreMatchOutcome,
                           this);
    begin();
  }

  void begin() {
    ask(message("Follow"),
        [this](sd_bus_message* answer) { shell_.setServing(answer != nullptr); });
  }

  static int onAnswer(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
    auto& question = *static_cast<Question*>(data);
    auto& questions = question.bus.questions_;
    const auto answer = std::move(question.answer);
    questions.remove_if([&](const Question& each) { return &each == &question; });
    answer(sd_bus_message_is_method_error(message, nullptr) > 0 ? nullptr : message);
    return 0;
  }

  static int onOwnerChanged(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
    auto* const self = static_cast<Bus*>(data);
    readText(message);
    readText(message);
    const bool isThere = !readText(message).empty();
    self->shell_.setServing(false);
    if (isThere) self->begin();
    return 0;
  }

  static int onSignal(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
    auto& shell = static_cast<Bus*>(data)->shell_;
    const std::string what = sd_bus_message_get_member(message);
    // Copies, because the callee may replace it.
    if (what == "Pressed") {
      if (const auto callback = shell.onPress) callback(readText(message));
    } else if (what == "ClipboardDidChange") {
      if (const auto callback = shell.onClipboardDidChange) callback();
    } else if (what == "ClickedElsewhere") {
      if (const auto callback = shell.onClickElsewhere) callback();
    } else {
      const auto id = readText(message);
      const auto application = readText(message);
      const auto windowClass = readText(message);
      std::uint32_t process = 0;
      sd_bus_message_read_basic(message, SD_BUS_TYPE_UINT32, &process);
      shell.take(shell.front_, what, {id, application, windowClass, process});
    }
    return 0;
  }

  GnomeShell& shell_;
  sd_bus* bus_ = nullptr;
  std::list<Question> questions_;
  LastingBus connection_;
};

std::shared_ptr<GnomeShell> GnomeShell::open() {
  sd_bus* bus = nullptr;
  if (sd_bus_open_user(&bus) < 0) return nullptr;
  std::shared_ptr<GnomeShell> shell(new GnomeShell);
  shell->bus_ = std::make_unique<Bus>(*shell, bus);
  return shell;
}

GnomeShell::GnomeShell() = default;
GnomeShell::~GnomeShell() = default;

void GnomeShell::setServing(bool isServing) {
  if (std::exchange(isServing_, isServing) == isServing) return;
  if (!isServing) front_.reset();
  Log::app.info(
      "The extension of GNOME Shell {}",
      isServing ? "is there: it gives hot keys, the application in front and pasting" : "is gone");
  for (const auto& follower : std::vector(followers_)) follower();
}

void GnomeShell::activate(const std::string& id) {
  auto* const message = bus_->message("Activate");
  sd_bus_message_append(message, "s", id.c_str());
  bus_->ask(message, [](sd_bus_message*) {});
}

void GnomeShell::grab(const std::string& name, const std::string& accelerator,
                      std::function<void(bool)> done) {
  auto* const message = bus_->message("Grab");
  sd_bus_message_append(message, "ss", name.c_str(), accelerator.c_str());
  bus_->ask(message, [this, done = std::move(done)](sd_bus_message* answer) {
    if (answer) return done(readBoolean(answer));
    if (isServing_) done(false);
  });
}

void GnomeShell::ungrab(const std::string& name) {
  auto* const message = bus_->message("Ungrab");
  sd_bus_message_append(message, "s", name.c_str());
  bus_->ask(message, [](sd_bus_message*) {});
}

void GnomeShell::findHolder(const std::string& accelerator,
                            std::function<void(const std::string&)> done) {
  auto* const message = bus_->message("HolderOf");
  sd_bus_message_append(message, "s", accelerator.c_str());
  bus_->ask(message, [done = std::move(done)](sd_bus_message* answer) {
    done(answer ? readText(answer) : std::string());
  });
}

void GnomeShell::type(const std::vector<std::uint32_t>& modifiers, std::uint32_t key,
                      std::function<void(bool)> done) {
  auto* const message = bus_->message("Type");
  sd_bus_message_append_array(message, SD_BUS_TYPE_UINT32, modifiers.data(),
                              modifiers.size() * sizeof(std::uint32_t));
  sd_bus_message_append(message, "u", key);
  bus_->ask(message, [done = std::move(done)](sd_bus_message* answer) {
    done(answer != nullptr && readBoolean(answer));
  });
}

}  // namespace stowboard
