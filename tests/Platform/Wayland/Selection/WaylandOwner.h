#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/Wayland/Selection/DataControl.h"

namespace stowboard {

/// What another program offers, and how it goes about it.
struct WaylandOffer {
  /// The types in their order, with what is written for each.
  std::vector<std::pair<std::string, std::string>> formats;
  /// Keeps the pipe open for these and writes nothing, until it ends.
  std::string heldType = {};
  /// Ends in the middle of writing this type.
  std::string fatalType = {};
};

/// Another program, on a thread and a connection of its own, that takes the clipboard and serves
/// it.
class WaylandOwner {
 public:
  /// Returns when the compositor knows.
  explicit WaylandOwner(WaylandOffer offer)
      : offer_(std::move(offer)), connection_(WaylandConnection::open({})) {
    control_ = std::make_unique<DataControl>(*connection_, [](const auto&) {});
    std::vector<std::string> types;
    for (const auto& [type, content] : offer_.formats) types.push_back(type);
    source_ = control_->makeSource(
        types, [this](const char* type, FileDescriptor pipe) { serve(type, pipe); });
    control_->setSelection(*source_);
    connection_->roundTrip();
    thread_ = std::thread([this] { run(); });
  }
  ~WaylandOwner() {
    eventfd_write(wakeUp_.number(), 1);
    thread_.join();
  }

  /// It has come to the type that it ends at.
  bool hasEnded() const { return hasEnded_; }
  /// It has been asked for the type that it holds back.
  bool isHolding() const { return isHolding_; }

 private:
  void run() {
    // Readers may go away before everything is written.
    std::signal(SIGPIPE, SIG_IGN);
    std::array sources{pollfd{connection_->fileDescriptor(), POLLIN, 0},
                       pollfd{wakeUp_.number(), POLLIN, 0}};
    while (sources[1].revents == 0) {
      if (connection_->dispatch()) continue;
      if (hasDied_) break;
      connection_->flush();
      poll(sources.data(), sources.size(), -1);
    }
    source_.reset();
    control_.reset();
    connection_.reset();
    held_.clear();
    hasEnded_ = true;
  }

  void serve(std::string_view type, FileDescriptor& pipe) {
    for (const auto& [name, content] : offer_.formats) {
      if (name != type) continue;
      if (type == offer_.heldType) {
        held_.push_back(std::move(pipe));
        isHolding_ = true;
        return;
      }
      auto rest = std::string_view(content);
      if (type == offer_.fatalType) rest = rest.substr(0, rest.size() / 2);
      while (!rest.empty()) {
        const auto count = ::write(pipe.number(), rest.data(), rest.size());
        if (count <= 0) return;
        rest.remove_prefix(static_cast<std::size_t>(count));
      }
      if (type != offer_.fatalType) continue;
      // As when a process ends: the connection goes, and then the pipe.
      hasDied_ = true;
      held_.push_back(std::move(pipe));
    }
  }

  const WaylandOffer offer_;
  const FileDescriptor wakeUp_{eventfd(0, EFD_CLOEXEC)};
  bool hasDied_ = false;
  std::atomic<bool> hasEnded_ = false;
  std::atomic<bool> isHolding_ = false;
  std::unique_ptr<WaylandConnection> connection_;
  std::unique_ptr<DataControl> control_;
  std::unique_ptr<DataControl::Source> source_;
  std::vector<FileDescriptor> held_;
  std::thread thread_;
};

}  // namespace stowboard
