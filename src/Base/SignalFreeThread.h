#pragma once

#include <pthread.h>

#include <csignal>
#include <string>
#include <thread>
#include <utility>

namespace stowboard {

/// Starts a thread that takes no signals, so that those sent to the process reach the threads that
/// handle them. The thread carries the first 15 bytes of `name`, as much as Linux allows
/// (pthread_setname_np). Throws std::system_error where no thread can be had.
template <typename Body>
std::thread startSignalFreeThread(const std::string& name, Body body) {
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  // Blocked before the start, because a thread inherits its creator's mask.
  pthread_sigmask(SIG_SETMASK, &all, &before);
  struct Restore {
    const sigset_t& mask;
    ~Restore() { pthread_sigmask(SIG_SETMASK, &mask, nullptr); }
  } restore{before};
  return std::thread([shortName = name.substr(0, 15), body = std::move(body)]() mutable {
    pthread_setname_np(pthread_self(), shortName.c_str());
    body();
  });
}

}  // namespace stowboard
