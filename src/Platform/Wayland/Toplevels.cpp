#include "Platform/Wayland/Toplevels.h"

#include <algorithm>
#include <ranges>
#include <span>
#include <utility>

namespace stowboard {

std::unique_ptr<Toplevels> Toplevels::create(WaylandConnection& connection,
                                             const ApplicationIdentifying& applications) {
  std::unique_ptr<Toplevels> toplevels(new Toplevels(connection, applications));
  toplevels->listen();
  return toplevels->manager_ ? std::move(toplevels) : nullptr;
}

void Toplevels::listen() {
  static constexpr zwlr_foreign_toplevel_manager_v1_listener listener = {
      .toplevel = [](void* self, zwlr_foreign_toplevel_manager_v1*,
                     Handle* handle) { static_cast<Toplevels*>(self)->add(handle); },
      .finished = [](void*, zwlr_foreign_toplevel_manager_v1*) {},
  };
  manager_.reset(connection_.bind<zwlr_foreign_toplevel_manager_v1>(
      zwlr_foreign_toplevel_manager_v1_interface, 3));
  if (!manager_) return;
  zwlr_foreign_toplevel_manager_v1_add_listener(manager_.get(), &listener, this);
  connection_.roundTrip();
}

void Toplevels::add(Handle* handle) {
  static constexpr auto window = [](void* data) -> Window& { return *static_cast<Window*>(data); };
  static constexpr zwlr_foreign_toplevel_handle_v1_listener listener = {
      .title = [](void*, Handle*, const char*) {},
      .app_id = [](void* data, Handle*, const char* id) { window(data).appId = id; },
      .output_enter = [](void*, Handle*, wl_output*) {},
      .output_leave = [](void*, Handle*, wl_output*) {},
      .state =
          [](void* data, Handle*, wl_array* states) {
            const std::span all(static_cast<const std::uint32_t*>(states->data),
                                states->size / sizeof(std::uint32_t));
            window(data).isActivated =
                std::ranges::count(all, ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED) > 0;
          },
      .done = [](void* data, Handle*) { window(data).owner.settle(window(data)); },
      .closed =
          [](void* data, Handle*) {
            auto& toplevels = window(data).owner;
            const auto number = window(data).number;
            if (toplevels.front_ == number) toplevels.front_ = 0;
            toplevels.windows_.erase(number);
          },
      .parent = [](void*, Handle*, Handle*) {},
  };
  const auto number = ++last_;
  auto& added =
      windows_.try_emplace(number, Window{*this, number, WaylandObject<Handle>(handle), {}, false})
          .first->second;
  zwlr_foreign_toplevel_handle_v1_add_listener(handle, &listener, &added);
}

void Toplevels::settle(const Window& window) {
  if (!window.isActivated) {
    if (front_ == window.number) front_ = 0;
  } else if (std::exchange(front_, window.number) != window.number) {
    if (onDidChange) onDidChange();
  }
}

Toplevels::Number Toplevels::newest(const std::function<bool(Number)>& isWanted) const {
  for (const auto& [number, window] : std::views::reverse(windows_)) {
    if (isWanted(number)) return number;
  }
  return 0;
}

std::string Toplevels::name(Number window) const {
  const auto found = windows_.find(window);
  return found == windows_.end() ? std::string() : found->second.appId;
}

std::optional<std::string> Toplevels::applicationId(Number window) const {
  WindowTraits traits;
  traits.desktopFile = name(window);
  traits.wmClass = traits.desktopFile;
  return traits.wmClass.empty() ? std::nullopt : applications_.applicationId(traits);
}

std::vector<std::string> Toplevels::sources() const {
  const auto id = applicationId(front_);
  return id ? std::vector{*id} : std::vector<std::string>();
}

bool Toplevels::activate(Number window) {
  const auto found = windows_.find(window);
  if (found == windows_.end()) return false;
  zwlr_foreign_toplevel_handle_v1_activate(found->second.handle.get(), connection_.seat());
  connection_.flush();
  return true;
}

}  // namespace stowboard
