#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Base/FileDescriptor.h"
#include "Platform/Wayland/Protocols/data-control-client.h"
#include "Platform/Wayland/WaylandConnection.h"

namespace stowboard {

template <>
struct WaylandDestroy<ext_data_control_manager_v1> {
  void operator()(ext_data_control_manager_v1* manager) const {
    ext_data_control_manager_v1_destroy(manager);
  }
};
template <>
struct WaylandDestroy<ext_data_control_device_v1> {
  void operator()(ext_data_control_device_v1* device) const {
    ext_data_control_device_v1_destroy(device);
  }
};
template <>
struct WaylandDestroy<ext_data_control_source_v1> {
  void operator()(ext_data_control_source_v1* source) const {
    ext_data_control_source_v1_destroy(source);
  }
};
template <>
struct WaylandDestroy<ext_data_control_offer_v1> {
  void operator()(ext_data_control_offer_v1* offer) const {
    ext_data_control_offer_v1_destroy(offer);
  }
};

/// What a program offers on the clipboard.
class DataOffer {
 public:
  explicit DataOffer(ext_data_control_offer_v1* offer);

  /// As the program spells them.
  const std::vector<std::string>& types() const { return types_; }
  /// Has the program write the content into a pipe, whose other end this gives, non-blocking; none
  /// where there is no pipe to be had.
  FileDescriptor receive(const std::string& type) const;

 private:
  const WaylandObject<ext_data_control_offer_v1> offer_;
  std::vector<std::string> types_;
};

/// The clipboards of a seat, of which the compositor tells every client that asks for data control
/// (ext-data-control-v1, or the zwlr_data_control_manager_v1 that came before it). Belongs to the
/// selection thread.
class DataControl {
 public:
  /// What we offer.
  class Source {
   public:
    /// `send` is called with a type and the descriptor to write it into; not any more once this is
    /// destroyed.
    Source(ext_data_control_source_v1* source, const std::vector<std::string>& types,
           std::function<void(const char*, FileDescriptor)> send);

   private:
    friend class DataControl;
    const WaylandObject<ext_data_control_source_v1> source_;
    const std::function<void(const char*, FileDescriptor)> send_;
  };

  /// Whether the compositor has it.
  static bool isOffered(const WaylandConnection& connection);

  /// Watches from this moment on. `onSelection` is called with each new content of the clipboard,
  /// null for none. The connection, which must offer it and have a seat, must outlive this.
  DataControl(WaylandConnection& connection,
              std::function<void(std::shared_ptr<const DataOffer>)> onSelection);

  /// Arguments as for a Source.
  template <typename... Arguments>
  std::unique_ptr<Source> makeSource(Arguments&&... arguments) const {
    return std::make_unique<Source>(ext_data_control_manager_v1_create_data_source(manager_.get()),
                                    std::forward<Arguments>(arguments)...);
  }
  void setSelection(const Source& source) const {
    ext_data_control_device_v1_set_selection(device_.get(), source.source_.get());
  }
  /// Without effect where the compositor has no primary selection.
  void setPrimarySelection(const Source& source) const;

 private:
  void listen();
  void select(ext_data_control_offer_v1* offer);

  const std::function<void(std::shared_ptr<const DataOffer>)> onSelection_;
  const WaylandObject<ext_data_control_manager_v1> manager_;
  const WaylandObject<ext_data_control_device_v1> device_;
  bool hasPrimary_;
  // Announced, but not said yet to be whose.
  std::map<ext_data_control_offer_v1*, std::shared_ptr<const DataOffer>> announced_;
};

}  // namespace stowboard
