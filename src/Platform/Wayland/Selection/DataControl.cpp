#include "Platform/Wayland/Selection/DataControl.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <string_view>

namespace stowboard {

namespace {

using Manager = ext_data_control_manager_v1;

// Both protocols have the same messages, and only a global's name goes over the wire.
const wl_interface& olderManagerInterface() {
  static const wl_interface interface = [] {
    wl_interface renamed = ext_data_control_manager_v1_interface;
    renamed.name = "zwlr_data_control_manager_v1";
    return renamed;
  }();
  return interface;
}

Manager* bindManager(const WaylandConnection& connection) {
  if (auto* const manager = connection.bind<Manager>(ext_data_control_manager_v1_interface, 1)) {
    return manager;
  }
  return connection.bind<Manager>(olderManagerInterface(), 2);
}

bool isOlder(Manager* manager) {
  return wl_proxy_get_class(reinterpret_cast<wl_proxy*>(manager)) ==
         std::string_view(olderManagerInterface().name);
}

}  // namespace

DataOffer::DataOffer(ext_data_control_offer_v1* offer) : offer_(offer) {
  // No real owner comes near; it bounds the work that a broken one can make.
  static constexpr std::size_t mostTypes = 1024;
  static constexpr ext_data_control_offer_v1_listener listener = {
      .offer = [](void* self, ext_data_control_offer_v1*, const char* type) {
        auto& types = static_cast<DataOffer*>(self)->types_;
        if (types.size() < mostTypes) types.emplace_back(type);
      }};
  ext_data_control_offer_v1_add_listener(offer, &listener, this);
}

FileDescriptor DataOffer::receive(const std::string& type) const {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return FileDescriptor();
  FileDescriptor ours(ends[0]);
  const FileDescriptor theirs(ends[1]);
  ::fcntl(ours.number(), F_SETFL, O_NONBLOCK);
  // Of which the request keeps a duplicate until it is sent.
  ext_data_control_offer_v1_receive(offer_.get(), type.c_str(), theirs.number());
  return ours;
}

DataControl::Source::Source(ext_data_control_source_v1* source,
                            const std::vector<std::string>& types,
                            std::function<void(const char*, FileDescriptor)> send)
    : source_(source), send_(std::move(send)) {
  static constexpr ext_data_control_source_v1_listener listener = {
      .send =
          [](void* self, ext_data_control_source_v1*, const char* type, std::int32_t descriptor) {
            static_cast<Source*>(self)->send_(type, FileDescriptor(descriptor));
          },
      // Another content is there, of which the device tells.
      .cancelled = [](void*, ext_data_control_source_v1*) {},
  };
  ext_data_control_source_v1_add_listener(source, &listener, this);
  for (const auto& type : types) ext_data_control_source_v1_offer(source, type.c_str());
}

bool DataControl::isOffered(const WaylandConnection& connection) {
  return connection.offers(ext_data_control_manager_v1_interface.name) ||
         connection.offers(olderManagerInterface().name);
}

DataControl::DataControl(WaylandConnection& connection,
                         std::function<void(std::shared_ptr<const DataOffer>)> onSelection)
    : onSelection_(std::move(onSelection)),
      manager_(bindManager(connection)),
      device_(ext_data_control_manager_v1_get_data_device(manager_.get(), connection.seat())),
      hasPrimary_(!isOlder(manager_.get()) ||
                  ext_data_control_manager_v1_get_version(manager_.get()) >= 2) {
  listen();
}

void DataControl::listen() {
  static constexpr ext_data_control_device_v1_listener listener = {
      .data_offer =
          [](void* self, ext_data_control_device_v1*, ext_data_control_offer_v1* offer) {
            static_cast<DataControl*>(self)->announced_.emplace(
                offer, std::make_shared<const DataOffer>(offer));
          },
      .selection =
          [](void* self, ext_data_control_device_v1*, ext_data_control_offer_v1* offer) {
            static_cast<DataControl*>(self)->select(offer);
          },
      // The seat is gone; nothing more comes.
      .finished = [](void*, ext_data_control_device_v1*) {},
      .primary_selection =
          [](void* self, ext_data_control_device_v1*, ext_data_control_offer_v1* offer) {
            static_cast<DataControl*>(self)->announced_.erase(offer);
          },
  };
  ext_data_control_device_v1_add_listener(device_.get(), &listener, this);
}

void DataControl::select(ext_data_control_offer_v1* offer) {
  const auto announced = announced_.extract(offer);
  onSelection_(announced ? announced.mapped() : nullptr);
}

void DataControl::setPrimarySelection(const Source& source) const {
  if (!hasPrimary_) return;
  ext_data_control_device_v1_set_primary_selection(device_.get(), source.source_.get());
}

}  // namespace stowboard
