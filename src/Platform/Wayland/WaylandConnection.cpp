#include "Platform/Wayland/WaylandConnection.h"

#include <algorithm>
#include <utility>

namespace stowboard {

std::unique_ptr<WaylandConnection> WaylandConnection::open(const std::string& display) {
  wl_display* connected = wl_display_connect(display.empty() ? nullptr : display.c_str());
  if (!connected) return nullptr;
  std::unique_ptr<WaylandConnection> connection(new WaylandConnection(connected));
  connection->listen();
  return connection->isBroken() ? nullptr : std::move(connection);
}

WaylandConnection::~WaylandConnection() {
  for (const auto& [callback, done] : syncs_) wl_callback_destroy(callback);
  seat_.reset();
  registry_.reset();
  wl_display_disconnect(display_);
}

void WaylandConnection::listen() {
  static constexpr wl_registry_listener listener = {
      .global =
          [](void* self, wl_registry*, std::uint32_t name, const char* interface,
             std::uint32_t version) {
            static_cast<WaylandConnection*>(self)->globals_[name] = {interface, version};
          },
      .global_remove =
          [](void* self, wl_registry*, std::uint32_t name) {
            static_cast<WaylandConnection*>(self)->globals_.erase(name);
          },
  };
  registry_.reset(wl_display_get_registry(display_));
  wl_registry_add_listener(registry_.get(), &listener, this);
  roundTrip();
  // Nothing is listened to of it, so that a version without its destructor will do.
  seat_.reset(bind<wl_seat>(wl_seat_interface, 1));
}

bool WaylandConnection::offers(const char* interface) const {
  return std::ranges::any_of(globals_,
                             [&](const auto& each) { return each.second.interface == interface; });
}

void* WaylandConnection::bindFirst(const wl_interface& interface, std::uint32_t version) const {
  for (const auto& [name, global] : globals_) {
    if (global.interface != interface.name) continue;
    return wl_registry_bind(registry_.get(), name, &interface, std::min(version, global.version));
  }
  return nullptr;
}

bool WaylandConnection::dispatch() {
  int count = 0;
  while (wl_display_prepare_read(display_) != 0) {
    const int dispatched = wl_display_dispatch_pending(display_);
    if (dispatched < 0) return false;
    count += dispatched;
  }
  // Does not wait: this thread is the only one that reads.
  wl_display_read_events(display_);
  return count + wl_display_dispatch_pending(display_) > 0;
}

void WaylandConnection::sync(std::function<void()> done) {
  static constexpr wl_callback_listener listener = {
      .done = [](void* self, wl_callback* callback, std::uint32_t) {
        auto& syncs = static_cast<WaylandConnection*>(self)->syncs_;
        const auto ended = syncs.extract(callback);
        wl_callback_destroy(callback);
        ended.mapped()();
      }};
  auto* const callback = wl_display_sync(display_);
  syncs_.emplace(callback, std::move(done));
  wl_callback_add_listener(callback, &listener, this);
}

}  // namespace stowboard
