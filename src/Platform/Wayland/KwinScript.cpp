#include "Platform/Wayland/KwinScript.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>
#include <system_error>
#include <utility>

#include "Base/FileDescriptor.h"
#include "Base/Files/PrivateFiles.h"
#include "Base/Log.h"
#include "Platform/Desktop/BusNotifier.h"

namespace stowboard {

namespace {

constexpr const char* kwin = "org.kde.KWin";
constexpr const char* scriptName = "com.qarvin.stowboard";
constexpr const char* oneShotName = "com.qarvin.stowboard.activate";
constexpr const char* ownPath = "/com/qarvin/stowboard/KWin";
constexpr const char* ownInterface = "com.qarvin.stowboard.KWin";

// KWin's names for windows changed with its version 6. A window of ours comes up because the user
// asked for it, by keys that KWin does not count as an act in our windows; so it gets the focus.
// The transient ones are X11's utilities, and are put as there: below the pointer, else above it,
// and wholly on that screen.
constexpr std::string_view scriptText = R"js(
const own = {{ service: "{0}", path: "{1}", interface: "{2}", process: {3} }};
const activated = workspace.windowActivated || workspace.clientActivated;
const added = workspace.windowAdded || workspace.clientAdded;
const removed = workspace.windowRemoved || workspace.clientRemoved;

function text(value) {{
    return value === undefined || value === null ? "" : String(value);
}}

function tell(what, window) {{
    if (window) {{
        callDBus(own.service, own.path, own.interface, what, text(window.internalId),
                 text(window.desktopFileName), text(window.resourceClass), text(window.pid));
    }} else {{
        callDBus(own.service, own.path, own.interface, what, "", "", "", "0");
    }}
}}

function welcome(window) {{
    if (window.pid !== own.process) return;
    if (!window.normalWindow && !window.utility) return;
    tell("DidAdd", window);
    if (window.utility) place(window);
    workspace[workspace.windowActivated ? "activeWindow" : "activeClient"] = window;
}}

function place(window) {{
    const pointer = workspace.cursorPos;
    const frame = window.frameGeometry;
    const screen = workspace.screenAt ? workspace.screenAt(pointer) : workspace.activeScreen;
    const area = workspace.clientArea(KWin.MaximizeArea, screen, workspace.currentDesktop);
    const distance = 5;
    const hasRoomBelow = pointer.y + distance + frame.height <= area.y + area.height;
    const top = hasRoomBelow ? pointer.y + distance : pointer.y - distance - frame.height;
    const within = (wanted, start, length, size) =>
        Math.max(start, Math.min(wanted, start + length - size));
    window.frameGeometry = {{
        x: within(pointer.x - Math.round(frame.width / 2), area.x, area.width, frame.width),
        y: within(top, area.y, area.height, frame.height),
        width: frame.width, height: frame.height }};
}}

activated.connect(window => tell("DidActivate", window));
added.connect(welcome);
removed.connect(window => tell("DidClose", window));
tell("DidActivate", workspace.activeWindow || workspace.activeClient);
)js";

constexpr std::string_view activation = R"js(
const all = workspace.windowList ? workspace.windowList() : workspace.clientList();
const wanted = all.find(window => String(window.internalId) === "{0}");
if (wanted) workspace[workspace.windowActivated ? "activeWindow" : "activeClient"] = wanted;
)js";

// In the session's own folder, which is no disk.
std::filesystem::path runtimeFile(std::string_view name) {
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  if (!folder || *folder != '/') return {};
  return std::filesystem::path(folder) / fmt::format("stowboard-{}-{}.js", ::getpid(), name);
}

bool writePrivately(const std::filesystem::path& path, std::string_view text) {
  removeFile(path);
  const FileDescriptor file(
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, privateFileMode));
  return file.isOpen() &&
         ::write(file.number(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

}  // namespace

/// The session bus, by which KWin is asked and the script tells.
class KwinScript::Bus {
 public:
  explicit Bus(sd_bus* bus) : bus_(bus), notifier_(bus) {}
  ~Bus() {
    sd_bus_close_unref(bus_);
    removeFile(file_);
  }
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;

  /// Whether KWin is there.
  bool findKwin() {
    sd_bus_creds* owner = nullptr;
    const char* name = "";
    if (sd_bus_get_name_creds(bus_, kwin, SD_BUS_CREDS_UNIQUE_NAME, &owner) < 0) return false;
    sd_bus_creds_get_unique_name(owner, &name);
    kwinsName_ = name;
    sd_bus_creds_unref(owner);
    return true;
  }

  bool startScript(KwinScript& owner) {
    const char* ownName = "";
    sd_bus_get_unique_name(bus_, &ownName);
    file_ = runtimeFile("follow");
    const auto text = fmt::format(scriptText, ownName, ownPath, ownInterface, ::getpid());
    if (file_.empty() || !writePrivately(file_, text)) return false;
    owner_ = &owner;
    sd_bus_add_object(bus_, nullptr, ownPath, onCall, this);
    // One may be there of a program that was killed.
    call("org.kde.kwin.Scripting", "/Scripting", "unloadScript", scriptName);
    loadAndStart(file_, scriptName);
    return true;
  }

  /// Sends what is still to be sent, and takes what has come meanwhile.
  void stopScripts() {
    stopOneShot();
    call("org.kde.kwin.Scripting", "/Scripting", "unloadScript", scriptName);
    notifier_.process();
  }

  /// Nobody waits for the outcome.
  void call(const char* interface, const char* path, const char* method, const char* argument) {
    sd_bus_message* message = nullptr;
    sd_bus_message_new_method_call(bus_, &message, kwin, path, interface, method);
    if (argument) sd_bus_message_append(message, "s", argument);
    send(message);
  }
  /// Only a script can ask for it, and one that runs cannot be told anything.
  void activate(const std::string& id) {
    stopOneShot();
    oneShotFile_ = runtimeFile(fmt::format("activate-{}", ++oneShots_));
    if (!writePrivately(oneShotFile_, fmt::format(activation, id))) return;
    loadAndStart(oneShotFile_, oneShotName);
  }

 private:
  void send(sd_bus_message* message) {
    sd_bus_message_set_expect_reply(message, 0);
    sd_bus_send(bus_, message, nullptr);
    sd_bus_message_unref(message);
    notifier_.processSoon();
  }

  void loadAndStart(const std::filesystem::path& file, const char* name) {
    sd_bus_call_method_async(bus_, nullptr, kwin, "/Scripting", "org.kde.kwin.Scripting",
                             "loadScript", onLoaded, this, "ss", file.c_str(), name);
    notifier_.processSoon();
  }
  // KWin reads the file some time after it was asked to.
  void stopOneShot() {
    if (oneShotFile_.empty()) return;
    call("org.kde.kwin.Scripting", "/Scripting", "unloadScript", oneShotName);
    removeFile(oneShotFile_);
  }

  static int onLoaded(sd_bus_message* answer, void* data, sd_bus_error* /*error*/) {
    if (sd_bus_message_is_method_error(answer, nullptr) > 0) {
      Log::app.error("KWin took no script: the application in front may not be known");
      return 0;
    }
    static_cast<Bus*>(data)->call("org.kde.kwin.Scripting", "/Scripting", "start", nullptr);
    return 0;
  }

  static int onCall(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
    auto* const self = static_cast<Bus*>(data);
    const char* const sender = sd_bus_message_get_sender(message);
    const char* id = "";
    const char* desktopFile = "";
    const char* windowClass = "";
    const char* process = "";
    if (!sender || self->kwinsName_ != sender ||
        sd_bus_message_read(message, "ssss", &id, &desktopFile, &windowClass, &process) < 0) {
      return 0;
    }
    self->owner_->take(self->owner_->front_, sd_bus_message_get_member(message),
                       {id, desktopFile, windowClass, std::atoll(process)});
    return sd_bus_reply_method_return(message, "");
  }

  sd_bus* const bus_;
  BusNotifier notifier_;
  std::string kwinsName_;
  std::filesystem::path file_;
  std::filesystem::path oneShotFile_;
  int oneShots_ = 0;
  KwinScript* owner_ = nullptr;
};

std::shared_ptr<KwinScript> KwinScript::open() {
  sd_bus* found = nullptr;
  if (sd_bus_open_user(&found) < 0) return nullptr;
  auto bus = std::make_unique<Bus>(found);
  if (!bus->findKwin()) return nullptr;
  std::shared_ptr<KwinScript> script(new KwinScript(std::move(bus)));
  return script->bus_->startScript(*script) ? script : nullptr;
}

KwinScript::KwinScript(std::unique_ptr<Bus> bus) : bus_(std::move(bus)) {}
KwinScript::~KwinScript() { bus_->stopScripts(); }

void KwinScript::activate(const std::string& id) { bus_->activate(id); }

}  // namespace stowboard
