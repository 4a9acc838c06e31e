#include "Platform/Desktop/Applications/InstalledApplications.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "Base/SignalFreeThread.h"
#include "Base/Survive.h"
#include "Platform/Desktop/Applications/ApplicationIds.h"
#include "Platform/Desktop/Applications/FolderTree.h"
#include "Platform/Desktop/XdgBundle.h"

namespace stowboard {

namespace {

namespace fs = std::filesystem;

// An installation writes many files. They are read once, when it has been quiet for so long.
constexpr int quietMilliseconds = 200;

}  // namespace

/// Watches the applications folders with all that is below them, and of folders that do not exist
/// the nearest one above them that does.
class InstalledApplications::ChangeWatch {
 public:
  ChangeWatch(const std::vector<fs::path>& dataFolders, int endingEvent)
      : endingEvent_(endingEvent), inotify_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (inotify_ < 0) return;
    for (const auto& folder : dataFolders) watch(folder / "applications");
  }
  ~ChangeWatch() {
    if (inotify_ >= 0) close(inotify_);
  }
  ChangeWatch(const ChangeWatch&) = delete;
  ChangeWatch& operator=(const ChangeWatch&) = delete;

  /// Returns true after a change, false when the end was asked for.
  bool waitForChange() {
    while (true) {
      const int ready = waitForEvent(-1);
      if (ready == endAsked) return false;
      if (readEvents()) break;
    }
    while (true) {
      const int ready = waitForEvent(quietMilliseconds);
      if (ready == endAsked) return false;
      if (ready == nothingCame) return true;
      readEvents();
    }
  }

 private:
  static constexpr int endAsked = -1;
  static constexpr int nothingCame = 0;
  static constexpr int eventsCame = 1;

  void watch(const fs::path& applications) {
    std::error_code problem;
    if (!fs::is_directory(applications, problem)) return watchAbove(applications);
    watchFolder(applications);
    visitBelow(applications, [this](const fs::directory_entry& entry) {
      std::error_code unreadable;
      if (entry.is_directory(unreadable)) watchFolder(entry.path());
    });
  }

  void watchFolder(const fs::path& folder) {
    inotify_add_watch(inotify_, folder.c_str(),
                      IN_CREATE | IN_CLOSE_WRITE | IN_MOVE | IN_DELETE | IN_DELETE_SELF |
                          IN_MOVE_SELF | IN_ATTRIB | IN_ONLYDIR);
  }

  void watchAbove(fs::path missing) {
    std::error_code problem;
    while (missing.has_relative_path() && !fs::is_directory(missing.parent_path(), problem)) {
      missing = missing.parent_path();
    }
    const int watch = inotify_add_watch(inotify_, missing.parent_path().c_str(),
                                        IN_CREATE | IN_MOVED_TO | IN_ONLYDIR | IN_MASK_ADD);
    if (watch >= 0) awaited_[watch].insert(missing.filename().string());
  }

  int waitForEvent(int milliseconds) const {
    pollfd descriptors[] = {{endingEvent_, POLLIN, 0}, {inotify_, POLLIN, 0}};
    // A negative inotify descriptor is passed over, and nothing is followed then.
    while (poll(descriptors, 2, milliseconds) < 0 && errno == EINTR) {
    }
    if (descriptors[0].revents != 0) return endAsked;
    return descriptors[1].revents != 0 ? eventsCame : nothingCame;
  }

  // Takes all events there are; returns whether one of them matters.
  bool readEvents() {
    bool matters = false;
    alignas(inotify_event) char buffer[16384];
    for (ssize_t size = 0; (size = read(inotify_, buffer, sizeof buffer)) > 0;) {
      for (const char* at = buffer; at < buffer + size;) {
        const auto* event = reinterpret_cast<const inotify_event*>(at);
        matters = isChange(*event) || matters;
        at += sizeof(inotify_event) + event->len;
      }
    }
    return matters;
  }

  bool isChange(const inotify_event& event) const {
    const std::string_view name = event.len > 0 ? event.name : "";
    const auto awaited = awaited_.find(event.wd);
    if (awaited != awaited_.end()) return awaited->second.contains(std::string(name));
    // Lost events may have been anything.
    if (event.mask & (IN_Q_OVERFLOW | IN_DELETE_SELF | IN_MOVE_SELF | IN_ISDIR)) return true;
    return name.ends_with(".desktop");
  }

  const int endingEvent_;
  const int inotify_;
  std::map<int, std::set<std::string>> awaited_;
};

InstalledApplications::InstalledApplications(std::vector<fs::path> dataFolders)
    : dataFolders_(std::move(dataFolders)), endingEvent_(eventfd(0, EFD_CLOEXEC)) {
  if (endingEvent_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  thread_ = startSignalFreeThread("applications", [this] { run(); });
}

InstalledApplications::~InstalledApplications() {
  eventfd_write(endingEvent_, 1);
  thread_.join();
  close(endingEvent_);
}

std::shared_ptr<const DesktopEntries> InstalledApplications::entries() const {
  std::unique_lock lock(mutex_);
  isRead_.wait_for(lock, longestWait, [this] { return entries_ != nullptr; });
  return entries_ ? entries_ : std::make_shared<const DesktopEntries>();
}

std::optional<std::string> InstalledApplications::applicationId(const WindowTraits& window) const {
  const auto process = window.processIdentifier;
  if (process == getpid()) return XdgBundle::applicationId;
  const auto traits = process != 0 ? ProcessTraits::read(process) : ProcessTraits();
  return stowboard::applicationId(window, traits, *entries());
}

bool InstalledApplications::isTerminal(const std::string& applicationId) const {
  const auto all = entries();
  const DesktopEntry* const entry = all->find(applicationId);
  return entry != nullptr && entry->hasCategory("TerminalEmulator");
}

void InstalledApplications::run() {
  bool goesOn = true;
  while (goesOn) {
    // Watched before it is read: a change in between is seen.
    ChangeWatch watch(dataFolders_, endingEvent_);
    survives(Log::app, "the installed applications", [this] {
      publish(std::make_shared<const DesktopEntries>(DesktopEntries::read(dataFolders_)));
    });
    goesOn = watch.waitForChange();
  }
}

void InstalledApplications::publish(std::shared_ptr<const DesktopEntries> entries) {
  const std::lock_guard lock(mutex_);
  entries_ = std::move(entries);
  isRead_.notify_all();
}

}  // namespace stowboard
