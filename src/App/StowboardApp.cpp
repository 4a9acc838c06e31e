#include <malloc.h>
#include <unistd.h>
#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "App/AppDelegate.h"
#include "App/SingleInstance.h"
#include "App/TerminationSignals.h"
#include "Base/Log.h"
#include "MenuBar/MenuBarIcon.h"
#include "Platform/select.h"
#include "Services/ThumbnailGenerator.h"
#include "UI/Looks/Theme.h"

namespace stowboard {

namespace {

// Set while the delegate runs, for the exit that the toolkit makes on its own when the X server
// goes away at the end of a session.
AppDelegate* runningDelegate = nullptr;

void endWithTheSession() {
  if (runningDelegate == nullptr) return;
  runningDelegate->applicationWillTerminate();
  Log::flush();
  ::_exit(EXIT_SUCCESS);
}

ApplicationPresence::Actions busActions(const AppDelegate& delegate) {
  ApplicationPresence::Actions actions;
  const std::weak_ptr<AppCoordinator> weakCoordinator = delegate.coordinator();
  const auto ask = [weakCoordinator](auto operation) {
    return [weakCoordinator, operation](auto... arguments) {
      if (const auto coordinator = weakCoordinator.lock()) operation(*coordinator, arguments...);
    };
  };
  actions.activate = ask([](AppCoordinator& coordinator) { coordinator.presentHistory(); });
  actions.showHistory =
      ask([](AppCoordinator& coordinator) { coordinator.showHistoryAt(std::nullopt); });
  actions.openSettings = ask([](AppCoordinator& coordinator) { coordinator.openSettings(); });
  actions.paste =
      ask([](AppCoordinator& coordinator, int digit) { coordinator.directPasteClip(digit - 1); });
  actions.quit = [] { QCoreApplication::quit(); };
  return actions;
}

void followAppearance(Theme& theme, DesktopAppearance& appearance) {
  appearance.onDidChange = [&theme](const Appearance& wanted) { theme.apply(wanted); };
  theme.apply(appearance.appearance());
}

int runApplication(QApplication& application, const Platform& platform, SingleInstance& instance,
                   std::shared_ptr<StorageManager> storage) {
  AppDelegate delegate(platform, std::move(storage));
  QObject::connect(&application, &QGuiApplication::commitDataRequest, &application,
                   [&delegate] { delegate.applicationWillTerminate(); });
  runningDelegate = &delegate;
  std::atexit(endWithTheSession);
  delegate.applicationDidFinishLaunching();
  Theme theme;
  followAppearance(theme, *platform.appearance);
  QApplication::setWindowIcon(applicationIcon());
  instance.serve(*platform.runLoop, busActions(delegate));
  const int status = QApplication::exec();
  platform.appearance->onDidChange = nullptr;
  delegate.applicationWillTerminate();
  runningDelegate = nullptr;
  return status;
}

// The toolkit's own lines go where ours go. Its warnings are of interest at a terminal only.
void logForToolkit(QtMsgType type, const QMessageLogContext&, const QString& message) {
  const bool isError = type == QtCriticalMsg || type == QtFatalMsg;
  const std::string text = message.toStdString();
  isError ? Log::app.error("Qt: {}", text) : Log::app.info("Qt: {}", text);
  if (type == QtFatalMsg) Log::flush();
}

// The toolkit would wait without end for a bus that does not answer, and start one of its own where
// there is none.
void keepToolkitOffTheBus() { qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/dev/null"); }

int runStowboard(char* programName) {
  // One heap for all threads: what each would keep of its own costs more than the rare wait.
  ::mallopt(M_ARENA_MAX, 1);
  qInstallMessageHandler(logForToolkit);
  auto bundle = selectBundle();
  const bool isRunningTests = AppDelegate::isRunningTests(*bundle);
  const DisplaySelection display = selectDisplay(*bundle);
  if (!display.isUsable()) {
    fmt::print(stderr, "stowboard: {}\n", display.refusal);
    return EXIT_FAILURE;
  }
  SingleInstance instance;
  if (!isRunningTests) instance.claim(*bundle);
  if (instance.exitStatus()) return *instance.exitStatus();
  if (!instance.hasSessionBus()) keepToolkitOffTheBus();
  const std::string identifier = bundle->identifier();
  // Before the toolkit, so that what is copied while that starts is recorded, and that the history
  // is read beside it.
  std::unique_ptr<PlatformSelection> recording;
  std::shared_ptr<StorageManager> storage;
  if (!isRunningTests) {
    const auto folder = StorageManager::defaultDirectory(*bundle);
    recording = std::make_unique<PlatformSelection>(display, std::move(bundle),
                                                    ThumbnailGenerator::maxDimension);
    storage = std::make_shared<StorageManager>(folder);
    storage->beginLoading();
  }
  // The program takes no options, so the toolkit gets none of the user's either; XWayland serves a
  // Wayland session for now.
  char platformOption[] = "-platform";
  char platformName[] = "xcb";
  char* arguments[] = {programName, platformOption, platformName, nullptr};
  int argumentCount = 3;
  QApplication application(argumentCount, arguments);
  // What a screen reader calls the program, and the windows' class.
  QApplication::setApplicationName("Stowboard");
  QApplication::setDesktopFileName(QString::fromStdString(identifier));
  QApplication::setQuitOnLastWindowClosed(false);
  const TerminationSignals terminationSignals([] { QCoreApplication::quit(); });
  if (isRunningTests) return QApplication::exec();
  // Ends before the toolkit does.
  const auto selection = std::move(recording);
  const int status =
      runApplication(application, selection->complete(), instance, std::move(storage));
  Log::flush();
  return status;
}

}  // namespace

}  // namespace stowboard

int main(int, char* arguments[]) { return stowboard::runStowboard(arguments[0]); }
