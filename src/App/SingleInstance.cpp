#include "App/SingleInstance.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>

#include "Base/Files/PrivateFiles.h"
#include "Base/Log.h"
#include "Platform/select.h"
#include "Services/StorageManager.h"

namespace stowboard {

namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto answerBound = 5s;
constexpr auto endingBound = 500ms;
constexpr auto lockInterval = 10ms;

int flockWithin(std::chrono::milliseconds bound, int descriptor) {
  const auto deadline = steady_clock::now() + bound;
  while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK || steady_clock::now() > deadline) return errno;
    std::this_thread::sleep_for(lockInterval);
  }
  return 0;
}

}  // namespace

FolderLock::FolderLock(const std::filesystem::path& folder) {
  FileError problem = createPrivateFolder(folder);
  if (problem.empty() || problem.isDurabilityOnly) {
    problem = {};
    descriptor_ = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int status = descriptor_ < 0 ? errno : flockWithin(endingBound, descriptor_);
    isHeldByOther_ = status == EWOULDBLOCK;
    errno = status;
    if (status != 0) problem = lastFileError("locking", folder);
  }
  if (!problem.empty() && !isHeldByOther_) {
    Log::app.error("The data folder cannot be locked: {}", problem.description);
  }
}

FolderLock::~FolderLock() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

void SingleInstance::claim(const Bundle& bundle) {
  claimName(bundle);
  if (!exitStatus_) lockFolder(bundle);
}

void SingleInstance::claimName(const Bundle& bundle) {
  using Outcome = ApplicationPresence::Claim::Outcome;
  auto claim = claimPresence(bundle, answerBound);
  presence_ = std::move(claim.presence);
  if (claim.outcome == Outcome::activatedOther) {
    exitStatus_ = EXIT_SUCCESS;
  } else if (claim.outcome == Outcome::otherFailed) {
    fmt::print(stderr, "stowboard: Stowboard already runs, but does not answer: {}\n",
               claim.reason);
    exitStatus_ = EXIT_FAILURE;
  } else if (claim.outcome == Outcome::unavailable) {
    Log::app.info("No session bus, so launchers and key bindings cannot reach Stowboard: {}",
                  claim.reason);
  }
}

void SingleInstance::lockFolder(const Bundle& bundle) {
  lock_ = std::make_unique<FolderLock>(StorageManager::defaultDirectory(bundle));
  if (!lock_->isHeldByOther()) return;
  fmt::print(stderr, "stowboard: Stowboard already runs, out of this session bus's reach.\n");
  exitStatus_ = EXIT_SUCCESS;
}

void SingleInstance::serve(RunLoop& runLoop, ApplicationPresence::Actions actions) {
  if (presence_) presence_->serve(runLoop, std::move(actions));
}

}  // namespace stowboard
