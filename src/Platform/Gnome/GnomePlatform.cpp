#include "Platform/Gnome/GnomePlatform.h"

#include <QProcess>
#include <chrono>
#include <string>
#include <utility>

#include "Base/Log.h"
#include "Platform/Clipboard/PublishingPasteboard.h"
#include "Platform/Compositor/DeviceKeyEventPoster.h"
#include "Platform/Compositor/ToldWorkspace.h"
#include "Platform/Desktop/XdgFolders.h"
#include "Platform/Gnome/GnomeClipboardBridge.h"
#include "Platform/Gnome/GnomeHotKeys.h"
#include "Platform/Gnome/GnomeShell.h"
#include "Platform/Gnome/GnomeSwitches.h"
#include "Platform/Gnome/GnomeTypingDevice.h"
#include "Platform/Platform.h"

namespace stowboard {

namespace {

constexpr const char* extensionMissing =
    "Stowboard's extension of GNOME Shell is not active: clips are pasted only into windows of "
    "XWayland, and hot keys are those that the desktop portal gives. Log in again after the "
    "installation, or switch the "
    "extension on: gnome-extensions enable stowboard@qarvin.com";

// Answers are there within milliseconds.
constexpr std::chrono::seconds answerTakes(2);

// Switches the extension on where it is installed, once for each user, whose own choice holds from
// then on. $0 is the file that remembers. The shell itself would refuse one that it has not seen
// yet, which it does at the next login.
constexpr const char* enabling = R"sh(
id=stowboard@qarvin.com
[ ! -e "$0" ] && command -v gsettings >/dev/null || exit 0
IFS=:
for data in "${XDG_DATA_HOME:-$HOME/.local/share}" ${XDG_DATA_DIRS:-/usr/local/share:/usr/share}; do
  [ -e "$data/gnome-shell/extensions/$id/metadata.json" ] || continue
  list=$(gsettings get org.gnome.shell enabled-extensions) || exit 0
  case $list in
    *"'$id'"*) ;;
    *"[]") gsettings set org.gnome.shell enabled-extensions "['$id']" || exit 0 ;;
    *) gsettings set org.gnome.shell enabled-extensions "${list%]}, '$id']" || exit 0 ;;
  esac
  umask 077
  mkdir -p "${0%/*}" && : >"$0"
  exit
done
)sh";

void enableExtensionOnce() {
  const auto memory = XdgFolders::dataHome() / "Stowboard" / "gnome-extension-enabled";
  QProcess::startDetached(QStringLiteral("sh"), {QStringLiteral("-c"), QString::fromUtf8(enabling),
                                                 QString::fromStdString(memory.native())});
}

}  // namespace

bool GnomePlatform::isOf(const Bundle& bundle) {
  const auto desktop = bundle.environment("XDG_CURRENT_DESKTOP").value_or("");
  return desktop.find("GNOME") != std::string::npos;
}

std::unique_ptr<GnomePlatform> GnomePlatform::create(Platform& platform) {
  if (!isOf(*platform.bundle)) return nullptr;
  auto shell = GnomeShell::open();
  auto connection = WaylandMainConnection::open();
  if (!shell || !connection) return nullptr;
  return std::unique_ptr<GnomePlatform>(
      new GnomePlatform(platform, std::move(shell), std::move(connection)));
}

GnomePlatform::GnomePlatform(Platform& platform, std::shared_ptr<GnomeShell> shell,
                             std::shared_ptr<WaylandMainConnection> connection)
    : platform_(platform),
      shell_(std::move(shell)),
      connection_(std::move(connection)),
      bridge_(std::make_unique<GnomeClipboardBridge>(*shell_, *platform_.pasteboard,
                                                     *platform_.runLoop)) {}

GnomePlatform::~GnomePlatform() = default;

void GnomePlatform::addOnTop() {
  enableExtensionOnce();
  platform_.runLoop->postAfter(answerTakes, [shell = shell_] {
    if (!shell->isServing()) Log::app.error("{}", extensionMissing);
  });
  addPoster();
  auto& hotKeys = platform_.hotKeyCenter;
  hotKeys = std::make_unique<GnomeHotKeys>(shell_, std::move(hotKeys));
  auto& trust = platform_.accessibilityTrust;
  trust = std::make_unique<GnomeAccessibilityTrust>(shell_, std::move(trust));
  auto& windows = platform_.transientWindows;
  windows = std::make_unique<GnomeTransientWindows>(shell_, std::move(windows));
}

// A keystroke asks its neighbours, all of which outlive it.
void GnomePlatform::addPoster() {
  auto told = std::make_unique<ToldWorkspace>(shell_, *platform_.applications,
                                              platform_.bundle->identifier());
  auto& workspace = *told;
  DeviceKeyEventPoster::Surroundings around;
  around.frontmost = [&workspace] { return workspace.frontmostApplication(); };
  around.windowClass = [&workspace](auto window) { return workspace.windowClass(window); };
  around.awaitedWindow = [&workspace] { return workspace.awaitedWindow(); };
  if (auto* pasteboard = dynamic_cast<PublishingPasteboard*>(platform_.pasteboard.get())) {
    around.offerPrimary = [pasteboard] { pasteboard->offerPrimary(); };
    around.whenPublished = [this, pasteboard](auto done) {
      pasteboard->whenPublished(
          [this, done] { platform_.runLoop->post([this, done] { bridge_->whenThrough(done); }); });
    };
  }
  auto poster = std::make_unique<DeviceKeyEventPoster>(
      std::make_unique<GnomeTypingDevice>(shell_, connection_), *platform_.runLoop,
      *platform_.applications, std::move(around));
  workspace.follow([poster = poster.get()] { poster->frontDidChange(); });
  auto& posters = platform_.keyEventPoster;
  posters = std::make_unique<GnomeKeyEventPoster>(shell_, std::move(poster), std::move(posters));
  auto& workspaces = platform_.workspace;
  workspaces = std::make_unique<GnomeWorkspace>(shell_, std::move(told), std::move(workspaces));
}

}  // namespace stowboard
