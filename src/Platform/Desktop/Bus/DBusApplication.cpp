#include "Platform/Desktop/Bus/DBusApplication.h"

#include <fmt/format.h>
#include <systemd/sd-bus.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "Base/Log.h"
#include "Platform/Desktop/Bus/SessionLock.h"
#include "Platform/Desktop/BusNotifier.h"

namespace stowboard {

namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

constexpr const char* interface = "org.freedesktop.Application";

struct MessageUnref {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, MessageUnref>;

class BusError {
 public:
  BusError() = default;
  ~BusError() { sd_bus_error_free(&error_); }
  BusError(const BusError&) = delete;
  BusError& operator=(const BusError&) = delete;

  sd_bus_error* out() { return &error_; }
  bool hasName(const char* name) const { return sd_bus_error_has_name(&error_, name) > 0; }
  std::string message() const { return error_.message ? error_.message : ""; }

 private:
  sd_bus_error error_ = SD_BUS_ERROR_NULL;
};

std::string systemWords(int negativeErrno) {
  // The bus library's way to say it, whose own words speak of a disk.
  if (negativeErrno == -ENOMEDIUM) return "its address is not in the environment";
  return std::generic_category().message(-negativeErrno);
}

std::string objectPath(std::string id) {
  std::replace(id.begin(), id.end(), '.', '/');
  return "/" + id;
}

// Whatever type of number a caller's library makes of a digit.
struct NumberType {
  char type;
  double (*read)(sd_bus_message*, char type);
};

template <typename Number>
double readNumber(sd_bus_message* message, char type) {
  Number number = 0;
  sd_bus_message_read_basic(message, type, &number);
  return static_cast<double>(number);
}

double readDigitText(sd_bus_message* message, char type) {
  const char* text = "";
  sd_bus_message_read_basic(message, type, &text);
  return std::strlen(text) == 1 ? text[0] - '0' : 0;
}

constexpr auto numberTypes = std::to_array<NumberType>({
    {SD_BUS_TYPE_BYTE, readNumber<std::uint8_t>},
    {SD_BUS_TYPE_INT16, readNumber<std::int16_t>},
    {SD_BUS_TYPE_UINT16, readNumber<std::uint16_t>},
    {SD_BUS_TYPE_INT32, readNumber<std::int32_t>},
    {SD_BUS_TYPE_UINT32, readNumber<std::uint32_t>},
    {SD_BUS_TYPE_INT64, readNumber<std::int64_t>},
    {SD_BUS_TYPE_UINT64, readNumber<std::uint64_t>},
    {SD_BUS_TYPE_DOUBLE, readNumber<double>},
    {SD_BUS_TYPE_STRING, readDigitText},
});

// The number inside a variant that has been entered; 0 for anything that is none.
double readVariant(sd_bus_message* message, std::string_view signature) {
  for (const auto& [type, read] : numberTypes) {
    if (signature == std::string_view(&type, 1)) return read(message, type);
  }
  sd_bus_message_skip(message, nullptr);
  return 0;
}

// What came with an action, an array of variants.
struct Parameters {
  int count = 0;
  double number = 0;

  std::optional<int> digit() const {
    const bool isDigit = count == 1 && number >= 1 && number <= 9 && number == std::floor(number);
    return isDigit ? std::optional(static_cast<int>(number)) : std::nullopt;
  }
};

Parameters readParameters(sd_bus_message* message) {
  Parameters parameters;
  sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "v");
  const char* signature = nullptr;
  while (sd_bus_message_peek_type(message, nullptr, &signature) > 0) {
    if (sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT, signature) < 0) break;
    parameters.count += 1;
    parameters.number = readVariant(message, signature);
    if (sd_bus_message_exit_container(message) < 0) break;
  }
  sd_bus_message_exit_container(message);
  return parameters;
}

}  // namespace

/// A connection to the session bus, until serve() used from outside any event loop.
class DBusApplication::Connection {
 public:
  /// Every wait of the connection ends at the deadline.
  Connection(const Bundle& bundle, steady_clock::time_point deadline)
      : bundle_(bundle),
        name_(bundle.identifier()),
        path_(objectPath(name_)),
        deadline_(deadline) {}
  ~Connection() { sd_bus_close_unref(bus_); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  sd_bus* release() {
    sd_bus_set_method_call_timeout(bus_, 0);
    return std::exchange(bus_, nullptr);
  }
  const std::string& name() const { return name_; }

  /// 0 or a negative errno, like the two below.
  int open() {
    const int status = sd_bus_open_user(&bus_);
    return status < 0 ? status : waitUntilReady();
  }

  int requestName() {
    sd_bus_set_method_call_timeout(bus_, static_cast<std::uint64_t>(timeLeft().count()));
    return sd_bus_request_name(bus_, name_.c_str(), 0);
  }

  int activateOwner(BusError& error) {
    sd_bus_message* created = nullptr;
    const int status = sd_bus_message_new_method_call(bus_, &created, name_.c_str(), path_.c_str(),
                                                      interface, "Activate");
    if (status < 0) return status;
    const Message message(created);
    // The owner may be gone by now, and the bus would start a third one.
    sd_bus_message_set_auto_start(created, false);
    sd_bus_message_open_container(created, SD_BUS_TYPE_ARRAY, "{sv}");
    appendToken(created, "desktop-startup-id", "DESKTOP_STARTUP_ID");
    appendToken(created, "activation-token", "XDG_ACTIVATION_TOKEN");
    sd_bus_message_close_container(created);
    const auto left = static_cast<std::uint64_t>(timeLeft().count());
    return sd_bus_call(bus_, created, left, error.out(), nullptr);
  }

  bool isTimeLeft() const { return steady_clock::now() < deadline_; }

 private:
  // Never 0, which would stand for the default of the bus library.
  microseconds timeLeft() const {
    const auto left = std::chrono::ceil<microseconds>(deadline_ - steady_clock::now());
    return std::max(left, microseconds(1));
  }

  // By hand, since the library's own wait for the bus's greeting knows no bound.
  int waitUntilReady() {
    int status = sd_bus_is_ready(bus_);
    for (; status == 0; status = sd_bus_is_ready(bus_)) {
      const int progress = sd_bus_process(bus_, nullptr);
      if (progress < 0) return progress;
      if (progress > 0) continue;
      if (!isTimeLeft()) return -ETIMEDOUT;
      const int woken = sd_bus_wait(bus_, static_cast<std::uint64_t>(timeLeft().count()));
      if (woken < 0 && woken != -EINTR) return woken;
    }
    return std::min(status, 0);
  }

  void appendToken(sd_bus_message* message, const char* key, const char* variable) const {
    const auto token = bundle_.environment(variable);
    if (token) sd_bus_message_append(message, "{sv}", key, "s", token->c_str());
  }

  const Bundle& bundle_;
  const std::string name_;
  const std::string path_;
  const steady_clock::time_point deadline_;
  sd_bus* bus_ = nullptr;
};

/// Answers what comes in, from the main thread's event loop.
class DBusApplication::Service {
 public:
  Service(sd_bus* bus, const std::string& name, RunLoop& runLoop, const Actions& actions)
      : runLoop_(runLoop), actions_(actions), lock_(bus, runLoop) {
    const int status =
        sd_bus_add_object_vtable(bus, nullptr, objectPath(name).c_str(), interface, methods, this);
    if (status < 0) Log::app.error("No D-Bus calls can be taken: {}", systemWords(status));
  }

  /// The answer to a request for the name on a bus that came back.
  static int didAskForName(sd_bus_message* answer, void*, sd_bus_error*) {
    const sd_bus_error* error = sd_bus_message_get_error(answer);
    std::uint32_t outcome = 0;
    sd_bus_message_read_basic(answer, SD_BUS_TYPE_UINT32, &outcome);
    if (error == nullptr && outcome <= 1) {
      Log::app.info("The session bus is back");
    } else {
      Log::app.error(
          "The session bus is back, but launchers and key bindings cannot reach Stowboard: {}",
          error != nullptr ? error->message : "its name is taken");
    }
    return 0;
  }

 private:
  static const std::array<sd_bus_vtable, 5> methodTable;
  static const sd_bus_vtable* const methods;

  static int onActivate(sd_bus_message* message, void* service, sd_bus_error*) {
    const auto* self = static_cast<Service*>(service);
    return self->answer(message, self->actions_.activate);
  }

  static int onActivateAction(sd_bus_message* message, void* service, sd_bus_error* error) {
    return static_cast<Service*>(service)->activateAction(message, error);
  }

  int activateAction(sd_bus_message* message, sd_bus_error* error) {
    const char* name = "";
    sd_bus_message_read_basic(message, SD_BUS_TYPE_STRING, &name);
    const Parameters parameters = readParameters(message);
    if (name == std::string_view("paste")) return paste(message, parameters, error);
    const auto* action = plainAction(name);
    if (!action) {
      return refuse(error, fmt::format("There is no action \"{}\", only show-history, paste, "
                                       "open-settings and quit",
                                       name));
    }
    if (parameters.count > 0) {
      return refuse(error, fmt::format("The action {} takes no parameter", name));
    }
    return answer(message, *action);
  }

  int paste(sd_bus_message* message, const Parameters& parameters, sd_bus_error* error) {
    const auto digit = parameters.digit();
    if (!digit) return refuse(error, "The action paste takes one parameter, a number from 1 to 9");
    const std::shared_ptr<sd_bus_message> call(sd_bus_message_ref(message), MessageUnref());
    lock_.ask([this, call, digit = *digit](bool isLocked) {
      if (isLocked) {
        sd_bus_reply_method_errorf(call.get(), SD_BUS_ERROR_ACCESS_DENIED, "The session is locked");
      } else {
        answer(call.get(), [paste = actions_.paste, digit] {
          if (paste) paste(digit);
        });
      }
    });
    return 1;
  }

  const std::function<void()>* plainAction(std::string_view name) const {
    if (name == "show-history") return &actions_.showHistory;
    if (name == "open-settings") return &actions_.openSettings;
    if (name == "quit") return &actions_.quit;
    return nullptr;
  }

  static int refuse(sd_bus_error* error, const std::string& why) {
    return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, why.c_str());
  }

  // Posted, because the library cannot be entered again from within a call, and an action may open
  // a dialog with a loop of its own. The answer comes first: the caller waits for it.
  int answer(sd_bus_message* message, std::function<void()> action) const {
    const int status = sd_bus_reply_method_return(message, "");
    if (action) runLoop_.post(std::move(action));
    return status;
  }

  RunLoop& runLoop_;
  const Actions actions_;
  SessionLock lock_;
};

const std::array<sd_bus_vtable, 5> DBusApplication::Service::methodTable = {{
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_ARGS("Activate", SD_BUS_ARGS("a{sv}", platform_data), SD_BUS_NO_RESULT,
                            onActivate, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("Open", SD_BUS_ARGS("as", uris, "a{sv}", platform_data),
                            SD_BUS_NO_RESULT, onActivate, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("ActivateAction",
                            SD_BUS_ARGS("s", action_name, "av", parameter, "a{sv}", platform_data),
                            SD_BUS_NO_RESULT, onActivateAction, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
}};
const sd_bus_vtable* const DBusApplication::Service::methods = methodTable.data();

DBusApplication::Claim DBusApplication::claim(const Bundle& bundle,
                                              std::chrono::milliseconds bound) {
  using Outcome = Claim::Outcome;
  auto connection = std::make_unique<Connection>(bundle, steady_clock::now() + bound);
  int status = connection->open();
  if (status < 0) return {Outcome::unavailable, systemWords(status), nullptr};
  while (true) {
    status = connection->requestName();
    if (status >= 0) break;
    if (status != -EEXIST) return {Outcome::unavailable, systemWords(status), nullptr};
    BusError error;
    if (connection->activateOwner(error) >= 0) return {Outcome::activatedOther, {}, nullptr};
    // An owner that is about to end leaves the name to us.
    const bool isOwnerGone = error.hasName(SD_BUS_ERROR_SERVICE_UNKNOWN) ||
                             error.hasName(SD_BUS_ERROR_NAME_HAS_NO_OWNER) ||
                             error.hasName(SD_BUS_ERROR_NO_REPLY);
    if (!isOwnerGone || !connection->isTimeLeft()) {
      return {Outcome::otherFailed, error.message(), nullptr};
    }
  }
  return {Outcome::owned,
          {},
          std::unique_ptr<DBusApplication>(new DBusApplication(std::move(connection)))};
}

DBusApplication::DBusApplication(std::unique_ptr<Connection> connection)
    : connection_(std::move(connection)) {}

DBusApplication::~DBusApplication() = default;

void DBusApplication::serve(RunLoop& runLoop, Actions actions) {
  const auto join = [this, &runLoop, actions = std::move(actions)](sd_bus* bus) {
    const std::string& name = connection_->name();
    const bool isFirst = service_ == nullptr;
    service_ = std::make_unique<Service>(bus, name, runLoop, actions);
    if (!isFirst)
      sd_bus_request_name_async(bus, nullptr, name.c_str(), 0, Service::didAskForName, nullptr);
  };
  bus_ = std::make_unique<LastingBus>(connection_->release(), join, [](int error) {
    Log::app.info("The session bus is gone: {}", systemWords(error));
  });
}

}  // namespace stowboard
